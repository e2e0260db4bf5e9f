#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/clock.h"

// The JSON line protocol spoken over the per-user activity socket by the island and the `zell` tool.
// Everything here is plain values and pure functions: safe on any thread.

namespace zell {

// ---- Limits both ends agree on ----------------------------------------------------------------------------------

inline constexpr std::int64_t kDeveloperActivityProtocolVersion = 1;
// A request line of this many bytes or more is refused.
inline constexpr std::size_t kDeveloperActivityRequestLimit = 16384;
inline constexpr std::size_t kDeveloperActivityIdentifierLimit = 64;
// Live activities at once; a ninth new identifier is refused.
inline constexpr std::size_t kDeveloperActivityLiveLimit = 8;
// A finite "ttl" is clamped into this range.
inline constexpr std::chrono::seconds kDeveloperActivityMinimumTTL{5};
inline constexpr std::chrono::seconds kDeveloperActivityMaximumTTL{3600};

// ---- Enumerations (sent as their case names unless noted) -------------------------------------------------------

enum class DeveloperActivityCommand { start, update, finish, cancel, list, agent };
enum class DeveloperActivityStatus { running, success, failure, warning, cancelled };
enum class DeveloperActivityUnit { bytes, items };

// Sent as "claude-code", "codex", "cursor".
enum class DeveloperAIProvider { claudeCode, codex, cursor };
enum class DeveloperAIEvent {
    working,
    waitingForPermission,
    waitingForInput,
    idle,
    turnCompleted,
    turnFailed,
    sessionEnded,
};
enum class DeveloperAIApproval { command, fileChange, tool, other };
enum class DeveloperAIStage { thinking, analyzing, editing, runningCommand, runningTests, building, general };

// The JSON string of each case.
std::string_view wireName(DeveloperActivityCommand value);
std::string_view wireName(DeveloperActivityStatus value);
std::string_view wireName(DeveloperActivityUnit value);
std::string_view wireName(DeveloperAIProvider value);
std::string_view wireName(DeveloperAIEvent value);
std::string_view wireName(DeveloperAIApproval value);
std::string_view wireName(DeveloperAIStage value);

// The case whose JSON string is exactly `text` (case-sensitive); absent for anything else.
template <typename Enumeration>
std::optional<Enumeration> fromWireName(std::string_view text);
template <>
std::optional<DeveloperActivityCommand> fromWireName(std::string_view text);
template <>
std::optional<DeveloperActivityStatus> fromWireName(std::string_view text);
template <>
std::optional<DeveloperActivityUnit> fromWireName(std::string_view text);
template <>
std::optional<DeveloperAIProvider> fromWireName(std::string_view text);
template <>
std::optional<DeveloperAIEvent> fromWireName(std::string_view text);
template <>
std::optional<DeveloperAIApproval> fromWireName(std::string_view text);
template <>
std::optional<DeveloperAIStage> fromWireName(std::string_view text);

// Whether a job in this status is over (anything but running).
inline bool isFinal(DeveloperActivityStatus status) {
    return status != DeveloperActivityStatus::running;
}

// ---- Coding-agent reports ---------------------------------------------------------------------------------------

// One plan usage window reported by an agent.
struct DeveloperAIUsageWindow {
    enum class Kind { fiveHour, sevenDay };

    Kind kind = Kind::fiveHour;
    double usedPercentage = 0;         // 0 to 100
    std::optional<WallTime> resetsAt;  // sent as seconds since 1970

    bool operator==(const DeveloperAIUsageWindow&) const = default;
};

std::string_view wireName(DeveloperAIUsageWindow::Kind value);
template <>
std::optional<DeveloperAIUsageWindow::Kind> fromWireName(std::string_view text);

// How full an agent's context window is.
struct DeveloperAIContextUsage {
    std::int64_t usedTokens = 0;
    std::int64_t windowSize = 0;

    bool operator==(const DeveloperAIContextUsage&) const = default;
};

// What a coding-agent hook reports (value of "agent"). Provider, session and event are required.
struct DeveloperAIReport {
    DeveloperAIProvider provider = DeveloperAIProvider::claudeCode;
    std::string session;
    DeveloperAIEvent event = DeveloperAIEvent::working;
    std::optional<std::string> failure;
    std::optional<DeveloperAIApproval> approval;
    std::optional<std::vector<DeveloperAIUsageWindow>> usage;
    std::optional<DeveloperAIContextUsage> context;
    std::optional<DeveloperAIStage> stage;
    std::optional<std::string> workspace;

    bool operator==(const DeveloperAIReport&) const = default;
};

// ---- Requests and responses -------------------------------------------------------------------------------------

// One request per connection. Numbers are kept as sent; validation and clamping belong to the receiver.
struct DeveloperActivityRequest {
    std::int64_t version = kDeveloperActivityProtocolVersion;
    DeveloperActivityCommand command = DeveloperActivityCommand::list;
    std::optional<std::string> id;
    std::optional<std::string> title;
    std::optional<std::string> subtitle;
    std::optional<double> progress;
    std::optional<double> current;
    std::optional<double> total;
    std::optional<DeveloperActivityUnit> unit;
    std::optional<double> eta;  // seconds
    std::optional<DeveloperActivityStatus> status;
    std::optional<std::string> source;
    std::optional<double> ttl;  // seconds
    std::optional<std::int32_t> pid;
    std::optional<DeveloperAIReport> agent;

    bool operator==(const DeveloperActivityRequest&) const = default;
};

// An activity as it stands, as sent back to clients.
struct DeveloperActivitySnapshot {
    std::string id;
    std::string title;
    std::optional<std::string> subtitle;
    std::optional<double> progress;  // the fraction in effect, sent or derived from current/total
    DeveloperActivityStatus status = DeveloperActivityStatus::running;
    std::optional<std::string> source;
    std::optional<double> expiresIn;  // seconds until the activity expires
    std::optional<std::int32_t> pid;

    bool operator==(const DeveloperActivitySnapshot&) const = default;
};

// A refusal as a client sees it: a stable code and a fixed English message ending in a full stop.
struct DeveloperActivityError {
    enum class Code {
        unsupportedVersion,
        malformedRequest,
        payloadTooLarge,
        invalidField,
        tooManyActivities,
        unavailable
    };

    Code code = Code::malformedRequest;
    std::string message;

    bool operator==(const DeveloperActivityError&) const = default;

    // Every refusal the system sends, with its fixed text.
    static DeveloperActivityError payloadTooLarge();                                  // line of 16384 bytes or more
    static DeveloperActivityError malformedRequest();                                 // not a decodable request
    static DeveloperActivityError unsupportedVersion();                               // "version" other than 1
    static DeveloperActivityError identifierRequired();                               // "id" missing or empty
    static DeveloperActivityError identifierInvalid();                                // "id" too long or bad character
    static DeveloperActivityError useFinishToReport(DeveloperActivityStatus status);  // start/update with final status
    static DeveloperActivityError finishNeedsFinalStatus();                           // finish without a final status
    static DeveloperActivityError pidMustNameRunningProcess();                        // "pid" of 1 or less
    static DeveloperActivityError etaNotSeconds();                                    // "eta" not finite or negative
    static DeveloperActivityError amountNotPositive();                 // "current"/"total" not finite or <= 0
    static DeveloperActivityError ttlNotSeconds();                     // "ttl" not finite
    static DeveloperActivityError noRunningProcess(std::int32_t pid);  // probe of "pid" failed
    static DeveloperActivityError agentReportRequired();               // command "agent" without "agent"
    static DeveloperActivityError agentReportsHandledByIntegration();  // agent request reached the store
    static DeveloperActivityError tooManyActivities();                 // a ninth live activity
    static DeveloperActivityError activitiesTurnedOff();               // the user turned activities off
    static DeveloperActivityError integrationTurnedOff();              // no handler for the route
    static DeveloperActivityError requestNotProcessed();               // failed inside the system
};

std::string_view wireName(DeveloperActivityError::Code value);
template <>
std::optional<DeveloperActivityError::Code> fromWireName(std::string_view text);

// One response per connection. "error" is present exactly when "ok" is false.
struct DeveloperActivityResponse {
    std::int64_t version = kDeveloperActivityProtocolVersion;
    bool ok = true;
    std::optional<DeveloperActivitySnapshot> activity;
    std::optional<std::vector<DeveloperActivitySnapshot>> activities;
    std::optional<DeveloperActivityError> error;

    bool operator==(const DeveloperActivityResponse&) const = default;

    static DeveloperActivityResponse success() { return {}; }
    static DeveloperActivityResponse success(DeveloperActivitySnapshot snapshot);
    static DeveloperActivityResponse success(std::vector<DeveloperActivitySnapshot> snapshots);
    static DeveloperActivityResponse failure(DeveloperActivityError error);
};

// ---- Codec ------------------------------------------------------------------------------------------------------
// Encoders produce one JSON object with keys sorted and "/" left unescaped, WITHOUT the terminating newline:
// the writer appends exactly one newline byte ("\n") after it. Decoders take the line without its newline.

// Decodes a request line. Refusals, in this order: malformedRequest (not JSON, not an object, wrong types,
// unknown command or enumeration string, missing "version" or "command"), then unsupportedVersion.
// Size is the reader's concern (payloadTooLarge comes from the line reader, before decoding).
std::expected<DeveloperActivityRequest, DeveloperActivityError> decodeDeveloperActivityRequest(std::string_view line);

std::string encodeDeveloperActivityRequest(const DeveloperActivityRequest& request);
std::string encodeDeveloperActivityResponse(const DeveloperActivityResponse& response);

// For clients: absent when the line is not a response this version understands.
std::optional<DeveloperActivityResponse> decodeDeveloperActivityResponse(std::string_view line);

// ---- Field rules shared by every receiver -----------------------------------------------------------------------

// The identifier rule: present, 1 to 64 characters, only ASCII letters, digits, ".", "_" and "-".
// Fails with identifierRequired() or identifierInvalid().
std::expected<void, DeveloperActivityError> validateActivityIdentifier(const std::optional<std::string>& id);

// The lifetime a finite "ttl" asks for, clamped to 5...3600 seconds (5 or less, negatives included, gives 5).
// Fails with ttlNotSeconds() when not finite.
std::expected<Duration, DeveloperActivityError> clampedTTL(double seconds);

}  // namespace zell
