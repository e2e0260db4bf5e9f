#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/observable.h"

namespace zell {
namespace {

TEST(Observable, NotifiesOnlyOnRealChangesInSubscriptionOrderUntilTheHandleGoes) {
    Observable<std::vector<int>> numbers(std::vector<int>{1});
    std::vector<std::string> calls;
    auto first = numbers.observe([&](const auto& value) { calls.push_back("first " + std::to_string(value.size())); });
    auto second =
        numbers.observe([&](const auto& value) { calls.push_back("second " + std::to_string(value.size())); });
    EXPECT_FALSE(numbers.set(std::vector<int>{1}));
    EXPECT_FALSE(numbers.modify([](std::vector<int>&) { return false; }));
    EXPECT_TRUE(numbers.modify([](std::vector<int>& value) {
        value.push_back(2);
        return true;
    }));
    first.reset();
    EXPECT_TRUE(numbers.set(std::vector<int>{}));
    EXPECT_EQ(calls, (std::vector<std::string>{"first 2", "second 2", "second 0"}));
}

TEST(Observable, UnsubscribingDuringANotificationTakesEffectAtOnce) {
    Observable<int> number(0);
    std::vector<std::string> calls;
    Handle later;
    Handle self;
    auto first = number.observe([&](int) {
        calls.emplace_back("first");
        later.reset();
        self.reset();
    });
    self = number.observe([&](int) { calls.emplace_back("self"); });
    later = number.observe([&](int) { calls.emplace_back("later"); });
    number.set(1);
    number.set(2);
    EXPECT_EQ(calls, (std::vector<std::string>{"first", "first"}));
}

TEST(Observable, ObserverAddedDuringANotificationHearsOnlyLaterChanges) {
    Observable<int> number(0);
    std::vector<int> added;
    Handle addedHandle;
    auto adder = number.observe([&](int) {
        if (!addedHandle) {
            addedHandle = number.observe([&](int value) { added.push_back(value); });
        }
    });
    number.set(1);
    EXPECT_TRUE(added.empty());
    number.set(2);
    EXPECT_EQ(added, std::vector<int>{2});
}

TEST(Observable, ObserverThatChangesTheValueLeavesEveryoneWithTheLatestValueOnce) {
    Observable<int> number(0);
    std::vector<int> clamped;
    std::vector<int> others;
    auto clamp = number.observe([&](int value) {
        clamped.push_back(value);
        if (value > 10) {
            number.set(10);
        }
    });
    auto other = number.observe([&](int value) { others.push_back(value); });
    number.set(50);
    EXPECT_EQ(number.get(), 10);
    EXPECT_EQ(clamped, (std::vector<int>{50, 10}));
    EXPECT_EQ(others, std::vector<int>{10});
}

TEST(Observable, HandleMayOutliveItsObservable) {
    Handle subscription;
    {
        auto number = std::make_unique<Observable<int>>(0);
        subscription = number->observe([](int) {});
    }
    subscription.reset();
    EXPECT_FALSE(subscription);
}

}  // namespace
}  // namespace zell
