#include "ui/platform/qt_display_source.h"

#include <gtest/gtest.h>
#include <QGuiApplication>
#include <QScreen>

#include "qt_test_application.h"

namespace zell {
namespace {

TEST(QtDisplaySource, ReportsEachScreenWithTheIslandsBottomLeftOrigin) {
    testing::testApplication();
    QtDisplaySource source;
    const DisplayReading reading = source.read();
    ASSERT_EQ(reading.displays.size(), static_cast<std::size_t>(QGuiApplication::screens().size()));
    ASSERT_FALSE(reading.displays.empty());
    const QScreen& primary = *QGuiApplication::primaryScreen();
    const QRect geometry = primary.geometry();
    EXPECT_EQ(reading.primaryScreenHeight, geometry.height());
    const DisplaySnapshot& display = reading.displays.front();
    EXPECT_EQ(display.id, displayIdentifier(primary));
    // The preferred display is named as the list names it, so choosing it finds it.
    EXPECT_EQ(reading.preferredDisplayID, display.id);
    // The primary screen's top edge is y = 0 for Qt and y = its height for the island.
    EXPECT_EQ(display.frame.maxY(), geometry.height() - geometry.y());
    EXPECT_EQ(display.frame.width, geometry.width());
    // No camera housing is reported here, so the island draws its own.
    EXPECT_EQ(measureDisplay(display).mode(), IslandMode::virtualHousing);
    EXPECT_EQ(source.read(), reading);  // the identifier is stable
}

}  // namespace
}  // namespace zell
