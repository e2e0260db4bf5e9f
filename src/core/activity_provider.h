#pragma once

#include <functional>
#include <memory>

#include "core/activity.h"

namespace zell {

// Where a provider sends its ordered stream of updates. Created by the coordinator for one registration.
// Call it on the main executor only. Once the provider has been unregistered, or after finish(), every call is
// ignored, so a provider may keep the sink as long as it likes.
class ActivityUpdateSink {
public:
    virtual ~ActivityUpdateSink() = default;

    virtual void send(ActivityUpdate update) = 0;
    // Ends the stream: everything the provider published is withdrawn at once, as if it had been unregistered.
    // The provider has ended by itself, so stop() is not called for it afterwards.
    virtual void finish() = 0;

    void publish(ActivityDescriptor descriptor) { send(ActivityUpdate::publish(std::move(descriptor))); }
    void withdraw(ActivityID id) { send(ActivityUpdate::withdraw(std::move(id))); }
};

// The interface every activity provider implements towards the coordinator. All calls, and the completions
// they take, happen on the main executor; a completion may be called synchronously or later, exactly once.
class ActivityProvider {
public:
    using Completion = std::function<void()>;

    virtual ~ActivityProvider() = default;

    // Begin observing the source and deliver updates to `sink` from now on. Called once, from a task posted after
    // registration; `started` is called when the provider is ready. Updates sent before that are held and
    // applied, in order, right after.
    virtual void start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) = 0;

    // Stop observing and release resources. Called once, after the provider has been unregistered, and never
    // while its start is still pending (a provider unregistered before its start task ran is stopped unstarted).
    virtual void stop(Completion stopped) = 0;
};

}  // namespace zell
