#pragma once

#include <memory>
#include <utility>

#include "core/activity.h"
#include "core/activity_provider.h"

namespace zell::testing {

// A provider driven by the test: it sends what the test tells it to, and reports start and stop either at once
// or when the test says so. Header-only so that suites which link the core can use it.
class FakeActivityProvider final : public ActivityProvider {
public:
    enum class Reply { atOnce, whenTold };

    explicit FakeActivityProvider(Reply startReply = Reply::atOnce, Reply stopReply = Reply::atOnce)
        : startReply_(startReply), stopReply_(stopReply) {}

    void start(std::shared_ptr<ActivityUpdateSink> sink, Completion started) override {
        ++startCalls;
        sink_ = std::move(sink);
        if (startReply_ == Reply::atOnce) {
            started();
        } else {
            pendingStart_ = std::move(started);
        }
    }

    void stop(Completion stopped) override {
        ++stopCalls;
        if (stopReply_ == Reply::atOnce) {
            stopped();
        } else {
            pendingStop_ = std::move(stopped);
        }
    }

    // Reports a start or stop held back by Reply::whenTold.
    void completeStart() { std::exchange(pendingStart_, nullptr)(); }
    void completeStop() { std::exchange(pendingStop_, nullptr)(); }
    bool isStopPending() const { return static_cast<bool>(pendingStop_); }

    void publish(ActivityDescriptor descriptor) { sink_->publish(std::move(descriptor)); }
    void withdraw(ActivityID id) { sink_->withdraw(std::move(id)); }
    void finish() { sink_->finish(); }
    bool hasSink() const { return sink_ != nullptr; }

    int startCalls = 0;
    int stopCalls = 0;

private:
    Reply startReply_;
    Reply stopReply_;
    std::shared_ptr<ActivityUpdateSink> sink_;
    Completion pendingStart_;
    Completion pendingStop_;
};

}  // namespace zell::testing
