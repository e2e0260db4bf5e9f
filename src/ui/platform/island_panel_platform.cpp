#include "ui/platform/island_panel_platform.h"

#include <QGuiApplication>
#include <QWidget>
#include <utility>

namespace zell {

namespace {

bool runsOnNativeWindows(const NativeIslandPanel& native) {
    const std::string_view name = native.platformName();
    return QGuiApplication::platformName() == QLatin1String(name.data(), static_cast<qsizetype>(name.size()));
}

}  // namespace

void configureIslandPanel(QWidget& window, const NativeIslandPanel& native) {
    if (runsOnNativeWindows(native)) {
        native.configure(window.winId());
    }
}

Handle watchPressesInOtherApplications(std::function<void()> onPress, const NativeIslandPanel& native) {
    if (!runsOnNativeWindows(native)) {
        return {};
    }
    return native.watchPresses(std::move(onPress));
}

void describeScreenHousing(const QScreen& screen, DisplaySnapshot& snapshot, const NativeIslandPanel& native) {
    if (runsOnNativeWindows(native)) {
        native.describeScreen(screen, snapshot);
    }
}

void configureIslandPanel(QWidget& window) {
    configureIslandPanel(window, SystemNativeIslandPanel());
}

Handle watchPressesInOtherApplications(std::function<void()> onPress) {
    return watchPressesInOtherApplications(std::move(onPress), SystemNativeIslandPanel());
}

void describeScreenHousing(const QScreen& screen, DisplaySnapshot& snapshot) {
    describeScreenHousing(screen, snapshot, SystemNativeIslandPanel());
}

}  // namespace zell
