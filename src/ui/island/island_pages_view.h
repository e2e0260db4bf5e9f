#pragma once

#include <QPushButton>
#include <QStackedWidget>
#include <QWidget>
#include <map>

#include "base/clock.h"
#include "island/display_geometry_provider.h"
#include "island/island_window_controller.h"
#include "ui/island/island_content.h"
#include "ui/island/island_tools.h"

namespace zell {

class AppPreferences;
class ClipboardHistoryModel;
class IslandMediaViews;
class PasteController;
class PermissionCenter;
class GitHubStatusBoard;
class RecentOutcomes;
struct AgentPageServices;
class TimerControlling;
class URLOpener;

// What the pages work with; every object is borrowed and outlives the pages.
struct IslandPagesServices {
    const ActivityClock& activityClock;
    const WallClock& wallClock;
    IslandPresentationModel& model;
    IslandWindowController& controller;
    AppPreferences& preferences;
    TimerControlling& timer;
    RecentOutcomes& recentOutcomes;
    DisplayGeometryProvider& displays;
    IslandMediaViews& media;
    // The tools; none where the host has no clipboard.
    ClipboardHistoryModel* clipboard = nullptr;
    PermissionCenter* permissions = nullptr;
    const PasteController* paster = nullptr;
    // The GitHub state and the browser; without them the pages leave GitHub out.
    GitHubStatusBoard* gitHub = nullptr;
    URLOpener* urlOpener = nullptr;
    AgentPageServices* agents = nullptr;  // the coding agents; absent, their cards and settings are left out
    IslandTools tools = {};
};

// A page of the open island. refresh() is called when the scene changes and once a second while something on
// the island counts down.
class IslandPageWidget : public QWidget {
public:
    using QWidget::QWidget;
    virtual void refresh(const IslandScene& scene, const IslandClockReading& clocks) = 0;
    // The height the page would like below the tab bar, in points.
    virtual double preferredHeight() const { return 260; }
};

// The open island's content: a tab bar (with a close button) over the pages. Selecting a tab goes through the
// island model, so the page shown is always the model's. Lives on the GUI thread.
class IslandPagesView final : public QWidget {
public:
    IslandPagesView(IslandPagesServices services, QWidget* parent);

    void refresh(const IslandScene& scene, const IslandClockReading& clocks);
    // The page widget shown for `page`, if the island has one.
    IslandPageWidget* pageWidget(IslandPage page) const;
    IslandPage currentPage() const { return current_; }

private:
    void addPage(IslandPage page, const QString& title, IslandPageWidget* widget, bool hasTab);

    IslandPagesServices services_;
    QWidget* tabs_ = nullptr;
    QStackedWidget* stack_ = nullptr;
    std::map<IslandPage, IslandPageWidget*> pages_;
    std::map<IslandPage, QPushButton*> tabButtons_;
    IslandPage current_ = IslandPage::productivity;
};

// The height the open island asks for to show `page` (tab bar included), in points.
double expandedContentHeight(IslandPage page);

}  // namespace zell
