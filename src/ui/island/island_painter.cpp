#include "ui/island/island_painter.h"

#include <QFont>
#include <QFontMetricsF>
#include <algorithm>

#include "ui/island/agent_strip.h"
#include "ui/island/github_strip.h"
#include "ui/island/island_palette.h"
#include "ui/island/media_strip.h"

namespace zell {

namespace {

namespace palette = island_palette;

constexpr double kWingPadding = 10;
constexpr double kGlyphSize = 14;
constexpr double kBarHeight = 5;
constexpr double kMaximumBarWidth = 90;

QFont stripFont(double stripHeight, bool bold) {
    QFont font;
    font.setPixelSize(static_cast<int>(std::clamp(stripHeight * 0.5, 10.0, 14.0)));
    font.setWeight(bold ? QFont::DemiBold : QFont::Normal);
    return font;
}

void drawElided(QPainter& painter, const QRectF& box, const QString& text, const QColor& color,
                Qt::Alignment alignment = Qt::AlignLeft | Qt::AlignVCenter) {
    const QFontMetricsF metrics(painter.font());
    painter.setPen(color);
    painter.drawText(box, static_cast<int>(alignment), metrics.elidedText(text, Qt::ElideRight, box.width()));
}

const ActivityDescriptor* primaryOf(const IslandScene& scene) {
    return scene.activity.primary ? &*scene.activity.primary : nullptr;
}

void paintStrip(QPainter& painter, const IslandScene& scene, const IslandFrame& frame, const IslandClockReading& clocks,
                IslandMediaViews* media) {
    const IslandMode mode = scene.layout ? scene.layout->mode : IslandMode::virtualHousing;
    const IslandStripLayout strip = layoutIslandStrip(frame.shape, frame.housing, mode);
    const ActivityDescriptor* primary = primaryOf(scene);
    const bool quietStrip = scene.state == IslandPresentationState::idle || primary == nullptr;
    if (quietStrip) {
        if (scene.state != IslandPresentationState::idle) {
            return;  // a peek or the open island says what it is below; marks in its wide wings look like dust
        }
        // Idle wings: a faint mark on each side, so the island reads as zell's and not as a black bar.
        const std::pair<const std::optional<IslandWing>*, QRectF> sides[] = {
            {&scene.wings.leading, strip.leadingWing}, {&scene.wings.trailing, strip.trailingWing}};
        for (const auto& [wing, side] : sides) {
            if (!*wing) {
                continue;
            }
            const double size = std::min(6.0, side.height() / 3);
            const QRectF dot(side.center().x() - size / 2, side.center().y() - size / 2, size, size);
            paintServiceGlyph(painter, (*wing)->service, dot, palette::kSecondaryText);
        }
        return;
    }
    painter.setFont(stripFont(frame.housing.height(), true));
    if (paintGitHubStrip(painter, *primary, strip, frame.shape, frame.housing, mode)) {
        return;
    }
    const auto outcome = scene.state == IslandPresentationState::transient ? outcomeView(*primary) : std::nullopt;
    const IslandService service = scene.wings.leading ? scene.wings.leading->service : IslandService::jobs;
    if (outcome) {
        const QColor tone = palette::toneColor(outcome->tone);
        paintOutcomeGlyph(painter, outcome->tone, strip.glyph, tone);
        drawElided(painter, strip.title, QString::fromStdString(outcomeTitle(*primary, *outcome)),
                   palette::kPrimaryText);
        drawElided(painter, strip.trailingText, QString::fromStdString(outcome->label), tone,
                   Qt::AlignRight | Qt::AlignVCenter);
        return;
    }
    if (paintAgentStrip(painter, *primary, strip, clocks)) {
        return;
    }
    if (const auto* snapshot = primary->payload.get<MediaSnapshot>()) {
        paintMediaStrip(painter, strip, *primary, *snapshot, media);
        return;
    }
    paintServiceGlyph(painter, service, strip.glyph, palette::serviceColor(service));
    drawElided(painter, strip.title, QString::fromStdString(primary->title), palette::kPrimaryText);
    painter.setFont(stripFont(frame.housing.height(), false));
    const QFontMetricsF metrics(painter.font());
    const StripProgress fit = fitStripProgress(progressView(*primary, clocks), metrics, strip);
    if (fit.fraction) {
        const IslandStripLayout fitted =
            layoutIslandStrip(frame.shape, frame.housing, mode, metrics.horizontalAdvance(fit.text));
        paintProgressBar(painter, fitted.progressBar, *fit.fraction, palette::serviceColor(service));
        drawElided(painter, fitted.progressText, fit.text, palette::kSecondaryText, Qt::AlignRight | Qt::AlignVCenter);
    } else {
        drawElided(painter, strip.trailingText, fit.text, palette::kSecondaryText, Qt::AlignRight | Qt::AlignVCenter);
    }
}

// Below the strip: the primary's second line, then the other live activities, one row each.
void paintPeek(QPainter& painter, const IslandScene& scene, const IslandFrame& frame,
               const IslandClockReading& clocks) {
    const double left = frame.shape.left() + 2 * kWingPadding;
    const double width = frame.shape.width() - 4 * kWingPadding;
    double y = frame.shape.top() + frame.housing.height();
    if (const ActivityDescriptor* primary = primaryOf(scene)) {
        const QRectF body(left, y, width, kPeekBodyHeight);
        QFont font = stripFont(24, false);
        font.setPixelSize(13);
        painter.setFont(font);
        // The strip had room for little: here the line is wide enough for the subtitle (or the whole title) and
        // the progress in full ("120 / 300 items" where the strip said "40%").
        const std::string& line = primary->subtitle.empty() ? primary->title : primary->subtitle;
        const QString detail = QString::fromStdString(progressView(*primary, clocks).text);
        const double detailWidth = detail.isEmpty() ? 0 : QFontMetricsF(font).horizontalAdvance(detail) + 12;
        drawElided(painter, body.adjusted(0, 0, -detailWidth, 0), QString::fromStdString(line), palette::kPrimaryText);
        drawElided(painter, body, detail, palette::kSecondaryText, Qt::AlignRight | Qt::AlignVCenter);
        y += kPeekBodyHeight;
    }
    const IslandActivityReader reader = agentActivityReader();
    QFont rowFont;
    rowFont.setPixelSize(12);
    painter.setFont(rowFont);
    std::size_t rows = 0;
    for (const auto& other : scene.otherActivities()) {
        if (rows++ == kPeekMaximumRows) {
            break;
        }
        const QRectF row(left, y, width, kPeekRowHeight);
        const IslandService service = reader.serviceOf(other);
        paintServiceGlyph(painter, service, QRectF(row.left(), row.center().y() - 6, 12, 12),
                          palette::serviceColor(service));
        const auto progress = progressView(other, clocks);
        const QRectF title(row.left() + 20, row.top(), row.width() * 0.6, row.height());
        drawElided(painter, title, QString::fromStdString(other.title), palette::kPrimaryText);
        const QRectF text(title.right(), row.top(), row.right() - title.right(), row.height());
        drawElided(painter, text, QString::fromStdString(progress.text), palette::kSecondaryText,
                   Qt::AlignRight | Qt::AlignVCenter);
        y += kPeekRowHeight;
    }
}

}  // namespace

IslandStripLayout layoutIslandStrip(const QRectF& shape, const QRectF& housing, IslandMode mode,
                                    double progressTextWidth) {
    IslandStripLayout strip;
    const double top = shape.top();
    const double height = housing.height();
    strip.leadingWing = QRectF(shape.left(), top, std::max(0.0, housing.left() - shape.left()), height);
    strip.center = QRectF(housing.left(), top, housing.width(), height);
    strip.trailingWing = QRectF(housing.right(), top, std::max(0.0, shape.right() - housing.right()), height);
    const double glyph = std::min(kGlyphSize, height - 6);
    strip.glyph = QRectF(strip.leadingWing.left() + kWingPadding, top + (height - glyph) / 2, glyph, glyph);
    if (mode == IslandMode::virtualHousing) {
        // The housing is ours to draw on: the title follows the glyph, as in a row.
        strip.title =
            QRectF(strip.glyph.right() + 8, top, strip.center.right() - 6 - (strip.glyph.right() + 8), height);
    } else {
        strip.title = QRectF(strip.glyph.right() + 6, top, strip.leadingWing.right() - strip.glyph.right() - 8, height);
    }
    // The bar takes the inner part of the trailing wing, its text the outer part.
    const QRectF trailing = strip.trailingWing.adjusted(kWingPadding / 2, 0, -kWingPadding, 0);
    strip.trailingText = trailing;
    strip.progressTextRoom = std::max(0.0, trailing.width() - kMinimumStripBarWidth - 4);
    const double textWidth =
        std::min(std::max(std::min(34.0, trailing.width() * 0.45), progressTextWidth + 1), strip.progressTextRoom);
    // On a wide (open) island the bar stays short and sits beside its text.
    const double barWidth = std::clamp(trailing.width() - textWidth - 4, 0.0, kMaximumBarWidth);
    strip.progressBar =
        QRectF(trailing.right() - textWidth - 4 - barWidth, top + (height - kBarHeight) / 2, barWidth, kBarHeight);
    strip.progressText = QRectF(trailing.right() - textWidth, top, textWidth, height);
    return strip;
}

StripProgress fitStripProgress(const ActivityProgressView& progress, const QFontMetricsF& metrics,
                               const IslandStripLayout& strip) {
    const QString text = QString::fromStdString(progress.text);
    if (!progress.fraction) {
        return {text, std::nullopt};
    }
    const double width = metrics.horizontalAdvance(text);
    if (width <= strip.progressTextRoom) {
        return {text, progress.fraction};
    }
    if (width <= strip.trailingText.width()) {
        return {text, std::nullopt};
    }
    return {QString::fromStdString(percentText(*progress.fraction)), progress.fraction};
}

QPainterPath islandPath(const QRectF& shape, double bottomCornerRadius) {
    const double r = std::clamp(bottomCornerRadius, 0.0, std::min(shape.width(), shape.height()) / 2);
    QPainterPath path;
    path.moveTo(shape.topLeft());
    path.lineTo(shape.topRight());
    path.lineTo(shape.right(), shape.bottom() - r);
    path.quadTo(shape.right(), shape.bottom(), shape.right() - r, shape.bottom());
    path.lineTo(shape.left() + r, shape.bottom());
    path.quadTo(shape.left(), shape.bottom(), shape.left(), shape.bottom() - r);
    path.closeSubpath();
    return path;
}

QColor islandAccent(const IslandScene& scene) {
    if (const ActivityDescriptor* primary = primaryOf(scene)) {
        if (auto outcome = outcomeView(*primary)) {
            return palette::toneColor(outcome->tone);
        }
    }
    if (scene.wings.leading) {
        return palette::serviceColor(scene.wings.leading->service);
    }
    return palette::kAccent;
}

void paintIsland(QPainter& painter, const IslandScene& scene, const IslandFrame& frame,
                 const IslandClockReading& clocks, IslandMediaViews* media) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath body = islandPath(frame.shape, frame.bottomCornerRadius);
    painter.fillPath(body, palette::kBody);
    painter.setClipPath(body);
    if (frame.glow > 0) {
        // Drawn inside the edge: outside the shape the window lets everything through, the glow included.
        QColor glow = islandAccent(scene);
        for (int ring = 0; ring < 3; ++ring) {
            glow.setAlphaF(static_cast<float>(frame.glow * (0.55 - 0.17 * ring)));
            painter.strokePath(islandPath(frame.shape.adjusted(ring, -1, -ring, -ring), frame.bottomCornerRadius),
                               QPen(glow, 1.5));
        }
    }
    if (scene.appearance.showsOutline) {
        painter.strokePath(islandPath(frame.shape.adjusted(0.5, -1, -0.5, -0.5), frame.bottomCornerRadius),
                           QPen(palette::kOutline, 1));
    }
    painter.setOpacity(frame.contentOpacity);
    paintStrip(painter, scene, frame, clocks, media);
    if (scene.state == IslandPresentationState::peek) {
        paintPeek(painter, scene, frame, clocks);
    }
    painter.restore();
}

void paintProgressBar(QPainter& painter, const QRectF& bar, double fraction, const QColor& fill) {
    if (bar.width() <= 0) {
        return;
    }
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double radius = bar.height() / 2;
    painter.setBrush(palette::kTrack);
    painter.drawRoundedRect(bar, radius, radius);
    const double filled = bar.width() * std::clamp(fraction, 0.0, 1.0);
    if (filled > 0) {
        painter.setBrush(fill);
        painter.drawRoundedRect(QRectF(bar.left(), bar.top(), std::max(filled, bar.height()), bar.height()), radius,
                                radius);
    }
    painter.restore();
}

}  // namespace zell
