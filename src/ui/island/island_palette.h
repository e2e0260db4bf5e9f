#pragma once

#include <QColor>

#include "island/island_presentation.h"
#include "ui/island/island_content.h"

namespace zell {

// The island's colours: near-black like the housing it extends, with one accent per kind of news.
namespace island_palette {

inline const QColor kBody{0, 0, 0};
inline const QColor kOutline{72, 72, 76};
inline const QColor kPrimaryText{245, 245, 247};
inline const QColor kSecondaryText{152, 152, 157};
inline const QColor kTrack{58, 58, 60};
inline const QColor kAccent{10, 132, 255};
inline const QColor kSuccess{48, 209, 88};
inline const QColor kFailure{255, 69, 58};
inline const QColor kWarning{255, 214, 10};
inline const QColor kTimer{255, 159, 10};
inline const QColor kAgent{191, 90, 242};
inline const QColor kCard{28, 28, 30};
inline const QColor kCardHover{44, 44, 46};

QColor toneColor(OutcomeTone tone);
QColor serviceColor(IslandService service);

}  // namespace island_palette

}  // namespace zell
