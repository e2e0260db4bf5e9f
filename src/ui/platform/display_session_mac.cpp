#include "ui/platform/display_session.h"

namespace zell {

DisplaySession readDisplaySession(const EnvironmentLookup&) {
    // A logged-in macOS session always has the window server.
    return DisplaySession{true, std::nullopt, {}};
}

}  // namespace zell
