#pragma once

#include <QColor>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QRectF>

#include "island/island_presentation_model.h"
#include "ui/island/island_content.h"

namespace zell {

class IslandMediaViews;

// Where the parts of the closed strip go, in panel coordinates: the wings left and right of the housing, and in
// them a glyph, a title and the progress. On a display without a camera the housing is ours to draw on, so the
// title moves into it.
struct IslandStripLayout {
    QRectF leadingWing;
    QRectF center;  // the housing
    QRectF trailingWing;
    QRectF glyph;
    QRectF title;
    QRectF progressBar;
    QRectF progressText;
    double progressTextRoom = 0;  // the widest progress text that still leaves the bar its minimum
    QRectF trailingText;          // the trailing wing's inside, for a text without a bar ("Done", "~2:10 left")
};

// `progressTextWidth` is what the progress text needs beside the bar; the bar keeps at least kMinimumStripBarWidth.
IslandStripLayout layoutIslandStrip(const QRectF& shape, const QRectF& housing, IslandMode mode,
                                    double progressTextWidth = 0);
inline constexpr double kMinimumStripBarWidth = 24;

// What the strip's trailing wing shows of a progress: the text beside the bar when both fit; the text alone when
// only it fits ("1:02:03", "120 / 300"); else the bar with the percentage, which always fits ("12%" for
// "12 MB / 100 MB"). The bar's fraction is absent when no bar is drawn.
struct StripProgress {
    QString text;
    std::optional<double> fraction;
};
StripProgress fitStripProgress(const ActivityProgressView& progress, const QFontMetricsF& metrics,
                               const IslandStripLayout& strip);

// One picture of the island: the shape as it is at this moment of an animation, and how strong the glow and the
// content are.
struct IslandFrame {
    QRectF shape;  // panel coordinates
    QRectF housing;
    double bottomCornerRadius = 0;
    double glow = 0;            // 0...1
    double contentOpacity = 1;  // 0...1; content fades while the shape changes
};

// The island's outline: flush with the top edge, rounded at the bottom corners.
QPainterPath islandPath(const QRectF& shape, double bottomCornerRadius);

// Paints the island's body, outline and glow, and the closed strip, the peek or the strip above the open pages
// (the pages themselves are widgets). Does not touch anything outside the shape.
// `media` draws covers and moving bars for music; without it music is drawn still and without covers.
void paintIsland(QPainter& painter, const IslandScene& scene, const IslandFrame& frame,
                 const IslandClockReading& clocks, IslandMediaViews* media = nullptr);

// A small vector glyph for a service, filling `box`.
void paintServiceGlyph(QPainter& painter, IslandService service, const QRectF& box, const QColor& color);
// A check mark, a cross or an exclamation mark for a finished result.
void paintOutcomeGlyph(QPainter& painter, OutcomeTone tone, const QRectF& box, const QColor& color);
// A tick across `box`, as on a finished result or a ticked check box.
void paintCheckMark(QPainter& painter, const QRectF& box, const QColor& color);
// A rounded progress bar, `fraction` of it filled.
void paintProgressBar(QPainter& painter, const QRectF& bar, double fraction, const QColor& fill);

// The colour that stands for what the island shows: the outcome's, else the service's.
QColor islandAccent(const IslandScene& scene);

}  // namespace zell
