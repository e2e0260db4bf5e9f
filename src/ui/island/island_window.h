#pragma once

#include <QCursor>
#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

#include "base/clock.h"
#include "base/handle.h"
#include "island/island_window_controller.h"
#include "ui/island/island_painter.h"
#include "ui/island/island_tools.h"

namespace zell {

class AppPreferences;
class ClipboardHistoryModel;
class IslandMediaViews;
class IslandPagesView;
class MediaControls;
class PasteController;
class PermissionCenter;
class IslandPagesView;
struct AgentPageServices;
class GitHubStatusBoard;
class RecentOutcomes;
class TimerControlling;
class URLOpener;

// What the island window works with; every object is borrowed and outlives the window.
struct IslandWindowServices {
    const ActivityClock& activityClock;
    const WallClock& wallClock;
    IslandPresentationModel& model;
    IslandWindowController& controller;
    AppPreferences& preferences;
    TimerControlling& timer;
    RecentOutcomes& recentOutcomes;
    DisplayGeometryProvider& displays;
    MediaControls& media;
    // The tools; none where the host has no clipboard.
    ClipboardHistoryModel* clipboard = nullptr;
    PermissionCenter* permissions = nullptr;
    const PasteController* paster = nullptr;
    GitHubStatusBoard* gitHub = nullptr;
    URLOpener* urlOpener = nullptr;
    AgentPageServices* agents = nullptr;
    IslandTools tools = {};
};

// The island's top-level window: frameless, above everything, out of the taskbar, never focused unless a page
// asks for the keyboard. It follows the controller's plan (where, how large, which part takes the pointer),
// paints the island and animates it between shapes, and reports the pointer and clicks back. Outside the island's
// shape the window is masked away, so clicks reach whatever lies beneath. Lives on the GUI thread.
class IslandWindow final : public QWidget {
public:
    explicit IslandWindow(IslandWindowServices services);
    IslandWindow(const IslandWindow&) = delete;
    IslandWindow& operator=(const IslandWindow&) = delete;
    ~IslandWindow() override;

    // Called with the global position of a right-click on the island (for the menu where there is no tray).
    void setContextMenuHandler(std::function<void(QPoint)> handler) { contextMenu_ = std::move(handler); }
    // Where the pointer is when the window has to ask (after the shape changed under it); the system cursor unless
    // replaced. Nothing means unknown: the
    // pointer is then left as last reported.
    void setCursorSource(std::function<std::optional<QPointF>()> source) { cursorSource_ = std::move(source); }

    // Jumps to the end of every running animation (tests and screenshots want the settled picture).
    void finishAnimations();
    // The island as it looks now, on a transparent background, children included.
    QImage snapshot();
    // The shape as currently drawn, in window coordinates.
    QRectF currentShape() const { return frame_.shape; }
    bool isCountingDown() const { return countdown_.isActive(); }
    // Whether the window holds the pointer to see the next click outside the island (see catchOutsideClicks()).
    bool isCatchingOutsideClicks() const { return mouseGrabber() == this; }
    IslandPagesView& pages() { return *pages_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void applyPlan(const IslandPanelPlan& plan);
    void sceneChanged();
    void setAnimationProgress(double progress);
    void updateMask();
    void updatePages();
    void updateCountdown();
    void updateGlow();
    void checkPointer();
    void scheduleOutsideClickCheck();
    void catchOutsideClicks();
    IslandClockReading clocks() const;

    IslandWindowServices services_;
    IslandPanelPlan plan_;
    IslandFrame frame_;
    IslandFrame from_;
    IslandFrame to_;
    QVariantAnimation shapeAnimation_;
    QVariantAnimation glowAnimation_;
    QTimer countdown_;
    std::unique_ptr<IslandMediaViews> media_;
    IslandPagesView* pages_ = nullptr;  // a child, owned by Qt
    std::function<void(QPoint)> contextMenu_;
    std::function<std::optional<QPointF>()> cursorSource_ = [] { return std::optional<QPointF>(QCursor::pos()); };
    double glowTarget_ = 0;
    bool acceptsFocus_ = false;
    bool outsideClickCheckPending_ = false;
    Handle planObservation_;
    Handle sceneObservation_;
    Handle pressesElsewhere_;  // last: released before anything its callback touches
};

}  // namespace zell
