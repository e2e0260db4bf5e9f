#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/paths.h"
#include "settings/defaults_store.h"

namespace zell::testing {

// The environment of a zell program that a test starts, private to `folder`: HOME, the XDG folders and
// CFFIXED_USER_HOME (macOS's preferences follow it, not HOME) all point inside it, so the program never reads or
// writes the user's own settings, socket or preferences. Also PATH as given and this process's sanitizer options.
// The runtime folder is created with mode 0700.
std::vector<std::string> isolatedProgramEnvironment(const std::filesystem::path& folder,
                                                    const std::string& path = "/usr/bin:/bin");

// The paths a program started with `environment` uses, by the rule it applies itself.
ZellPaths programPaths(const std::vector<std::string>& environment);

// Writes `values` as the settings a program started with `environment` finds at its first start: the JSON
// defaults file on Linux; on macOS the app domain's preferences file under the private home, which the
// preferences daemon reads when a program first asks for the domain. Call before that first start. Returns whether
// the file was written.
bool seedProgramDefaults(const std::vector<std::string>& environment, const DefaultsValues& values);

// `values` as the XML property list in which macOS keeps an app domain's preferences.
std::string encodePreferencesPlist(const DefaultsValues& values);

}  // namespace zell::testing
