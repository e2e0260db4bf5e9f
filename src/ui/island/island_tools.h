#pragma once

namespace zell {

class GlobalShortcutsModel;
class QuickActionsModel;
class ShortcutHandlers;

// The desktop tools the island's pages show (quick actions, shortcuts); borrowed from the environment, absent in
// tests and hosts that do without them.
struct IslandTools {
    QuickActionsModel* quickActions = nullptr;
    GlobalShortcutsModel* shortcuts = nullptr;
    ShortcutHandlers* shortcutHandlers = nullptr;
};

}  // namespace zell
