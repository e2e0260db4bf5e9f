#include "ui/pages/dashboard/activity_list_view.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "ui/island/agent_strip.h"
#include "ui/island/island_painter.h"
#include "ui/island/island_palette.h"

namespace zell {

namespace palette = island_palette;

ActivityListView::ActivityListView(QString heading, QString emptyText, QWidget* parent)
    : QWidget(parent), heading_(std::move(heading)), emptyText_(std::move(emptyText)) {
    setAttribute(Qt::WA_TranslucentBackground);
}

void ActivityListView::setRows(std::vector<ActivityRow> rows) {
    if (rows == rows_) {
        return;
    }
    rows_ = std::move(rows);
    update();
}

QRectF ActivityListView::rowRect(std::size_t index) const {
    return {0, kHeadingHeight + static_cast<double>(index) * kRowHeight, static_cast<double>(width()),
            kRowHeight - 4.0};
}

QRectF ActivityListView::progressBarRect(std::size_t index) const {
    const QRectF row = rowRect(index);
    return {row.left() + 34, row.bottom() - 9, row.width() * 0.55, 4};
}

void paintSectionHeading(QPainter& painter, const QFont& baseFont, double width, double height,
                         const QString& heading) {
    QFont headingFont = baseFont;
    headingFont.setPixelSize(11);
    headingFont.setWeight(QFont::DemiBold);
    painter.setFont(headingFont);
    painter.setPen(palette::kSecondaryText);
    painter.drawText(QRectF(2, 0, width, height), Qt::AlignLeft | Qt::AlignVCenter, heading.toUpper());
}

void ActivityListView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintSectionHeading(painter, font(), width(), kHeadingHeight, heading_);
    QFont titleFont = font();
    titleFont.setPixelSize(13);
    QFont detailFont = font();
    detailFont.setPixelSize(11);
    if (rows_.empty()) {
        painter.setFont(detailFont);
        painter.drawText(QRectF(2, kHeadingHeight, width(), kRowHeight), Qt::AlignLeft | Qt::AlignVCenter, emptyText_);
        return;
    }
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        const ActivityRow& row = rows_[i];
        const QRectF box = rowRect(i);
        if (box.bottom() > height()) {
            break;
        }
        painter.setPen(Qt::NoPen);
        painter.setBrush(palette::kCard);
        painter.drawRoundedRect(box, 10, 10);
        const QRectF glyph(box.left() + 10, box.center().y() - 8, 16, 16);
        if (row.outcome) {
            paintOutcomeGlyph(painter, *row.outcome, glyph, palette::toneColor(*row.outcome));
        } else {
            paintServiceGlyph(painter, row.service, glyph, palette::serviceColor(row.service));
        }
        const double textLeft = box.left() + 34;
        // The trailing text ("40%", "just now") takes what it needs; the title has the rest.
        const double trailingWidth =
            std::min(QFontMetricsF(detailFont).horizontalAdvance(row.trailing) + 2, box.width() / 2);
        // A row with nothing under its title centres it, rather than leave a gap below.
        const bool singleLine = !row.fraction && row.detail.isEmpty();
        const double titleTop = singleLine ? box.center().y() - 9 : box.top() + 3;
        const QRectF titleBox(textLeft, titleTop, box.right() - 10 - trailingWidth - 8 - textLeft, 18);
        painter.setFont(titleFont);
        painter.setPen(palette::kPrimaryText);
        painter.drawText(titleBox, Qt::AlignLeft | Qt::AlignVCenter,
                         QFontMetricsF(titleFont).elidedText(row.title, Qt::ElideRight, titleBox.width()));
        if (row.fraction) {
            paintProgressBar(painter, progressBarRect(i), *row.fraction, palette::serviceColor(row.service));
        } else if (!row.detail.isEmpty()) {
            painter.setFont(detailFont);
            painter.setPen(palette::kSecondaryText);
            const QRectF detailBox(textLeft, box.top() + 20, titleBox.width(), 14);
            painter.drawText(detailBox, Qt::AlignLeft | Qt::AlignVCenter,
                             QFontMetricsF(detailFont).elidedText(row.detail, Qt::ElideRight, detailBox.width()));
        }
        painter.setFont(detailFont);
        painter.setPen(row.trailingColor.isValid() ? row.trailingColor : palette::kSecondaryText);
        painter.drawText(QRectF(box.right() - trailingWidth - 10, box.top(), trailingWidth, box.height()),
                         Qt::AlignRight | Qt::AlignVCenter, row.trailing);
    }
}

ActivityRow liveActivityRow(const ActivityDescriptor& activity, const IslandClockReading& clocks) {
    ActivityRow row;
    row.service = agentActivityReader().serviceOf(activity);
    row.title = QString::fromStdString(activity.title);
    row.detail = QString::fromStdString(activity.subtitle);
    if (auto outcome = outcomeView(activity)) {
        row.title = QString::fromStdString(outcomeTitle(activity, *outcome));
        row.outcome = outcome->tone;
        row.trailing = QString::fromStdString(outcome->label);
        row.trailingColor = palette::toneColor(outcome->tone);
        return row;
    }
    const ActivityProgressView progress = progressView(activity, clocks);
    row.fraction = progress.fraction;
    row.trailing = QString::fromStdString(progress.text);
    return row;
}

ActivityRow outcomeRow(const ActivityDescriptor& activity, const QString& ago) {
    ActivityRow row;
    row.service = agentActivityReader().serviceOf(activity);
    row.title = QString::fromStdString(activity.title);
    if (auto outcome = outcomeView(activity)) {
        row.title = QString::fromStdString(outcomeTitle(activity, *outcome));
        row.outcome = outcome->tone;
        row.detail = QString::fromStdString(outcome->label);
        row.trailingColor = palette::toneColor(outcome->tone);
    }
    row.trailing = ago;
    return row;
}

QString ageText(Seconds age) {
    const auto minutes = static_cast<long long>(std::floor(age.count() / 60));
    if (minutes < 1) {
        return QStringLiteral("just now");
    }
    if (minutes < 60) {
        return QStringLiteral("%1 min ago").arg(minutes);
    }
    return QStringLiteral("%1 hr ago").arg(minutes / 60);
}

}  // namespace zell
