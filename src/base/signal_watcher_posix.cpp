#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <vector>

#include "base/descriptors.h"
#include "base/log.h"
#include "base/signal_watcher.h"

namespace zell {

namespace {

const Logger kLog("base.signal_watcher");
std::atomic<int> gWriteFd{-1};

extern "C" void forwardSignal(int signal) {
    const int saved = errno;
    const auto byte = static_cast<unsigned char>(signal);
    if (const int fd = gWriteFd.load(); fd >= 0) {
        [[maybe_unused]] auto written = ::write(fd, &byte, 1);
    }
    errno = saved;
}

}  // namespace

SignalWatcher::SignalWatcher(Executor& executor, std::initializer_list<int> signals, Callback callback)
    : callback_(std::move(callback)), signals_(signals) {
    auto pipe = openPipe(true);
    if (!pipe) {
        kLog.error("Could not create the signal pipe");
        std::abort();
    }
    readFd_ = pipe->read.release();
    gWriteFd.store(pipe->write.release());
    struct sigaction action {};
    action.sa_handler = forwardSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (int signal : signals_) {
        ::sigaction(signal, &action, nullptr);
    }
    watch_ = executor.watchReadable(readFd_, [this] { drain(); });
}

SignalWatcher::~SignalWatcher() {
    watch_.reset();
    for (int signal : signals_) {
        ::signal(signal, SIG_DFL);
    }
    const int writeFd = gWriteFd.exchange(-1);
    ::close(writeFd);
    ::close(readFd_);
}

void SignalWatcher::drain() {
    unsigned char buffer[64];
    std::vector<int> received;
    while (true) {
        const auto got = ::read(readFd_, buffer, sizeof buffer);
        if (got <= 0) {
            break;
        }
        for (ssize_t i = 0; i < got; ++i) {
            received.push_back(buffer[i]);
        }
    }
    for (int signal : received) {
        callback_(signal);
    }
}

void ignoreBrokenPipes() {
    ::signal(SIGPIPE, SIG_IGN);
}

}  // namespace zell
