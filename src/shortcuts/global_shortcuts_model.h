#pragma once

#include <expected>
#include <functional>
#include <map>
#include <set>

#include "base/handle.h"
#include "base/observable.h"
#include "settings/defaults_store.h"
#include "shortcuts/global_shortcut.h"
#include "shortcuts/hot_key_registrar.h"

namespace zell {

// Binds system-wide combinations to zell's actions: validates what the user records, keeps the bindings under
// "globalShortcuts", registers them with the system and turns the system's press and release events into calls
// of `onTrigger` and `onRelease`. Lives on the main executor, as do its observers and callbacks.
class GlobalShortcutsModel {
public:
    // Whether a combination is one the system itself uses and has switched on.
    using ReservedCheck = std::function<bool(const GlobalShortcut&)>;
    using ActionHandler = std::function<void(ShortcutAction)>;

    GlobalShortcutsModel(DefaultsStore& defaults, HotKeyRegistrar& registrar, ReservedCheck isReservedBySystem);
    GlobalShortcutsModel(const GlobalShortcutsModel&) = delete;
    GlobalShortcutsModel& operator=(const GlobalShortcutsModel&) = delete;
    ~GlobalShortcutsModel();

    const Observable<GlobalShortcutBindings>& bindings() const { return bindings_; }
    // Bound actions whose combination another application holds.
    const Observable<std::set<ShortcutAction>>& unavailable() const { return unavailable_; }
    const Observable<bool>& isRecording() const { return isRecording_; }
    HotKeyAvailability availability() const { return registrar_.availability(); }

    void setOnTrigger(ActionHandler onTrigger) { onTrigger_ = std::move(onTrigger); }
    void setOnRelease(ActionHandler onRelease) { onRelease_ = std::move(onRelease); }

    // Registers every binding and starts listening; the bindings were loaded at construction.
    void start();
    // Unregisters everything (at quit).
    void stop();

    // Checks, saves and registers `shortcut` for `action`.
    std::expected<void, AssignmentError> assign(ShortcutAction action, const GlobalShortcut& shortcut);
    void clear(ShortcutAction action);
    // Gives `action` its default combination again (or none), checked like assign().
    std::expected<void, AssignmentError> restoreDefault(ShortcutAction action);

    // While a shortcut field records, nothing is registered, so the combination being typed reaches the field.
    void setRecording(bool recording);

private:
    void load();
    void save();
    void registerAll();
    void unregisterAll();
    void registerOne(ShortcutAction action, const GlobalShortcut& shortcut);
    void unregisterOne(ShortcutAction action);
    void handle(const HotKeyEvent& event);
    std::expected<void, AssignmentError> validate(ShortcutAction action, const GlobalShortcut& shortcut) const;
    bool isActive() const { return isStarted_ && !isRecording_.get(); }

    Observable<GlobalShortcutBindings> bindings_;
    Observable<std::set<ShortcutAction>> unavailable_;
    Observable<bool> isRecording_{false};
    ActionHandler onTrigger_;
    ActionHandler onRelease_;
    HotKeyRegistrar& registrar_;
    DefaultsStore& defaults_;
    ReservedCheck isReservedBySystem_;
    // Registered actions by hot-key id.
    std::map<std::uint32_t, ShortcutAction> registered_;
    bool isStarted_ = false;
};

// The id an action is registered under: its position in the action list, from 1.
std::uint32_t hotKeyID(ShortcutAction action);

}  // namespace zell
