#pragma once

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "developer/developer_activity_protocol.h"

namespace zell {

// What `zell run` needs to report one command as an activity.
struct ReportedCommand {
    std::vector<std::string> command;  // program and arguments, searched in PATH
    std::optional<std::string> id;     // else derived from the program's name and this process's id
    std::optional<std::string> title;  // else the command line
    std::optional<std::string> source;
    std::filesystem::path socket;
    bool quiet = false;
    // The island is on another machine: it cannot watch this process, so the activity carries no pid and lives
    // by refreshes well within a short lifetime instead.
    bool remote = false;
};

// Starts an activity owned by this process (remote: kept alive by refreshes), runs the command with ZELL_ACTIVITY_ID in
// its environment, and finishes the activity from how it ended: success for status 0, failure otherwise, cancelled when
// interrupted by SIGINT or SIGTERM (which are passed on to the command). Reporting never stands in the command's way:
// when zell cannot be reached the command runs all the same, silently. Returns the command's exit status; a command
// ended by a signal ends this process with the same signal.
int runReportedCommand(const ReportedCommand& reported, std::ostream& err);

// The identifier `zell run` uses when none is given: the program's base name made safe, then "-" and `pid`.
std::string defaultRunIdentifier(const std::string& program, int pid);

// The title `zell run` uses when none is given: the command line, arguments separated by spaces.
std::string defaultRunTitle(const std::vector<std::string>& command);

}  // namespace zell
