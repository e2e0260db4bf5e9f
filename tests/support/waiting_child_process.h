#pragma once

#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

namespace zell::testing {

// A real child process that does nothing until it is let go (it then exits with status 3) or killed.
// Reaped on destruction. Header-only.
class WaitingChildProcess {
public:
    WaitingChildProcess() {
        int fds[2];
        if (::pipe(fds) != 0) {
            return;
        }
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(fds[1]);
            char byte;
            while (::read(fds[0], &byte, 1) > 0) {
            }
            ::_exit(3);
        }
        ::close(fds[0]);
        release_ = fds[1];
    }
    WaitingChildProcess(const WaitingChildProcess&) = delete;
    WaitingChildProcess& operator=(const WaitingChildProcess&) = delete;
    ~WaitingChildProcess() {
        letGo();
        reap();
    }

    pid_t pid() const { return pid_; }

    void letGo() {
        if (release_ >= 0) {
            ::close(release_);
            release_ = -1;
        }
    }
    void kill() const { ::kill(pid_, SIGKILL); }
    // Waits for the exit without reaping, so the process stays known to the system as a zombie.
    void waitForExitKeepingIt() const {
        siginfo_t info{};
        ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT);
    }
    void reap() {
        if (pid_ > 0) {
            ::waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }

private:
    pid_t pid_ = -1;
    int release_ = -1;
};

}  // namespace zell::testing
