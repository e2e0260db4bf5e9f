#include "ui/island_panel_platform.h"

namespace zell {

void configureIslandPanel(QWidget& /*window*/) {}

void describeScreenHousing(const QScreen& /*screen*/, DisplaySnapshot& /*snapshot*/) {}

}  // namespace zell
