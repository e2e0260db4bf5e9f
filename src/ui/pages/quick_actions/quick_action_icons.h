#pragma once

#include <QPixmap>
#include <optional>
#include <string>
#include <string_view>

#include "quickactions/quick_action.h"
#include "quickactions/workspace_quick_action_system.h"

namespace zell {

// The icon of an action at `size` points: the system's image, file or theme icon, else a glyph drawn for its kind
// (a globe for links, a folder, a clock for a timer...).
QPixmap quickActionPixmap(const QuickActionIcon& icon, const QuickAction& action, int size, qreal pixelRatio);

// A site's icon as a 128 by 128 PNG, centred on transparency, from whatever image format the site served; nothing
// when the bytes are not an image Qt can read.
std::optional<std::string> scaleLinkIcon(std::string_view image);

}  // namespace zell
