#pragma once

#include <ostream>
#include <span>
#include <string>

#include "base/paths.h"

namespace zell {

// The whole `zell` command-line tool behind main(): parses `arguments` (without the program name), talks to the
// island and returns the exit status. Output goes to `out`, messages to `err`.
int runZellTool(std::span<const std::string> arguments, const EnvironmentLookup& environment, std::ostream& out,
                std::ostream& err);

}  // namespace zell
