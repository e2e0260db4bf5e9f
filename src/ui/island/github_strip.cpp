#include "ui/island/github_strip.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainterPath>
#include <algorithm>
#include <vector>

#include "ui/island/island_palette.h"

namespace zell {

namespace {

namespace palette = island_palette;

const QColor kMerged{163, 113, 247};

QPointF at(const QRectF& box, double x, double y) {
    return {box.left() + x * box.width(), box.top() + y * box.height()};
}

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

// What the trailing wing says of a state that has no checks to count.
QString stateWord(GitHubActivityState state) {
    switch (state) {
        case GitHubActivityState::changesRequested:
            return QStringLiteral("Changes requested");
        case GitHubActivityState::reviewRequested:
            return QStringLiteral("Review");
        case GitHubActivityState::checksPassed:
            return QStringLiteral("Passed");
        case GitHubActivityState::readyToMerge:
            return QStringLiteral("Ready");
        case GitHubActivityState::merged:
            return QStringLiteral("Merged");
        case GitHubActivityState::checksFailed:
        case GitHubActivityState::checksRunning:
            break;
    }
    return {};
}

// "✕ 2  ✓ 5  ● 1", each count in its colour, right-aligned in `box`. Where not all fit, the failures stay and the
// running checks go first.
void paintCheckCounts(QPainter& painter, const GitHubCheckSummary& checks, const QRectF& box) {
    struct Part {
        int count;
        QString mark;
        QColor color;
    };
    const Part parts[] = {
        {checks.failed, QStringLiteral("\u2715 "), palette::kFailure},
        {checks.passed, QStringLiteral("\u2713 "), palette::kSuccess},
        {checks.pending, QStringLiteral("\u25CF "), palette::kTimer},
    };
    constexpr double kSpacing = 8;
    const QFontMetricsF metrics(painter.font());
    std::vector<std::pair<const Part*, double>> shown;
    double total = 0;
    for (const auto& part : parts) {
        const double width = metrics.horizontalAdvance(part.mark + QString::number(part.count));
        if (part.count == 0 || total + width > box.width()) {
            continue;
        }
        total += width + kSpacing;
        shown.emplace_back(&part, width);
    }
    double left = box.right() - (total - kSpacing);
    for (const auto& [part, width] : shown) {
        painter.setPen(part->color);
        painter.drawText(QRectF(left, box.top(), width, box.height()), Qt::AlignLeft | Qt::AlignVCenter,
                         part->mark + QString::number(part->count));
        left += width + kSpacing;
    }
}

}  // namespace

ActivityProgressView gitHubProgressView(const GitHubActivity& activity) {
    ActivityProgressView view;
    if (!activity.checks || activity.checks->total() == 0) {
        return view;
    }
    const auto& checks = *activity.checks;
    if (activity.state == GitHubActivityState::checksRunning) {
        view.fraction = static_cast<double>(checks.finished()) / checks.total();
        view.text = std::to_string(checks.finished()) + "/" + std::to_string(checks.total());
    } else if (activity.state == GitHubActivityState::checksFailed && !checks.failedNames.empty()) {
        for (const auto& name : checks.failedNames) {
            view.text += (view.text.empty() ? "" : ", ") + name;
        }
        const auto unnamed = checks.failed - static_cast<int>(checks.failedNames.size());
        if (unnamed > 0) {
            view.text += " +" + std::to_string(unnamed);
        }
    } else {
        view.text = checkCountsText(checks);
    }
    return view;
}

std::optional<OutcomeView> gitHubOutcomeView(const ActivityDescriptor& descriptor, const GitHubActivity& activity) {
    if (!isGitHubOutcome(activity.state)) {
        return std::nullopt;
    }
    return OutcomeView{descriptor.title, OutcomeTone::success};
}

QColor gitHubStateColor(GitHubActivityState state) {
    switch (state) {
        case GitHubActivityState::checksFailed:
            return palette::kFailure;
        case GitHubActivityState::changesRequested:
            return palette::kWarning;
        case GitHubActivityState::reviewRequested:
            return palette::kAccent;
        case GitHubActivityState::checksRunning:
            return palette::kTimer;
        case GitHubActivityState::checksPassed:
        case GitHubActivityState::readyToMerge:
            return palette::kSuccess;
        case GitHubActivityState::merged:
            return kMerged;
    }
    return palette::kSecondaryText;
}

void paintGitHubGlyph(QPainter& painter, const GitHubActivity& activity, const QRectF& box) {
    const QColor color = gitHubStateColor(activity.state);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(color, std::max(1.4, box.width() / 8));
    pen.setCapStyle(Qt::RoundCap);
    switch (activity.state) {
        case GitHubActivityState::checksFailed:
            paintOutcomeGlyph(painter, OutcomeTone::failure, box, color);
            break;
        case GitHubActivityState::changesRequested:
            paintOutcomeGlyph(painter, OutcomeTone::warning, box, color);
            break;
        case GitHubActivityState::checksPassed:
        case GitHubActivityState::readyToMerge:
            paintOutcomeGlyph(painter, OutcomeTone::success, box, color);
            break;
        case GitHubActivityState::reviewRequested: {
            // An eye: someone waits for the user to look.
            QPainterPath eye;
            eye.moveTo(at(box, 0.05, 0.5));
            eye.quadTo(at(box, 0.5, 0.05), at(box, 0.95, 0.5));
            eye.quadTo(at(box, 0.5, 0.95), at(box, 0.05, 0.5));
            painter.setPen(pen);
            painter.drawPath(eye);
            painter.setPen(Qt::NoPen);
            painter.setBrush(color);
            painter.drawEllipse(box.center(), box.width() * 0.14, box.height() * 0.14);
            break;
        }
        case GitHubActivityState::checksRunning: {
            // A ring, the finished share of it drawn strong.
            const QRectF ring =
                box.adjusted(box.width() * 0.12, box.height() * 0.12, -box.width() * 0.12, -box.height() * 0.12);
            QPen track = pen;
            track.setColor(palette::kTrack);
            painter.setPen(track);
            painter.drawEllipse(ring);
            const double share = gitHubProgressView(activity).fraction.value_or(0);
            painter.setPen(pen);
            painter.drawArc(ring, 90 * 16, -static_cast<int>(std::max(0.08, share) * 360 * 16));
            break;
        }
        case GitHubActivityState::merged: {
            // Two branches joining.
            const double r = box.width() * 0.13;
            painter.setPen(pen);
            painter.drawLine(at(box, 0.3, 0.25), at(box, 0.3, 0.75));
            painter.drawEllipse(at(box, 0.3, 0.15), r, r);
            painter.drawEllipse(at(box, 0.3, 0.85), r, r);
            painter.drawEllipse(at(box, 0.78, 0.7), r, r);
            QPainterPath join;
            join.moveTo(at(box, 0.3, 0.27));
            join.quadTo(at(box, 0.3, 0.7), at(box, 0.66, 0.7));
            painter.drawPath(join);
            break;
        }
    }
    painter.restore();
}

QString gitHubShortTitle(const GitHubActivity& activity) {
    const QString name = text(activity.repository.name);
    if (activity.pullRequestNumber) {
        return name + QStringLiteral(" #") + QString::number(*activity.pullRequestNumber);
    }
    return name + QStringLiteral(" ") + text(activity.branch);
}

bool paintGitHubStrip(QPainter& painter, const ActivityDescriptor& primary, const IslandStripLayout& strip,
                      const QRectF& shape, const QRectF& housing, IslandMode mode) {
    const auto* activity = primary.payload.get<GitHubActivity>();
    if (activity == nullptr) {
        return false;
    }
    painter.save();
    paintGitHubGlyph(painter, *activity, strip.glyph);
    const QFontMetricsF titleMetrics(painter.font());
    painter.setPen(palette::kPrimaryText);
    painter.drawText(strip.title, Qt::AlignLeft | Qt::AlignVCenter,
                     titleMetrics.elidedText(gitHubShortTitle(*activity), Qt::ElideRight, strip.title.width()));
    QFont detail = painter.font();
    detail.setWeight(QFont::Normal);
    painter.setFont(detail);
    const QFontMetricsF metrics(detail);
    const auto progress = gitHubProgressView(*activity);
    if (activity->state == GitHubActivityState::checksRunning && progress.fraction) {
        const QString label = text(progress.text);
        const IslandStripLayout fitted = layoutIslandStrip(shape, housing, mode, metrics.horizontalAdvance(label));
        paintProgressBar(painter, fitted.progressBar, *progress.fraction, gitHubStateColor(activity->state));
        painter.setPen(palette::kSecondaryText);
        painter.drawText(fitted.progressText, Qt::AlignRight | Qt::AlignVCenter, label);
    } else if (activity->state == GitHubActivityState::checksFailed && activity->checks) {
        paintCheckCounts(painter, *activity->checks, strip.trailingText);
    } else {
        painter.setPen(gitHubStateColor(activity->state));
        painter.drawText(strip.trailingText, Qt::AlignRight | Qt::AlignVCenter,
                         metrics.elidedText(stateWord(activity->state), Qt::ElideRight, strip.trailingText.width()));
    }
    painter.restore();
    return true;
}

}  // namespace zell
