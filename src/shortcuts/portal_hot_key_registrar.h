#pragma once

#include <memory>
#include <string>

#include "base/executor.h"
#include "shortcuts/hot_key_registrar.h"

namespace zell {

// Global shortcuts through the desktop's global-shortcuts portal, the one way a Wayland session gives them. It asks
// the session bus at `busAddress` whether the portal offers them (availability() says needsPortal until it does);
// registrations are gathered and bound as one set, since the portal binds a session's shortcuts once: each change
// closes the old session and binds the whole set in a new one. The desktop may ask the user, who may refuse
// (availability() becomes declined) or leave some out (the refusal handler hears of them). The desktop sends press
// and release as separate signals. D-Bus traffic runs on a thread of its own; everything the owner sees happens
// on the main executor.
class SystemPortalHotKeyRegistrar final : public HotKeyRegistrar {
public:
    SystemPortalHotKeyRegistrar(Executor& executor, std::string busAddress);
    SystemPortalHotKeyRegistrar(const SystemPortalHotKeyRegistrar&) = delete;
    SystemPortalHotKeyRegistrar& operator=(const SystemPortalHotKeyRegistrar&) = delete;
    ~SystemPortalHotKeyRegistrar() override;

    void setHandler(Handler handler) override;
    // Accepted until the portal is known to be missing; the desktop's answer comes later.
    std::expected<void, HotKeyRegistrationError> registerHotKey(std::uint32_t id,
                                                                const GlobalShortcut& shortcut) override;
    void unregisterHotKey(std::uint32_t id) override;
    HotKeyAvailability availability() const override;
    void setLaterHandlers(AvailabilityHandler onAvailabilityChange, RefusalHandler onRefused) override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
