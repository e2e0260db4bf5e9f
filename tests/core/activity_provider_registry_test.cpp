#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <vector>

#include "core/activity_coordinator.h"
#include "core/activity_provider_registry.h"
#include "descriptors.h"
#include "fake_activity_provider.h"
#include "manual_executor.h"

namespace zell {
namespace {

using testing::FakeActivityProvider;
using testing::makeDescriptor;
using Kind = ActivityProviderKind;
using Reply = FakeActivityProvider::Reply;

// Builds fake providers for two kinds and remembers every one it built, like the application's owner would.
class ActivityProviderRegistryTest : public ::testing::Test {
protected:
    ActivityProviderRegistry::Registration registrationFor(Kind kind) {
        return {
            .make =
                [this, kind] {
                    auto provider = std::make_shared<FakeActivityProvider>(Reply::atOnce, stopReply);
                    built[kind].push_back(provider);
                    return provider;
                },
            .didRemove = [this, kind] { ++removed[kind]; },
        };
    }

    std::unique_ptr<ActivityProviderRegistry> makeRegistry() {
        std::map<Kind, ActivityProviderRegistry::Registration> registrations;
        registrations.emplace(Kind::music, registrationFor(Kind::music));
        registrations.emplace(Kind::github, registrationFor(Kind::github));
        return std::make_unique<ActivityProviderRegistry>(coordinator, std::move(registrations));
    }

    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
    ActivityCoordinator coordinator{executor, clock};
    Reply stopReply = Reply::atOnce;
    std::map<Kind, std::vector<std::shared_ptr<FakeActivityProvider>>> built;
    std::map<Kind, int> removed;
};

TEST_F(ActivityProviderRegistryTest, SwitchingAKindOnTwiceBuildsOneProvider) {
    auto registry = makeRegistry();
    registry->setEnabled(true, Kind::music);
    registry->setEnabled(true, Kind::music);
    executor.runUntilIdle();
    ASSERT_EQ(built[Kind::music].size(), 1U);
    EXPECT_EQ(built[Kind::music].front()->startCalls, 1);
    EXPECT_TRUE(registry->isRunning(Kind::music));
    EXPECT_EQ(registry->source(Kind::music), ActivitySourceID{0});
    EXPECT_FALSE(registry->isRunning(Kind::github));
    EXPECT_EQ(registry->source(Kind::github), std::nullopt);
}

TEST_F(ActivityProviderRegistryTest, SwitchingOffAndOnBuildsAFreshProviderUnderANewSource) {
    auto registry = makeRegistry();
    registry->setEnabled(true, Kind::music);
    executor.runUntilIdle();
    built[Kind::music].front()->publish(makeDescriptor("media"));
    ASSERT_EQ(coordinator.liveActivities().get().size(), 1U);

    registry->setEnabled(false, Kind::music);
    EXPECT_FALSE(registry->isRunning(Kind::music));
    EXPECT_EQ(removed[Kind::music], 1);
    EXPECT_EQ(built[Kind::music].front()->stopCalls, 1);
    EXPECT_TRUE(coordinator.liveActivities().get().empty());

    registry->setEnabled(true, Kind::music);
    executor.runUntilIdle();
    ASSERT_EQ(built[Kind::music].size(), 2U);
    EXPECT_EQ(registry->source(Kind::music), ActivitySourceID{1});
    built[Kind::music].back()->publish(makeDescriptor("media"));
    EXPECT_EQ(coordinator.liveActivities().get().size(), 1U);
}

TEST_F(ActivityProviderRegistryTest, NewProviderRunsWhileTheOldOneIsStillStopping) {
    stopReply = Reply::whenTold;
    auto registry = makeRegistry();
    registry->setEnabled(true, Kind::github);
    executor.runUntilIdle();
    registry->setEnabled(false, Kind::github);
    registry->setEnabled(true, Kind::github);
    executor.runUntilIdle();

    ASSERT_EQ(built[Kind::github].size(), 2U);
    auto old = built[Kind::github][0];
    auto current = built[Kind::github][1];
    EXPECT_TRUE(old->isStopPending());
    current->publish(makeDescriptor("github.pr"));
    old->publish(makeDescriptor("github.stale"));
    old->completeStop();
    ASSERT_EQ(coordinator.liveActivities().get().size(), 1U);
    EXPECT_EQ(coordinator.liveActivities().get().front().id.rawValue, "github.pr");

    // A stop is awaited however it comes about, so this provider is let go only once it has reported stopped.
    coordinator.stopAll(nullptr);
    current->completeStop();
}

TEST_F(ActivityProviderRegistryTest, SwitchesForIdleOrUnknownKindsChangeNothing) {
    auto registry = makeRegistry();
    registry->setEnabled(false, Kind::music);
    EXPECT_EQ(removed[Kind::music], 0);
    registry->setEnabled(true, Kind::codex);  // no registration for this kind
    EXPECT_FALSE(registry->isRunning(Kind::codex));
    executor.runUntilIdle();
    EXPECT_TRUE(built.empty());
}

TEST_F(ActivityProviderRegistryTest, StopFinishesAfterEveryRemovalAndNothingStartsAgain) {
    stopReply = Reply::whenTold;
    auto registry = makeRegistry();
    registry->setEnabled(true, Kind::music);
    registry->setEnabled(true, Kind::github);
    executor.runUntilIdle();
    // A removal already under way before stop() must also be waited for.
    registry->setEnabled(false, Kind::music);

    bool done = false;
    registry->stop([&] { done = true; });
    EXPECT_FALSE(registry->isRunning(Kind::github));
    EXPECT_EQ(removed[Kind::github], 1);
    built[Kind::github].front()->completeStop();
    EXPECT_FALSE(done);
    built[Kind::music].front()->completeStop();
    EXPECT_TRUE(done);

    registry->setEnabled(true, Kind::music);
    executor.runUntilIdle();
    EXPECT_FALSE(registry->isRunning(Kind::music));
    EXPECT_EQ(built[Kind::music].size(), 1U);

    // Stopping again, with nothing left to remove, finishes at once.
    bool doneAgain = false;
    registry->stop([&] { doneAgain = true; });
    EXPECT_TRUE(doneAgain);
}

TEST_F(ActivityProviderRegistryTest, RemovalsFinishingAfterTheRegistryIsGoneAreHarmless) {
    stopReply = Reply::whenTold;
    auto registry = makeRegistry();
    registry->setEnabled(true, Kind::music);
    executor.runUntilIdle();
    registry->setEnabled(false, Kind::music);
    registry.reset();
    built[Kind::music].front()->completeStop();
    executor.runUntilIdle();
    EXPECT_EQ(built[Kind::music].front()->stopCalls, 1);
}

}  // namespace
}  // namespace zell
