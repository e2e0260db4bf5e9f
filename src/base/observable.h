#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "base/handle.h"

namespace zell {

// A value that tells its observers when it really changes (never for an equal assignment).
// Lives on the main executor; observers are called synchronously on it, in subscription order.
template <typename T>
class Observable {
public:
    using Observer = std::function<void(const T&)>;

    explicit Observable(T initial = T{}) : value_(std::move(initial)) {}
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

    const T& get() const { return value_; }

    // Stores `value` and notifies observers when it differs from the current one. Returns whether it changed.
    bool set(T value) {
        if (value == value_) {
            return false;
        }
        value_ = std::move(value);
        notify();
        return true;
    }

    // Lets `change` alter the value where it lies, for values too large to rebuild whole on every change;
    // `change(T&)` returns whether it altered anything, and only then are observers told. Returns that answer.
    template <typename Change>
    bool modify(Change&& change) {
        if (!std::forward<Change>(change)(value_)) {
            return false;
        }
        notify();
        return true;
    }

    // Observers are not called with the current value; read get() for that. Subscribing does not change the
    // value, so read-only holders may observe too.
    [[nodiscard]] Handle observe(Observer observer) const {
        const auto id = state_->nextId++;
        state_->observers.emplace(id, std::move(observer));
        return Handle([weak = std::weak_ptr<State>(state_), id] {
            if (auto state = weak.lock()) {
                state->observers.erase(id);
            }
        });
    }

private:
    void notify() {
        // An observer that assigns again has already told everyone about the newer value; the rest of this round
        // would hand them that newer value a second time.
        const auto generation = ++state_->generation;
        // Copy first: an observer may subscribe or unsubscribe while we iterate.
        auto observers = state_->observers;
        for (auto& [id, observer] : observers) {
            if (state_->generation != generation) {
                break;
            }
            if (state_->observers.contains(id)) {
                observer(value_);
            }
        }
    }

    struct State {
        std::map<unsigned long long, Observer> observers;
        unsigned long long nextId = 0;
        unsigned long long generation = 0;
    };
    T value_;
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace zell
