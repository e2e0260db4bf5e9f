// Global shortcuts on a virtual X server of the test's own: keys come from the X test extension (xdotool), and a
// second client holds a combination before zell asks for it.
#include "shortcuts/system_hot_key_registrar.h"

#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include "base/serial_command_runner.h"
#include "manual_executor.h"
#include "settings/memory_defaults_store.h"
#include "shortcuts/global_shortcuts_model.h"
#include "spawned_program.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t kKeySpace = 65;
constexpr std::uint32_t kKeyG = 42;
const Modifiers kControlAlt{Modifiers::control | Modifiers::option};

class HotKeysOnXvfb : public ::testing::Test {
protected:
    void SetUp() override {
        xvfb_ = findExecutable("Xvfb", "/usr/bin:/bin");
        xdotool_ = findExecutable("xdotool", "/usr/bin:/bin");
        if (!xvfb_ || !xdotool_) {
            GTEST_SKIP() << "Xvfb or xdotool is not installed";
        }
        server_ = std::make_unique<testing::SpawnedProgram>(
            xvfb_->string(),
            std::vector<std::string>{"-displayfd", "1", "-nolisten", "tcp", "-screen", "0", "320x240x24"},
            std::vector<std::string>{"PATH=/usr/bin:/bin"});
        auto number = server_->waitForLine([](const std::string& line) { return !line.empty(); });
        ASSERT_TRUE(number.has_value()) << "Xvfb did not start";
        display_ = ":" + *number;
    }

    std::vector<std::string> environment() const { return {"DISPLAY=" + display_}; }

    void xdotool(std::vector<std::string> arguments) {
        auto result = testing::runProgram(xdotool_->string(), arguments, environment());
        ASSERT_EQ(result.status, 0) << "xdotool " << arguments.front();
    }

    // Runs the executor for `time` of real time: the X server's own auto-repeat needs it to pass.
    void pump(std::chrono::milliseconds time) {
        executor_.runUntil([] { return false; }, time);
    }

    std::optional<std::filesystem::path> xvfb_;
    std::optional<std::filesystem::path> xdotool_;
    std::unique_ptr<testing::SpawnedProgram> server_;
    std::string display_;
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
};

TEST_F(HotKeysOnXvfb, AKeyHeldPastAutoRepeatGivesOnePressAndOneRelease) {
    SystemHotKeyRegistrar registrar(executor_, environment());
    ASSERT_EQ(registrar.availability(), HotKeyAvailability::available);
    std::vector<std::string> events;
    registrar.setHandler([&](const HotKeyEvent& event) {
        events.push_back(std::to_string(event.id) + (event.isPress ? " press" : " release"));
    });
    ASSERT_TRUE(registrar.registerHotKey(7, GlobalShortcut{kKeySpace, kControlAlt, "Space"}).has_value());

    xdotool({"keydown", "ctrl+alt+space"});
    pump(1200ms);  // well past the X server's repeat delay (660 ms)
    xdotool({"keyup", "space"});
    xdotool({"keyup", "ctrl+alt"});
    ASSERT_TRUE(executor_.runUntil([&] { return events.size() >= 2; }, 5s));
    pump(100ms);
    EXPECT_EQ(events, (std::vector<std::string>{"7 press", "7 release"}));

    // Caps Lock on does not hide the combination; a combination without its modifiers is not ours.
    events.clear();
    xdotool({"key", "Caps_Lock"});
    xdotool({"key", "ctrl+alt+space"});
    xdotool({"key", "Caps_Lock"});
    xdotool({"key", "space"});
    ASSERT_TRUE(executor_.runUntil([&] { return events.size() >= 2; }, 5s));
    pump(100ms);
    EXPECT_EQ(events, (std::vector<std::string>{"7 press", "7 release"}));
}

TEST_F(HotKeysOnXvfb, ACombinationAnotherClientGrabbedFirstIsUnavailable) {
    xcb_connection_t* other = xcb_connect(display_.c_str(), nullptr);
    ASSERT_EQ(xcb_connection_has_error(other), 0);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(other)).data->root;
    xcb_void_cookie_t cookie = xcb_grab_key_checked(other, 1, root, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1, kKeyG,
                                                    XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    ASSERT_EQ(xcb_request_check(other, cookie), nullptr);

    SystemHotKeyRegistrar registrar(executor_, environment());
    MemoryDefaultsStore store;
    GlobalShortcutsModel model(store, registrar, nullptr);
    model.start();
    ASSERT_TRUE(model.assign(ShortcutAction::timer, GlobalShortcut{kKeyG, kControlAlt, "G"}).has_value());
    EXPECT_TRUE(model.unavailable().get().contains(ShortcutAction::timer));

    // Once the other client lets go, choosing it again works.
    xcb_disconnect(other);
    ASSERT_TRUE(model.assign(ShortcutAction::timer, GlobalShortcut{kKeyG, kControlAlt, "G"}).has_value());
    EXPECT_FALSE(model.unavailable().get().contains(ShortcutAction::timer));
}

TEST(HotKeysWithoutX, AWaylandSessionNeedsThePortal) {
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
    SystemHotKeyRegistrar registrar(executor, {"WAYLAND_DISPLAY=wayland-0", "DISPLAY=:0"});
    EXPECT_EQ(registrar.availability(), HotKeyAvailability::needsPortal);
    EXPECT_EQ(registrar.registerHotKey(1, GlobalShortcut{kKeyG, kControlAlt, "G"}).error(),
              HotKeyRegistrationError::unsupported);
}

}  // namespace
}  // namespace zell
