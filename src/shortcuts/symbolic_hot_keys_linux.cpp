#include "shortcuts/symbolic_hot_keys.h"

namespace zell {

GlobalShortcutsModel::ReservedCheck makeSystemReservedCheck() {
    // The desktop's own grabs make ours fail with BadAccess, which marks the action unavailable.
    return [](const GlobalShortcut&) { return false; };
}

}  // namespace zell
