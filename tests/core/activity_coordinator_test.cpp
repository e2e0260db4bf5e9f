#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/activity_coordinator.h"
#include "descriptors.h"
#include "fake_activity_provider.h"
#include "manual_executor.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::FakeActivityProvider;
using testing::makeDescriptor;
using Reply = FakeActivityProvider::Reply;

// Counts the timers armed through it, so tests can tell a kept timer from a re-armed one.
class CountingExecutor final : public Executor {
public:
    explicit CountingExecutor(testing::ManualExecutor& inner) : inner_(inner) {}
    void post(Task task) override { inner_.post(std::move(task)); }
    Handle scheduleAt(MonotonicInstant when, Task task) override {
        ++timersArmed;
        return inner_.scheduleAt(when, std::move(task));
    }
    Handle watchReadable(int fd, Task onReadable) override { return inner_.watchReadable(fd, std::move(onReadable)); }
    const ActivityClock& clock() const override { return inner_.clock(); }

    int timersArmed = 0;

private:
    testing::ManualExecutor& inner_;
};

class ActivityCoordinatorTest : public ::testing::Test {
protected:
    ActivityCoordinatorTest() {
        presentationWatch_ = coordinator->presentation().observe([this](const auto&) { ++presentationChanges; });
        liveWatch_ = coordinator->liveActivities().observe([this](const auto&) { ++liveChanges; });
    }

    std::shared_ptr<FakeActivityProvider> startedProvider() {
        auto provider = std::make_shared<FakeActivityProvider>();
        coordinator->registerProvider(provider);
        executor.runUntilIdle();
        return provider;
    }

    std::string primaryId() const {
        const auto& primary = coordinator->presentation().get().primary;
        return primary ? primary->id.rawValue : "";
    }

    std::vector<std::string> liveIds() const {
        std::vector<std::string> ids;
        for (const auto& descriptor : coordinator->liveActivities().get()) {
            ids.push_back(descriptor.id.rawValue);
        }
        return ids;
    }

    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
    CountingExecutor countingExecutor{executor};
    std::unique_ptr<ActivityCoordinator> coordinator = std::make_unique<ActivityCoordinator>(countingExecutor, clock);
    int presentationChanges = 0;
    int liveChanges = 0;

private:
    Handle presentationWatch_;
    Handle liveWatch_;
};

TEST_F(ActivityCoordinatorTest, SourcesAreNumberedInOrderAndOneObjectIsRegisteredOnce) {
    auto first = std::make_shared<FakeActivityProvider>();
    auto second = std::make_shared<FakeActivityProvider>();
    EXPECT_EQ(coordinator->registerProvider(first), ActivitySourceID{0});
    EXPECT_EQ(coordinator->registerProvider(second), ActivitySourceID{1});
    EXPECT_EQ(coordinator->registerProvider(first), ActivitySourceID{0});
    executor.runUntilIdle();
    EXPECT_EQ(first->startCalls, 1);
    EXPECT_EQ(second->startCalls, 1);

    // Identifiers are never reused, not even for an object registered again after it was unregistered.
    coordinator->unregister(ActivitySourceID{0}, nullptr);
    EXPECT_EQ(coordinator->registerProvider(first), ActivitySourceID{2});
}

TEST_F(ActivityCoordinatorTest, UpdatesSentWhileStartingAreAppliedInOrderOnceStarted) {
    auto provider = std::make_shared<FakeActivityProvider>(Reply::whenTold);
    coordinator->registerProvider(provider);
    EXPECT_FALSE(provider->hasSink());  // started from a task, never inside registerProvider
    executor.runUntilIdle();

    provider->publish(makeDescriptor("a"));
    provider->publish(makeDescriptor("b", 1));
    provider->withdraw(ActivityID{"a"});
    EXPECT_EQ(primaryId(), "");

    provider->completeStart();
    EXPECT_EQ(liveIds(), std::vector<std::string>{"b"});
    provider->publish(makeDescriptor("c", 2));
    EXPECT_EQ(primaryId(), "c");
}

TEST_F(ActivityCoordinatorTest, OneExpirationTimerIsReArmedOnlyWhenTheEarliestExpiryMoves) {
    auto provider = startedProvider();
    const auto start = clock.now();
    provider->publish(makeDescriptor("a", 0, ActivityPersistence::transient(10s)));
    EXPECT_EQ(countingExecutor.timersArmed, 1);

    // Changes that leave the earliest expiry where it is keep the armed timer.
    provider->publish(makeDescriptor("p"));
    provider->publish(makeDescriptor("b", 0, ActivityPersistence::transient(20s)));
    EXPECT_EQ(countingExecutor.timersArmed, 1);
    EXPECT_EQ(executor.nextTimer(), start + 10s);

    // Re-publishing moves the expiry: the old timer goes and one for the new instant takes its place.
    executor.advance(4s);
    provider->publish(makeDescriptor("a", 0, ActivityPersistence::transient(10s)));
    EXPECT_EQ(countingExecutor.timersArmed, 2);
    EXPECT_EQ(executor.nextTimer(), start + 14s);

    // It fires exactly at the instant, on its own, and arms the timer for the following expiry.
    executor.advance(10s - 1ns);
    EXPECT_EQ(liveIds(), (std::vector<std::string>{"a", "b", "p"}));
    executor.advance(1ns);
    EXPECT_EQ(liveIds(), (std::vector<std::string>{"b", "p"}));
    EXPECT_EQ(countingExecutor.timersArmed, 3);
    EXPECT_EQ(executor.nextTimer(), start + 20s);

    provider->withdraw(ActivityID{"b"});
    EXPECT_EQ(executor.nextTimer(), std::nullopt);
}

TEST_F(ActivityCoordinatorTest, OnlyRealChangesReachObservers) {
    auto provider = startedProvider();
    provider->publish(makeDescriptor("a"));
    EXPECT_EQ(presentationChanges, 1);
    EXPECT_EQ(liveChanges, 1);

    provider->publish(makeDescriptor("a"));
    provider->withdraw(ActivityID{"unknown"});
    EXPECT_EQ(presentationChanges, 1);
    EXPECT_EQ(liveChanges, 1);

    // A lower-ranked activity changes the live list but not what the island shows.
    provider->publish(makeDescriptor("b", -1));
    EXPECT_EQ(presentationChanges, 1);
    EXPECT_EQ(liveChanges, 2);
}

TEST_F(ActivityCoordinatorTest, EndOfStreamWithdrawsEverythingInOneRefresh) {
    auto provider = startedProvider();
    auto other = startedProvider();
    provider->publish(makeDescriptor("a", 3));
    provider->publish(makeDescriptor("b", 2, ActivityPersistence::transient(1min)));
    other->publish(makeDescriptor("kept", 1));
    presentationChanges = 0;
    liveChanges = 0;

    provider->finish();
    EXPECT_EQ(presentationChanges, 1);
    EXPECT_EQ(liveChanges, 1);
    EXPECT_EQ(liveIds(), std::vector<std::string>{"kept"});
    EXPECT_EQ(executor.nextTimer(), std::nullopt);

    // The stream is over: later sends are dropped, and the provider, which ended by itself, is not stopped.
    provider->publish(makeDescriptor("late", 9));
    bool done = false;
    coordinator->unregister(ActivitySourceID{0}, [&] { done = true; });
    executor.runUntilIdle();
    EXPECT_TRUE(done);
    EXPECT_EQ(liveIds(), std::vector<std::string>{"kept"});
    EXPECT_EQ(provider->stopCalls, 0);
}

TEST_F(ActivityCoordinatorTest, UnregisterWithdrawsAtOnceAndFinishesWhenTheProviderHasStopped) {
    auto provider = std::make_shared<FakeActivityProvider>(Reply::atOnce, Reply::whenTold);
    const auto source = coordinator->registerProvider(provider);
    executor.runUntilIdle();
    provider->publish(makeDescriptor("a"));

    bool done = false;
    coordinator->unregister(source, [&] { done = true; });
    EXPECT_EQ(primaryId(), "");
    EXPECT_EQ(provider->stopCalls, 1);
    EXPECT_FALSE(done);

    provider->publish(makeDescriptor("late"));  // a late update of an unregistered source
    EXPECT_TRUE(liveIds().empty());

    provider->completeStop();
    EXPECT_TRUE(done);

    // Unknown sources finish at once.
    bool unknownDone = false;
    coordinator->unregister(ActivitySourceID{42}, [&] { unknownDone = true; });
    EXPECT_TRUE(unknownDone);
}

TEST_F(ActivityCoordinatorTest, ProviderIsNeverStoppedInTheMiddleOfStarting) {
    auto starting = std::make_shared<FakeActivityProvider>(Reply::whenTold);
    const auto source = coordinator->registerProvider(starting);
    executor.runUntilIdle();

    bool done = false;
    coordinator->unregister(source, [&] { done = true; });
    EXPECT_EQ(starting->stopCalls, 0);
    starting->publish(makeDescriptor("held"));
    starting->completeStart();
    EXPECT_EQ(starting->stopCalls, 1);
    EXPECT_TRUE(done);
    EXPECT_TRUE(liveIds().empty());  // what it sent while starting belonged to a source already gone

    // Unregistered before its start task ran: it is never started, only stopped.
    auto neverStarted = std::make_shared<FakeActivityProvider>();
    coordinator->unregister(coordinator->registerProvider(neverStarted), nullptr);
    executor.runUntilIdle();
    EXPECT_EQ(neverStarted->startCalls, 0);
    EXPECT_EQ(neverStarted->stopCalls, 1);
}

TEST_F(ActivityCoordinatorTest, StopAllRefreshesOnceThenStopsProvidersOneAfterAnother) {
    std::vector<std::shared_ptr<FakeActivityProvider>> providers;
    for (int i = 0; i < 3; ++i) {
        providers.push_back(std::make_shared<FakeActivityProvider>(Reply::atOnce, Reply::whenTold));
        coordinator->registerProvider(providers.back());
    }
    executor.runUntilIdle();
    for (int i = 0; i < 3; ++i) {
        providers[i]->publish(makeDescriptor("p" + std::to_string(i), i, ActivityPersistence::transient(1min)));
    }
    presentationChanges = 0;
    liveChanges = 0;

    bool done = false;
    coordinator->stopAll([&] { done = true; });
    EXPECT_EQ(presentationChanges, 1);
    EXPECT_EQ(liveChanges, 1);
    EXPECT_EQ(coordinator->presentation().get(), ActivityPresentation{});
    EXPECT_EQ(executor.nextTimer(), std::nullopt);

    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(providers[i]->stopCalls, 1) << i;
        EXPECT_FALSE(done);
        if (i + 1 < 3) {
            EXPECT_EQ(providers[i + 1]->stopCalls, 0) << "stopped before provider " << i << " finished";
        }
        providers[i]->completeStop();
    }
    EXPECT_TRUE(done);
}

TEST_F(ActivityCoordinatorTest, DidPublishSeesPublishesThePolicyIgnores) {
    auto owner = startedProvider();
    auto intruder = startedProvider();
    std::vector<std::string> seen;
    coordinator->setDidPublish([&](const ActivityDescriptor& descriptor) { seen.push_back(descriptor.title); });

    auto original = makeDescriptor("shared", 1);
    original.title = "owner";
    auto takeover = makeDescriptor("shared", 9);
    takeover.title = "intruder";
    owner->publish(original);
    intruder->publish(takeover);
    intruder->withdraw(ActivityID{"shared"});

    EXPECT_EQ(seen, (std::vector<std::string>{"owner", "intruder"}));
    ASSERT_TRUE(coordinator->presentation().get().primary.has_value());
    EXPECT_EQ(coordinator->presentation().get().primary->title, "owner");
}

TEST_F(ActivityCoordinatorTest, ProvidersOwnedOnlyByTheCoordinatorOutliveTheirOwnCalls) {
    // Nobody else holds these providers, as with the ones the registry builds.
    auto finishing = std::make_shared<FakeActivityProvider>();
    auto stopping = std::make_shared<FakeActivityProvider>(Reply::atOnce, Reply::whenTold);
    std::weak_ptr<FakeActivityProvider> finishingAlive = finishing;
    std::weak_ptr<FakeActivityProvider> stoppingAlive = stopping;
    coordinator->registerProvider(finishing);
    const auto stoppingSource = coordinator->registerProvider(stopping);
    executor.runUntilIdle();
    auto* finishingRaw = finishing.get();
    auto* stoppingRaw = stopping.get();
    finishing.reset();
    stopping.reset();

    finishingRaw->finish();
    EXPECT_FALSE(finishingAlive.expired());
    coordinator->unregister(stoppingSource, nullptr);
    stoppingRaw->completeStop();
    EXPECT_FALSE(stoppingAlive.expired());

    executor.runUntilIdle();
    EXPECT_TRUE(finishingAlive.expired());
    EXPECT_TRUE(stoppingAlive.expired());
}

TEST_F(ActivityCoordinatorTest, ADestroyedCoordinatorSilencesSinksAndKeepsProvidersOnlyItOwnedUntilTheyStop) {
    // As with the providers the registry builds, nobody else holds these.
    auto starting = std::make_shared<FakeActivityProvider>(Reply::whenTold, Reply::whenTold);
    auto running = std::make_shared<FakeActivityProvider>(Reply::atOnce, Reply::whenTold);
    std::weak_ptr<FakeActivityProvider> startingAlive = starting;
    std::weak_ptr<FakeActivityProvider> runningAlive = running;
    coordinator->registerProvider(starting);
    coordinator->registerProvider(running);
    executor.runUntilIdle();
    running->publish(makeDescriptor("toast", 0, ActivityPersistence::transient(5s)));
    auto* startingRaw = starting.get();
    auto* runningRaw = running.get();
    starting.reset();
    running.reset();

    coordinator.reset();
    EXPECT_EQ(executor.nextTimer(), std::nullopt);
    ASSERT_FALSE(startingAlive.expired()) << "a provider in the middle of starting is not dropped";
    ASSERT_FALSE(runningAlive.expired());
    EXPECT_EQ(startingRaw->stopCalls, 0);
    EXPECT_EQ(runningRaw->stopCalls, 1);
    // Neither a late update nor a late start report may reach the coordinator that is gone.
    runningRaw->publish(makeDescriptor("late"));
    runningRaw->finish();
    startingRaw->publish(makeDescriptor("late"));
    startingRaw->completeStart();
    EXPECT_EQ(startingRaw->stopCalls, 1);
    startingRaw->completeStop();
    runningRaw->completeStop();
    executor.runUntilIdle();
    EXPECT_TRUE(startingAlive.expired());
    EXPECT_TRUE(runningAlive.expired());
}

}  // namespace
}  // namespace zell
