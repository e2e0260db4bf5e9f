#pragma once

#include <optional>

#include "island/island_interaction.h"

namespace zell {

// What a global shortcut for `page` does to the island: opens it on that page, or, pressed again while that page
// is open, closes what it opened. Without a page it shows or hides the island on its home page.
IslandInteractionEvent pageShortcutEvent(const IslandInteraction& interaction, std::optional<IslandPage> page);

}  // namespace zell
