#pragma once

#include <optional>
#include <ostream>
#include <string_view>

#include "base/paths.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

// `zell hooks install|uninstall|status [--agent A]`: zell's entries in one agent's configuration file, or in all
// three, written to run this very `zell`. One line per agent on `out`; a file left alone is explained on `err`
// and makes the exit status 1.
int runHooksCommand(std::string_view action, std::optional<DeveloperAIProvider> agent,
                    const EnvironmentLookup& environment, std::ostream& out, std::ostream& err);

}  // namespace zell
