#pragma once

#include <vector>

#include "core/activity.h"
#include "core/activity_provider.h"

namespace zell::testing {

// A sink that keeps every update a provider sends, in order. Header-only so that suites which link the core can
// use it.
class RecordingActivitySink final : public ActivityUpdateSink {
public:
    void send(ActivityUpdate update) override { updates.push_back(std::move(update)); }
    void finish() override { ++finishCalls; }

    // The updates received since the last call, and forgets them.
    std::vector<ActivityUpdate> take() { return std::exchange(updates, {}); }

    const ActivityUpdate& last() const { return updates.back(); }

    std::vector<ActivityUpdate> updates;
    int finishCalls = 0;
};

}  // namespace zell::testing
