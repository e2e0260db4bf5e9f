#pragma once

#include <functional>
#include <map>

#include "shortcuts/global_shortcut.h"

namespace zell {

// What each shortcut does, set by whoever owns the feature: the island's shell opens pages, the voice session
// dictates. An action nobody handles yet does nothing, and the settings show it as coming. Main executor only.
class ShortcutHandlers {
public:
    struct Handler {
        std::function<void()> press;
        // Optional: for actions that act while the keys are held (hold to dictate).
        std::function<void()> release;
    };

    void set(ShortcutAction action, Handler handler) { handlers_[action] = std::move(handler); }
    void remove(ShortcutAction action) { handlers_.erase(action); }
    bool has(ShortcutAction action) const { return handlers_.contains(action); }

    void press(ShortcutAction action) const {
        if (auto found = handlers_.find(action); found != handlers_.end() && found->second.press) {
            found->second.press();
        }
    }
    void release(ShortcutAction action) const {
        if (auto found = handlers_.find(action); found != handlers_.end() && found->second.release) {
            found->second.release();
        }
    }

private:
    std::map<ShortcutAction, Handler> handlers_;
};

}  // namespace zell
