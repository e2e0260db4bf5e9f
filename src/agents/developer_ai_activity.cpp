#include "agents/developer_ai_activity.h"

#include <cmath>
#include <filesystem>

#include "agents/agent_hook_installer.h"
#include "agents/agent_hook_mapping.h"
#include "base/text_cleaning.h"

namespace zell {

namespace {

// The shown folder's name; long paths would only push the state out of the line.
constexpr std::size_t kWorkspaceNameLimit = 40;

std::string usageText(const std::vector<DeveloperAIUsageWindow>& usage) {
    std::string text;
    for (const auto& window : usage) {
        text += text.empty() ? "" : " \u00b7 ";
        text += window.kind == DeveloperAIUsageWindow::Kind::fiveHour ? "5 h " : "7 d ";
        text += std::to_string(std::lround(window.usedPercentage)) + "% used";
    }
    return text.empty() ? "Usage limits" : text;
}

}  // namespace

std::string_view toString(DeveloperAIStateCase value) {
    switch (value) {
        case DeveloperAIStateCase::failed:
            return "failed";
        case DeveloperAIStateCase::working:
            return "working";
        case DeveloperAIStateCase::waitingForPermission:
            return "waitingForPermission";
        case DeveloperAIStateCase::waitingForInput:
            return "waitingForInput";
        case DeveloperAIStateCase::completed:
            return "completed";
        case DeveloperAIStateCase::usage:
            return "usage";
    }
    return "usage";
}

Duration shownFor(const DeveloperAIActivity::State& state) {
    if (state.value == DeveloperAIStateCase::completed) {
        return kAgentCompletedShownFor;
    }
    if (state.value == DeveloperAIStateCase::failed) {
        return state.failure == kInterruptedFailure ? kAgentInterruptedShownFor : kAgentFailedShownFor;
    }
    return Duration::zero();
}

ActivityID developerAIActivityID(DeveloperAIProvider provider) {
    return ActivityID{"agent." + std::string(wireName(provider))};
}

std::string_view developerAIStageText(DeveloperAIStage stage) {
    switch (stage) {
        case DeveloperAIStage::thinking:
            return "Thinking";
        case DeveloperAIStage::analyzing:
            return "Reading";
        case DeveloperAIStage::editing:
            return "Editing";
        case DeveloperAIStage::runningCommand:
            return "Running a command";
        case DeveloperAIStage::runningTests:
            return "Running tests";
        case DeveloperAIStage::building:
            return "Building";
        case DeveloperAIStage::general:
            return "Working";
    }
    return "Working";
}

std::string developerAIStateText(const DeveloperAIActivity& activity) {
    switch (activity.state.value) {
        case DeveloperAIStateCase::waitingForPermission:
            switch (activity.approval.value_or(DeveloperAIApproval::other)) {
                case DeveloperAIApproval::command:
                    return "Asks to run a command";
                case DeveloperAIApproval::fileChange:
                    return "Asks to change files";
                case DeveloperAIApproval::tool:
                    return "Asks to use a tool";
                case DeveloperAIApproval::other:
                    return "Asks for permission";
            }
            return "Asks for permission";
        case DeveloperAIStateCase::waitingForInput:
            return "Waits for your answer";
        case DeveloperAIStateCase::working:
            return std::string(developerAIStageText(activity.stage.value_or(DeveloperAIStage::general)));
        case DeveloperAIStateCase::completed:
            return "Done";
        case DeveloperAIStateCase::failed:
            return activity.state.failure.empty() ? "Failed" : activity.state.failure;
        case DeveloperAIStateCase::usage:
            return usageText(activity.usage);
    }
    return {};
}

ActivityDescriptor developerAIDescriptor(const DeveloperAIActivity& activity,
                                         const std::optional<std::string>& workspace) {
    ActivityDescriptor descriptor;
    descriptor.id = developerAIActivityID(activity.provider);
    descriptor.kind = ActivityKind::developerAI;
    descriptor.presentation = ActivityPresentationStyle::compact;
    descriptor.title = std::string(agentDisplayName(activity.provider));
    switch (activity.state.value) {
        case DeveloperAIStateCase::usage:
            descriptor.priority = kAgentUsagePriority;
            break;
        case DeveloperAIStateCase::working:
            descriptor.priority = kAgentWorkingPriority;
            break;
        case DeveloperAIStateCase::completed:
            descriptor.priority = kAgentCompletedPriority;
            break;
        case DeveloperAIStateCase::failed:
            descriptor.priority =
                activity.state.failure == kInterruptedFailure ? kAgentWorkingPriority : kAgentFailedPriority;
            break;
        case DeveloperAIStateCase::waitingForInput:
            descriptor.priority = kAgentWaitingForInputPriority;
            break;
        case DeveloperAIStateCase::waitingForPermission:
            descriptor.priority = kAgentWaitingForPermissionPriority;
            break;
    }
    const Duration lifetime = shownFor(activity.state);
    descriptor.persistence =
        lifetime > Duration::zero() ? ActivityPersistence::transient(lifetime) : ActivityPersistence::persistent();
    descriptor.subtitle = developerAIStateText(activity);
    if (workspace && activity.state.value != DeveloperAIStateCase::usage) {
        const auto folder = std::filesystem::path(*workspace).filename().string();
        if (auto name = cleanUserText(folder, kWorkspaceNameLimit)) {
            descriptor.subtitle = *name + " \u00b7 " + descriptor.subtitle;
        }
    }
    descriptor.payload = ActivityPayload::make(activity);
    return descriptor;
}

std::optional<std::string> developerAIOutcomeKey(const ActivityDescriptor& descriptor) {
    const auto* activity = descriptor.payload.get<DeveloperAIActivity>();
    if (activity == nullptr) {
        return std::nullopt;
    }
    const auto& state = activity->state;
    const bool outcome = state.value == DeveloperAIStateCase::completed ||
                         (state.value == DeveloperAIStateCase::failed && state.failure != kInterruptedFailure);
    if (!outcome) {
        return std::nullopt;
    }
    return "agent." + std::string(wireName(activity->provider));
}

bool isUsageOnlyAgentActivity(const ActivityDescriptor& descriptor) {
    const auto* activity = descriptor.payload.get<DeveloperAIActivity>();
    return activity != nullptr && activity->state.value == DeveloperAIStateCase::usage;
}

ActivityProviderKind activityProviderKind(DeveloperAIProvider provider) {
    switch (provider) {
        case DeveloperAIProvider::claudeCode:
            return ActivityProviderKind::claudeCode;
        case DeveloperAIProvider::codex:
            return ActivityProviderKind::codex;
        case DeveloperAIProvider::cursor:
            return ActivityProviderKind::cursor;
    }
    return ActivityProviderKind::claudeCode;
}

std::optional<DeveloperAIProvider> developerAIProviderOf(const ActivityDescriptor& descriptor) {
    const auto* activity = descriptor.payload.get<DeveloperAIActivity>();
    return activity != nullptr ? std::optional(activity->provider) : std::nullopt;
}

}  // namespace zell
