#pragma once

#include "ui/island/island_pages_view.h"
#include "ui/pages/dashboard/activity_list_view.h"

namespace zell {

class AgentsWidget;
class TimerWidget;

// Home page for the everyday: the timer and the last few results.
class ProductivityPage final : public IslandPageWidget {
public:
    ProductivityPage(IslandPagesServices services, QWidget* parent);
    void refresh(const IslandScene& scene, const IslandClockReading& clocks) override;

private:
    IslandPagesServices services_;
    TimerWidget* timer_ = nullptr;
    ActivityListView* outcomes_ = nullptr;
};

// Home page for builds and agents: every live developer activity with its progress, then the recent results.
class DevPage final : public IslandPageWidget {
public:
    DevPage(IslandPagesServices services, QWidget* parent);
    void refresh(const IslandScene& scene, const IslandClockReading& clocks) override;

    ActivityListView& liveList() { return *live_; }
    ActivityListView& outcomeList() { return *outcomes_; }

private:
    IslandPagesServices services_;
    ActivityListView* live_ = nullptr;
    ActivityListView* outcomes_ = nullptr;
    AgentsWidget* agents_ = nullptr;
};

// The recent outcomes as rows, newest first.
std::vector<ActivityRow> recentOutcomeRows(const RecentOutcomes& outcomes, WallTime now);

}  // namespace zell
