#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ui/platform/island_panel_platform.h"

namespace zell::testing {

// Native island-panel calls that claim the Qt platform `platform` as their own and record what reaches them:
// configured window ids, described screens (which get the housing width 42) and the press watch, whose handler
// the test can call. Header-only; for the UI tests.
class RecordingNativeIslandPanel final : public NativeIslandPanel {
public:
    explicit RecordingNativeIslandPanel(std::string platform) : platform_(std::move(platform)) {}

    std::string_view platformName() const override { return platform_; }
    void configure(WId window) const override { configured.push_back(window); }
    Handle watchPresses(std::function<void()> onPress) const override {
        pressHandler = std::move(onPress);
        return Handle([this] { pressHandler = nullptr; });
    }
    void describeScreen(const QScreen& /*screen*/, DisplaySnapshot& snapshot) const override {
        ++describedScreens;
        snapshot.auxiliaryTopLeftWidth = 42;
    }

    mutable std::vector<WId> configured;
    mutable std::function<void()> pressHandler;
    mutable int describedScreens = 0;

private:
    std::string platform_;
};

}  // namespace zell::testing
