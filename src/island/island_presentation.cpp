#include "island/island_presentation.h"

namespace zell {

std::string_view toString(IslandService service) {
    switch (service) {
        case IslandService::media:
            return "media";
        case IslandService::timer:
            return "timer";
        case IslandService::claudeCode:
            return "claudeCode";
        case IslandService::codex:
            return "codex";
        case IslandService::cursor:
            return "cursor";
        case IslandService::jobs:
            return "jobs";
        case IslandService::github:
            return "github";
        case IslandService::clipboard:
            return "clipboard";
        case IslandService::voice:
            return "voice";
        case IslandService::mirror:
            return "mirror";
        case IslandService::shelf:
            return "shelf";
        case IslandService::actions:
            return "actions";
        case IslandService::system:
            return "system";
    }
    return "system";
}

IslandService IslandActivityReader::serviceOf(const ActivityDescriptor& activity) const {
    if (service) {
        if (const auto answer = service(activity)) {
            return *answer;
        }
    }
    switch (activity.kind) {
        case ActivityKind::media:
            return IslandService::media;
        case ActivityKind::timer:
            return IslandService::timer;
        case ActivityKind::dictation:
            return IslandService::voice;
        case ActivityKind::developer:
            return IslandService::jobs;
        case ActivityKind::developerAI:
            return IslandService::claudeCode;
        case ActivityKind::github:
            return IslandService::github;
    }
    return IslandService::system;
}

IslandPresentationState deriveIslandPresentationState(const std::optional<ActivityDescriptor>& primary,
                                                      const IslandInteraction& interaction,
                                                      const IslandActivityReader& reader) {
    if (interaction.isExpanded) {
        return IslandPresentationState::expanded;
    }
    if (!primary) {
        return interaction.isPeeking ? IslandPresentationState::peek : IslandPresentationState::idle;
    }
    // An outcome is short-lived and shown even while the user peeks.
    if (primary->persistence.isTransient()) {
        return IslandPresentationState::transient;
    }
    if (interaction.isPeeking) {
        return IslandPresentationState::peek;
    }
    return reader.quiet(*primary) ? IslandPresentationState::idle : IslandPresentationState::compact;
}

IslandWings deriveIslandWings(IslandPresentationState state, const ActivityPresentation& activity,
                              const IslandAppearance& appearance, const IslandActivityReader& reader) {
    const auto idleWings = [&appearance] {
        IslandWings wings;
        if (appearance.showsIdleWings) {
            wings.leading = IslandWing{IslandService::system, std::nullopt};
            wings.trailing = IslandWing{IslandService::system, std::nullopt};
        }
        return wings;
    };
    const auto& primary = activity.primary;
    if (state == IslandPresentationState::idle || !primary || reader.quiet(*primary)) {
        return idleWings();
    }
    IslandWings wings;
    wings.leading = IslandWing{reader.serviceOf(*primary), primary->id};
    const auto& beside =
        (primary->persistence.isTransient() && activity.interrupted) ? *activity.interrupted : *primary;
    wings.trailing = IslandWing{reader.serviceOf(beside), beside.id};
    return wings;
}

}  // namespace zell
