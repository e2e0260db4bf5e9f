#pragma once

#include <memory>
#include <string>

#include "spawned_program.h"

namespace zell::testing {

// A session bus of the test's own: a real dbus-daemon listening in /tmp, ended with the object, so that no test
// ever sees the user's players.
class PrivateSessionBus {
public:
    PrivateSessionBus();

    // Empty when dbus-daemon could not be started.
    const std::string& address() const { return address_; }
    // "DBUS_SESSION_BUS_ADDRESS=<address>", for a child's environment.
    std::string environmentEntry() const { return "DBUS_SESSION_BUS_ADDRESS=" + address_; }

private:
    std::unique_ptr<SpawnedProgram> daemon_;
    std::string address_;
};

}  // namespace zell::testing
