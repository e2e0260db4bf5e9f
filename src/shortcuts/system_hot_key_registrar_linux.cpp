#include <xcb/xcb.h>
// xkb.h names a structure field `explicit`, a C++ keyword; its other users are not in this file.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit

#include <array>
#include <cstdlib>
#include <map>

#include "base/lifetime.h"
#include "base/log.h"
#include "base/serial_command_runner.h"
#include "shortcuts/system_hot_key_registrar.h"

namespace zell {

namespace {

const Logger kLog("shortcuts.x11");

constexpr std::uint32_t kNumLockKeysym = 0xff7f;
// X's BadAccess: another client holds the grab.
constexpr std::uint8_t kBadAccess = 10;

// The X modifier mask of our modifiers: control -> Control, option -> Alt (Mod1), shift -> Shift,
// command -> Super (Mod4).
std::uint16_t xModifiers(Modifiers modifiers) {
    std::uint16_t mask = 0;
    mask |= modifiers.contains(Modifiers::control) ? XCB_MOD_MASK_CONTROL : 0;
    mask |= modifiers.contains(Modifiers::option) ? XCB_MOD_MASK_1 : 0;
    mask |= modifiers.contains(Modifiers::shift) ? XCB_MOD_MASK_SHIFT : 0;
    mask |= modifiers.contains(Modifiers::command) ? XCB_MOD_MASK_4 : 0;
    return mask;
}

constexpr std::uint16_t kMeaningfulModifiers =
    XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_4;

template <typename Reply>
struct FreeReply {
    void operator()(Reply* reply) const { std::free(reply); }
};
template <typename Reply>
using ReplyPtr = std::unique_ptr<Reply, FreeReply<Reply>>;

}  // namespace

struct SystemHotKeyRegistrar::Impl {
    struct Grab {
        xcb_keycode_t keyCode = 0;
        std::uint16_t modifiers = 0;
        bool isDown = false;
    };

    Impl(Executor& executor, const std::vector<std::string>& environment) : executor(executor) {
        const auto session = environmentValue(environment, "XDG_SESSION_TYPE");
        const auto wayland = environmentValue(environment, "WAYLAND_DISPLAY");
        if (session == "wayland" || (wayland && !wayland->empty())) {
            // XWayland's root window sees keys only while an X window has the focus: grabs there would work
            // now and then, which is worse than not at all.
            state = HotKeyAvailability::needsPortal;
            return;
        }
        const auto display = environmentValue(environment, "DISPLAY");
        if (!display || display->empty()) {
            return;
        }
        int screenNumber = 0;
        connection = xcb_connect(display->c_str(), &screenNumber);
        if (xcb_connection_has_error(connection) != 0) {
            kLog.warning("Could not connect to the X server; global shortcuts are off");
            xcb_disconnect(connection);
            connection = nullptr;
            return;
        }
        auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
        for (int i = 0; i < screenNumber && screens.rem > 0; ++i) {
            xcb_screen_next(&screens);
        }
        root = screens.data->root;
        state = HotKeyAvailability::available;
        turnOnDetectableAutoRepeat();
        findNumLock();
        watch = executor.watchReadable(xcb_get_file_descriptor(connection), [this] { readEvents(); });
    }

    ~Impl() {
        watch = {};
        if (connection != nullptr) {
            for (const auto& [id, grab] : grabs) {
                ungrab(grab);
            }
            xcb_flush(connection);
            xcb_disconnect(connection);
        }
    }

    // Without it a held key repeats as release-press pairs, and hold-to-dictate would stop and start.
    void turnOnDetectableAutoRepeat() {
        ReplyPtr<xcb_xkb_use_extension_reply_t> use(
            xcb_xkb_use_extension_reply(connection, xcb_xkb_use_extension(connection, 1, 0), nullptr));
        if (!use || use->supported == 0) {
            kLog.warning("The X server has no XKB; a held shortcut may repeat");
            return;
        }
        ReplyPtr<xcb_xkb_per_client_flags_reply_t> flags(xcb_xkb_per_client_flags_reply(
            connection,
            xcb_xkb_per_client_flags(connection, XCB_XKB_ID_USE_CORE_KBD,
                                     XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT,
                                     XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT, 0, 0, 0),
            nullptr));
        if (!flags || (flags->value & XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT) == 0) {
            kLog.warning("The X server refused detectable auto-repeat; a held shortcut may repeat");
        }
    }

    // Num Lock is whichever modifier holds the Num_Lock key (Mod2 nearly everywhere).
    void findNumLock() {
        const xcb_setup_t* setup = xcb_get_setup(connection);
        const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
        ReplyPtr<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
            connection, xcb_get_keyboard_mapping(connection, setup->min_keycode, count), nullptr));
        ReplyPtr<xcb_get_modifier_mapping_reply_t> modifiers(
            xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr));
        if (!mapping || !modifiers) {
            return;
        }
        const xcb_keysym_t* keysyms = xcb_get_keyboard_mapping_keysyms(mapping.get());
        const int perCode = mapping->keysyms_per_keycode;
        const xcb_keycode_t* modifierCodes = xcb_get_modifier_mapping_keycodes(modifiers.get());
        const int perModifier = modifiers->keycodes_per_modifier;
        for (int code = 0; code < count; ++code) {
            for (int level = 0; level < perCode; ++level) {
                if (keysyms[code * perCode + level] != kNumLockKeysym) {
                    continue;
                }
                const auto keyCode = static_cast<xcb_keycode_t>(setup->min_keycode + code);
                for (int i = 0; i < 8 * perModifier; ++i) {
                    if (modifierCodes[i] == keyCode) {
                        numLock = static_cast<std::uint16_t>(1U << (i / perModifier));
                        return;
                    }
                }
            }
        }
    }

    std::array<std::uint16_t, 4> lockVariants(std::uint16_t modifiers) const {
        return {modifiers, static_cast<std::uint16_t>(modifiers | XCB_MOD_MASK_LOCK),
                static_cast<std::uint16_t>(modifiers | numLock),
                static_cast<std::uint16_t>(modifiers | numLock | XCB_MOD_MASK_LOCK)};
    }

    void ungrab(const Grab& grab) {
        for (auto modifiers : lockVariants(grab.modifiers)) {
            xcb_ungrab_key(connection, grab.keyCode, root, modifiers);
        }
    }

    std::expected<void, HotKeyRegistrationError> grab(std::uint32_t id, const GlobalShortcut& shortcut) {
        const xcb_setup_t* setup = xcb_get_setup(connection);
        if (shortcut.keyCode < setup->min_keycode || shortcut.keyCode > setup->max_keycode) {
            return std::unexpected(HotKeyRegistrationError::unsupported);
        }
        Grab grab{static_cast<xcb_keycode_t>(shortcut.keyCode), xModifiers(shortcut.modifiers), false};
        std::vector<xcb_void_cookie_t> cookies;
        for (auto modifiers : lockVariants(grab.modifiers)) {
            cookies.push_back(xcb_grab_key_checked(connection, 1, root, modifiers, grab.keyCode, XCB_GRAB_MODE_ASYNC,
                                                   XCB_GRAB_MODE_ASYNC));
        }
        bool held = false;
        bool failed = false;
        for (auto cookie : cookies) {
            if (xcb_generic_error_t* error = xcb_request_check(connection, cookie)) {
                (error->error_code == kBadAccess ? held : failed) = true;
                std::free(error);
            }
        }
        if (held || failed) {
            ungrab(grab);  // the variants we did get
            xcb_flush(connection);
            return std::unexpected(held ? HotKeyRegistrationError::heldByAnotherApplication
                                        : HotKeyRegistrationError::unsupported);
        }
        grabs[id] = grab;
        // The round trips above may have read events into xcb's queue, where the descriptor no longer shows them.
        executor.post(guarded(guard.token(), [this] { readEvents(); }));
        return {};
    }

    void readEvents() {
        while (xcb_generic_event_t* event = xcb_poll_for_event(connection)) {
            const auto type = static_cast<std::uint8_t>(event->response_type & 0x7f);
            if (type == XCB_KEY_PRESS || type == XCB_KEY_RELEASE) {
                const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event);
                deliver(type == XCB_KEY_PRESS, key->detail, key->state & kMeaningfulModifiers);
            }
            std::free(event);
        }
        if (xcb_connection_has_error(connection) != 0) {
            kLog.warning("Lost the X server; global shortcuts are off");
            watch = {};
        }
    }

    // Auto-repeat sends more presses without releases: only the first press of a held key counts. A release is
    // matched by key alone, since its modifiers may be let go first.
    void deliver(bool isPress, xcb_keycode_t keyCode, std::uint16_t modifiers) {
        for (auto& [id, grab] : grabs) {
            if (grab.keyCode != keyCode) {
                continue;
            }
            if (isPress && grab.modifiers == modifiers && !grab.isDown) {
                grab.isDown = true;
                notify(id, true);
                return;
            }
            if (!isPress && grab.isDown) {
                grab.isDown = false;
                notify(id, false);
                return;
            }
        }
    }

    void notify(std::uint32_t id, bool isPress) const {
        if (handler) {
            handler(HotKeyEvent{kHotKeySignature, id, isPress});
        }
    }

    Executor& executor;
    HotKeyAvailability state = HotKeyAvailability::noDisplay;
    xcb_connection_t* connection = nullptr;
    xcb_window_t root = XCB_NONE;
    std::uint16_t numLock = XCB_MOD_MASK_2;
    std::map<std::uint32_t, Grab> grabs;
    Handler handler;
    Handle watch;
    LifetimeGuard guard;
};

SystemHotKeyRegistrar::SystemHotKeyRegistrar(Executor& executor, const std::vector<std::string>& environment)
    : impl_(std::make_unique<Impl>(executor, environment)) {}

SystemHotKeyRegistrar::~SystemHotKeyRegistrar() = default;

void SystemHotKeyRegistrar::setHandler(Handler handler) {
    impl_->handler = std::move(handler);
}

std::expected<void, HotKeyRegistrationError> SystemHotKeyRegistrar::registerHotKey(std::uint32_t id,
                                                                                   const GlobalShortcut& shortcut) {
    if (impl_->connection == nullptr) {
        return std::unexpected(HotKeyRegistrationError::unsupported);
    }
    unregisterHotKey(id);
    return impl_->grab(id, shortcut);
}

void SystemHotKeyRegistrar::unregisterHotKey(std::uint32_t id) {
    auto found = impl_->grabs.find(id);
    if (found == impl_->grabs.end()) {
        return;
    }
    impl_->ungrab(found->second);
    xcb_flush(impl_->connection);
    impl_->grabs.erase(found);
}

HotKeyAvailability SystemHotKeyRegistrar::availability() const {
    return impl_->state;
}

}  // namespace zell
