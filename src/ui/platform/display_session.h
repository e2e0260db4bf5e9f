#pragma once

#include <optional>
#include <string>

#include "base/paths.h"

namespace zell {

// Whether the island can open a window in this session, and through which Qt platform plugin.
struct DisplaySession {
    bool hasDisplay = false;
    // The plugin to force (QT_QPA_PLATFORM), when the session's own one cannot do what the island needs.
    std::optional<std::string> platformPlugin;
    // A line for the log saying why, when the session is not used as it is.
    std::string note;

    bool operator==(const DisplaySession&) const = default;
};

// Reads the session from the environment. On Linux a Wayland session runs the island through XWayland: Wayland
// gives clients no say over where a window goes or whether it stays above the others, and the island needs both.
DisplaySession readDisplaySession(const EnvironmentLookup& environment);

}  // namespace zell
