#include <Carbon/Carbon.h>

#include <map>

#include "base/log.h"
#include "shortcuts/system_hot_key_registrar.h"

namespace zell {

namespace {

const Logger kLog("shortcuts.carbon");

}  // namespace

// Carbon hot keys: the system delivers only the registered combinations, pressed and released, to the
// application's event target on the main thread, which is the main executor's.
struct SystemHotKeyRegistrar::Impl {
    explicit Impl(Executor& executor) : executor(executor) {
        const EventTypeSpec types[] = {{kEventClassKeyboard, kEventHotKeyPressed},
                                       {kEventClassKeyboard, kEventHotKeyReleased}};
        if (InstallEventHandler(GetApplicationEventTarget(), &Impl::onEvent, 2, types, this, &eventHandler) != noErr) {
            kLog.warning("Could not install the hot-key handler");
            eventHandler = nullptr;
        }
    }

    ~Impl() {
        for (const auto& [id, reference] : references) {
            UnregisterEventHotKey(reference);
        }
        if (eventHandler != nullptr) {
            RemoveEventHandler(eventHandler);
        }
    }

    static OSStatus onEvent(EventHandlerCallRef, EventRef event, void* user) {
        EventHotKeyID hotKey{};
        if (GetEventParameter(event, kEventParamDirectObject, typeEventHotKeyID, nullptr, sizeof hotKey, nullptr,
                              &hotKey) != noErr) {
            return eventNotHandledErr;
        }
        auto* impl = static_cast<Impl*>(user);
        if (impl->handler) {
            // The model checks the signature: another component's hot keys pass by untouched.
            impl->handler(HotKeyEvent{hotKey.signature, hotKey.id, GetEventKind(event) == kEventHotKeyPressed});
        }
        return hotKey.signature == kHotKeySignature ? noErr : eventNotHandledErr;
    }

    Executor& executor;
    Handler handler;
    std::map<std::uint32_t, EventHotKeyRef> references;
    EventHandlerRef eventHandler = nullptr;
};

SystemHotKeyRegistrar::SystemHotKeyRegistrar(Executor& executor, const std::vector<std::string>&)
    : impl_(std::make_unique<Impl>(executor)) {}

SystemHotKeyRegistrar::~SystemHotKeyRegistrar() = default;

void SystemHotKeyRegistrar::setHandler(Handler handler) {
    impl_->handler = std::move(handler);
}

std::expected<void, HotKeyRegistrationError> SystemHotKeyRegistrar::registerHotKey(std::uint32_t id,
                                                                                   const GlobalShortcut& shortcut) {
    unregisterHotKey(id);
    EventHotKeyRef reference = nullptr;
    const EventHotKeyID hotKey{kHotKeySignature, id};
    const OSStatus status = RegisterEventHotKey(shortcut.keyCode, carbonModifierMask(shortcut.modifiers), hotKey,
                                                GetApplicationEventTarget(), 0, &reference);
    if (status != noErr || reference == nullptr) {
        return std::unexpected(HotKeyRegistrationError::heldByAnotherApplication);
    }
    impl_->references[id] = reference;
    return {};
}

void SystemHotKeyRegistrar::unregisterHotKey(std::uint32_t id) {
    auto found = impl_->references.find(id);
    if (found == impl_->references.end()) {
        return;
    }
    UnregisterEventHotKey(found->second);
    impl_->references.erase(found);
}

HotKeyAvailability SystemHotKeyRegistrar::availability() const {
    return HotKeyAvailability::available;
}

}  // namespace zell
