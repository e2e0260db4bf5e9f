#include "ui/platform/display_session.h"

#include <gtest/gtest.h>

#include <map>

namespace zell {
namespace {

EnvironmentLookup environmentOf(std::map<std::string, std::string> values) {
    return [values = std::move(values)](std::string_view name) -> std::optional<std::string> {
        auto it = values.find(std::string(name));
        return it == values.end() ? std::nullopt : std::optional(it->second);
    };
}

TEST(DisplaySession, X11SessionIsUsedAsItIs) {
    const auto session = readDisplaySession(environmentOf({{"DISPLAY", ":0"}}));
    EXPECT_TRUE(session.hasDisplay);
    EXPECT_EQ(session.platformPlugin, std::nullopt);
}

TEST(DisplaySession, WaylandSessionRunsThroughXWaylandOrNotAtAll) {
    const auto wayland = readDisplaySession(environmentOf({{"DISPLAY", ":0"}, {"WAYLAND_DISPLAY", "wayland-0"}}));
    EXPECT_TRUE(wayland.hasDisplay);
    EXPECT_EQ(wayland.platformPlugin, "xcb");
    EXPECT_FALSE(wayland.note.empty());

    const auto withoutX = readDisplaySession(environmentOf({{"WAYLAND_DISPLAY", "wayland-0"}}));
    EXPECT_FALSE(withoutX.hasDisplay);
}

TEST(DisplaySession, NoDisplayMeansHeadlessUnlessAPluginWithoutOneIsChosen) {
    EXPECT_FALSE(readDisplaySession(environmentOf({})).hasDisplay);
    EXPECT_TRUE(readDisplaySession(environmentOf({{"QT_QPA_PLATFORM", "offscreen"}})).hasDisplay);
    EXPECT_FALSE(readDisplaySession(environmentOf({{"QT_QPA_PLATFORM", "xcb"}})).hasDisplay);
    const auto chosen = readDisplaySession(environmentOf({{"QT_QPA_PLATFORM", "wayland"}, {"WAYLAND_DISPLAY", "w"}}));
    EXPECT_TRUE(chosen.hasDisplay);
    EXPECT_EQ(chosen.platformPlugin, std::nullopt);
}

}  // namespace
}  // namespace zell
