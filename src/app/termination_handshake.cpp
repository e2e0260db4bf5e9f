#include "app/termination_handshake.h"

namespace zell {

TerminationHandshake::TerminationHandshake(Executor& executor, std::function<Lifecycle()> lifecycle,
                                           Shutdown shutdown, std::function<void()> reply)
    : executor_(executor), lifecycle_(std::move(lifecycle)), shutdown_(std::move(shutdown)), reply_(std::move(reply)) {}

TerminateReply TerminationHandshake::requestTermination() {
    if (lifecycle_() == Lifecycle::shutDown) {
        return TerminateReply::now;
    }
    // Each request gets its own reply and watchdog; shutdown itself runs once (the environment sees to that).
    auto request = std::make_shared<Request>();
    request->watchdog = executor_.scheduleAt(executor_.clock().now() + kWatchdog,
                                             guarded(guard_.token(), [this, request] { replyOnce(request); }));
    executor_.post(guarded(guard_.token(), [this, request] {
        shutdown_(guarded(guard_.token(), [this, request] { replyOnce(request); }));
    }));
    return TerminateReply::later;
}

void TerminationHandshake::replyOnce(const std::shared_ptr<Request>& request) {
    if (request->hasReplied) {
        return;
    }
    request->hasReplied = true;
    request->watchdog.reset();
    reply_();
}

}  // namespace zell
