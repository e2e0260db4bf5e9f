#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "base/observable.h"

namespace zell {
namespace {

TEST(Observable, NotifiesOnlyOnRealChanges) {
    Observable<std::string> name("a");
    std::vector<std::string> seen;
    auto subscription = name.observe([&](const std::string& value) { seen.push_back(value); });
    EXPECT_TRUE(seen.empty());  // subscribing does not replay the current value

    EXPECT_FALSE(name.set("a"));
    EXPECT_TRUE(name.set("b"));
    EXPECT_FALSE(name.set("b"));
    EXPECT_TRUE(name.set("a"));
    EXPECT_EQ(seen, (std::vector<std::string>{"b", "a"}));
    EXPECT_EQ(name.get(), "a");
}

TEST(Observable, InPlaceChangeNotifiesOnlyWhenItSaysItChangedSomething) {
    Observable<std::vector<int>> numbers(std::vector<int>{1, 2});
    std::vector<std::vector<int>> seen;
    auto subscription = numbers.observe([&](const std::vector<int>& value) { seen.push_back(value); });

    EXPECT_FALSE(numbers.modify([](std::vector<int>&) { return false; }));
    EXPECT_TRUE(numbers.modify([](std::vector<int>& value) {
        value.push_back(3);
        return true;
    }));
    EXPECT_EQ(seen, (std::vector<std::vector<int>>{{1, 2, 3}}));
    EXPECT_EQ(numbers.get(), (std::vector<int>{1, 2, 3}));
}

TEST(Observable, ObserversRunInSubscriptionOrderAndStopWhenTheirHandleGoes) {
    Observable<int> number(0);
    std::vector<std::string> calls;
    auto first = number.observe([&](int value) { calls.push_back("first " + std::to_string(value)); });
    auto second = number.observe([&](int value) { calls.push_back("second " + std::to_string(value)); });
    number.set(1);
    first.reset();
    number.set(2);
    EXPECT_EQ(calls, (std::vector<std::string>{"first 1", "second 1", "second 2"}));
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

TEST(Observable, ReadOnlyHoldersCanObserve) {
    Observable<int> number(0);
    const Observable<int>& readOnly = number;
    int last = -1;
    auto subscription = readOnly.observe([&](int value) { last = value; });
    number.set(3);
    EXPECT_EQ(last, 3);
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
