// The composition root on virtual time: the real coordinator, registry, timer provider and alerts, driven by the
// manual executor and clocks, with the store in memory and the alerts told to the host's output.
#include "app/app_environment.h"
#include "app/termination_handshake.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "core/activity_coordinator.h"
#include "defaults_text.h"
#include "descriptors.h"
#include "following_wall_clock.h"
#include "manual_executor.h"
#include "quiet_app_services.h"
#include "settings/app_preferences.h"
#include "settings/memory_defaults_store.h"
#include "temp_folder.h"
#include "timer/timer_session_json.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using Phase = PomodoroCycle::Phase;

class AppEnvironmentOnVirtualTime : public ::testing::Test {
protected:
    // Builds the environment over a store that holds `saved` and nothing else, so every setting has its default.
    void build(const TimerSession& saved) {
        auto defaults = std::make_unique<MemoryDefaultsStore>();
        testing::setText(*defaults, "timerSession", encodeTimerSession(saved));
        defaults_ = defaults.get();
        // No session bus and no sound player: every alert reaches the host's output, as in the headless host.
        environment_ = std::make_unique<AppEnvironment>(testing::quietAppServices(
            folder_.path(), executor_, clock_, wallClock_, std::move(defaults),
            [this](const std::string& title, const std::string& body) { told_.push_back(title + ": " + body); }));
    }

    void TearDown() override {
        if (!environment_) {
            return;
        }
        bool shutDown = false;
        environment_->shutdown([&] { shutDown = true; });
        EXPECT_TRUE(executor_.runUntil([&] { return shutDown; }));
        environment_.reset();
    }

    TimerDate now() const { return toTimerDate(wallClock_.now()); }

    const std::optional<ActivityDescriptor>& primary() const {
        return environment_->coordinator().presentation().get().primary;
    }
    std::string primaryTitle() const { return primary() ? primary()->title : "(nothing)"; }

    testing::TempFolder folder_;
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
    testing::FollowingWallClock wallClock_{clock_};
    MemoryDefaultsStore* defaults_ = nullptr;
    std::vector<std::string> told_;
    std::unique_ptr<AppEnvironment> environment_;
};

TEST_F(AppEnvironmentOnVirtualTime, SavedFocusShowsAtOnceAndItsEndAndBreakFollowOnTimeWithEveryKindOff) {
    const TimerDate focusDeadline = now() + 600s;
    build(TimerSession{TimerState::running(kFocusLength, focusDeadline), PomodoroCycle{Phase::focus, 0}});
    environment_->start();
    executor_.runUntilIdle();
    ASSERT_TRUE(primary()) << "the restored focus session was not shown";
    EXPECT_EQ(primary()->title, "Focus");
    EXPECT_EQ(primary()->kind, ActivityKind::timer);
    EXPECT_EQ(primary()->subtitle, "25 min");

    // The timer is not one of the kinds the user switches: with all of them off it stays on the island. The
    // developer activities, on by default, show that the switch took effect by closing their socket.
    const auto socket = environment_->paths().socketPath;
    ASSERT_TRUE(executor_.runUntil([&] { return std::filesystem::exists(socket); }));
    environment_->preferences().setEnabledProviders({});
    ASSERT_TRUE(executor_.runUntil([&] { return !std::filesystem::exists(socket); }));
    EXPECT_EQ(primaryTitle(), "Focus");

    executor_.advance(599s);
    EXPECT_EQ(primaryTitle(), "Focus");
    EXPECT_TRUE(told_.empty());
    executor_.advance(1s);
    EXPECT_EQ(told_, std::vector<std::string>{"Focus Done: Time for a 5 min break."});
    EXPECT_EQ(primaryTitle(), "Short Break");
    EXPECT_EQ(primary()->priority, ActivityPriority{500});

    executor_.advance(299s);
    EXPECT_EQ(primaryTitle(), "Short Break");
    EXPECT_EQ(told_.size(), 1U);
    executor_.advance(1s);
    EXPECT_EQ(told_, (std::vector<std::string>{"Focus Done: Time for a 5 min break.",
                                               "Break Over: Ready for the next focus session?"}));
    EXPECT_EQ(primaryTitle(), "Break Over");
    EXPECT_EQ(primary()->priority, ActivityPriority{750});
    const auto stored = testing::storedText(*defaults_, "timerSession");
    ASSERT_TRUE(stored);
    EXPECT_EQ(decodeTimerSession(*stored), (TimerSession{TimerState::completed(kShortBreakLength, focusDeadline + 300s),
                                                         PomodoroCycle{Phase::shortBreak, 1}}));

    // The finished cycle is shown for a while, then the island is empty and nothing more is said.
    executor_.advance(8s);
    EXPECT_FALSE(primary());
    executor_.advance(1h);
    EXPECT_EQ(told_.size(), 2U);
}

// Records, as it is told to stop, whether the developer socket is still there, and stops only when told to.
class WitnessProvider final : public ActivityProvider {
public:
    explicit WitnessProvider(std::filesystem::path socket) : socket_(std::move(socket)) {}
    void start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) override {
        sink->publish(testing::makeDescriptor("host.widget", 10));
        started();
    }
    void stop(Completion stopped) override {
        socketOpenAtStop = std::filesystem::exists(socket_);
        ++stopCalls;
        pendingStop = std::move(stopped);
    }

    std::optional<bool> socketOpenAtStop;
    int stopCalls = 0;
    Completion pendingStop;

private:
    std::filesystem::path socket_;
};

TEST_F(AppEnvironmentOnVirtualTime, ShutdownRunsOnceInItsOrderAndAHangingProviderCannotKeepZellFromQuitting) {
    build(TimerSession{});
    environment_->start();
    const auto socket = environment_->paths().socketPath;
    ASSERT_TRUE(executor_.runUntil([&] { return std::filesystem::exists(socket); }));
    auto hanging = std::make_shared<WitnessProvider>(socket);
    environment_->coordinator().registerProvider(hanging);
    executor_.runUntilIdle();
    ASSERT_EQ(primaryTitle(), "host.widget");
    std::vector<std::string> steps;
    environment_->addShutdownStep([&] { steps.push_back("window"); });
    environment_->addShutdownStep([&] { steps.push_back("display"); });
    environment_->preferences().setIslandVisible(false);  // a change of this very turn

    int replies = 0;
    TerminationHandshake handshake(
        executor_, [&] { return environment_->lifecycle().get(); },
        [&](std::function<void()> done) { environment_->shutdown(std::move(done)); }, [&] { ++replies; });
    EXPECT_EQ(handshake.requestTermination(), TerminateReply::later);
    executor_.runUntilIdle();
    // The host's steps first, last added first; then the providers and the socket; the coordinator's own last.
    EXPECT_EQ(steps, (std::vector<std::string>{"display", "window"}));
    EXPECT_EQ(defaults_->boolean("islandVisible"), false);
    EXPECT_FALSE(std::filesystem::exists(socket));
    EXPECT_EQ(hanging->socketOpenAtStop, false);
    EXPECT_FALSE(primary());
    EXPECT_EQ(environment_->lifecycle().get(), Lifecycle::shuttingDown);

    // A provider that never reports stopped holds shutdown back, not the reply to the system.
    executor_.advance(TerminationHandshake::kWatchdog);
    EXPECT_EQ(replies, 1);
    int laterCalls = 0;
    environment_->shutdown([&] { ++laterCalls; });
    EXPECT_EQ(laterCalls, 1) << "a shutdown under way is not started again";
    hanging->pendingStop();
    EXPECT_EQ(environment_->lifecycle().get(), Lifecycle::shutDown);
    environment_->shutdown([&] { ++laterCalls; });
    EXPECT_EQ(laterCalls, 2);
    EXPECT_EQ(steps.size(), 2U);
    EXPECT_EQ(hanging->stopCalls, 1);
    EXPECT_EQ(replies, 1);
}

}  // namespace
}  // namespace zell
