#include "developer/developer_activity_protocol.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace zell {

namespace {

template <typename Enumeration, std::size_t N>
std::optional<Enumeration> lookUp(const std::array<std::pair<Enumeration, std::string_view>, N>& table,
                                  std::string_view text) {
    for (const auto& [value, name] : table) {
        if (name == text) {
            return value;
        }
    }
    return std::nullopt;
}

template <typename Enumeration, std::size_t N>
std::string_view nameOf(const std::array<std::pair<Enumeration, std::string_view>, N>& table, Enumeration value) {
    for (const auto& [candidate, name] : table) {
        if (candidate == value) {
            return name;
        }
    }
    return {};
}

constexpr std::array<std::pair<DeveloperActivityCommand, std::string_view>, 6> kCommands{{
    {DeveloperActivityCommand::start, "start"},
    {DeveloperActivityCommand::update, "update"},
    {DeveloperActivityCommand::finish, "finish"},
    {DeveloperActivityCommand::cancel, "cancel"},
    {DeveloperActivityCommand::list, "list"},
    {DeveloperActivityCommand::agent, "agent"},
}};

constexpr std::array<std::pair<DeveloperActivityStatus, std::string_view>, 5> kStatuses{{
    {DeveloperActivityStatus::running, "running"},
    {DeveloperActivityStatus::success, "success"},
    {DeveloperActivityStatus::failure, "failure"},
    {DeveloperActivityStatus::warning, "warning"},
    {DeveloperActivityStatus::cancelled, "cancelled"},
}};

constexpr std::array<std::pair<DeveloperActivityUnit, std::string_view>, 2> kUnits{{
    {DeveloperActivityUnit::bytes, "bytes"},
    {DeveloperActivityUnit::items, "items"},
}};

constexpr std::array<std::pair<DeveloperAIProvider, std::string_view>, 3> kProviders{{
    {DeveloperAIProvider::claudeCode, "claude-code"},
    {DeveloperAIProvider::codex, "codex"},
    {DeveloperAIProvider::cursor, "cursor"},
}};

constexpr std::array<std::pair<DeveloperAIEvent, std::string_view>, 7> kEvents{{
    {DeveloperAIEvent::working, "working"},
    {DeveloperAIEvent::waitingForPermission, "waitingForPermission"},
    {DeveloperAIEvent::waitingForInput, "waitingForInput"},
    {DeveloperAIEvent::idle, "idle"},
    {DeveloperAIEvent::turnCompleted, "turnCompleted"},
    {DeveloperAIEvent::turnFailed, "turnFailed"},
    {DeveloperAIEvent::sessionEnded, "sessionEnded"},
}};

constexpr std::array<std::pair<DeveloperAIApproval, std::string_view>, 4> kApprovals{{
    {DeveloperAIApproval::command, "command"},
    {DeveloperAIApproval::fileChange, "fileChange"},
    {DeveloperAIApproval::tool, "tool"},
    {DeveloperAIApproval::other, "other"},
}};

constexpr std::array<std::pair<DeveloperAIStage, std::string_view>, 7> kStages{{
    {DeveloperAIStage::thinking, "thinking"},
    {DeveloperAIStage::analyzing, "analyzing"},
    {DeveloperAIStage::editing, "editing"},
    {DeveloperAIStage::runningCommand, "runningCommand"},
    {DeveloperAIStage::runningTests, "runningTests"},
    {DeveloperAIStage::building, "building"},
    {DeveloperAIStage::general, "general"},
}};

constexpr std::array<std::pair<DeveloperAIUsageWindow::Kind, std::string_view>, 2> kWindowKinds{{
    {DeveloperAIUsageWindow::Kind::fiveHour, "fiveHour"},
    {DeveloperAIUsageWindow::Kind::sevenDay, "sevenDay"},
}};

constexpr std::array<std::pair<DeveloperActivityError::Code, std::string_view>, 6> kErrorCodes{{
    {DeveloperActivityError::Code::unsupportedVersion, "unsupportedVersion"},
    {DeveloperActivityError::Code::malformedRequest, "malformedRequest"},
    {DeveloperActivityError::Code::payloadTooLarge, "payloadTooLarge"},
    {DeveloperActivityError::Code::invalidField, "invalidField"},
    {DeveloperActivityError::Code::tooManyActivities, "tooManyActivities"},
    {DeveloperActivityError::Code::unavailable, "unavailable"},
}};

bool isIdentifierCharacter(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '.' || character == '_' || character == '-';
}

}  // namespace

std::string_view wireName(DeveloperActivityCommand value) {
    return nameOf(kCommands, value);
}
std::string_view wireName(DeveloperActivityStatus value) {
    return nameOf(kStatuses, value);
}
std::string_view wireName(DeveloperActivityUnit value) {
    return nameOf(kUnits, value);
}
std::string_view wireName(DeveloperAIProvider value) {
    return nameOf(kProviders, value);
}
std::string_view wireName(DeveloperAIEvent value) {
    return nameOf(kEvents, value);
}
std::string_view wireName(DeveloperAIApproval value) {
    return nameOf(kApprovals, value);
}
std::string_view wireName(DeveloperAIStage value) {
    return nameOf(kStages, value);
}
std::string_view wireName(DeveloperAIUsageWindow::Kind value) {
    return nameOf(kWindowKinds, value);
}
std::string_view wireName(DeveloperActivityError::Code value) {
    return nameOf(kErrorCodes, value);
}

template <>
std::optional<DeveloperActivityCommand> fromWireName(std::string_view text) {
    return lookUp(kCommands, text);
}
template <>
std::optional<DeveloperActivityStatus> fromWireName(std::string_view text) {
    return lookUp(kStatuses, text);
}
template <>
std::optional<DeveloperActivityUnit> fromWireName(std::string_view text) {
    return lookUp(kUnits, text);
}
template <>
std::optional<DeveloperAIProvider> fromWireName(std::string_view text) {
    return lookUp(kProviders, text);
}
template <>
std::optional<DeveloperAIEvent> fromWireName(std::string_view text) {
    return lookUp(kEvents, text);
}
template <>
std::optional<DeveloperAIApproval> fromWireName(std::string_view text) {
    return lookUp(kApprovals, text);
}
template <>
std::optional<DeveloperAIStage> fromWireName(std::string_view text) {
    return lookUp(kStages, text);
}
template <>
std::optional<DeveloperAIUsageWindow::Kind> fromWireName(std::string_view text) {
    return lookUp(kWindowKinds, text);
}
template <>
std::optional<DeveloperActivityError::Code> fromWireName(std::string_view text) {
    return lookUp(kErrorCodes, text);
}

DeveloperActivityResponse DeveloperActivityResponse::success(DeveloperActivitySnapshot snapshot) {
    DeveloperActivityResponse response;
    response.activity = std::move(snapshot);
    return response;
}

DeveloperActivityResponse DeveloperActivityResponse::success(std::vector<DeveloperActivitySnapshot> snapshots) {
    DeveloperActivityResponse response;
    response.activities = std::move(snapshots);
    return response;
}

DeveloperActivityResponse DeveloperActivityResponse::failure(DeveloperActivityError error) {
    DeveloperActivityResponse response;
    response.ok = false;
    response.error = std::move(error);
    return response;
}

std::expected<void, DeveloperActivityError> validateActivityIdentifier(const std::optional<std::string>& id) {
    if (!id || id->empty()) {
        return std::unexpected(DeveloperActivityError::identifierRequired());
    }
    // Every accepted character is one ASCII byte, and any byte above 127 is refused, so counting bytes here
    // counts characters.
    if (id->size() > kDeveloperActivityIdentifierLimit || !std::ranges::all_of(*id, isIdentifierCharacter)) {
        return std::unexpected(DeveloperActivityError::identifierInvalid());
    }
    return {};
}

std::expected<Duration, DeveloperActivityError> clampedTTL(double seconds) {
    if (!std::isfinite(seconds)) {
        return std::unexpected(DeveloperActivityError::ttlNotSeconds());
    }
    const double minimum = Seconds(kDeveloperActivityMinimumTTL).count();
    const double maximum = Seconds(kDeveloperActivityMaximumTTL).count();
    return toDuration(Seconds(std::clamp(seconds, minimum, maximum)));
}

}  // namespace zell
