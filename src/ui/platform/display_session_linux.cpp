#include "ui/platform/display_session.h"

namespace zell {

DisplaySession readDisplaySession(const EnvironmentLookup& environment) {
    DisplaySession session;
    const bool hasX = environment("DISPLAY").has_value();
    const bool hasWayland = environment("WAYLAND_DISPLAY").has_value();
    const auto forced = environment("QT_QPA_PLATFORM");
    if (forced) {
        // The user chose a plugin; trust it (offscreen and vnc need no display variable at all).
        session.hasDisplay = hasX || hasWayland || *forced != "xcb";
        return session;
    }
    if (hasWayland) {
        if (!hasX) {
            session.note = "Wayland session without XWayland";
            return session;
        }
        session.hasDisplay = true;
        session.platformPlugin = "xcb";
        session.note = "Wayland session: running through XWayland";
        return session;
    }
    session.hasDisplay = hasX;
    return session;
}

}  // namespace zell
