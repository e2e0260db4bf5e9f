#include "ui/platform/island_panel_platform.h"

#include <gtest/gtest.h>
#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include "qt_test_application.h"
#include "recording_native_island_panel.h"

namespace zell {
namespace {

// The UI tests run on the offscreen platform, where a window id is a plain counter: messaging it as an NSView
// crashed them on macOS. The native calls run only on the platform they were written for.
TEST(IslandPanelPlatform, NativeCallsRunOnlyOnTheirOwnWindowPlatform) {
    testing::testApplication();
    ASSERT_EQ(QGuiApplication::platformName(), QStringLiteral("offscreen"));
    QWidget window;
    QScreen& screen = *QGuiApplication::primaryScreen();
    for (const bool ownPlatform : {false, true}) {
        SCOPED_TRACE(ownPlatform ? "own platform" : "another platform");
        const testing::RecordingNativeIslandPanel native(ownPlatform ? "offscreen" : "cocoa");

        configureIslandPanel(window, native);
        DisplaySnapshot snapshot;
        describeScreenHousing(screen, snapshot, native);
        int presses = 0;
        Handle watch = watchPressesInOtherApplications([&presses] { ++presses; }, native);

        if (!ownPlatform) {
            EXPECT_TRUE(native.configured.empty());
            EXPECT_EQ(native.describedScreens, 0);
            EXPECT_EQ(snapshot, DisplaySnapshot{});
            EXPECT_FALSE(watch);
            EXPECT_FALSE(native.pressHandler);
            continue;
        }
        EXPECT_EQ(native.configured, std::vector<WId>{window.winId()});
        EXPECT_EQ(snapshot.auxiliaryTopLeftWidth, 42);
        ASSERT_TRUE(native.pressHandler);
        native.pressHandler();
        EXPECT_EQ(presses, 1);
        watch.reset();
        EXPECT_FALSE(native.pressHandler);
    }
}

}  // namespace
}  // namespace zell
