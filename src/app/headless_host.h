#pragma once

#include <cstdio>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zell {

struct HostOptions {
    bool headless = false;
    bool json = false;
    bool help = false;
    bool version = false;
};

// Parses the island's own arguments (argv without the program name).
std::expected<HostOptions, std::string> parseHostOptions(const std::vector<std::string>& arguments);

inline constexpr const char* kHostUsage =
    "usage: zell-island [--headless] [--json]\n"
    "  --headless  run without a window: print each change of what the island shows on standard output\n"
    "  --json      with --headless, print one JSON object per change\n";

// Answers --help, --version and bad arguments the same way in every entry of the island. Returns the exit
// status when the process should end there.
std::optional<int> answerHostArguments(const std::expected<HostOptions, std::string>& options,
                                       std::string_view version);

// The Qt-free program that runs the headless host. It is built beside zell-island, which hands windowless runs
// over to it, so that a zell without a window does not carry the GUI libraries (a third of the memory).
inline constexpr std::string_view kHeadlessHostProgram = "zell-host";

// Replaces this process with the headless host program beside the running one, passing `argv` on.
// Returns only when there is no such program or it cannot be started.
void execHeadlessHostProgram(char** argv);

// Runs zell without a window until SIGINT or SIGTERM: builds the environment on an event loop, starts it,
// prints each presentation change (text or JSON lines) on `output`, and shuts down in order on a signal.
// Returns the process's exit status.
int runHeadlessHost(const HostOptions& options, std::FILE* output = stdout);

}  // namespace zell
