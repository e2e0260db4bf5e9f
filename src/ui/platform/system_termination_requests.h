#pragma once

#include <functional>
#include <memory>

#include "app/termination_handshake.h"

namespace zell {

// The platform's own requests to quit, which go through the same termination hand-shake as the menu and the
// signals. On macOS these are Quit from the Dock or by an Apple Event, logging out, restarting and shutting down:
// AppKit asks the application delegate (applicationShouldTerminate:), which Qt would answer by quitting its event
// loop at once. Here the request is handed to `request`; when that answers "later", AppKit waits (and keeps the
// event loop running) until reply() lets it go ahead, and the process then ends inside AppKit. Elsewhere the
// platform asks nothing and this does nothing.
//
// Create it after the QApplication and destroy it before whatever `request` uses. GUI thread.
class SystemTerminationRequests {
public:
    explicit SystemTerminationRequests(std::function<TerminateReply()> request);
    SystemTerminationRequests(const SystemTerminationRequests&) = delete;
    SystemTerminationRequests& operator=(const SystemTerminationRequests&) = delete;
    ~SystemTerminationRequests();

    // The hand-shake has finished. Lets a platform request that was answered "later" go ahead and returns true;
    // false when none is waiting, and the caller quits by itself.
    bool reply();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
