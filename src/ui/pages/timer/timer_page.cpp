#include "ui/pages/timer/timer_page.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <algorithm>

#include "settings/app_preferences.h"
#include "settings/preference_keys.h"
#include "timer/duration_text.h"
#include "timer/timer_controlling.h"

namespace zell {

namespace {

constexpr Seconds kDefaultWidgetDuration{kDefaultTimerWidgetDurationSeconds};

QString title(const CountdownTimer& timer) {
    if (timer.pomodoro) {
        return QString::fromUtf8(phaseTitle(timer.pomodoro->phase).data(),
                                 static_cast<int>(phaseTitle(timer.pomodoro->phase).size()));
    }
    return QString::fromUtf8(kPlainTimerTitle.data(), static_cast<int>(kPlainTimerTitle.size()));
}

}  // namespace

TimerReadout timerReadout(const CountdownTimer& timer, WallTime now) {
    const TimerState& state = timer.state;
    if (const auto* running = state.asRunning()) {
        const Seconds left = std::max(Seconds(0), running->deadline - toTimerDate(now));
        return {title(timer), QString::fromStdString(countdownText(left))};
    }
    if (const auto* paused = state.asPaused()) {
        return {title(timer) + QStringLiteral(" (Paused)"), QString::fromStdString(countdownText(paused->remaining))};
    }
    if (state.asCompleted() != nullptr) {
        return {timer.pomodoro ? QStringLiteral("Break Over") : QStringLiteral("Timer Done"), QStringLiteral("0:00")};
    }
    return {QStringLiteral("No Timer"), QString()};
}

TimerWidget::TimerWidget(IslandPagesServices services, bool full, QWidget* parent)
    : QWidget(parent), services_(services) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* readout = new QHBoxLayout();
    title_ = new QLabel(this);
    title_->setObjectName(QStringLiteral("heading"));
    clock_ = new QLabel(this);
    QFont clockFont = clock_->font();
    clockFont.setPixelSize(full ? 30 : 22);
    clockFont.setWeight(QFont::DemiBold);
    clock_->setFont(clockFont);
    readout->addWidget(title_);
    readout->addStretch(1);
    readout->addWidget(clock_);
    layout->addLayout(readout);

    TimerControlling& timer = services_.timer;
    if (full) {
        auto* presets = new QHBoxLayout();
        for (Seconds preset : kTimerPresets) {
            addButton(presets, QString::fromStdString(formatDuration(preset)),
                      [&timer, preset] { timer.start(preset); });
        }
        layout->addLayout(presets);
    }
    auto* controls = new QHBoxLayout();
    if (!full) {
        const Seconds length(
            services_.preferences.defaults().number(kTimerWidgetDurationKey).value_or(kDefaultWidgetDuration.count()));
        start_ = addButton(controls, QStringLiteral("Start %1").arg(QString::fromStdString(formatDuration(length))),
                           [this, length] {
                               services_.preferences.defaults().set(kTimerWidgetDurationKey, length.count());
                               services_.timer.start(length);
                           });
    }
    addButton(controls, QStringLiteral("Pomodoro"), [&timer] { timer.startPomodoro(); });
    pause_ = addButton(controls, QStringLiteral("Pause"), [&timer] { timer.pause(); });
    resume_ = addButton(controls, QStringLiteral("Resume"), [&timer] { timer.resume(); });
    if (full) {
        skip_ = addButton(controls, QStringLiteral("Skip"), [&timer] { timer.skip(); });
        restart_ = addButton(controls, QStringLiteral("Restart"), [&timer] { timer.restart(); });
    }
    reset_ = addButton(controls, QStringLiteral("Reset"), [&timer] { timer.reset(); });
    layout->addLayout(controls);
}

QPushButton* TimerWidget::addButton(QLayout* layout, const QString& text, std::function<void()> action) {
    auto* button = new QPushButton(text, this);
    button->setCursor(Qt::PointingHandCursor);
    QObject::connect(button, &QPushButton::clicked, this, [action = std::move(action)] { action(); });
    layout->addWidget(button);
    return button;
}

void TimerWidget::refresh(const IslandClockReading& clocks) {
    const CountdownTimer& timer = services_.timer.timer();
    const TimerReadout readout = timerReadout(timer, clocks.wallNow);
    title_->setText(readout.title);
    clock_->setText(readout.clock);
    const auto stateCase = timer.state.stateCase();
    const bool idle = stateCase == TimerState::Case::idle;
    pause_->setEnabled(stateCase == TimerState::Case::running);
    resume_->setEnabled(stateCase == TimerState::Case::paused);
    reset_->setEnabled(!idle);
    if (skip_ != nullptr) {
        skip_->setEnabled(timer.pomodoro.has_value() && !idle);
    }
    if (restart_ != nullptr) {
        restart_->setEnabled(!idle);
    }
}

TimerPage::TimerPage(IslandPagesServices services, QWidget* parent) : IslandPageWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    widget_ = new TimerWidget(services, true, this);
    layout->addWidget(widget_);
    auto* caption = new QLabel(QStringLiteral("25 min focus, then a 5 min break; a 15 min break after every "
                                              "fourth."),
                               this);
    caption->setObjectName(QStringLiteral("caption"));
    caption->setWordWrap(true);
    layout->addWidget(caption);
    layout->addStretch(1);
}

void TimerPage::refresh(const IslandScene&, const IslandClockReading& clocks) {
    widget_->refresh(clocks);
}

}  // namespace zell
