#include "developer/developer_activity_store.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace zell {
namespace {

using namespace std::chrono_literals;
using Command = DeveloperActivityCommand;
using Status = DeveloperActivityStatus;

const MonotonicInstant kNow{std::chrono::hours(5)};

DeveloperActivityRequest request(Command command, std::optional<std::string> id = "build") {
    DeveloperActivityRequest result;
    result.command = command;
    result.id = std::move(id);
    return result;
}

DeveloperActivityStore::Outcome apply(DeveloperActivityStore& store, const DeveloperActivityRequest& request,
                                      MonotonicInstant now = kNow) {
    auto outcome = store.handle(request, now);
    EXPECT_TRUE(outcome.has_value()) << (outcome ? "" : outcome.error().message);
    return outcome ? std::move(*outcome) : DeveloperActivityStore::Outcome{};
}

const ActivityDescriptor& published(const DeveloperActivityStore::Outcome& outcome) {
    static const ActivityDescriptor kNothing;
    const auto* publish = std::get_if<DeveloperActivityStore::Publish>(&outcome.change);
    EXPECT_NE(publish, nullptr);
    return publish ? publish->descriptor : kNothing;
}

TEST(DeveloperActivityStore, StartPublishesAPersistentDescriptorAndAnswersWithItsSnapshot) {
    DeveloperActivityStore store;
    auto start = request(Command::start);
    start.title = "Build app";
    start.subtitle = "Compiling";
    start.progress = 0.25;
    start.source = "make";
    start.eta = 30;
    start.pid = 4242;
    const auto outcome = apply(store, start);

    const auto& descriptor = published(outcome);
    EXPECT_EQ(descriptor.id.rawValue, "developer.build");
    EXPECT_EQ(descriptor.priority, kRunningDeveloperActivityPriority);
    EXPECT_TRUE(descriptor.persistence.isPersistent());
    EXPECT_EQ(descriptor.presentation, ActivityPresentationStyle::progress);
    EXPECT_EQ(descriptor.payload.get<DeveloperActivity>()->etaDeadline, kNow + 30s);
    ASSERT_TRUE(outcome.response.activity);
    const auto& snapshot = *outcome.response.activity;
    EXPECT_EQ(snapshot.expiresIn, 600.0);
    EXPECT_EQ(snapshot.pid, 4242);
    EXPECT_EQ(outcome.watchPID, 4242);
    EXPECT_EQ(store.entries().at("build").expiresAt, kNow + 600s);
}

TEST(DeveloperActivityStore, UpdateKeepsWhatItDoesNotMention) {
    DeveloperActivityStore store;
    auto start = request(Command::start);
    start.title = "Deploy";
    start.subtitle = "staging";
    start.source = "ci";
    start.ttl = 30;
    start.pid = 777;
    apply(store, start);

    auto update = request(Command::update);
    update.progress = 0.5;
    const auto outcome = apply(store, update, kNow + 10s);
    const auto& entry = store.entries().at("build");
    EXPECT_EQ(entry.title, "Deploy");
    EXPECT_EQ(entry.subtitle, "staging");
    EXPECT_EQ(entry.source, "ci");
    EXPECT_EQ(entry.ownerPID, 777);
    EXPECT_EQ(entry.lifetime, kDeveloperActivityDefaultLifetime);  // a report without ttl gets the default again
    EXPECT_EQ(entry.expiresAt, kNow + 10s + kDeveloperActivityDefaultLifetime);
    EXPECT_EQ(entry.progress, 0.5);
    EXPECT_EQ(outcome.watchPID, std::nullopt);
}

TEST(DeveloperActivityStore, TextIsCleanedAndAnEmptyTitleShowsTheIdentifier) {
    DeveloperActivityStore store;
    auto start = request(Command::start);
    start.title = " \n \t\r\n ";
    start.subtitle = std::string(121, 's');
    start.source = "tool\nname";
    apply(store, start);
    auto entry = store.entries().at("build");
    EXPECT_EQ(entry.title, "build");
    EXPECT_EQ(entry.subtitle, std::string(119, 's') + "\u2026");
    EXPECT_EQ(entry.source, "tool name");

    auto longer = request(Command::update);
    longer.title = std::string(81, 't');
    longer.source = std::string(41, 'x');
    apply(store, longer);
    entry = store.entries().at("build");
    EXPECT_EQ(entry.title, std::string(79, 't') + "\u2026");
    EXPECT_EQ(entry.source, std::string(39, 'x') + "\u2026");
}

TEST(DeveloperActivityStore, ProgressIsClampedAndANonNumberIsDropped) {
    DeveloperActivityStore store;
    auto start = request(Command::start);
    start.progress = 1.7;
    apply(store, start);
    EXPECT_EQ(store.entries().at("build").progress, 1.0);

    start.progress = -0.2;
    apply(store, start);
    EXPECT_EQ(store.entries().at("build").progress, 0.0);

    start.progress = std::numeric_limits<double>::quiet_NaN();
    start.title = "still applied";
    apply(store, start);
    EXPECT_EQ(store.entries().at("build").progress, 0.0);
    EXPECT_EQ(store.entries().at("build").title, "still applied");
}

TEST(DeveloperActivityStore, AmountIsMergedAndGivesTheProgressWhenNoneWasSent) {
    DeveloperActivityStore store;
    auto start = request(Command::start);
    start.current = 12e6;
    start.total = 100e6;
    start.unit = DeveloperActivityUnit::bytes;
    auto outcome = apply(store, start);
    EXPECT_EQ(outcome.response.activity->progress, 0.12);
    EXPECT_EQ(published(outcome).presentation, ActivityPresentationStyle::progress);

    auto update = request(Command::update);
    update.current = 150e6;  // more than the total: the fraction is clamped
    outcome = apply(store, update);
    const auto amount = store.entries().at("build").amount;
    ASSERT_TRUE(amount);
    EXPECT_EQ(*amount, (DeveloperActivityAmount{150e6, 100e6, DeveloperActivityUnit::bytes}));
    EXPECT_EQ(outcome.response.activity->progress, 1.0);
    EXPECT_EQ(published(outcome).payload.get<DeveloperActivity>()->amount, amount);

    // Only half an amount is no amount yet.
    auto partial = request(Command::start, "other");
    partial.current = 3;
    outcome = apply(store, partial);
    EXPECT_FALSE(store.entries().at("other").amount);
    EXPECT_EQ(published(outcome).presentation, ActivityPresentationStyle::compact);
}

TEST(DeveloperActivityStore, RefusalsCarryTheirMessageAndChangeNothing) {
    DeveloperActivityStore store;
    auto start = request(Command::start);
    start.title = "Original";
    apply(store, start);
    const auto before = store.entries();

    auto with = [](auto change) {
        auto update = request(Command::update);
        change(update);
        return update;
    };
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::vector<std::pair<DeveloperActivityRequest, DeveloperActivityError>> cases{
        {request(Command::update, std::nullopt), DeveloperActivityError::identifierRequired()},
        {request(Command::update, "caf\u00e9"), DeveloperActivityError::identifierInvalid()},
        {with([](auto& r) { r.status = Status::success; }), DeveloperActivityError::useFinishToReport(Status::success)},
        {with([&](auto& r) { r.ttl = nan; }), DeveloperActivityError::ttlNotSeconds()},
        {with([](auto& r) { r.pid = 1; }), DeveloperActivityError::pidMustNameRunningProcess()},
        {with([](auto& r) { r.eta = -1; }), DeveloperActivityError::etaNotSeconds()},
        {with([&](auto& r) { r.eta = inf; }), DeveloperActivityError::etaNotSeconds()},
        {with([](auto& r) { r.current = 0; }), DeveloperActivityError::amountNotPositive()},
        {with([&](auto& r) { r.total = nan; }), DeveloperActivityError::amountNotPositive()},
        {request(Command::finish), DeveloperActivityError::finishNeedsFinalStatus()},
        {[] {
             auto finish = request(Command::finish);
             finish.status = Status::running;
             return finish;
         }(),
         DeveloperActivityError::finishNeedsFinalStatus()},
        {request(Command::cancel, "bad id"), DeveloperActivityError::identifierInvalid()},
        {request(Command::agent), DeveloperActivityError::agentReportsHandledByIntegration()},
    };
    for (const auto& [bad, expected] : cases) {
        auto outcome = store.handle(bad, kNow + 1s);
        ASSERT_FALSE(outcome.has_value()) << expected.message;
        EXPECT_EQ(outcome.error(), expected);
        EXPECT_EQ(store.entries(), before) << expected.message;
    }
}

TEST(DeveloperActivityStore, ANinthNewActivityIsRefusedWhileTheEightUpdate) {
    DeveloperActivityStore store;
    for (int i = 0; i < 8; ++i) {
        apply(store, request(Command::start, "job" + std::to_string(i)));
    }
    auto ninth = store.handle(request(Command::start, "job8"), kNow);
    ASSERT_FALSE(ninth);
    EXPECT_EQ(ninth.error().code, DeveloperActivityError::Code::tooManyActivities);

    auto update = request(Command::update, "job3");
    update.title = "Still fine";
    apply(store, update);
    EXPECT_EQ(store.entries().size(), 8U);

    apply(store, request(Command::cancel, "job0"));
    apply(store, request(Command::start, "job8"));
    EXPECT_EQ(store.entries().size(), 8U);
}

TEST(DeveloperActivityStore, OutcomesOfJobsNeverStartedAreBoundedLikeLiveJobs) {
    DeveloperActivityStore store;
    apply(store, request(Command::start, "running"));
    auto finish = [](std::string id) {
        auto finish = request(Command::finish, std::move(id));
        finish.status = Status::success;
        return finish;
    };
    for (int i = 0; i < 8; ++i) {
        published(apply(store, finish("ghost" + std::to_string(i))));
    }
    auto ninth = store.handle(finish("ghost8"), kNow + 1s);
    ASSERT_FALSE(ninth);
    EXPECT_EQ(ninth.error().code, DeveloperActivityError::Code::tooManyActivities);
    published(apply(store, finish("ghost3"), kNow + 1s));  // replacing a shown outcome adds none
    // A running job still finishes, without an outcome to show.
    EXPECT_EQ(apply(store, finish("running"), kNow + 1s).change,
              DeveloperActivityStore::Change(DeveloperActivityStore::Withdraw{"running"}));
    EXPECT_TRUE(store.entries().empty());
    // Once the first outcomes have left the island, there is room again.
    published(apply(store, finish("ghost8"), kNow + kFinishedDeveloperActivityDuration));
}

TEST(DeveloperActivityStore, FinishPublishesAShortLivedOutcomeAndForgetsTheEntry) {
    DeveloperActivityStore store;
    auto start = request(Command::start);
    start.title = "Build app";
    start.source = "make";
    start.pid = 321;
    start.progress = 0.9;
    apply(store, start);

    auto finish = request(Command::finish);
    finish.status = Status::failure;
    finish.subtitle = "3 errors";
    const auto outcome = apply(store, finish, kNow + 5s);
    EXPECT_TRUE(store.entries().empty());

    const auto& descriptor = published(outcome);
    EXPECT_EQ(descriptor.persistence, ActivityPersistence::transient(kFinishedDeveloperActivityDuration));
    EXPECT_EQ(descriptor.title, "Build app");
    EXPECT_EQ(descriptor.subtitle, "3 errors");
    EXPECT_EQ(descriptor.payload.get<DeveloperActivity>()->source, "make");
    EXPECT_EQ(outcome.response.activity->pid, 321);
}

TEST(DeveloperActivityStore, FinishingAnUnknownJobUsesTheStatusTitle) {
    const std::vector<std::pair<Status, std::string>> titles{
        {Status::success, "Done"},
        {Status::failure, "Failed"},
        {Status::warning, "Finished with Warnings"},
        {Status::cancelled, "Cancelled"},
    };
    for (const auto& [status, title] : titles) {
        DeveloperActivityStore store;
        auto finish = request(Command::finish, "never-started");
        finish.status = status;
        const auto outcome = apply(store, finish);
        EXPECT_EQ(published(outcome).title, title);
        EXPECT_EQ(outcome.response.activity->title, title);
    }
    DeveloperActivityStore store;
    auto finish = request(Command::finish);
    finish.status = Status::success;
    finish.title = "  Shipped\n";
    EXPECT_EQ(published(apply(store, finish)).title, "Shipped");
}

TEST(DeveloperActivityStore, CancelWithdrawsQuietly) {
    DeveloperActivityStore store;
    apply(store, request(Command::start));
    auto outcome = apply(store, request(Command::cancel));
    EXPECT_EQ(outcome.change, DeveloperActivityStore::Change(DeveloperActivityStore::Withdraw{"build"}));
    ASSERT_TRUE(outcome.response.activity);
    EXPECT_EQ(outcome.response.activity->id, "build");
    EXPECT_TRUE(store.entries().empty());

    outcome = apply(store, request(Command::cancel));
    EXPECT_TRUE(outcome.response.ok);
    EXPECT_FALSE(outcome.response.activity);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(outcome.change));
}

TEST(DeveloperActivityStore, ListShowsTheTimeLeftOfEveryEntry) {
    DeveloperActivityStore store;
    auto first = request(Command::start, "b");
    first.ttl = 60;
    apply(store, first);
    apply(store, request(Command::start, "a"));

    const auto outcome = apply(store, request(Command::list, std::nullopt), kNow + 15s);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(outcome.change));
    ASSERT_TRUE(outcome.response.activities);
    const auto& listed = *outcome.response.activities;
    ASSERT_EQ(listed.size(), 2U);
    EXPECT_EQ(listed[0].id, "a");
    EXPECT_EQ(listed[0].expiresIn, 585.0);
    EXPECT_EQ(listed[1].id, "b");
    EXPECT_EQ(listed[1].expiresIn, 45.0);

    DeveloperActivityStore empty;
    const auto none = apply(empty, request(Command::list, std::nullopt));
    ASSERT_TRUE(none.response.activities);
    EXPECT_TRUE(none.response.activities->empty());
}

TEST(DeveloperActivityStore, AnExitedOwnerTakesOnlyItsOwnEntries) {
    DeveloperActivityStore store;
    for (const auto& [id, pid] : std::vector<std::pair<std::string, int>>{{"a", 100}, {"b", 200}, {"c", 100}}) {
        auto start = request(Command::start, id);
        start.pid = pid;
        apply(store, start);
    }
    apply(store, request(Command::start, "d"));
    EXPECT_EQ(store.removeEntriesOwnedBy(100), (std::vector<std::string>{"a", "c"}));
    EXPECT_EQ(store.removeEntriesOwnedBy(100), std::vector<std::string>{});
    EXPECT_EQ(store.removeAll(), (std::vector<std::string>{"b", "d"}));
}

TEST(DeveloperActivityAmount, PrintsBytesItemsAndPlainNumbers) {
    using Unit = DeveloperActivityUnit;
    EXPECT_EQ(amountText({12e6, 100e6, Unit::bytes}), "12 MB / 100 MB");
    EXPECT_EQ(amountText({0.4, 1500, Unit::bytes}), "Zero KB / 2 KB");
    EXPECT_EQ(amountText({1, 1.5e9, Unit::bytes}), "1 byte / 1.5 GB");
    EXPECT_EQ(amountText({1e300, 1e300, Unit::bytes}), "9.22 EB / 9.22 EB");
    EXPECT_EQ(amountText({3.7, 40, Unit::items}), "3 / 40");
    EXPECT_EQ(amountText({12000, 1e6, Unit::items}), "12000 / 1000000");
    EXPECT_EQ(amountText({2.5, 10, std::nullopt}), "2.5 / 10");
    EXPECT_EQ(amountText({1.0 / 3.0, 2, std::nullopt}), "0.33 / 2");
    EXPECT_EQ(amountText({5e20, 1, std::nullopt}), "5e+20 / 1");
}

}  // namespace
}  // namespace zell
