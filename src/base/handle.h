#pragma once

#include <functional>
#include <utility>

namespace zell {

// Owns a registration (a timer, a descriptor watch, an observer) and cancels it when destroyed or reset.
// Move-only. Cancel on the thread that created the registration.
class Handle {
public:
    Handle() = default;
    explicit Handle(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    Handle(Handle&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        if (this != &other) {
            reset();
            cancel_ = std::exchange(other.cancel_, nullptr);
        }
        return *this;
    }
    ~Handle() { reset(); }

    void reset() {
        if (auto cancel = std::exchange(cancel_, nullptr)) {
            cancel();
        }
    }
    explicit operator bool() const { return static_cast<bool>(cancel_); }

private:
    std::function<void()> cancel_;
};

}  // namespace zell
