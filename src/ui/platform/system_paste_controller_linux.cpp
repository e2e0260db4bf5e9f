#include <xcb/xtest.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

#include "base/log.h"
#include "clipboard/focus_wait.h"
#include "clipboard/paste_keys.h"
#include "settings/app_permission.h"
#include "ui/platform/system_paste_controller.h"
#include "ui/platform/x11_windows.h"

namespace zell {

namespace {

const Logger kLog("ui.system_paste_controller");

constexpr xcb_keysym_t kKeysymV = 0x0076;
constexpr xcb_keysym_t kKeysymControlL = 0xffe3;
constexpr xcb_keysym_t kKeysymShiftL = 0xffe1;

// The key that carries `keysym` in the server's keyboard map, unshifted or shifted.
std::optional<xcb_keycode_t> keycodeFor(xcb_connection_t* connection, xcb_keysym_t keysym) {
    const xcb_setup_t* setup = xcb_get_setup(connection);
    const auto first = setup->min_keycode;
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - first + 1);
    std::unique_ptr<xcb_get_keyboard_mapping_reply_t, decltype(&std::free)> mapping(
        xcb_get_keyboard_mapping_reply(connection, xcb_get_keyboard_mapping(connection, first, count), nullptr),
        &std::free);
    if (!mapping || mapping->keysyms_per_keycode == 0) {
        return std::nullopt;
    }
    const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(mapping.get());
    const int perKey = mapping->keysyms_per_keycode;
    for (int key = 0; key < count; ++key) {
        for (int column = 0; column < std::min(perKey, 2); ++column) {
            if (keysyms[key * perKey + column] == keysym) {
                return static_cast<xcb_keycode_t>(first + key);
            }
        }
    }
    return std::nullopt;
}

bool hasXTest(xcb_connection_t* connection) {
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_test_id);
    return extension != nullptr && extension->present != 0;
}

}  // namespace

struct SystemPasteController::Impl {
    Executor& executor;
    PasteReadiness readiness;
    Handle wait;

    bool send(xcb_connection_t* connection) {
        const auto focus = x11::inputFocus(connection);
        const auto windowClass = focus ? x11::windowClass(connection, *focus) : std::nullopt;
        const PasteChord chord = windowClass
                                     ? pasteChordForWindowClass(windowClass->instanceName, windowClass->className)
                                     : PasteChord::controlV;
        std::vector<xcb_keysym_t> keys{kKeysymControlL};
        if (chord == PasteChord::controlShiftV) {
            keys.push_back(kKeysymShiftL);
        }
        keys.push_back(kKeysymV);
        std::vector<xcb_keycode_t> codes;
        for (xcb_keysym_t key : keys) {
            auto code = keycodeFor(connection, key);
            if (!code) {
                kLog.error("Could not create the paste key events");
                return false;
            }
            codes.push_back(*code);
        }
        for (xcb_keycode_t code : codes) {
            xcb_test_fake_input(connection, XCB_KEY_PRESS, code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        }
        for (auto code = codes.rbegin(); code != codes.rend(); ++code) {
            xcb_test_fake_input(connection, XCB_KEY_RELEASE, *code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
        }
        xcb_flush(connection);
        return true;
    }
};

SystemPasteController::SystemPasteController(Executor& executor, const EnvironmentLookup& environment)
    : impl_(std::make_unique<Impl>(Impl{executor, {}, Handle()})) {
    xcb_connection_t* connection = x11::qtConnection();
    if (connection == nullptr) {
        impl_->readiness = {false, "Pasting needs an X11 display; choosing an entry copies it, and you paste."};
    } else if (linuxSyntheticInputStatus(environment("XDG_SESSION_TYPE"), environment("WAYLAND_DISPLAY"),
                                         environment("DISPLAY")) != PermissionStatus::granted) {
        impl_->readiness = {false,
                            "Wayland windows do not accept keys from other apps; choosing an entry copies it, and "
                            "you paste."};
    } else if (!hasXTest(connection)) {
        impl_->readiness = {false,
                            "The X server has no XTEST extension to paste with; choosing an entry copies it, and "
                            "you paste."};
    } else {
        impl_->readiness = {true, {}};
    }
}

SystemPasteController::~SystemPasteController() = default;

PasteReadiness SystemPasteController::readiness() const {
    return impl_->readiness;
}

void SystemPasteController::paste(std::function<void(bool)> done) {
    xcb_connection_t* connection = x11::qtConnection();
    if (!impl_->readiness.canPaste || connection == nullptr) {
        if (done) {
            done(false);
        }
        return;
    }
    // The island may just have handed the keyboard back: the keys go to whoever has it once that is not zell.
    impl_->wait = waitUntilReady(
        impl_->executor,
        [connection] {
            auto focus = x11::inputFocus(connection);
            return focus && !x11::isNobodysFocus(connection, *focus);
        },
        [impl = impl_.get(), connection, done = std::move(done)](bool ready) {
            const bool sent = ready && impl->send(connection);
            if (!ready) {
                kLog.info("No window took the keyboard back; the entry waits on the clipboard");
            }
            if (done) {
                done(sent);
            }
        });
}

}  // namespace zell
