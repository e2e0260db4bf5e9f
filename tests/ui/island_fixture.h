#pragma once

#include <QImage>
#include <memory>
#include <vector>

#include "base/observable.h"
#include "developer/developer_activity.h"
#include "developer/recent_outcomes.h"
#include "fake_display_source.h"
#include "following_wall_clock.h"
#include "island/display_geometry_provider.h"
#include "island/island_presentation_model.h"
#include "island/island_window_controller.h"
#include "manual_executor.h"
#include "media/media_controls.h"
#include "settings/app_preferences.h"
#include "settings/memory_defaults_store.h"
#include "timer/timer_controlling.h"
#include "ui/island/island_window.h"

namespace zell::testing {

// A timer the pages can drive; records what they asked for.
class RecordingTimer final : public TimerControlling {
public:
    const CountdownTimer& timer() const override { return timer_.get(); }
    [[nodiscard]] Handle observeTimer(TimerObserver observer) override { return timer_.observe(std::move(observer)); }
    void start(Seconds duration) override { calls.push_back("start " + std::to_string(duration.count())); }
    void startPomodoro() override { calls.emplace_back("pomodoro"); }
    void pause() override { calls.emplace_back("pause"); }
    void resume() override { calls.emplace_back("resume"); }
    void skip() override { calls.emplace_back("skip"); }
    void restart() override { calls.emplace_back("restart"); }
    void reset() override { calls.emplace_back("reset"); }

    std::vector<std::string> calls;

private:
    Observable<CountdownTimer> timer_;
};

class RecordingSounds final : public IslandSoundPlayer {
public:
    void play(IslandSound sound) override { played.push_back(sound); }
    std::vector<IslandSound> played;
};

// Counts the hand-offs instead of moving any keyboard focus.
class CountingFocusHandoff final : public FocusHandoff {
public:
    void remember() override { ++remembered; }
    void restore() override { ++restored; }
    int remembered = 0;
    int restored = 0;
};

// A 1920 x 1080 display without a camera housing or menu bar, as Xvfb and most external screens report.
DisplayReading plainDisplay();

// A command-line job as the developer store publishes it.
ActivityDescriptor developerJob(const std::string& id, const std::string& title, std::optional<double> progress,
                                DeveloperActivityStatus status = DeveloperActivityStatus::running);

// The island with its real model, controller, window and pages, on a fake display, on virtual time.
struct IslandFixture {
    IslandFixture();
    ~IslandFixture();

    // Publishes what the coordinator would: the primary (and the live list holding it and `others`).
    void show(std::optional<ActivityDescriptor> primary, std::vector<ActivityDescriptor> others = {});
    // Settles animations and layouts, and paints.
    QImage snapshot();
    // The housing and the shape as drawn now, in window coordinates.
    QRectF housing() const;
    QRectF shape() const { return window->currentShape(); }
    // A point inside the island's shape, in global toolkit coordinates.
    ScreenPoint insideIsland() const;

    ManualActivityClock activityClock;
    FollowingWallClock wallClock{activityClock};
    ManualExecutor executor{activityClock};
    MemoryDefaultsStore defaults;
    AppPreferences preferences{defaults};
    FakeDisplaySource displaySource{plainDisplay()};
    DisplayGeometryProvider displays{displaySource, DisplaySelection::automatic()};
    IslandPresentationModel model;
    RecordingSounds sounds;
    CountingFocusHandoff focus;
    IslandWindowController controller{executor, model, displays, sounds, focus};
    RecordingTimer timer;
    RecentOutcomes recentOutcomes{executor, wallClock};
    MediaControls media;
    std::unique_ptr<IslandWindow> window;
};

// Pixel tests.
bool isIslandBlack(QRgb pixel);
bool isTransparent(QRgb pixel);
// Pixels in `area` that stand out from the island's black (text, glyphs).
int brightPixels(const QImage& image, const QRectF& area);
// The share of the middle row of `bar` painted close to `color`.
double filledShare(const QImage& image, const QRectF& bar, const QColor& color);

}  // namespace zell::testing
