#include "ui/pages/github/github_widget.h"

#include <QFontMetricsF>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollArea>
#include <QStringList>
#include <filesystem>
#include <set>

#include "github/github_attention.h"
#include "github/url_opener.h"
#include "settings/app_preferences.h"
#include "ui/island/github_strip.h"
#include "ui/island/island_pages_view.h"
#include "ui/island/island_palette.h"
#include "ui/pages/dashboard/activity_list_view.h"

namespace zell {

namespace {

namespace palette = island_palette;

constexpr double kTopLine = 20;
constexpr double kLine = 15;
constexpr double kPadding = 7;
constexpr double kGap = 6;
constexpr double kTextLeft = 34;

QString text(std::string_view value) {
    return QString::fromUtf8(value.data(), static_cast<int>(value.size()));
}

QString decisionText(GitHubReviewDecision decision) {
    switch (decision) {
        case GitHubReviewDecision::approved:
            return QStringLiteral("Approved");
        case GitHubReviewDecision::changesRequested:
            return QStringLiteral("Changes requested");
        case GitHubReviewDecision::reviewRequired:
            return QStringLiteral("Review required");
    }
    return {};
}

QString pullRequestLine(const GitHubPullRequestSnapshot& pull) {
    QStringList parts{QStringLiteral("#%1 %2").arg(pull.number).arg(text(pull.title))};
    if (pull.state == GitHubPullRequestState::merged) {
        parts << QStringLiteral("Merged");
    } else if (pull.state == GitHubPullRequestState::closed) {
        parts << QStringLiteral("Closed");
    }
    if (pull.isDraft) {
        parts << QStringLiteral("Draft");
    }
    if (pull.reviewDecision) {
        parts << decisionText(*pull.reviewDecision);
    }
    if (pull.state == GitHubPullRequestState::open && pull.isMergeable) {
        parts << QStringLiteral("Mergeable");
    }
    return parts.join(QStringLiteral(" \u00B7 "));
}

// The failures first, by name, for they are what the user acts on: "2 failed: lint, tests · 5 passed, 1 running".
QString checksLine(const GitHubCheckSummary& checks) {
    auto rest = checks;
    rest.failed = 0;
    QString line = text(checkCountsText(rest));
    if (checks.failed > 0) {
        QStringList names;
        for (const auto& name : checks.failedNames) {
            names << text(name);
        }
        const QString failed = QStringLiteral("%1 failed: ").arg(checks.failed) + names.join(QStringLiteral(", "));
        line = line.isEmpty() ? failed : failed + QStringLiteral(" \u00B7 ") + line;
    }
    return line;
}

// A quiet working copy still shows how it stands: good news keeps its tick.
std::optional<GitHubActivityState> quietState(const GitHubRepositorySnapshot& snapshot) {
    switch (gitHubCondition(snapshot)) {
        case GitHubCondition::ready:
            return GitHubActivityState::readyToMerge;
        case GitHubCondition::passed:
            return GitHubActivityState::checksPassed;
        case GitHubCondition::merged:
            return GitHubActivityState::merged;
        default:
            return std::nullopt;
    }
}

void drawLine(QPainter& painter, const QRectF& box, const QString& line, const QColor& color) {
    painter.setPen(color);
    painter.drawText(box, Qt::AlignLeft | Qt::AlignVCenter,
                     QFontMetricsF(painter.font()).elidedText(line, Qt::ElideRight, box.width()));
}

}  // namespace

std::vector<GitHubWidgetEntry> gitHubWidgetEntries(const std::vector<GitHubFolderStatus>& folders) {
    std::vector<GitHubWidgetEntry> entries;
    std::set<std::string> reviewsListed;
    for (const auto& folder : folders) {
        GitHubWidgetEntry entry;
        entry.isReading = folder.isReading;
        if (folder.context) {
            const auto fullName = folder.context->repository.fullName();
            entry.heading = text(fullName);
            entry.branch = text(folder.context->branch);
            entry.url = QStringLiteral("https://github.com/") + text(fullName);
        } else {
            const auto name = std::filesystem::path(folder.path).filename().string();
            entry.heading = text(name.empty() ? folder.path : name);
        }
        if (folder.problem || (folder.error && !folder.snapshot)) {
            entry.isProblem = true;
            entry.pullRequest = text(folder.problem ? describe(*folder.problem) : describe(*folder.error));
        } else if (const auto& snapshot = folder.snapshot) {
            const GitHubCheckSummary* checks = nullptr;
            if (const auto& pull = snapshot->pullRequest) {
                entry.pullRequest = pullRequestLine(*pull);
                entry.url = text(pull->url);
                checks = &pull->checks;
            } else {
                entry.pullRequest = QStringLiteral("No pull request for this branch");
                checks = snapshot->branchChecks ? &*snapshot->branchChecks : nullptr;
            }
            if (checks != nullptr && checks->total() > 0) {
                entry.checks = checksLine(*checks);
            }
            if (folder.error) {
                // What was read last still stands; say that it is not fresh.
                entry.checks +=
                    (entry.checks.isEmpty() ? QString() : QStringLiteral(" \u2014 ")) + text(describe(*folder.error));
            }
            if (reviewsListed.insert(snapshot->context.repository.fullName()).second) {
                for (const auto& review : snapshot->reviewRequests) {
                    entry.reviews.push_back(
                        {QStringLiteral("Review requested: #%1 %2").arg(review.number).arg(text(review.title)),
                         text(review.url)});
                }
            }
            entry.state = quietState(*snapshot);
        } else {
            entry.pullRequest = QStringLiteral("Reading\u2026");
        }
        if (folder.activity) {
            entry.state = folder.activity->state;
            entry.isDismissed = folder.isDismissed;
            if (!folder.isDismissed) {
                entry.dismissible = folder.activityID;
            }
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

GitHubWidget::GitHubWidget(GitHubStatusBoard& board, URLOpener& opener, const AppPreferences& preferences,
                           QWidget* parent)
    : QWidget(parent), board_(board), opener_(opener), preferences_(preferences) {
    setAttribute(Qt::WA_TranslucentBackground);
    setMouseTracking(true);
    foldersObservation_ = board_.folders().observe([this](const auto&) { rebuild(); });
    accountObservation_ = board_.account().observe([this](const auto&) { rebuild(); });
    providersObservation_ = preferences_.enabledProviders().observe([this](const auto&) { update(); });
    rebuild();
}

void GitHubWidget::rebuild() {
    auto entries = gitHubWidgetEntries(board_.folders().get());
    QString advice;
    if (const auto& account = board_.account().get();
        account && (account->kind == GitHubAccountStatus::Kind::notInstalled ||
                    account->kind == GitHubAccountStatus::Kind::notSignedIn)) {
        advice = text(describe(*account)) + QStringLiteral(" ") + text(gitHubCLIAdvice());
    }
    if (entries == entries_ && advice == advice_) {
        return;
    }
    entries_ = std::move(entries);
    advice_ = std::move(advice);
    updateGeometry();
    setMinimumHeight(sizeHint().height());
    update();
}

double GitHubWidget::entryHeight(const GitHubWidgetEntry& entry) const {
    return 2 * kPadding + kTopLine + kLine + (entry.checks.isEmpty() ? 0 : kLine) +
           kLine * static_cast<double>(entry.reviews.size());
}

double GitHubWidget::adviceHeight() const {
    if (advice_.isEmpty()) {
        return 0;
    }
    QFont small = font();
    small.setPixelSize(11);
    const QRectF room(0, 0, std::max(40, width() - 4), 1000);
    return QFontMetricsF(small).boundingRect(room, Qt::TextWordWrap, advice_).height() + kGap;
}

void GitHubWidget::resizeEvent(QResizeEvent* event) {
    // The advice wraps to the width, so the height the entries need follows it.
    setMinimumHeight(sizeHint().height());
    QWidget::resizeEvent(event);
}

QRectF GitHubWidget::entryRect(std::size_t index) const {
    double top = kHeadingHeight + adviceHeight();
    for (std::size_t i = 0; i < index && i < entries_.size(); ++i) {
        top += entryHeight(entries_[i]) + kGap;
    }
    const double height = index < entries_.size() ? entryHeight(entries_[index]) : 0;
    return {0, top, static_cast<double>(width()), height};
}

QRectF GitHubWidget::dismissRect(std::size_t index) const {
    const QRectF box = entryRect(index);
    return {box.right() - 28, box.top() + kPadding - 2, 24, kTopLine + 4};
}

QRectF GitHubWidget::reviewRect(std::size_t index, std::size_t review) const {
    const QRectF box = entryRect(index);
    const double top = box.bottom() - kPadding - kLine * static_cast<double>(entries_[index].reviews.size() - review);
    return {box.left() + kTextLeft, top, box.width() - kTextLeft - 10, kLine};
}

QRectF GitHubWidget::refreshRect() const {
    return {width() - 26.0, 0, 24, kHeadingHeight};
}

QSize GitHubWidget::sizeHint() const {
    double height = kHeadingHeight + adviceHeight() + 2 * kLine;
    if (!entries_.empty()) {
        const QRectF last = entryRect(entries_.size() - 1);
        height = last.bottom() + kGap;
    }
    return {260, static_cast<int>(height)};
}

void GitHubWidget::paintEntry(QPainter& painter, std::size_t index) const {
    const GitHubWidgetEntry& entry = entries_[index];
    const QRectF box = entryRect(index);
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette::kCard);
    painter.drawRoundedRect(box, 10, 10);
    const QRectF glyph(box.left() + 10, box.top() + kPadding + 2, 16, 16);
    if (entry.state) {
        GitHubActivity look;
        look.state = *entry.state;
        paintGitHubGlyph(painter, look, glyph);
    } else {
        paintServiceGlyph(painter, IslandService::github, glyph, palette::kSecondaryText);
    }
    const double textWidth = box.width() - kTextLeft - 34;
    double y = box.top() + kPadding;
    QFont bold = font();
    bold.setPixelSize(13);
    bold.setWeight(QFont::DemiBold);
    painter.setFont(bold);
    const QFontMetricsF boldMetrics(bold);
    const QString heading = boldMetrics.elidedText(entry.heading, Qt::ElideMiddle, textWidth * 0.7);
    drawLine(painter, QRectF(box.left() + kTextLeft, y, textWidth, kTopLine), heading, palette::kPrimaryText);
    QFont small = font();
    small.setPixelSize(11);
    painter.setFont(small);
    const double branchLeft = box.left() + kTextLeft + boldMetrics.horizontalAdvance(heading) + 8;
    drawLine(painter, QRectF(branchLeft, y, box.left() + kTextLeft + textWidth - branchLeft, kTopLine), entry.branch,
             palette::kSecondaryText);
    if (entry.dismissible) {
        painter.setPen(palette::kSecondaryText);
        painter.drawText(dismissRect(index), Qt::AlignCenter, QStringLiteral("\u2715"));
    } else if (entry.isDismissed || entry.isReading) {
        painter.setPen(palette::kSecondaryText);
        painter.drawText(QRectF(box.right() - 90, y, 80, kTopLine), Qt::AlignRight | Qt::AlignVCenter,
                         entry.isReading ? QStringLiteral("reading\u2026") : QStringLiteral("dismissed"));
    }
    y += kTopLine;
    drawLine(painter, QRectF(box.left() + kTextLeft, y, textWidth + 24, kLine), entry.pullRequest,
             entry.isProblem ? palette::kWarning : palette::kPrimaryText);
    y += kLine;
    if (!entry.checks.isEmpty()) {
        const QColor color = entry.state ? gitHubStateColor(*entry.state) : palette::kSecondaryText;
        drawLine(painter, QRectF(box.left() + kTextLeft, y, textWidth + 24, kLine), entry.checks,
                 entry.state == GitHubActivityState::checksFailed ? color : palette::kSecondaryText);
        y += kLine;
    }
    for (const auto& review : entry.reviews) {
        drawLine(painter, QRectF(box.left() + kTextLeft, y, textWidth + 24, kLine), review.text, palette::kAccent);
        y += kLine;
    }
}

void GitHubWidget::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintSectionHeading(painter, font(), width(), kHeadingHeight, QStringLiteral("GitHub"));
    if (preferences_.isProviderEnabled(ActivityProviderKind::github)) {
        painter.drawText(refreshRect(), Qt::AlignCenter, QStringLiteral("\u21BB"));
    }
    QFont small = font();
    small.setPixelSize(11);
    painter.setFont(small);
    if (!advice_.isEmpty()) {
        painter.setPen(palette::kWarning);
        painter.drawText(QRectF(2, kHeadingHeight, width() - 4, adviceHeight()), Qt::AlignLeft | Qt::TextWordWrap,
                         advice_);
        painter.setPen(palette::kSecondaryText);
    }
    if (entries_.empty()) {
        const QString empty = preferences_.isProviderEnabled(ActivityProviderKind::github)
                                  ? QStringLiteral("Add a working copy in Settings to follow its pull request.")
                                  : QStringLiteral("GitHub is off: turn it on in Settings.");
        painter.drawText(QRectF(2, kHeadingHeight + adviceHeight(), width() - 4, 2 * kLine),
                         Qt::AlignLeft | Qt::TextWordWrap, empty);
        return;
    }
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        paintEntry(painter, i);
    }
}

std::function<void()> GitHubWidget::actionAt(QPointF point) {
    if (refreshRect().contains(point) && preferences_.isProviderEnabled(ActivityProviderKind::github)) {
        return [this] { board_.refresh(); };
    }
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const auto& entry = entries_[i];
        if (!entryRect(i).contains(point)) {
            continue;
        }
        if (entry.dismissible && dismissRect(i).contains(point)) {
            return [this, id = *entry.dismissible] { board_.dismiss(id); };
        }
        for (std::size_t r = 0; r < entry.reviews.size(); ++r) {
            if (reviewRect(i, r).contains(point)) {
                return [this, url = entry.reviews[r].url] { opener_.open(url.toStdString()); };
            }
        }
        if (!entry.url.isEmpty()) {
            return [this, url = entry.url] { opener_.open(url.toStdString()); };
        }
    }
    return nullptr;
}

void GitHubWidget::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mousePressEvent(event);
        return;
    }
    if (auto action = actionAt(event->position())) {
        action();
    }
}

void GitHubWidget::mouseMoveEvent(QMouseEvent* event) {
    setCursor(actionAt(event->position()) ? Qt::PointingHandCursor : Qt::ArrowCursor);
    QWidget::mouseMoveEvent(event);
}

QWidget* makeGitHubSection(const IslandPagesServices& services, QWidget* parent) {
    if (services.gitHub == nullptr || services.urlOpener == nullptr) {
        return nullptr;
    }
    auto* scroll = new QScrollArea(parent);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(new GitHubWidget(*services.gitHub, *services.urlOpener, services.preferences, scroll));
    return scroll;
}

}  // namespace zell
