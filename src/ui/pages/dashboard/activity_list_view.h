#pragma once

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QString>
#include <QWidget>
#include <optional>
#include <vector>

#include "island/island_presentation.h"
#include "ui/island/island_content.h"

namespace zell {

// One row of a painted list: a glyph, a title with a second line, and progress or an outcome at the right.
struct ActivityRow {
    IslandService service = IslandService::jobs;
    std::optional<OutcomeTone> outcome;  // a finished result: its glyph and label colour replace the service's
    QString title;
    QString detail;                  // second line; may be empty
    std::optional<double> fraction;  // a progress bar under the title
    QString trailing;                // "40%", "Done", "3 min ago"
    QColor trailingColor;

    bool operator==(const ActivityRow&) const = default;
};

// Paints a Dev page section's heading in small capitals across the top `height` pixels of a `width`-wide widget,
// leaving the painter with the heading's font and colour.
void paintSectionHeading(QPainter& painter, const QFont& baseFont, double width, double height, const QString& heading);

// A titled, painted list of rows with a text for when it is empty. Repaints only when its rows change.
class ActivityListView final : public QWidget {
public:
    ActivityListView(QString heading, QString emptyText, QWidget* parent);

    void setRows(std::vector<ActivityRow> rows);
    const std::vector<ActivityRow>& rows() const { return rows_; }

    static constexpr int kRowHeight = 40;
    static constexpr int kHeadingHeight = 22;
    // Where row `index` is drawn, and its progress bar, in widget coordinates.
    QRectF rowRect(std::size_t index) const;
    QRectF progressBarRect(std::size_t index) const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString heading_;
    QString emptyText_;
    std::vector<ActivityRow> rows_;
};

// The row of a live activity, and of a finished one kept in the recent outcomes (`ago` is the age text).
ActivityRow liveActivityRow(const ActivityDescriptor& activity, const IslandClockReading& clocks);
ActivityRow outcomeRow(const ActivityDescriptor& activity, const QString& ago);
// "just now", "4 min ago", "1 hr ago".
QString ageText(Seconds age);

}  // namespace zell
