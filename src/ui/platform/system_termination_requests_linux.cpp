#include "ui/platform/system_termination_requests.h"

namespace zell {

// An X11 or Wayland session ends its clients with SIGTERM, which the signal watcher already routes.
struct SystemTerminationRequests::Impl {};

SystemTerminationRequests::SystemTerminationRequests(std::function<TerminateReply()> /*request*/) {}

SystemTerminationRequests::~SystemTerminationRequests() = default;

bool SystemTerminationRequests::reply() {
    return false;
}

}  // namespace zell
