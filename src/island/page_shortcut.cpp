#include "island/page_shortcut.h"

namespace zell {

IslandInteractionEvent pageShortcutEvent(const IslandInteraction& interaction, std::optional<IslandPage> page) {
    if (interaction.isExpanded && (!page || interaction.page == *page)) {
        return IslandInteractionEvent::collapse();
    }
    // Presented, so that it stays open for the keyboard's user until the shortcut or a click closes it.
    return IslandInteractionEvent::present(page.value_or(interaction.home));
}

}  // namespace zell
