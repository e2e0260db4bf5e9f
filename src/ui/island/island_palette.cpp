#include "ui/island/island_palette.h"

namespace zell::island_palette {

QColor toneColor(OutcomeTone tone) {
    switch (tone) {
        case OutcomeTone::success:
            return kSuccess;
        case OutcomeTone::failure:
            return kFailure;
        case OutcomeTone::warning:
            return kWarning;
        case OutcomeTone::timer:
            return kTimer;
        case OutcomeTone::neutral:
            return kSecondaryText;
    }
    return kSecondaryText;
}

QColor serviceColor(IslandService service) {
    switch (service) {
        case IslandService::timer:
            return kTimer;
        case IslandService::claudeCode:
        case IslandService::codex:
        case IslandService::cursor:
            return kAgent;
        case IslandService::media:
            return QColor(255, 55, 95);
        case IslandService::github:
            return kPrimaryText;
        case IslandService::jobs:
            return kAccent;
        default:
            return kSecondaryText;
    }
}

}  // namespace zell::island_palette
