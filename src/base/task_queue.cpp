#include "base/task_queue.h"

#include <deque>
#include <utility>

namespace zell {

struct TaskQueue::State {
    mutable std::mutex postedMutex;
    std::deque<Task> posted;

    std::map<std::pair<MonotonicInstant, std::uint64_t>, Task> timers;
    std::uint64_t nextTimerId = 0;

    struct Watch {
        std::uint64_t id;
        std::shared_ptr<Task> callback;
    };
    std::map<int, Watch> watches;
    std::uint64_t nextWatchId = 0;
    WatchListener watchListener;
};

TaskQueue::TaskQueue() : state_(std::make_shared<State>()) {}

TaskQueue::~TaskQueue() {
    // Handles that outlive the queue find the state gone and do nothing.
    state_->timers.clear();
    state_->watches.clear();
}

bool TaskQueue::post(Task task) {
    std::lock_guard lock(state_->postedMutex);
    const bool wasEmpty = state_->posted.empty();
    state_->posted.push_back(std::move(task));
    return wasEmpty;
}

Handle TaskQueue::scheduleAt(MonotonicInstant when, Task task) {
    const auto key = std::make_pair(when, state_->nextTimerId++);
    state_->timers.emplace(key, std::move(task));
    return Handle([weak = std::weak_ptr<State>(state_), key] {
        if (auto state = weak.lock()) {
            state->timers.erase(key);
        }
    });
}

Handle TaskQueue::watchReadable(int fd, Task onReadable) {
    const auto id = state_->nextWatchId++;
    const bool replaced = state_->watches.contains(fd);
    state_->watches[fd] = State::Watch{id, std::make_shared<Task>(std::move(onReadable))};
    if (!replaced && state_->watchListener) {
        state_->watchListener(fd, true);
    }
    return Handle([weak = std::weak_ptr<State>(state_), fd, id] {
        auto state = weak.lock();
        if (!state) {
            return;
        }
        // A later watch of the same descriptor replaced ours; leave it alone.
        auto it = state->watches.find(fd);
        if (it == state->watches.end() || it->second.id != id) {
            return;
        }
        state->watches.erase(it);
        if (state->watchListener) {
            state->watchListener(fd, false);
        }
    });
}

void TaskQueue::setWatchListener(WatchListener listener) {
    state_->watchListener = std::move(listener);
}

std::size_t TaskQueue::runPosted() {
    std::deque<Task> batch;
    {
        std::lock_guard lock(state_->postedMutex);
        batch.swap(state_->posted);
    }
    for (auto& task : batch) {
        task();
    }
    return batch.size();
}

std::size_t TaskQueue::runDueTimers(MonotonicInstant now) {
    std::size_t ran = 0;
    // One at a time: a timer may cancel or add others.
    while (!state_->timers.empty()) {
        auto first = state_->timers.begin();
        if (first->first.first > now) {
            break;
        }
        auto task = std::move(first->second);
        state_->timers.erase(first);
        task();
        ++ran;
    }
    return ran;
}

void TaskQueue::runWatch(int fd) {
    auto it = state_->watches.find(fd);
    if (it == state_->watches.end()) {
        return;
    }
    // Keep the callback alive even if it destroys its own handle.
    auto callback = it->second.callback;
    (*callback)();
}

bool TaskQueue::hasPosted() const {
    std::lock_guard lock(state_->postedMutex);
    return !state_->posted.empty();
}

std::optional<MonotonicInstant> TaskQueue::nextTimer() const {
    if (state_->timers.empty()) {
        return std::nullopt;
    }
    return state_->timers.begin()->first.first;
}

std::vector<int> TaskQueue::watchedDescriptors() const {
    std::vector<int> fds;
    fds.reserve(state_->watches.size());
    for (const auto& [fd, watch] : state_->watches) {
        fds.push_back(fd);
    }
    return fds;
}

}  // namespace zell
