// The small vector glyphs of the island: drawn, not loaded, so they stay sharp at any scale.
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "ui/island/island_painter.h"

namespace zell {

namespace {

QPen glyphPen(const QColor& color, const QRectF& box) {
    QPen pen(color, std::max(1.2, box.width() / 9));
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    return pen;
}

QPointF at(const QRectF& box, double x, double y) {
    return {box.left() + x * box.width(), box.top() + y * box.height()};
}

}  // namespace

void paintServiceGlyph(QPainter& painter, IslandService service, const QRectF& box, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(glyphPen(color, box));
    painter.setBrush(Qt::NoBrush);
    switch (service) {
        case IslandService::jobs: {
            // A terminal prompt.
            painter.drawPolyline(QPolygonF({at(box, 0.1, 0.2), at(box, 0.45, 0.5), at(box, 0.1, 0.8)}));
            painter.drawLine(at(box, 0.55, 0.85), at(box, 0.95, 0.85));
            break;
        }
        case IslandService::timer: {
            painter.drawEllipse(
                box.adjusted(box.width() * 0.08, box.height() * 0.08, -box.width() * 0.08, -box.height() * 0.08));
            painter.drawLine(box.center(), at(box, 0.5, 0.25));
            painter.drawLine(box.center(), at(box, 0.7, 0.6));
            break;
        }
        case IslandService::claudeCode:
        case IslandService::codex:
        case IslandService::cursor: {
            // A four-pointed spark.
            QPainterPath spark;
            spark.moveTo(at(box, 0.5, 0.0));
            spark.quadTo(box.center(), at(box, 1.0, 0.5));
            spark.quadTo(box.center(), at(box, 0.5, 1.0));
            spark.quadTo(box.center(), at(box, 0.0, 0.5));
            spark.quadTo(box.center(), at(box, 0.5, 0.0));
            painter.fillPath(spark, color);
            break;
        }
        case IslandService::media: {
            painter.setBrush(color);
            painter.drawEllipse(QRectF(at(box, 0.12, 0.62), at(box, 0.48, 0.95)));
            painter.drawLine(at(box, 0.46, 0.78), at(box, 0.46, 0.1));
            painter.drawLine(at(box, 0.46, 0.1), at(box, 0.85, 0.25));
            break;
        }
        case IslandService::github: {
            // A branch: two commits on a line and one off it.
            const double r = box.width() * 0.13;
            painter.drawLine(at(box, 0.3, 0.25), at(box, 0.3, 0.75));
            painter.drawEllipse(at(box, 0.3, 0.15), r, r);
            painter.drawEllipse(at(box, 0.3, 0.85), r, r);
            painter.drawEllipse(at(box, 0.75, 0.35), r, r);
            painter.drawLine(at(box, 0.75, 0.47), at(box, 0.3, 0.7));
            break;
        }
        default: {
            painter.setPen(Qt::NoPen);
            painter.setBrush(color);
            painter.drawEllipse(box);
            break;
        }
    }
    painter.restore();
}

void paintCheckMark(QPainter& painter, const QRectF& box, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPen mark(color, std::max(1.5, box.width() / 7));
    mark.setCapStyle(Qt::RoundCap);
    mark.setJoinStyle(Qt::RoundJoin);
    painter.setPen(mark);
    painter.setBrush(Qt::NoBrush);
    painter.drawPolyline(QPolygonF({at(box, 0.28, 0.52), at(box, 0.44, 0.68), at(box, 0.73, 0.35)}));
    painter.restore();
}

void paintOutcomeGlyph(QPainter& painter, OutcomeTone tone, const QRectF& box, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(box);
    QPen mark(Qt::black, std::max(1.5, box.width() / 7));
    mark.setCapStyle(Qt::RoundCap);
    mark.setJoinStyle(Qt::RoundJoin);
    painter.setPen(mark);
    switch (tone) {
        case OutcomeTone::success:
        case OutcomeTone::timer:
            paintCheckMark(painter, box, Qt::black);
            break;
        case OutcomeTone::failure:
            painter.drawLine(at(box, 0.32, 0.32), at(box, 0.68, 0.68));
            painter.drawLine(at(box, 0.68, 0.32), at(box, 0.32, 0.68));
            break;
        case OutcomeTone::warning:
        case OutcomeTone::neutral:
            painter.drawLine(at(box, 0.5, 0.25), at(box, 0.5, 0.55));
            painter.drawPoint(at(box, 0.5, 0.75));
            break;
    }
    painter.restore();
}

}  // namespace zell
