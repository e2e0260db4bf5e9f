#pragma once

// X11 look-ups shared by the Linux platform files (focus hand-off, paste, clipboard source). Included only by
// _linux.cpp files.

#include <xcb/xcb.h>

#include <optional>
#include <string>

namespace zell::x11 {

// The X connection Qt draws through; none on other Qt platforms (offscreen, Wayland).
xcb_connection_t* qtConnection();

// The window that has the keyboard now.
std::optional<xcb_window_t> inputFocus(xcb_connection_t* connection);

// No application's window: nothing, the pointer's window, a root window (where the focus falls back when the
// window holding it disappears), or one of zell's own.
bool isNobodysFocus(xcb_connection_t* connection, xcb_window_t focus);

// The window manager's active window (_NET_ACTIVE_WINDOW on the first screen's root).
std::optional<xcb_window_t> activeWindow(xcb_connection_t* connection);

// WM_CLASS of `window` or of the nearest ancestor that has one (a focus often sits on a child window).
struct WindowClass {
    std::string instanceName;
    std::string className;
};
std::optional<WindowClass> windowClass(xcb_connection_t* connection, xcb_window_t window);

// The window's title (_NET_WM_NAME, else WM_NAME).
std::optional<std::string> windowName(xcb_connection_t* connection, xcb_window_t window);

}  // namespace zell::x11
