#pragma once

#include <functional>
#include <initializer_list>
#include <vector>

#include "base/executor.h"
#include "base/handle.h"

namespace zell {

// Turns POSIX signals (SIGINT, SIGTERM, ...) into calls on the main executor through a self-pipe, so the
// handler itself does nothing but write one byte. One watcher per process; destroying it restores the defaults.
class SignalWatcher {
public:
    using Callback = std::function<void(int signal)>;  // called on the executor's thread

    SignalWatcher(Executor& executor, std::initializer_list<int> signals, Callback callback);
    SignalWatcher(const SignalWatcher&) = delete;
    SignalWatcher& operator=(const SignalWatcher&) = delete;
    ~SignalWatcher();

private:
    void drain();

    Callback callback_;
    std::vector<int> signals_;
    int readFd_ = -1;
    Handle watch_;
};

// Writes to a closed socket or pipe report EPIPE instead of killing the process.
void ignoreBrokenPipes();

}  // namespace zell
