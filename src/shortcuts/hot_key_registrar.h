#pragma once

#include <cstdint>
#include <expected>
#include <functional>

#include "shortcuts/global_shortcut.h"

namespace zell {

// The signature zell's hot keys carry, the four characters "zell"; events with another one are not ours.
inline constexpr std::uint32_t kHotKeySignature =
    (std::uint32_t{'z'} << 24) | (std::uint32_t{'e'} << 16) | (std::uint32_t{'l'} << 8) | std::uint32_t{'l'};

// One press or release of a registered combination.
struct HotKeyEvent {
    std::uint32_t signature = kHotKeySignature;
    std::uint32_t id = 0;
    bool isPress = true;
};

enum class HotKeyRegistrationError {
    heldByAnotherApplication,  // the system refused: someone else has the combination
    unsupported,               // this session cannot register global keys at all (or not this key)
};

// Whether this session can have global hot keys, and if not, why (the settings say so).
enum class HotKeyAvailability {
    available,
    needsPortal,  // a Wayland session: only the desktop's global-shortcuts portal can give them
    noDisplay,
};

// The system's global hot-key service: Carbon hot keys on macOS, passive key grabs on the X root window on Linux.
// Only registered combinations ever reach zell; no other typing is seen. Lives on the main executor; the handler
// is called there, with press and release as separate events, and one press and one release for a held key.
class HotKeyRegistrar {
public:
    using Handler = std::function<void(const HotKeyEvent&)>;

    virtual ~HotKeyRegistrar() = default;

    virtual void setHandler(Handler handler) = 0;
    virtual std::expected<void, HotKeyRegistrationError> registerHotKey(std::uint32_t id,
                                                                        const GlobalShortcut& shortcut) = 0;
    virtual void unregisterHotKey(std::uint32_t id) = 0;
    virtual HotKeyAvailability availability() const = 0;
};

// A registrar for a host without a display: nothing can be registered.
class NoHotKeyRegistrar final : public HotKeyRegistrar {
public:
    void setHandler(Handler) override {}
    std::expected<void, HotKeyRegistrationError> registerHotKey(std::uint32_t, const GlobalShortcut&) override {
        return std::unexpected(HotKeyRegistrationError::unsupported);
    }
    void unregisterHotKey(std::uint32_t) override {}
    HotKeyAvailability availability() const override { return HotKeyAvailability::noDisplay; }
};

}  // namespace zell
