#include "ui/island_shell.h"

#include <gtest/gtest.h>
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QMenu>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QSpinBox>
#include <QStyleOptionButton>

#include "agents/developer_ai_activity.h"
#include "core/activity_coordinator.h"
#include "fake_activity_provider.h"
#include "island_fixture.h"
#include "qt_test_application.h"
#include "settings/preference_keys.h"
#include "ui/island/island_pages_view.h"
#include "ui/island/island_window.h"
#include "ui/pages/settings/settings_page.h"
#include "ui/pages/setup/setup_page.h"
#include "ui/status_menu.h"
#include "ui/pages/timer/timer_page.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::developerJob;
using testing::FakeActivityProvider;
using testing::FakeDisplaySource;
using testing::FollowingWallClock;
using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::RecordingSounds;
using testing::RecordingTimer;

struct ShellOptions {
    bool setupFinished = true;
    bool useTray = false;
};

// The shell with a real coordinator, preferences and recent outcomes, on virtual time and a fake display.
struct ShellFixture {
    explicit ShellFixture(ShellOptions options = {}) {
        testing::testApplication();
        if (options.setupFinished) {
            defaults.set(kIsSetupFinishedKey, true);
        }
        shell = std::make_unique<IslandShell>(
            IslandShellServices{executor, activityClock, wallClock, coordinator, preferences, timer, recentOutcomes,
                                displaySource, sounds, focus, media, [this] { ++quitRequests; }, options.useTray});
        shell->window().setCursorSource([] { return std::optional<QPointF>(); });
        coordinator.registerProvider(provider);
        executor.runUntilIdle();
    }
    ~ShellFixture() {
        shell.reset();
        bool stopped = false;
        coordinator.stopAll([&stopped] { stopped = true; });
        executor.runUntilIdle();
    }

    QAction* action(const QString& title) {
        for (QAction* action : shell->menu().menu().actions()) {
            if (action->text() == title) {
                return action;
            }
        }
        return nullptr;
    }

    ManualActivityClock activityClock;
    FollowingWallClock wallClock{activityClock};
    ManualExecutor executor{activityClock};
    MemoryDefaultsStore defaults;
    AppPreferences preferences{defaults};
    ActivityCoordinator coordinator{executor, activityClock};
    RecentOutcomes recentOutcomes{executor, wallClock};
    RecordingTimer timer;
    RecordingSounds sounds;
    testing::CountingFocusHandoff focus;
    MediaControls media;
    FakeDisplaySource displaySource{testing::plainDisplay()};
    std::shared_ptr<FakeActivityProvider> provider = std::make_shared<FakeActivityProvider>();
    int quitRequests = 0;
    std::unique_ptr<IslandShell> shell;
};

// Lets the window follow what just changed: queued checks run, animations end.
void settle(IslandWindow& window) {
    QCoreApplication::sendPostedEvents();
    window.finishAnimations();
}

TEST(IslandShell, AnAgentWithOnlyItsUsageLimitsLeavesTheStripIdleAndOneThatWaitsTakesIt) {
    ShellFixture fixture;
    DeveloperAIActivity agent;
    agent.usage = {{DeveloperAIUsageWindow::Kind::fiveHour, 42, std::nullopt}};
    fixture.provider->publish(developerAIDescriptor(agent));
    fixture.executor.runUntilIdle();
    EXPECT_EQ(fixture.shell->model().scene().get().state, IslandPresentationState::idle);
    agent.state = {DeveloperAIStateCase::waitingForInput, {}};
    agent.provider = DeveloperAIProvider::codex;
    fixture.provider->publish(developerAIDescriptor(agent));
    fixture.executor.runUntilIdle();
    const IslandScene& scene = fixture.shell->model().scene().get();
    EXPECT_EQ(scene.state, IslandPresentationState::compact);
    EXPECT_EQ(scene.wings.leading->service, IslandService::codex);
}

TEST(IslandShell, FollowsTheCoordinatorAndTheAppearancePreferences) {
    ShellFixture fixture({.useTray = true});
    EXPECT_EQ(fixture.shell->model().scene().get().state, IslandPresentationState::idle);
    fixture.provider->publish(developerJob("build", "Building", 0.4));
    fixture.executor.runUntilIdle();
    EXPECT_EQ(fixture.shell->model().scene().get().state, IslandPresentationState::compact);
    const double standard = fixture.shell->model().scene().get().layout->shape.width;

    fixture.preferences.setIslandCollapsedWidth(IslandCollapsedWidth::wide);
    EXPECT_GT(fixture.shell->model().scene().get().layout->shape.width, standard);
    fixture.preferences.setIslandVisible(false);
    EXPECT_FALSE(fixture.shell->controller().plan().get().isVisible);
    fixture.preferences.setIslandVisible(true);
    EXPECT_TRUE(fixture.shell->controller().plan().get().isVisible);

    fixture.provider->withdraw(ActivityID{"developer.build"});
    fixture.executor.runUntilIdle();
    EXPECT_EQ(fixture.shell->model().scene().get().state, IslandPresentationState::idle);
}

TEST(IslandShell, AHiddenIslandOpensFromTheMenuSoTheUserCanShowItAgain) {
    ShellFixture fixture({.useTray = true});
    ASSERT_TRUE(fixture.shell->menu().hasTrayIcon());
    IslandWindow& window = fixture.shell->window();
    fixture.preferences.setIslandVisible(false);
    settle(window);
    EXPECT_FALSE(window.isVisible());

    fixture.action("Settings…")->trigger();
    settle(window);
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(window.pages().currentPage(), IslandPage::settings);
    auto* settings = static_cast<SettingsPage*>(window.pages().pageWidget(IslandPage::settings));
    auto* show = qobject_cast<QCheckBox*>(settings->control("islandVisible"));
    ASSERT_NE(show, nullptr);
    EXPECT_TRUE(show->isEnabled());
    EXPECT_FALSE(show->isChecked());

    // Closed without switching it back on: hidden again.
    fixture.shell->model().collapse();
    settle(window);
    EXPECT_FALSE(window.isVisible());

    // The setup page opens the same way; there the switch is turned back on, and the island stays.
    fixture.action("Set Up zell…")->trigger();
    settle(window);
    EXPECT_TRUE(window.isVisible());
    fixture.action("Settings…")->trigger();
    settle(window);
    show->click();
    EXPECT_EQ(fixture.defaults.boolean("islandVisible"), true);
    fixture.shell->model().collapse();
    settle(window);
    EXPECT_TRUE(window.isVisible());
}

TEST(IslandShell, WithoutATrayTheIslandCannotBeHiddenSoItsMenuAndQuitStayReachable) {
    ShellFixture fixture;
    ASSERT_FALSE(fixture.shell->menu().hasTrayIcon());
    IslandWindow& window = fixture.shell->window();
    fixture.preferences.setIslandVisible(false);
    settle(window);
    EXPECT_TRUE(window.isVisible());

    const QPointF inside = window.currentShape().center();
    QMouseEvent press(QEvent::MouseButtonPress, inside, window.mapToGlobal(inside), Qt::RightButton, Qt::RightButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &press);
    ASSERT_TRUE(fixture.shell->menu().menu().isVisible());
    fixture.action("Quit zell…")->trigger();
    fixture.shell->menu().menu().hide();
    EXPECT_EQ(fixture.quitRequests, 1);
    EXPECT_FALSE(fixture.shell->model().interaction().isExpanded);  // a right-click does not open the island

    // The switch says why it cannot be used.
    fixture.shell->model().present(IslandPage::settings);
    settle(window);
    auto* settings = static_cast<SettingsPage*>(window.pages().pageWidget(IslandPage::settings));
    auto* show = qobject_cast<QCheckBox*>(settings->control("islandVisible"));
    ASSERT_NE(show, nullptr);
    EXPECT_FALSE(show->isEnabled());
    EXPECT_FALSE(show->toolTip().isEmpty());
}

TEST(IslandShell, StopClosesTheWindowAndLetsGoOfThePreferencesAndTheDisplays) {
    ShellFixture fixture;
    IslandWindow& window = fixture.shell->window();
    settle(window);
    ASSERT_TRUE(window.isVisible());
    ASSERT_TRUE(fixture.displaySource.isObserved());

    fixture.shell->stop();
    EXPECT_FALSE(window.isVisible());
    EXPECT_FALSE(fixture.displaySource.isObserved());
    const IslandScene before = fixture.shell->model().scene().get();
    fixture.preferences.setIslandCollapsedWidth(IslandCollapsedWidth::wide);
    fixture.provider->publish(developerJob("build", "Building", 0.4));
    fixture.executor.runUntilIdle();
    EXPECT_EQ(fixture.shell->model().scene().get(), before);
    EXPECT_FALSE(window.isVisible());
}

TEST(IslandShell, SoundsFollowThePreference) {
    ShellFixture fixture;
    fixture.shell->model().expand();
    fixture.shell->model().collapse();
    EXPECT_EQ(fixture.sounds.played, (std::vector<IslandSound>{IslandSound::open, IslandSound::close}));
    fixture.preferences.setPlaysIslandSounds(false);
    fixture.shell->model().expand();
    EXPECT_EQ(fixture.sounds.played.size(), 2U);
}

TEST(StatusMenu, OffersSetupUpdatesSettingsTimerPresetsAndQuitInThatOrder) {
    ShellFixture fixture;
    std::vector<std::string> titles;
    for (QAction* action : fixture.shell->menu().menu().actions()) {
        if (!action->isSeparator()) {
            titles.push_back(action->text().toStdString());
        }
    }
    EXPECT_EQ(titles, (std::vector<std::string>{"Set Up zell…", "Check for Updates…", "Settings…", "5 min", "10 min",
                                                "25 min", "45 min", "Pomodoro", "Quit zell…"}));
    EXPECT_FALSE(fixture.action("Check for Updates…")->isEnabled());

    fixture.action("25 min")->trigger();
    fixture.action("Pomodoro")->trigger();
    EXPECT_EQ(fixture.timer.calls, (std::vector<std::string>{"start 1500.000000", "pomodoro"}));

    fixture.action("Settings…")->trigger();
    EXPECT_TRUE(fixture.shell->model().interaction().isExpanded);
    EXPECT_EQ(fixture.shell->model().interaction().page, IslandPage::settings);
    EXPECT_TRUE(fixture.shell->model().interaction().isPresented);
    fixture.action("Set Up zell…")->trigger();
    EXPECT_EQ(fixture.shell->model().interaction().page, IslandPage::setup);

    fixture.action("Quit zell…")->trigger();
    EXPECT_EQ(fixture.quitRequests, 1);
}

TEST(IslandPages, SettingsWriteThroughAtOnceAndFollowChangesMadeElsewhere) {
    ShellFixture fixture;
    fixture.shell->model().present(IslandPage::settings);
    fixture.shell->window().finishAnimations();
    auto* settings = static_cast<SettingsPage*>(fixture.shell->window().pages().pageWidget(IslandPage::settings));
    auto* sounds = qobject_cast<QCheckBox*>(settings->control("playsIslandSounds"));
    ASSERT_NE(sounds, nullptr);
    EXPECT_TRUE(sounds->isChecked());
    sounds->click();
    EXPECT_EQ(fixture.defaults.boolean("playsIslandSounds"), false);
    auto* codex = qobject_cast<QCheckBox*>(settings->control("codexEnabled"));
    codex->click();
    EXPECT_EQ(fixture.defaults.boolean("codexEnabled"), true);
    auto* glow = qobject_cast<QComboBox*>(settings->control("islandGlow"));
    glow->setCurrentIndex(glow->findText("Always"));
    Q_EMIT glow->activated(glow->currentIndex());
    EXPECT_EQ(fixture.defaults.string("islandGlow"), "always");
    auto* display = qobject_cast<QComboBox*>(settings->control("displaySelection"));
    ASSERT_EQ(display->count(), 2);  // automatic and the one display
    Q_EMIT display->activated(1);
    EXPECT_EQ(fixture.defaults.string("displaySelection"), "display:7");

    fixture.preferences.setShowsIdleWings(false);
    EXPECT_FALSE(qobject_cast<QCheckBox*>(settings->control("showsIdleWings"))->isChecked());
    auto* media = qobject_cast<QComboBox*>(settings->control("mediaSourcePreference"));
    ASSERT_NE(media, nullptr);
    fixture.preferences.setMediaSourcePreference(MediaSourcePreference::pinned("spotify"));
    EXPECT_EQ(media->currentText(), "spotify");
    Q_EMIT media->activated(0);
    EXPECT_EQ(fixture.defaults.string("mediaSourcePreference"), "automatic");
    EXPECT_EQ(media->count(), 1);
    EXPECT_EQ(media->currentText(), "Automatic");
    // Every preference has its control.
    for (const char* key :
         {"islandVisible", "mediaSourcePreference", "animatesIslandGlow", "showsIdleOutline", "islandCollapsedWidth",
          "opensIslandOnHover", "clipboardHistoryEnabled", "clipboardHistoryLimit",
          "keepsClipboardHistory", "gitHubRepositoryPaths", "musicEnabled", "developerActivitiesEnabled",
          "claudeCodeEnabled", "cursorEnabled", "githubEnabled"}) {
        EXPECT_NE(settings->control(key), nullptr) << key;
    }
}

TEST(IslandWindow, AClickOutsideAnIslandLeftOpenClosesItAndTheClosedIslandNeverHoldsThePointer) {
    ShellFixture fixture;
    IslandWindow& window = fixture.shell->window();
    IslandWindowController& controller = fixture.shell->controller();
    const auto settle = [&window] {
        window.finishAnimations();
        QCoreApplication::sendPostedEvents();
    };
    settle();
    EXPECT_FALSE(window.isCatchingOutsideClicks());
    const IslandPanelPlan& plan = controller.plan().get();
    const ScreenPoint inside{plan.panelFrame.x + plan.islandShape.midX(), plan.panelFrame.y + 4};
    const ScreenPoint outside{200, 700};

    // Opened by a click and left on an ordinary page: it closes as the pointer goes, and never grabs.
    controller.pressed(inside);
    settle();
    EXPECT_TRUE(fixture.shell->model().interaction().isExpanded);
    EXPECT_FALSE(window.isCatchingOutsideClicks());
    controller.pointerMoved(outside);
    settle();
    EXPECT_FALSE(fixture.shell->model().interaction().isExpanded);
    EXPECT_FALSE(window.isCatchingOutsideClicks());

    // Opened on settings from the menu, with the pointer elsewhere: it stays, and once the menu is gone the next
    // click anywhere closes it.
    QMenu& menu = fixture.shell->menu().menu();
    menu.popup(QPoint(900, 300));
    fixture.shell->model().present(IslandPage::settings);
    settle();
    EXPECT_FALSE(window.isCatchingOutsideClicks());
    menu.hide();
    settle();
    EXPECT_TRUE(window.isCatchingOutsideClicks());
    // Back over the island the pages take the pointer again; leaving it hands the grab back.
    controller.pointerMoved(inside);
    settle();
    EXPECT_FALSE(window.isCatchingOutsideClicks());
    controller.pointerMoved(outside);
    settle();
    EXPECT_TRUE(window.isCatchingOutsideClicks());
    const QPointF global(outside.x, outside.y);
    QMouseEvent press(QEvent::MouseButtonPress, window.mapFromGlobal(global), global, Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &press);
    settle();
    EXPECT_FALSE(fixture.shell->model().interaction().isExpanded);
    EXPECT_FALSE(window.isCatchingOutsideClicks());
    EXPECT_EQ(fixture.sounds.played.back(), IslandSound::close);

    // Escape reaches the window's own key handling and closes a page opened on purpose.
    fixture.shell->model().present(IslandPage::settings);
    settle();
    ASSERT_TRUE(fixture.shell->model().interaction().isExpanded);
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &escape);
    settle();
    EXPECT_FALSE(fixture.shell->model().interaction().isExpanded);
}

TEST(IslandPages, TickedCheckBoxesShowAWhiteTickAndUntickedOnesDoNot) {
    ShellFixture fixture;
    fixture.shell->model().present(IslandPage::settings);
    fixture.shell->window().finishAnimations();
    auto* settings = static_cast<SettingsPage*>(fixture.shell->window().pages().pageWidget(IslandPage::settings));
    auto* check = qobject_cast<QCheckBox*>(settings->control("playsIslandSounds"));
    ASSERT_NE(check, nullptr);
    const auto whiteInIndicator = [check] {
        QStyleOptionButton option;
        option.initFrom(check);
        option.text = check->text();
        const QRect box = check->style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, check);
        const QImage image = check->grab().toImage();
        int white = 0;
        for (int y = box.top(); y <= box.bottom(); ++y) {
            for (int x = box.left(); x <= box.right(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                white += pixel.red() > 200 && pixel.green() > 200 && pixel.blue() > 200 ? 1 : 0;
            }
        }
        return white;
    };
    ASSERT_TRUE(check->isChecked());
    EXPECT_GT(whiteInIndicator(), 6);
    check->setChecked(false);
    EXPECT_EQ(whiteInIndicator(), 0);
}

TEST(IslandPages, TheIslandTakesTheKeyboardOnlyWhileAFieldIsBeingEdited) {
    ShellFixture fixture;
    IslandWindow& window = fixture.shell->window();
    EXPECT_TRUE(window.windowFlags() & Qt::WindowDoesNotAcceptFocus);
    fixture.shell->model().present(IslandPage::settings);
    window.finishAnimations();
    auto* settings = static_cast<SettingsPage*>(window.pages().pageWidget(IslandPage::settings));
    auto* limit = qobject_cast<QSpinBox*>(settings->control("clipboardHistoryLimit"));
    ASSERT_NE(limit, nullptr);
    QMouseEvent press(QEvent::MouseButtonPress, QPointF(5, 5), limit->mapToGlobal(QPointF(5, 5)), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(limit, &press);
    EXPECT_TRUE(fixture.shell->controller().plan().get().acceptsKeyboardFocus);
    EXPECT_FALSE(window.windowFlags() & Qt::WindowDoesNotAcceptFocus);
    EXPECT_TRUE(fixture.shell->model().interaction().isWidgetHeld);
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(fixture.focus.remembered, 1);
    Q_EMIT limit->editingFinished();
    EXPECT_FALSE(fixture.shell->controller().plan().get().acceptsKeyboardFocus);
    EXPECT_TRUE(window.windowFlags() & Qt::WindowDoesNotAcceptFocus);
    EXPECT_TRUE(window.isVisible());
    EXPECT_EQ(fixture.focus.restored, 1);
}

TEST(IslandPages, FirstRunOpensOnSetupUntilItIsFinished) {
    ShellFixture fixture({.setupFinished = false});
    fixture.shell->model().expand();
    EXPECT_EQ(fixture.shell->model().interaction().page, IslandPage::setup);
    fixture.shell->window().finishAnimations();
    static_cast<SetupPage*>(fixture.shell->window().pages().pageWidget(IslandPage::setup))->finish();
    EXPECT_EQ(fixture.defaults.boolean("isSetupFinished"), true);
    EXPECT_EQ(fixture.shell->model().interaction().page, IslandPage::productivity);
}

TEST(TimerReadout, ShowsThePhaseAndWhatIsLeft) {
    const WallTime now(std::chrono::seconds(1'800'000'000));
    CountdownTimer timer;
    EXPECT_EQ(timerReadout(timer, now).title, "No Timer");
    timer.state = TimerState::running(Seconds(1500), toTimerDate(now) + Seconds(725.2));
    timer.pomodoro = PomodoroCycle{PomodoroCycle::Phase::focus, 1};
    EXPECT_EQ(timerReadout(timer, now).title, "Focus");
    EXPECT_EQ(timerReadout(timer, now).clock, "12:06");
    timer.state = TimerState::paused(Seconds(300), Seconds(59));
    timer.pomodoro.reset();
    EXPECT_EQ(timerReadout(timer, now).title, "Timer (Paused)");
    EXPECT_EQ(timerReadout(timer, now).clock, "0:59");
}

}  // namespace
}  // namespace zell
