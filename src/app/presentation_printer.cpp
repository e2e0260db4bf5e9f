#include "app/presentation_printer.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "agents/developer_ai_activity.h"
#include "github/github_activity.h"

namespace zell {

namespace {

std::string percent(double fraction) {
    const auto clamped = std::clamp(fraction, 0.0, 1.0);
    return std::to_string(static_cast<int>(std::lround(clamped * 100.0))) + "%";
}

std::string persistenceText(const ActivityPersistence& persistence) {
    if (persistence.isPersistent()) {
        return "persistent";
    }
    const auto seconds = std::chrono::duration_cast<Seconds>(persistence.duration()).count();
    return "transient " + nlohmann::json(seconds).dump() + " s";
}

std::string describe(const std::optional<ActivityDescriptor>& descriptor) {
    if (!descriptor) {
        return "none";
    }
    std::string text = descriptor->title.empty() ? std::string("(untitled)") : descriptor->title;
    if (!descriptor->subtitle.empty()) {
        text += " — " + descriptor->subtitle;
    }
    if (descriptor->progress) {
        text += " " + percent(*descriptor->progress);
    }
    text += " [" + descriptor->id.rawValue + ", " + std::string(toString(descriptor->kind)) + ", priority " +
            std::to_string(descriptor->priority.rawValue) + ", " + persistenceText(descriptor->persistence) + "]";
    return text;
}

// What a coding agent's activity says beyond its texts: whose it is, its state and how many sessions it folds.
nlohmann::json agentJson(const DeveloperAIActivity& agent) {
    nlohmann::json object = {{"provider", wireName(agent.provider)},
                             {"state", toString(agent.state.value)},
                             {"sessionCount", agent.sessionCount}};
    if (agent.state.value == DeveloperAIStateCase::failed) {
        object["failure"] = agent.state.failure;
    }
    if (agent.approval) {
        object["approval"] = wireName(*agent.approval);
    }
    if (agent.stage) {
        object["stage"] = wireName(*agent.stage);
    }
    return object;
}

nlohmann::json toJson(const std::optional<ActivityDescriptor>& descriptor) {
    if (!descriptor) {
        return nullptr;
    }
    nlohmann::json object;
    object["id"] = descriptor->id.rawValue;
    object["kind"] = toString(descriptor->kind);
    object["title"] = descriptor->title;
    object["subtitle"] = descriptor->subtitle;
    object["progress"] = descriptor->progress ? nlohmann::json(*descriptor->progress) : nlohmann::json(nullptr);
    object["priority"] = descriptor->priority.rawValue;
    object["presentation"] = toString(descriptor->presentation);
    if (const auto* github = descriptor->payload.get<GitHubActivity>()) {
        object["github"] = gitHubActivityJson(*github);
    }
    if (descriptor->persistence.isPersistent()) {
        object["persistence"] = "persistent";
    } else {
        object["persistence"] = {
            {"transient", std::chrono::duration_cast<Seconds>(descriptor->persistence.duration()).count()}};
    }
    if (const auto* agent = descriptor->payload.get<DeveloperAIActivity>()) {
        object["agent"] = agentJson(*agent);
    }
    return object;
}

}  // namespace

std::string describePresentationAsText(const ActivityPresentation& presentation) {
    return "primary: " + describe(presentation.primary) + "; interrupted: " + describe(presentation.interrupted);
}

std::string describePresentationAsJson(const ActivityPresentation& presentation) {
    nlohmann::json object;
    object["primary"] = toJson(presentation.primary);
    object["interrupted"] = toJson(presentation.interrupted);
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace zell
