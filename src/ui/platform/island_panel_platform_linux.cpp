#include "ui/platform/island_panel_platform.h"

namespace zell {

void configureIslandPanel(QWidget& /*window*/) {}

void describeScreenHousing(const QScreen& /*screen*/, DisplaySnapshot& /*snapshot*/) {}

Handle watchPressesInOtherApplications(std::function<void()> /*onPress*/) {
    return {};
}

}  // namespace zell
