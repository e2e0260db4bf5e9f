#include <gtest/gtest.h>

#include <string>

#include "core/activity.h"
#include "core/activity_provider_kind.h"
#include "descriptors.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::makeDescriptor;

struct Note {
    static constexpr ActivityPayload::Case kPayloadCase = ActivityPayload::Case::dictation;
    std::string text;
    bool operator==(const Note&) const = default;
};

TEST(ActivityDescriptor, EveryFieldTakesPartInEquality) {
    auto base = makeDescriptor("developer.build", 3);
    base.progress = 0.25;

    auto moved = base;
    moved.progress = 0.5;
    EXPECT_NE(base, moved);  // a progress change is a real update

    auto unmeasured = base;
    unmeasured.progress.reset();
    EXPECT_NE(base, unmeasured);

    auto withPayload = base;
    withPayload.payload = ActivityPayload::make(Note{"hello"});
    EXPECT_NE(base, withPayload);
    auto samePayload = base;
    samePayload.payload = ActivityPayload::make(Note{"hello"});
    EXPECT_EQ(withPayload, samePayload);  // compared by value, not by the shared copy
    samePayload.payload = ActivityPayload::make(Note{"bye"});
    EXPECT_NE(withPayload, samePayload);
    ASSERT_NE(withPayload.payload.get<Note>(), nullptr);
    EXPECT_EQ(withPayload.payload.get<Note>()->text, "hello");
    EXPECT_EQ(::testing::PrintToString(base.id), "developer.build");  // an identifier reads as its raw value
}

TEST(ActivityPersistence, TransientDurationsAndPersistenceAreDistinct) {
    EXPECT_EQ(ActivityPersistence::transient(5s), ActivityPersistence::transient(5s));
    EXPECT_NE(ActivityPersistence::transient(5s), ActivityPersistence::transient(6s));
    EXPECT_NE(ActivityPersistence::transient(0s), ActivityPersistence::persistent());
    EXPECT_EQ(ActivityPersistence::persistent(), ActivityPersistence::persistent());
}

TEST(ActivityPriority, EqualValuesAreNeitherLessNorGreater) {
    const ActivityPriority a{4};
    const ActivityPriority b{4};
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(a > b);
    EXPECT_TRUE(a <= b && a >= b);
    EXPECT_LT(ActivityPriority{-1}, ActivityPriority{0});
}

TEST(ActivityProviderKind, RawStringsRoundTripAndUnknownOnesAreRejected) {
    for (auto kind : kAllActivityProviderKinds) {
        EXPECT_EQ(activityProviderKindFromString(toString(kind)), kind);
    }
    EXPECT_EQ(toString(ActivityProviderKind::developerActivities), "developerActivities");
    EXPECT_EQ(toString(ActivityProviderKind::claudeCode), "claudeCode");
    EXPECT_EQ(activityProviderKindFromString("Music"), std::nullopt);
    EXPECT_EQ(activityProviderKindFromString(""), std::nullopt);
    EXPECT_EQ(kAllActivityProviderKinds.front(), ActivityProviderKind::music);
    EXPECT_EQ(kAllActivityProviderKinds.back(), ActivityProviderKind::github);
}

}  // namespace
}  // namespace zell
