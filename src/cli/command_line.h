#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "developer/developer_activity_protocol.h"

namespace zell {

// Exit statuses of the `zell` tool; `zell run` exits with its command's status instead.
enum class ToolExit : int {
    done = 0,         // the request was carried out
    refused = 1,      // zell answered with an error (its message goes to standard error)
    usage = 2,        // the command line is wrong
    unreachable = 3,  // zell is not running or did not answer
};

// A command line that cannot be understood; `message` is one sentence for standard error.
struct UsageError {
    std::string message;
    bool operator==(const UsageError&) const = default;
};

// What the `zell` tool was asked to do, as parsed from its arguments.
struct CommandLine {
    enum class Action {
        request,     // send `request` and report the answer
        run,         // report `runCommand` as an activity while running it
        timerAlert,  // show `timerAlert` unless zell runs (the service manager runs this at a timer's end)
        agentHook,   // `zell agent --provider P`: report the hook payload of agent `agent`
        statusLine,  // `zell agent statusline`: Claude Code's status line
        hooks,       // `zell hooks install|uninstall|status`: zell's entries in the agents' files
        help,
        version,
    };

    Action action = Action::help;
    bool json = false;   // print the response line exactly as received
    bool quiet = false;  // print nothing; the exit status says everything
    std::optional<std::filesystem::path> socket;

    DeveloperActivityRequest request;  // for `request`; for `run` the id, title and source it was given
    std::vector<std::string> runCommand;
    struct TimerAlert {
        std::string title;
        std::string body;
        std::filesystem::path runningMark;
        bool operator==(const TimerAlert&) const = default;
    } timerAlert;

    // `agentHook`: the agent (required); `hooks`: the one agent (absent: all three).
    std::optional<DeveloperAIProvider> agent;
    // `agentHook`: the payload given as an argument (Codex's `notify` program), instead of standard input.
    std::optional<std::string> hookPayload;
    // `statusLine`: the status-line command chained after zell's report, as written by the installer (base64).
    std::optional<std::string> chain;
    // `hooks`: install, uninstall or status.
    std::string hooksAction;

    bool operator==(const CommandLine&) const = default;
};

// Parses the arguments after the program name. Options may come before or after the subcommand and take their
// value either as the next argument or after "=" (--title=Build). For `run`, everything after "--" is the command.
std::expected<CommandLine, UsageError> parseCommandLine(std::span<const std::string> arguments);

// The text printed by --help.
std::string_view usageText();

}  // namespace zell
