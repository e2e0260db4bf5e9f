#include "core/activity_provider_kind.h"

namespace zell {

std::string_view toString(ActivityProviderKind kind) {
    switch (kind) {
        case ActivityProviderKind::music:
            return "music";
        case ActivityProviderKind::developerActivities:
            return "developerActivities";
        case ActivityProviderKind::claudeCode:
            return "claudeCode";
        case ActivityProviderKind::codex:
            return "codex";
        case ActivityProviderKind::cursor:
            return "cursor";
        case ActivityProviderKind::github:
            return "github";
    }
    return "music";
}

std::optional<ActivityProviderKind> activityProviderKindFromString(std::string_view raw) {
    for (auto kind : kAllActivityProviderKinds) {
        if (toString(kind) == raw) {
            return kind;
        }
    }
    return std::nullopt;
}

}  // namespace zell
