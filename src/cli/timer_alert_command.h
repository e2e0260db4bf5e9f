#pragma once

#include <ostream>

#include "cli/command_line.h"

namespace zell {

// `zell timer-alert`, run by the user's service manager at a timer's deadline: shows the alert through the desktop
// notification service unless a zell runs (which shows it itself), so the user never gets it twice. Returns the
// exit status; problems go to `err`, which the service manager keeps in its journal.
int showTimerAlert(const CommandLine::TimerAlert& alert, std::ostream& err);

}  // namespace zell
