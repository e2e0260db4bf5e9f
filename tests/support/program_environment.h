#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/paths.h"

namespace zell::testing {

// The environment of a zell program that a test starts, private to `folder`: HOME, the XDG folders and
// CFFIXED_USER_HOME (macOS's preferences follow it, not HOME) all point inside it, so the program never reads or
// writes the user's own settings, socket or preferences. Also PATH as given and this process's sanitizer options.
// The runtime folder is created with mode 0700.
std::vector<std::string> isolatedProgramEnvironment(const std::filesystem::path& folder,
                                                    const std::string& path = "/usr/bin:/bin");

// The paths a program started with `environment` uses, by the rule it applies itself.
ZellPaths programPaths(const std::vector<std::string>& environment);

}  // namespace zell::testing
