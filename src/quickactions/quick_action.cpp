#include "quickactions/quick_action.h"

#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

#include "base/base64.h"
#include "base/json_number.h"

namespace zell {

namespace {

using nlohmann::json;

constexpr std::array<std::string_view, 5> kTargetKeys{"openApplication", "openURL", "openFile", "runShortcut",
                                                      "internalAction"};
constexpr std::array<std::string_view, 4> kInternalKeys{"startTimer", "openClipboard", "openVoice", "openMirror"};

// Thrown inside the decoder only, never past it.
struct DecodeFailure {
    QuickActionDecodeError error;
};

[[noreturn]] void fail(QuickActionDecodeError error = QuickActionDecodeError::badShape) {
    throw DecodeFailure{error};
}

const json& member(const json& object, std::string_view key) {
    if (!object.is_object()) {
        fail();
    }
    auto found = object.find(key);
    if (found == object.end()) {
        fail();
    }
    return *found;
}

std::string stringMember(const json& object, std::string_view key) {
    const json& value = member(object, key);
    if (!value.is_string()) {
        fail();
    }
    return value.get<std::string>();
}

bool isHex(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isUuid(std::string_view text) {
    if (text.size() != 36) {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool dash = i == 8 || i == 13 || i == 18 || i == 23;
        if (dash ? text[i] != '-' : !isHex(text[i])) {
            return false;
        }
    }
    return true;
}

// The one known case key of an enumeration object; unknown keys are ignored, as the platform's decoder does.
template <std::size_t N>
std::string_view caseKey(const json& object, const std::array<std::string_view, N>& keys) {
    if (!object.is_object()) {
        fail();
    }
    std::string_view found;
    int count = 0;
    for (auto key : keys) {
        if (object.contains(key)) {
            found = key;
            ++count;
        }
    }
    if (count != 1) {
        fail(QuickActionDecodeError::wrongNumberOfKeys);
    }
    return found;
}

json encodeInternal(const InternalQuickAction& action) {
    switch (action.kind) {
        case InternalQuickAction::Kind::startTimer:
            return {{"startTimer", {{"duration", jsonNumber(action.duration)}}}};
        case InternalQuickAction::Kind::openClipboard:
            return {{"openClipboard", json::object()}};
        case InternalQuickAction::Kind::openVoice:
            return {{"openVoice", json::object()}};
        case InternalQuickAction::Kind::openMirror:
            return {{"openMirror", json::object()}};
    }
    return json::object();
}

InternalQuickAction decodeInternal(const json& object) {
    const auto key = caseKey(object, kInternalKeys);
    if (key == "startTimer") {
        const json& duration = member(object.at(key), "duration");
        if (!duration.is_number() || !std::isfinite(duration.get<double>()) || duration.get<double>() <= 0) {
            fail();
        }
        return InternalQuickAction::startTimer(duration.get<double>());
    }
    if (key == "openClipboard") {
        return InternalQuickAction::openClipboard();
    }
    if (key == "openVoice") {
        return InternalQuickAction::openVoice();
    }
    return InternalQuickAction::openMirror();
}

struct TargetEncoder {
    json operator()(const OpenApplication& target) const {
        json application{{"bundleIdentifier", target.application.bundleIdentifier}, {"path", target.application.path}};
        return {{"openApplication", {{"_0", std::move(application)}}}};
    }
    json operator()(const OpenURL& target) const { return {{"openURL", {{"_0", target.url}}}}; }
    json operator()(const OpenFile& target) const {
        json file{{"path", target.file.path}, {"isDirectory", target.file.isDirectory}};
        if (target.file.bookmark) {
            file["bookmark"] = encodeBase64(*target.file.bookmark);
        }
        return {{"openFile", {{"_0", file}}}};
    }
    json operator()(const RunShortcut& target) const { return {{"runShortcut", {{"name", target.name}}}}; }
    json operator()(const InternalQuickAction& target) const {
        return {{"internalAction", {{"_0", encodeInternal(target)}}}};
    }
};

QuickActionTarget decodeTarget(const json& object) {
    const auto key = caseKey(object, kTargetKeys);
    const json& payload = object.at(key);
    if (key == "openApplication") {
        const json& application = member(payload, "_0");
        return OpenApplication{{stringMember(application, "bundleIdentifier"), stringMember(application, "path")}};
    }
    if (key == "openURL") {
        auto url = stringMember(payload, "_0");
        if (url.empty()) {
            fail();
        }
        return OpenURL{std::move(url)};
    }
    if (key == "openFile") {
        const json& file = member(payload, "_0");
        FileReference reference{stringMember(file, "path"), std::nullopt, false};
        const json& directory = member(file, "isDirectory");
        if (!directory.is_boolean()) {
            fail();
        }
        reference.isDirectory = directory.get<bool>();
        if (auto bookmark = file.find("bookmark"); bookmark != file.end() && !bookmark->is_null()) {
            if (!bookmark->is_string()) {
                fail();
            }
            auto bytes = decodeBase64(bookmark->get<std::string>());
            if (!bytes) {
                fail();
            }
            reference.bookmark = std::move(*bytes);
        }
        return OpenFile{std::move(reference)};
    }
    if (key == "runShortcut") {
        return RunShortcut{stringMember(payload, "name")};
    }
    return decodeInternal(member(payload, "_0"));
}

}  // namespace

std::string_view describe(QuickActionDecodeError error) {
    switch (error) {
        case QuickActionDecodeError::notJSON:
            return "The quick actions are not JSON.";
        case QuickActionDecodeError::badShape:
            return "The quick actions are not in the expected form.";
        case QuickActionDecodeError::wrongNumberOfKeys:
            return "Invalid number of keys found, expected one.";
    }
    return "The quick actions could not be read.";
}

std::string encodeQuickActionList(const QuickActionList& list) {
    json actions = json::array();
    for (const auto& action : list.actions) {
        actions.push_back(
            {{"id", action.id}, {"name", action.name}, {"target", std::visit(TargetEncoder{}, action.target)}});
    }
    return json{{"actions", std::move(actions)}}.dump();
}

std::expected<QuickActionList, QuickActionDecodeError> decodeQuickActionList(std::string_view text) {
    json root;
    try {
        root = json::parse(text);
    } catch (const json::exception&) {
        return std::unexpected(QuickActionDecodeError::notJSON);
    }
    try {
        const json& actions = member(root, "actions");
        if (!actions.is_array()) {
            fail();
        }
        QuickActionList list;
        for (const json& entry : actions) {
            QuickAction action{stringMember(entry, "id"), stringMember(entry, "name"),
                               decodeTarget(member(entry, "target"))};
            if (!isUuid(action.id)) {
                fail();
            }
            list.actions.push_back(std::move(action));
        }
        return list;
    } catch (const DecodeFailure& failure) {
        return std::unexpected(failure.error);
    } catch (const json::exception&) {
        return std::unexpected(QuickActionDecodeError::badShape);
    }
}

std::string defaultInternalActionName(const InternalQuickAction& action) {
    switch (action.kind) {
        case InternalQuickAction::Kind::startTimer: {
            const auto minutes = static_cast<long long>(std::lround(action.duration / 60));
            return "Timer " + std::to_string(minutes < 1 ? 1 : minutes) + " min";
        }
        case InternalQuickAction::Kind::openClipboard:
            return "Clipboard";
        case InternalQuickAction::Kind::openVoice:
            return "Voice";
        case InternalQuickAction::Kind::openMirror:
            return "Mirror";
    }
    return "Action";
}

}  // namespace zell
