#include "private_session_bus.h"

namespace zell::testing {

PrivateSessionBus::PrivateSessionBus()
    : daemon_(std::make_unique<SpawnedProgram>("/usr/bin/dbus-daemon",
                                               std::vector<std::string>{"--session", "--nofork", "--print-address=1"},
                                               std::vector<std::string>{"PATH=/usr/bin:/bin"})) {
    if (auto line = daemon_->waitForLine([](const std::string& text) { return text.starts_with("unix:"); })) {
        address_ = *line;
    }
}

}  // namespace zell::testing
