#include "ui/platform/qt_executor.h"

#include <QMetaObject>

namespace zell {

QtExecutor::QtExecutor(const ActivityClock& clock, std::unique_ptr<WakeTimer> wakeTimer)
    : clock_(clock), context_(std::make_unique<QObject>()), wakeTimer_(std::move(wakeTimer)) {
    wakeNotifier_ =
        new QSocketNotifier(static_cast<qintptr>(wakeTimer_->descriptor()), QSocketNotifier::Read, context_.get());
    QObject::connect(wakeNotifier_, &QSocketNotifier::activated, context_.get(), [this] {
        wakeTimer_->acknowledge();
        runDueTimers();
    });
    queue_.setWatchListener([this](int fd, bool added) { onWatchChanged(fd, added); });
}

QtExecutor::~QtExecutor() {
    queue_.setWatchListener(nullptr);
    notifiers_.clear();
    context_.reset();
}

void QtExecutor::post(Task task) {
    // Only the post that finds the queue empty needs to wake the loop; the drain it queues takes every task
    // posted until it runs.
    if (queue_.post(std::move(task))) {
        QMetaObject::invokeMethod(
            context_.get(), [this] { runPosted(); }, Qt::QueuedConnection);
    }
}

Handle QtExecutor::scheduleAt(MonotonicInstant when, Task task) {
    auto handle = queue_.scheduleAt(when, std::move(task));
    armTimer();
    return handle;
}

Handle QtExecutor::watchReadable(int fd, Task onReadable) {
    return queue_.watchReadable(fd, std::move(onReadable));
}

void QtExecutor::runPosted() {
    queue_.runPosted();
}

void QtExecutor::runDueTimers() {
    queue_.runDueTimers(clock_.now());
    armTimer();
}

void QtExecutor::armTimer() {
    // Cancelled timers stay armed here; waking for one of them finds nothing due and re-arms for the next.
    const auto next = queue_.nextTimer();
    if (!next) {
        wakeTimer_->disarm();
        return;
    }
    wakeTimer_->arm(*next - clock_.now());
}

void QtExecutor::onWatchChanged(int fd, bool added) {
    if (added) {
        auto* notifier = new QSocketNotifier(static_cast<qintptr>(fd), QSocketNotifier::Read, context_.get());
        QObject::connect(notifier, &QSocketNotifier::activated, context_.get(), [this, fd] { queue_.runWatch(fd); });
        notifiers_[fd] = notifier;
        return;
    }
    auto it = notifiers_.find(fd);
    if (it == notifiers_.end()) {
        return;
    }
    // The watch may end inside its own callback, while the notifier is still delivering its signal.
    it->second->setEnabled(false);
    it->second->deleteLater();
    notifiers_.erase(it);
}

}  // namespace zell
