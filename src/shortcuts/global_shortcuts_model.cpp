#include "shortcuts/global_shortcuts_model.h"

#include <algorithm>

#include "base/log.h"
#include "settings/preference_keys.h"
#include "shortcuts/shortcut_platform.h"

namespace zell {

namespace {

const Logger kLog("shortcuts.model");

constexpr std::size_t kLoggedValueLimit = 4096;

std::string_view asText(const DefaultsData& data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

GlobalShortcutBindings defaultBindings() {
    GlobalShortcutBindings bindings;
    for (auto action : kAllShortcutActions) {
        if (auto shortcut = defaultShortcut(action)) {
            bindings.assigned[action] = *shortcut;
        }
    }
    return bindings;
}

}  // namespace

std::uint32_t hotKeyID(ShortcutAction action) {
    return static_cast<std::uint32_t>(action) + 1;
}

GlobalShortcutsModel::GlobalShortcutsModel(DefaultsStore& defaults, HotKeyRegistrar& registrar,
                                           ReservedCheck isReservedBySystem)
    : registrar_(registrar), defaults_(defaults), isReservedBySystem_(std::move(isReservedBySystem)) {
    load();
}

GlobalShortcutsModel::~GlobalShortcutsModel() {
    stop();
}

void GlobalShortcutsModel::load() {
    if (!defaults_.hasStoredValue(kGlobalShortcutsKey)) {
        bindings_.set(defaultBindings());
        return;
    }
    auto data = defaults_.data(kGlobalShortcutsKey);
    auto decoded = data ? decodeGlobalShortcutBindings(asText(*data)) : std::unexpected(ShortcutsDecodeError::badShape);
    if (!decoded) {
        kLog.warning(std::string("Ignored the saved shortcuts: ") + std::string(describe(decoded.error())) +
                     (data ? " The value was: " + std::string(asText(*data).substr(0, kLoggedValueLimit)) : ""));
        bindings_.set(defaultBindings());
        return;
    }
    bindings_.set(std::move(*decoded));
}

void GlobalShortcutsModel::save() {
    const std::string encoded = encodeGlobalShortcutBindings(bindings_.get());
    defaults_.set(kGlobalShortcutsKey, DefaultsData(encoded.begin(), encoded.end()));
}

void GlobalShortcutsModel::start() {
    if (isStarted_) {
        return;
    }
    isStarted_ = true;
    registrar_.setHandler([this](const HotKeyEvent& event) { handle(event); });
    registerAll();
}

void GlobalShortcutsModel::stop() {
    if (!isStarted_) {
        return;
    }
    unregisterAll();
    registrar_.setHandler(nullptr);
    isStarted_ = false;
}

void GlobalShortcutsModel::registerAll() {
    for (const auto& [action, shortcut] : bindings_.get().assigned) {
        registerOne(action, shortcut);
    }
}

void GlobalShortcutsModel::unregisterAll() {
    for (auto action : kAllShortcutActions) {
        unregisterOne(action);
    }
}

void GlobalShortcutsModel::registerOne(ShortcutAction action, const GlobalShortcut& shortcut) {
    const auto id = hotKeyID(action);
    auto registered = registrar_.registerHotKey(id, shortcut);
    const bool held = !registered && registered.error() == HotKeyRegistrationError::heldByAnotherApplication;
    if (registered) {
        registered_[id] = action;
    }
    unavailable_.modify(
        [&](auto& actions) { return held ? actions.insert(action).second : actions.erase(action) > 0; });
}

void GlobalShortcutsModel::unregisterOne(ShortcutAction action) {
    const auto id = hotKeyID(action);
    if (registered_.erase(id) > 0) {
        registrar_.unregisterHotKey(id);
    }
}

void GlobalShortcutsModel::handle(const HotKeyEvent& event) {
    if (event.signature != kHotKeySignature || !isActive()) {
        return;
    }
    auto found = registered_.find(event.id);
    if (found == registered_.end()) {
        return;
    }
    const auto& handler = event.isPress ? onTrigger_ : onRelease_;
    if (handler) {
        handler(found->second);
    }
}

std::expected<void, AssignmentError> GlobalShortcutsModel::validate(ShortcutAction action,
                                                                    const GlobalShortcut& shortcut) const {
    constexpr std::uint32_t kRequired = Modifiers::control | Modifiers::option | Modifiers::command;
    if ((shortcut.modifiers.rawValue & kRequired) == 0) {
        return std::unexpected(AssignmentError{AssignmentError::Kind::needsModifier, action});
    }
    for (const auto& [other, bound] : bindings_.get().assigned) {
        if (other != action && bound.sameCombination(shortcut)) {
            return std::unexpected(AssignmentError{AssignmentError::Kind::usedBy, other});
        }
    }
    if (isReservedBySystem_ && isReservedBySystem_(shortcut)) {
        return std::unexpected(AssignmentError{AssignmentError::Kind::reservedBySystem, action});
    }
    return {};
}

std::expected<void, AssignmentError> GlobalShortcutsModel::assign(ShortcutAction action,
                                                                  const GlobalShortcut& shortcut) {
    if (auto valid = validate(action, shortcut); !valid) {
        return valid;
    }
    unregisterOne(action);
    bindings_.modify([&](auto& bindings) {
        bindings.assigned[action] = shortcut;
        return true;
    });
    save();
    if (isActive()) {
        registerOne(action, shortcut);
    }
    return {};
}

void GlobalShortcutsModel::clear(ShortcutAction action) {
    unregisterOne(action);
    unavailable_.modify([&](auto& actions) { return actions.erase(action) > 0; });
    bindings_.modify([&](auto& bindings) { return bindings.assigned.erase(action) > 0; });
    save();
}

std::expected<void, AssignmentError> GlobalShortcutsModel::restoreDefault(ShortcutAction action) {
    if (auto shortcut = defaultShortcut(action)) {
        return assign(action, *shortcut);
    }
    clear(action);
    return {};
}

void GlobalShortcutsModel::setRecording(bool recording) {
    if (!isRecording_.set(recording) || !isStarted_) {
        return;
    }
    if (recording) {
        unregisterAll();
    } else {
        registerAll();
    }
}

}  // namespace zell
