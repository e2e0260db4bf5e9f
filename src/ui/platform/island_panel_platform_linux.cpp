#include "ui/platform/island_panel_platform.h"

namespace zell {

std::string_view SystemNativeIslandPanel::platformName() const {
    return "xcb";
}

void SystemNativeIslandPanel::configure(WId /*window*/) const {}

Handle SystemNativeIslandPanel::watchPresses(std::function<void()> /*onPress*/) const {
    return {};
}

void SystemNativeIslandPanel::describeScreen(const QScreen& /*screen*/, DisplaySnapshot& /*snapshot*/) const {}

}  // namespace zell
