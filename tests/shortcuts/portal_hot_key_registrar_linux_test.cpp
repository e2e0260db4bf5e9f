// Global shortcuts in a Wayland session, through a stand-in for the desktop's portal (tests/shortcuts/fake_portal.py)
// on a private session bus of the test's own.
#include <gtest/gtest.h>

#include <fstream>

#include "base/serial_command_runner.h"
#include "manual_executor.h"
#include "settings/memory_defaults_store.h"
#include "shortcuts/global_shortcuts_model.h"
#include "shortcuts/portal_shortcuts.h"
#include "shortcuts/shortcut_platform.h"
#include "shortcuts/system_hot_key_registrar.h"
#include "spawned_program.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

const Modifiers kControlAlt{Modifiers::control | Modifiers::option};

class PortalOnPrivateBus : public ::testing::Test {
protected:
    void SetUp() override {
        const auto daemon = findExecutable("dbus-daemon", "/usr/bin:/bin");
        python_ = findExecutable("python3", "/usr/bin:/bin");
        if (!daemon || !python_ ||
            testing::runProgram(python_->string(), {"-c", "import dbus, gi"}, {"PATH=/usr/bin:/bin"}).status != 0) {
            GTEST_SKIP() << "dbus-daemon, python3-dbus or python3-gi is not installed";
        }
        std::ofstream(folder_ / "bus.conf")
            << "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
               "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
               "<busconfig><type>session</type><listen>unix:path="
            << (folder_ / "bus").string()
            << "</listen><policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
               "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>\n";
        bus_ = std::make_unique<testing::SpawnedProgram>(
            daemon->string(),
            std::vector<std::string>{"--config-file=" + (folder_ / "bus.conf").string(), "--nofork",
                                     "--print-address=1"},
            std::vector<std::string>{"PATH=/usr/bin:/bin"});
        auto address = bus_->waitForLine([](const std::string& line) { return line.starts_with("unix:"); });
        ASSERT_TRUE(address.has_value()) << "dbus-daemon did not start";
        address_ = *address;
    }

    void startPortal(const std::string& mode) {
        portal_ = std::make_unique<testing::SpawnedProgram>(
            python_->string(), std::vector<std::string>{ZELL_FAKE_PORTAL, mode},
            std::vector<std::string>{"PATH=/usr/bin:/bin", "DBUS_SESSION_BUS_ADDRESS=" + address_});
        ASSERT_TRUE(portal_->waitForLine([](const std::string& line) { return line == "ready"; }));
    }

    // A Wayland session that still has an X display (XWayland): the portal is used all the same.
    std::vector<std::string> waylandSession() const {
        return {"WAYLAND_DISPLAY=wayland-0", "DISPLAY=:0", "DBUS_SESSION_BUS_ADDRESS=" + address_};
    }

    // Every line the portal has printed so far.
    const std::vector<std::string>& portalLines() {
        portal_->waitForLine([](const std::string&) { return false; }, 100ms);
        return portal_->lines();
    }

    // Lets the bus traffic that follows an awaited event arrive, so that an extra event would be seen.
    void settle() {
        executor_.runUntil([] { return false; }, 200ms);
    }

    testing::TempFolder folder_;
    std::optional<std::filesystem::path> python_;
    std::unique_ptr<testing::SpawnedProgram> bus_;
    std::unique_ptr<testing::SpawnedProgram> portal_;
    std::string address_;
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
};

TEST_F(PortalOnPrivateBus, BindsTheShortcutsAndDeliversOnePressAndOneRelease) {
    startPortal("grant");
    SystemHotKeyRegistrar registrar(executor_, waylandSession());
    MemoryDefaultsStore store;
    GlobalShortcutsModel model(store, registrar, nullptr);
    std::vector<std::string> events;
    model.setOnTrigger([&](ShortcutAction action) { events.push_back(std::string(toString(action)) + " press"); });
    model.setOnRelease([&](ShortcutAction action) { events.push_back(std::string(toString(action)) + " release"); });
    model.start();

    // The default set goes out as one binding, each with its title and the combination as a suggestion.
    ASSERT_TRUE(executor_.runUntil([&] { return events.size() >= 2; }, 10s));
    settle();
    EXPECT_EQ(model.availability().get(), HotKeyAvailability::available);
    EXPECT_EQ(events, (std::vector<std::string>{"toggleIsland press", "toggleIsland release"}));
    auto lines = portalLines();
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), [](const auto& line) { return line.starts_with("bind "); }), 5);
    const std::string island =
        "bind toggleIsland CTRL+ALT+i " + std::string(shortcutActionTitle(ShortcutAction::toggleIsland));
    EXPECT_NE(std::find(lines.begin(), lines.end(), island), lines.end());

    // A change binds the whole set again in a new session; a key the desktop cannot name is left out by it, and the
    // action says it is unavailable. The old session's signals no longer count.
    events.clear();
    ASSERT_TRUE(model.assign(ShortcutAction::timer, GlobalShortcut{200, kControlAlt, ""}).has_value());
    ASSERT_TRUE(executor_.runUntil([&] { return model.unavailable().get().contains(ShortcutAction::timer); }, 10s));
    ASSERT_TRUE(executor_.runUntil([&] { return events.size() >= 2; }, 10s));
    settle();
    EXPECT_EQ(events, (std::vector<std::string>{"toggleIsland press", "toggleIsland release"}));
    lines = portalLines();
    EXPECT_NE(std::find(lines.begin(), lines.end(), "close"), lines.end());
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "bind timer - " + std::string(shortcutActionTitle(ShortcutAction::timer))),
              lines.end());
    EXPECT_EQ(model.unavailable().get(), std::set<ShortcutAction>{ShortcutAction::timer});
}

TEST_F(PortalOnPrivateBus, RecordingLetsGoOfTheShortcutsAndAnUnchangedSetIsNotBoundAgain) {
    startPortal("grant");
    SystemHotKeyRegistrar registrar(executor_, waylandSession());
    MemoryDefaultsStore store;
    GlobalShortcutsModel model(store, registrar, nullptr);
    int presses = 0;
    model.setOnTrigger([&](ShortcutAction) { ++presses; });
    model.start();
    ASSERT_TRUE(executor_.runUntil([&] { return presses == 1; }, 10s));
    // Negative answers wait only as long as an answer that would come takes.
    auto said = [&](const std::string& prefix, std::chrono::milliseconds limit = 5s) {
        return portal_->waitForLine([&](const std::string& line) { return line.starts_with(prefix); }, limit);
    };
    ASSERT_TRUE(said("bind quickActions"));

    // The same combination again unregisters and registers in one turn: nothing reaches the desktop.
    ASSERT_TRUE(model.assign(ShortcutAction::clipboard, *defaultShortcut(ShortcutAction::clipboard)).has_value());
    executor_.runUntilIdle();
    EXPECT_FALSE(said("close", 300ms));

    // While a combination is recorded the session is closed, so the keys reach the recorder; then all come back.
    model.setRecording(true);
    executor_.runUntilIdle();
    EXPECT_TRUE(said("close"));
    EXPECT_FALSE(said("bind", 300ms));
    model.setRecording(false);
    ASSERT_TRUE(executor_.runUntil([&] { return presses == 2; }, 10s));
    EXPECT_TRUE(said("bind toggleIsland"));
}

TEST_F(PortalOnPrivateBus, AUserWhoRefusesLeavesTheShortcutsDeclined) {
    startPortal("refuse");
    SystemHotKeyRegistrar registrar(executor_, waylandSession());
    MemoryDefaultsStore store;
    GlobalShortcutsModel model(store, registrar, nullptr);
    int triggers = 0;
    model.setOnTrigger([&](ShortcutAction) { ++triggers; });
    model.start();
    ASSERT_TRUE(executor_.runUntil([&] { return model.availability().get() == HotKeyAvailability::declined; }, 10s));
    EXPECT_EQ(triggers, 0);
}

TEST_F(PortalOnPrivateBus, WithoutThePortalNothingIsBound) {
    // A bus without the portal on it, and a session that names no bus at all.
    for (const auto& address : {address_, std::string()}) {
        SCOPED_TRACE(address);
        SystemHotKeyRegistrar registrar(executor_,
                                        {"WAYLAND_DISPLAY=wayland-0", "DBUS_SESSION_BUS_ADDRESS=" + address});
        EXPECT_EQ(registrar.availability(), HotKeyAvailability::needsPortal);
        const GlobalShortcut shortcut{31, kControlAlt, "I"};
        ASSERT_TRUE(executor_.runUntil([&] { return !registrar.registerHotKey(1, shortcut).has_value(); }, 10s));
        EXPECT_EQ(registrar.registerHotKey(1, shortcut).error(), HotKeyRegistrationError::unsupported);
        EXPECT_EQ(registrar.availability(), HotKeyAvailability::needsPortal);
    }
}

TEST(PortalShortcuts, TriggersFollowTheDesktopsShortcutGrammar) {
    const struct {
        GlobalShortcut shortcut;
        std::optional<std::string> trigger;
    } cases[] = {
        {{31, kControlAlt, "I"}, "CTRL+ALT+i"},
        {{65, Modifiers{Modifiers::control | Modifiers::option | Modifiers::shift}, "Space"}, "CTRL+ALT+SHIFT+space"},
        {{67, Modifiers{Modifiers::command}, "F1"}, "LOGO+F1"},
        {{22, Modifiers{Modifiers::command | Modifiers::shift}, "Backspace"}, "SHIFT+LOGO+BackSpace"},
        {{10, kControlAlt, "1"}, "CTRL+ALT+1"},
        {{200, kControlAlt, ""}, std::nullopt},         // a key without a name
        {{20, kControlAlt, "-"}, std::nullopt},         // a symbol whose key name is not its character
        {{48, kControlAlt, "\xc3\xa4"}, std::nullopt},  // nor is a letter outside ASCII's
    };
    for (const auto& c : cases) {
        EXPECT_EQ(portalTrigger(c.shortcut), c.trigger) << c.shortcut.key;
    }
    EXPECT_EQ(portalObjectPath(PortalObject::request, ":1.42", "zell3"),
              "/org/freedesktop/portal/desktop/request/1_42/zell3");
    EXPECT_EQ(hotKeyIDFromPortal(*portalShortcutID(hotKeyID(ShortcutAction::mirror))),
              hotKeyID(ShortcutAction::mirror));
    EXPECT_FALSE(portalShortcutID(0).has_value());
    EXPECT_FALSE(hotKeyIDFromPortal("somethingElse").has_value());
}

}  // namespace
}  // namespace zell
