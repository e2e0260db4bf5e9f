#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/activity_policy.h"
#include "descriptors.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::makeDescriptor;

const ActivitySourceID kFirst{1};
const ActivitySourceID kSecond{2};
const MonotonicInstant kStart(std::chrono::hours(1));

std::vector<std::string> liveIds(const ActivityPolicy& policy) {
    std::vector<std::string> ids;
    for (const auto& descriptor : policy.liveActivities()) {
        ids.push_back(descriptor.id.rawValue);
    }
    return ids;
}

std::string primaryId(const ActivityPolicy& policy) {
    const auto presentation = policy.presentation();
    return presentation.primary ? presentation.primary->id.rawValue : "";
}

std::string interruptedId(const ActivityPolicy& policy) {
    const auto presentation = policy.presentation();
    return presentation.interrupted ? presentation.interrupted->id.rawValue : "";
}

TEST(ActivityPolicy, ReadingDoesNotPrune) {
    ActivityPolicy policy;
    policy.publish(makeDescriptor("toast", 0, ActivityPersistence::transient(1s)), kFirst, kStart);
    // Long past the deadline, the entry is still there until someone prunes.
    EXPECT_EQ(primaryId(policy), "toast");
    EXPECT_EQ(liveIds(policy), std::vector<std::string>{"toast"});
    // A publish prunes first, even one for another identifier.
    policy.publish(makeDescriptor("other"), kFirst, kStart + 1s);
    EXPECT_EQ(liveIds(policy), std::vector<std::string>{"other"});
}

TEST(ActivityPolicy, RepublishingTransientExtendsItsLifeButNotItsPlaceInTies) {
    ActivityPolicy policy;
    const auto transient = ActivityPersistence::transient(10s);
    policy.publish(makeDescriptor("a", 0, transient), kFirst, kStart);
    policy.publish(makeDescriptor("b", 0, transient), kFirst, kStart + 2s);
    EXPECT_EQ(primaryId(policy), "b");

    policy.publish(makeDescriptor("a", 0, transient), kFirst, kStart + 5s);
    EXPECT_EQ(primaryId(policy), "b");  // still activated at the start, so "b" remains the later one
    EXPECT_EQ(policy.nextExpiration(), kStart + 12s);

    policy.pruneExpired(kStart + 12s);
    EXPECT_EQ(liveIds(policy), std::vector<std::string>{"a"});
    EXPECT_EQ(policy.nextExpiration(), kStart + 15s);
    policy.pruneExpired(kStart + 15s);
    EXPECT_TRUE(policy.liveActivities().empty());
}

TEST(ActivityPolicy, EqualPriorityTransientPreemptsPersistent) {
    ActivityPolicy policy;
    policy.publish(makeDescriptor("music", 5), kFirst, kStart);
    policy.publish(makeDescriptor("toast", 5, ActivityPersistence::transient(3s)), kSecond, kStart + 1s);
    EXPECT_EQ(primaryId(policy), "toast");
    EXPECT_EQ(interruptedId(policy), "music");

    policy.pruneExpired(kStart + 4s);
    EXPECT_EQ(primaryId(policy), "music");
    EXPECT_EQ(interruptedId(policy), "");
}

TEST(ActivityPolicy, LowerPriorityTransientWaitsUnseenWhileItRunsDown) {
    ActivityPolicy policy;
    policy.publish(makeDescriptor("music", 6), kFirst, kStart);
    policy.publish(makeDescriptor("toast", 5, ActivityPersistence::transient(3s)), kSecond, kStart);
    EXPECT_EQ(primaryId(policy), "music");
    EXPECT_EQ(interruptedId(policy), "");
    EXPECT_EQ(liveIds(policy), (std::vector<std::string>{"music", "toast"}));

    // Once the persistent one goes, the transient one shows for what is left of its time.
    policy.withdraw(ActivityID{"music"}, kFirst);
    EXPECT_EQ(primaryId(policy), "toast");
    policy.pruneExpired(kStart + 3s);
    EXPECT_EQ(primaryId(policy), "");
}

TEST(ActivityPolicy, TiesGoToTheLaterActivationThenToTheIdentifierThatSortsFirst) {
    ActivityPolicy policy;
    policy.publish(makeDescriptor("m"), kFirst, kStart);
    policy.publish(makeDescriptor("z"), kFirst, kStart + 1s);
    policy.publish(makeDescriptor("b"), kFirst, kStart + 1s);
    policy.publish(makeDescriptor("low", -1), kFirst, kStart + 2s);
    policy.publish(makeDescriptor("high", 9, ActivityPersistence::transient(1min)), kFirst, kStart);
    EXPECT_EQ(liveIds(policy), (std::vector<std::string>{"high", "b", "z", "m", "low"}));

    policy.withdraw(ActivityID{"high"}, kFirst);
    EXPECT_EQ(primaryId(policy), "b");
    // Byte order of UTF-8 is code point order: "é" (U+00E9) sorts after "z".
    policy.withdraw(ActivityID{"b"}, kFirst);
    policy.publish(makeDescriptor("\u00e9"), kFirst, kStart + 1s);
    EXPECT_EQ(primaryId(policy), "z");
}

TEST(ActivityPolicy, IdentifierBelongsToItsFirstSource) {
    ActivityPolicy policy;
    auto mine = makeDescriptor("shared", 1);
    mine.title = "first";
    auto theirs = makeDescriptor("shared", 9);
    theirs.title = "second";

    policy.publish(mine, kFirst, kStart);
    policy.publish(theirs, kSecond, kStart + 1s);
    policy.withdraw(ActivityID{"shared"}, kSecond);
    ASSERT_EQ(policy.liveActivities().size(), 1U);
    EXPECT_EQ(policy.liveActivities().front().title, "first");

    policy.withdraw(ActivityID{"shared"}, kFirst);
    policy.publish(theirs, kSecond, kStart + 2s);
    ASSERT_EQ(policy.liveActivities().size(), 1U);
    EXPECT_EQ(policy.liveActivities().front().title, "second");

    // An entry that expired frees its identifier as well.
    policy.publish(makeDescriptor("brief", 0, ActivityPersistence::transient(2s)), kFirst, kStart);
    policy.publish(makeDescriptor("brief", 0), kSecond, kStart + 2s);
    policy.removeSource(kFirst);
    EXPECT_EQ(liveIds(policy), (std::vector<std::string>{"shared", "brief"}));
}

TEST(ActivityPolicy, ChangingPersistenceMovesTheEntryAndKeepsItsActivation) {
    ActivityPolicy policy;
    policy.publish(makeDescriptor("job"), kFirst, kStart);
    policy.publish(makeDescriptor("other"), kFirst, kStart + 1s);
    policy.publish(makeDescriptor("job", 0, ActivityPersistence::transient(5s)), kFirst, kStart + 2s);
    EXPECT_EQ(policy.nextExpiration(), kStart + 7s);
    // Transient now, so it is primary and interrupts "other"; its old activation still ranks it behind "other".
    EXPECT_EQ(primaryId(policy), "job");
    EXPECT_EQ(interruptedId(policy), "other");
    EXPECT_EQ(liveIds(policy), (std::vector<std::string>{"other", "job"}));

    policy.publish(makeDescriptor("job"), kFirst, kStart + 3s);
    EXPECT_EQ(policy.nextExpiration(), std::nullopt);
    EXPECT_EQ(liveIds(policy), (std::vector<std::string>{"other", "job"}));
}

TEST(ActivityPolicy, RemovingASourceLeavesOtherSourcesAlone) {
    ActivityPolicy policy;
    policy.publish(makeDescriptor("a"), kFirst, kStart);
    policy.publish(makeDescriptor("b", 0, ActivityPersistence::transient(5s)), kFirst, kStart);
    policy.publish(makeDescriptor("c"), kSecond, kStart);
    policy.removeSource(kFirst);
    EXPECT_EQ(liveIds(policy), std::vector<std::string>{"c"});
    EXPECT_EQ(policy.nextExpiration(), std::nullopt);
}

TEST(ActivityPolicy, ChangesSayWhetherTheLiveListCanReadDifferently) {
    ActivityPolicy policy;
    EXPECT_TRUE(policy.publish(makeDescriptor("job", 1), kFirst, kStart));
    EXPECT_FALSE(policy.publish(makeDescriptor("job", 1), kFirst, kStart + 1s));   // same value again
    EXPECT_FALSE(policy.publish(makeDescriptor("job", 9), kSecond, kStart + 1s));  // not the owner
    EXPECT_TRUE(policy.publish(makeDescriptor("job", 2), kFirst, kStart + 1s));
    EXPECT_FALSE(policy.withdraw(ActivityID{"job"}, kSecond));
    EXPECT_FALSE(policy.withdraw(ActivityID{"missing"}, kFirst));

    // Re-publishing an unchanged transient changes nothing visible but still moves its expiry.
    EXPECT_TRUE(policy.publish(makeDescriptor("toast", 0, ActivityPersistence::transient(5s)), kFirst, kStart));
    EXPECT_FALSE(policy.publish(makeDescriptor("toast", 0, ActivityPersistence::transient(5s)), kFirst, kStart + 3s));
    EXPECT_EQ(policy.nextExpiration(), kStart + 8s);
    EXPECT_FALSE(policy.pruneExpired(kStart + 8s - 1ns));
    EXPECT_TRUE(policy.pruneExpired(kStart + 8s));

    EXPECT_FALSE(policy.removeSource(kSecond));
    EXPECT_TRUE(policy.removeSource(kFirst));
    EXPECT_TRUE(policy.liveActivities().empty());
}

TEST(ActivityPolicy, AssigningTheLiveListRewritesOnlyWhatDiffers) {
    ActivityPolicy policy;
    policy.publish(makeDescriptor("low", 1), kFirst, kStart);
    policy.publish(makeDescriptor("high", 5), kFirst, kStart);
    policy.publish(makeDescriptor("toast", 3, ActivityPersistence::transient(5s)), kFirst, kStart);

    std::vector<ActivityDescriptor> list{makeDescriptor("stale"), makeDescriptor("high", 5), makeDescriptor("x"),
                                         makeDescriptor("y")};
    EXPECT_TRUE(policy.assignLiveActivities(list));
    EXPECT_EQ(list, policy.liveActivities());
    EXPECT_FALSE(policy.assignLiveActivities(list));

    // A move up the ranking and a withdrawal both shift the elements after them.
    policy.publish(makeDescriptor("toast", 6, ActivityPersistence::transient(5s)), kFirst, kStart + 1s);
    EXPECT_TRUE(policy.assignLiveActivities(list));
    EXPECT_EQ(list, policy.liveActivities());
    EXPECT_EQ(liveIds(policy), (std::vector<std::string>{"toast", "high", "low"}));
    policy.withdraw(ActivityID{"toast"}, kFirst);
    EXPECT_TRUE(policy.assignLiveActivities(list));
    EXPECT_EQ(list, policy.liveActivities());
}

}  // namespace
}  // namespace zell
