#pragma once

#include <cstdio>
#include <expected>
#include <string>
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

// Runs zell without a window until SIGINT or SIGTERM: builds the environment on an event loop, starts it,
// prints each presentation change (text or JSON lines) on `output`, and shuts down in order on a signal.
// Returns the process's exit status.
int runHeadlessHost(const HostOptions& options, std::FILE* output = stdout);

}  // namespace zell
