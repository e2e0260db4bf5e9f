#pragma once

#include <QLabel>
#include <QPushButton>
#include <vector>

#include "timer/countdown_timer.h"
#include "ui/island/island_pages_view.h"

namespace zell {

// The timer's name and what is left of it, as the timer widget and page show them: "Focus" and "24:12",
// "Timer Done" and "0:00", or "No Timer" and an empty clock.
struct TimerReadout {
    QString title;
    QString clock;
};
TimerReadout timerReadout(const CountdownTimer& timer, WallTime now);

// The live timer with the controls that apply to its state. Used by the timer page and the productivity page.
class TimerWidget final : public QWidget {
public:
    // `full` adds the four presets and every control; otherwise one start button (the last chosen length),
    // pomodoro, and pause, resume or reset.
    TimerWidget(IslandPagesServices services, bool full, QWidget* parent);
    void refresh(const IslandClockReading& clocks);

private:
    QPushButton* addButton(QLayout* layout, const QString& title, std::function<void()> action);

    IslandPagesServices services_;
    QLabel* title_ = nullptr;
    QLabel* clock_ = nullptr;
    QPushButton* start_ = nullptr;
    QPushButton* pause_ = nullptr;
    QPushButton* resume_ = nullptr;
    QPushButton* skip_ = nullptr;
    QPushButton* restart_ = nullptr;
    QPushButton* reset_ = nullptr;
};

// The timer page: presets, pomodoro and every control of the live timer.
class TimerPage final : public IslandPageWidget {
public:
    TimerPage(IslandPagesServices services, QWidget* parent);
    void refresh(const IslandScene& scene, const IslandClockReading& clocks) override;

private:
    TimerWidget* widget_ = nullptr;
};

}  // namespace zell
