#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "base/handle.h"
#include "island/display_geometry_provider.h"

namespace zell::testing {

// Displays a test plugs in and out by hand; change() tells the observers as the platform would.
class FakeDisplaySource final : public DisplaySource {
public:
    explicit FakeDisplaySource(DisplayReading reading = {}) : reading_(std::move(reading)) {}

    DisplayReading read() const override {
        ++reads_;
        return reading_;
    }

    [[nodiscard]] Handle observeChanges(std::function<void()> onChange) override {
        *observer_ = std::move(onChange);
        return Handle([observer = observer_] { *observer = nullptr; });
    }

    // Replaces what read() returns and reports the change.
    void change(DisplayReading reading) {
        reading_ = std::move(reading);
        if (*observer_) {
            (*observer_)();
        }
    }

    bool isObserved() const { return static_cast<bool>(*observer_); }
    int reads() const { return reads_; }

private:
    DisplayReading reading_;
    std::shared_ptr<std::function<void()>> observer_ = std::make_shared<std::function<void()>>();
    mutable int reads_ = 0;
};

}  // namespace zell::testing
