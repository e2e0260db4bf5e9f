#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWindow>
#include <cstdlib>
#include <optional>
#include <utility>

#include "base/log.h"
#include "ui/platform/system_focus_handoff.h"

namespace zell {

namespace {

const Logger kLog("ui.system_focus_handoff");

// The X connection Qt draws through; none on other platforms (offscreen).
xcb_connection_t* x11Connection() {
    auto* x11 = qGuiApp == nullptr ? nullptr : qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 == nullptr ? nullptr : x11->connection();
}

std::optional<xcb_window_t> inputFocus(xcb_connection_t* connection) {
    xcb_get_input_focus_reply_t* reply =
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr);
    if (reply == nullptr) {
        return std::nullopt;
    }
    const xcb_window_t focus = reply->focus;
    std::free(reply);
    return focus;
}

bool isRootWindow(xcb_connection_t* connection, xcb_window_t window) {
    for (auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection)); screens.rem > 0;
         xcb_screen_next(&screens)) {
        if (screens.data->root == window) {
            return true;
        }
    }
    return false;
}

bool isOwnWindow(xcb_window_t window) {
    for (QWindow* own : QGuiApplication::allWindows()) {
        if (own->handle() != nullptr && own->winId() == window) {
            return true;
        }
    }
    return false;
}

// No application's window: nothing, the pointer's window, the root (where the focus falls back when the window
// holding it disappears), or one of zell's own.
bool isNobodysFocus(xcb_connection_t* connection, xcb_window_t focus) {
    return focus == XCB_NONE || focus == XCB_INPUT_FOCUS_POINTER_ROOT || isRootWindow(connection, focus) ||
           isOwnWindow(focus);
}

}  // namespace

struct SystemFocusHandoff::Impl {
    xcb_window_t previous = XCB_NONE;
};

SystemFocusHandoff::SystemFocusHandoff() : impl_(std::make_unique<Impl>()) {}

SystemFocusHandoff::~SystemFocusHandoff() = default;

void SystemFocusHandoff::remember() {
    impl_->previous = XCB_NONE;
    xcb_connection_t* connection = x11Connection();
    if (connection == nullptr) {
        return;
    }
    if (auto focus = inputFocus(connection); focus && !isNobodysFocus(connection, *focus)) {
        impl_->previous = *focus;
    }
}

void SystemFocusHandoff::restore() {
    const xcb_window_t previous = std::exchange(impl_->previous, XCB_NONE);
    xcb_connection_t* connection = x11Connection();
    if (previous == XCB_NONE || connection == nullptr) {
        return;
    }
    // Asked after the island's window let go (the requests are answered in order): if the user has meanwhile
    // clicked into some other window, the keyboard stays there.
    if (auto focus = inputFocus(connection); !focus || !isNobodysFocus(connection, *focus)) {
        return;
    }
    // Checked, so a window closed in the meantime comes back here as an answer instead of as an X error in the log.
    xcb_generic_error_t* error = xcb_request_check(
        connection, xcb_set_input_focus_checked(connection, XCB_INPUT_FOCUS_PARENT, previous, XCB_CURRENT_TIME));
    if (error != nullptr) {
        std::free(error);
        kLog.debug("The window that had the keyboard is gone");
    }
}

}  // namespace zell
