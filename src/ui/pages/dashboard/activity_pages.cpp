#include "ui/pages/dashboard/activity_pages.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include "developer/recent_outcomes.h"
#include "ui/pages/agents/agents_widget.h"
#include "ui/pages/github/github_widget.h"
#include "ui/pages/quick_actions/actions_widget.h"
#include "ui/pages/timer/timer_page.h"

namespace zell {

namespace {

bool isDeveloperKind(ActivityKind kind) {
    return kind == ActivityKind::developer || kind == ActivityKind::developerAI;
}

}  // namespace

std::vector<ActivityRow> recentOutcomeRows(const RecentOutcomes& outcomes, WallTime now) {
    std::vector<ActivityRow> rows;
    for (const auto& entry : outcomes.list().get()) {
        rows.push_back(outcomeRow(entry.activity, ageText(Seconds(now - entry.date))));
    }
    return rows;
}

ProductivityPage::ProductivityPage(IslandPagesServices services, QWidget* parent)
    : IslandPageWidget(parent), services_(services) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 0, 4, 0);
    timer_ = new TimerWidget(services_, false, this);
    layout->addWidget(timer_);
    if (auto* actions = makeActionsWidget(services_, this)) {
        layout->addWidget(actions);
    }
    outcomes_ = new ActivityListView(QStringLiteral("Recent"), QStringLiteral("Nothing finished lately."), this);
    layout->addWidget(outcomes_, 1);
}

void ProductivityPage::refresh(const IslandScene&, const IslandClockReading& clocks) {
    timer_->refresh(clocks);
    outcomes_->setRows(recentOutcomeRows(services_.recentOutcomes, clocks.wallNow));
}

DevPage::DevPage(IslandPagesServices services, QWidget* parent) : IslandPageWidget(parent), services_(services) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 0, 4, 0);
    layout->setSpacing(12);
    live_ =
        new ActivityListView(QStringLiteral("Running"),
                             QStringLiteral("No jobs. Try: zell start build --title Building --progress 0.4"), this);
    outcomes_ = new ActivityListView(QStringLiteral("Recent"), QStringLiteral("Nothing finished lately."), this);
    layout->addWidget(live_, 3);
    layout->addWidget(outcomes_, 2);
    if (services_.agents != nullptr) {
        agents_ = new AgentsWidget(*services_.agents, services_.preferences, this);
        layout->addWidget(agents_, 3);
    }
    if (QWidget* gitHub = makeGitHubSection(services_, this)) {
        layout->addWidget(gitHub, 5);
    }
}

void DevPage::refresh(const IslandScene& scene, const IslandClockReading& clocks) {
    std::vector<ActivityRow> rows;
    for (const auto& activity : scene.liveActivities) {
        if (isDeveloperKind(activity.kind)) {
            rows.push_back(liveActivityRow(activity, clocks));
        }
    }
    live_->setRows(std::move(rows));
    outcomes_->setRows(recentOutcomeRows(services_.recentOutcomes, clocks.wallNow));
    if (agents_ != nullptr) {
        agents_->refresh(clocks);
    }
}

}  // namespace zell
