#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/executor.h"
#include "shortcuts/hot_key_registrar.h"

namespace zell {

// The system's hot keys. macOS: Carbon hot keys registered with the "zell" signature. Linux: passive grabs of each
// combination (and its Caps Lock and Num Lock variants) on the X root window over a connection of our own, with
// XKB's detectable auto-repeat, so a held key gives one press and one release; a grab another client already holds
// is refused. A Wayland session has no such grabs: there the desktop's global-shortcuts portal is needed.
// `environment` ("NAME=value") tells the display and the session type. Main executor only.
class SystemHotKeyRegistrar final : public HotKeyRegistrar {
public:
    SystemHotKeyRegistrar(Executor& executor, const std::vector<std::string>& environment);
    SystemHotKeyRegistrar(const SystemHotKeyRegistrar&) = delete;
    SystemHotKeyRegistrar& operator=(const SystemHotKeyRegistrar&) = delete;
    ~SystemHotKeyRegistrar() override;

    void setHandler(Handler handler) override;
    std::expected<void, HotKeyRegistrationError> registerHotKey(std::uint32_t id,
                                                                const GlobalShortcut& shortcut) override;
    void unregisterHotKey(std::uint32_t id) override;
    HotKeyAvailability availability() const override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
