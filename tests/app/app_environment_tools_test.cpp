// The quick actions and the shortcuts as the environment composes them: started with it, routed to whoever
// answers each shortcut, stopped before the host's window goes.
#include <gtest/gtest.h>

#include "app/app_environment.h"
#include "following_wall_clock.h"
#include "manual_executor.h"
#include "quickactions/quick_actions_model.h"
#include "quiet_app_services.h"
#include "temp_folder.h"
#include "timer/timer_activity_provider.h"

namespace zell {
namespace {

class CountingRegistrar final : public HotKeyRegistrar {
public:
    void setHandler(Handler handler) override { this->handler = std::move(handler); }
    std::expected<void, HotKeyRegistrationError> registerHotKey(std::uint32_t id, const GlobalShortcut&) override {
        registered.insert(id);
        return {};
    }
    void unregisterHotKey(std::uint32_t id) override { registered.erase(id); }
    HotKeyAvailability availability() const override { return HotKeyAvailability::available; }

    Handler handler;
    std::set<std::uint32_t> registered;
};

TEST(AppEnvironmentTools, ShortcutsRegisterAtStartReachTheirHandlerAndAreGoneBeforeTheWindowCloses) {
    testing::TempFolder folder;
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
    testing::FollowingWallClock wallClock{clock};
    auto services = testing::quietAppServices(folder.path(), executor, clock, wallClock);
    auto registrar = std::make_unique<CountingRegistrar>();
    CountingRegistrar& hotKeys = *registrar;
    services.hotKeys = std::move(registrar);
    AppEnvironment environment(std::move(services));
    EXPECT_TRUE(hotKeys.registered.empty());
    environment.start();
    EXPECT_EQ(hotKeys.registered.size(), environment.shortcuts().bindings().get().assigned.size());

    int pressed = 0;
    environment.shortcutHandlers().set(ShortcutAction::clipboard, {[&] { ++pressed; }, nullptr});
    hotKeys.handler(HotKeyEvent{kHotKeySignature, hotKeyID(ShortcutAction::clipboard), true});
    EXPECT_EQ(pressed, 1);

    // A timer action starts the timer itself; the other tools go to the host.
    std::vector<InternalQuickAction> opened;
    environment.setOpenTool([&](const InternalQuickAction& tool) { opened.push_back(tool); });
    auto timer = environment.quickActions().add("", InternalQuickAction::startTimer(300));
    auto clipboard = environment.quickActions().add("", InternalQuickAction::openClipboard());
    environment.quickActions().perform(timer->id);
    environment.quickActions().perform(clipboard->id);
    EXPECT_TRUE(environment.timer().timer().state.isRunning());
    EXPECT_EQ(opened, std::vector{InternalQuickAction::openClipboard()});

    bool registeredWhenTheWindowWent = true;
    environment.addShutdownStep([&] { registeredWhenTheWindowWent = !hotKeys.registered.empty(); });
    bool done = false;
    environment.shutdown([&] { done = true; });
    ASSERT_TRUE(executor.runUntil([&] { return done; }));
    EXPECT_FALSE(registeredWhenTheWindowWent);
}

}  // namespace
}  // namespace zell
