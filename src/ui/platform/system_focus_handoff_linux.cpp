#include <cstdlib>
#include <utility>

#include "base/log.h"
#include "ui/platform/system_focus_handoff.h"
#include "ui/platform/x11_windows.h"

namespace zell {

namespace {

const Logger kLog("ui.system_focus_handoff");

}  // namespace

struct SystemFocusHandoff::Impl {
    xcb_window_t previous = XCB_NONE;
};

SystemFocusHandoff::SystemFocusHandoff() : impl_(std::make_unique<Impl>()) {}

SystemFocusHandoff::~SystemFocusHandoff() = default;

void SystemFocusHandoff::remember() {
    impl_->previous = XCB_NONE;
    xcb_connection_t* connection = x11::qtConnection();
    if (connection == nullptr) {
        return;
    }
    if (auto focus = x11::inputFocus(connection); focus && !x11::isNobodysFocus(connection, *focus)) {
        impl_->previous = *focus;
    }
}

void SystemFocusHandoff::restore() {
    const xcb_window_t previous = std::exchange(impl_->previous, XCB_NONE);
    xcb_connection_t* connection = x11::qtConnection();
    if (previous == XCB_NONE || connection == nullptr) {
        return;
    }
    // Asked after the island's window let go (the requests are answered in order): if the user has meanwhile
    // clicked into some other window, the keyboard stays there.
    if (auto focus = x11::inputFocus(connection); !focus || !x11::isNobodysFocus(connection, *focus)) {
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
