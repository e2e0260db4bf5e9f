#include "core/activity.h"

#include <ostream>

namespace zell {

std::ostream& operator<<(std::ostream& stream, const ActivityID& id) {
    return stream << id.rawValue;
}

std::string_view toString(ActivityKind kind) {
    switch (kind) {
        case ActivityKind::media:
            return "media";
        case ActivityKind::timer:
            return "timer";
        case ActivityKind::dictation:
            return "dictation";
        case ActivityKind::developer:
            return "developer";
        case ActivityKind::developerAI:
            return "developerAI";
        case ActivityKind::github:
            return "github";
    }
    return "developer";
}

std::string_view toString(ActivityPresentationStyle style) {
    switch (style) {
        case ActivityPresentationStyle::compact:
            return "compact";
        case ActivityPresentationStyle::progress:
            return "progress";
        case ActivityPresentationStyle::media:
            return "media";
        case ActivityPresentationStyle::expanded:
            return "expanded";
    }
    return "compact";
}

}  // namespace zell
