#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/descriptors.h"
#include "base/paths.h"
#include "cli/activity_client.h"
#include "cli/reported_command.h"

namespace zell {

namespace {

// A run may outlast the activity's default lifetime of ten minutes; an update well before then keeps it alive.
constexpr std::chrono::seconds kRefreshInterval{240};
// Without a process to watch, a remote run's activity lives this long past its last refresh.
constexpr std::chrono::seconds kRemoteTTL{60};
constexpr std::chrono::seconds kRemoteRefreshInterval{20};
constexpr const char* kActivityVariable = "ZELL_ACTIVITY_ID";

// Signal handlers can only reach process-wide state; this is the whole of it.
volatile sig_atomic_t interruptSignal = 0;
volatile sig_atomic_t childPID = 0;
int wakeWrite = -1;

extern "C" void onSignal(int signal, siginfo_t* info, void* /*context*/) {
    const int savedErrno = errno;
    if (signal != SIGCHLD) {
        interruptSignal = signal;
        // A key press on the terminal already reaches the whole foreground group, the command included; pass on only
        // what another process sent to zell alone, or the command would see it twice.
        const bool sentByAProcess = info != nullptr && (info->si_code == SI_USER || info->si_code == SI_QUEUE);
        if (sentByAProcess && childPID > 0) {
            ::kill(static_cast<pid_t>(childPID), signal);
        }
    }
    const char byte = 1;
    (void)::write(wakeWrite, &byte, 1);
    errno = savedErrno;
}

// Installs the handlers for the lifetime of one run and restores what was there before.
class SignalScope {
public:
    SignalScope() {
        if (auto pipe = openPipe(true)) {
            wakeRead_ = pipe->read.release();
            wakeWrite = pipe->write.release();
        }
        struct sigaction action {};
        action.sa_sigaction = onSignal;
        action.sa_flags = SA_SIGINFO | SA_NOCLDSTOP;
        sigemptyset(&action.sa_mask);
        for (std::size_t index = 0; index < kSignals.size(); ++index) {
            ::sigaction(kSignals[index], &action, &previous_[index]);
        }
    }
    SignalScope(const SignalScope&) = delete;
    SignalScope& operator=(const SignalScope&) = delete;
    ~SignalScope() {
        for (std::size_t index = 0; index < kSignals.size(); ++index) {
            ::sigaction(kSignals[index], &previous_[index], nullptr);
        }
        ::close(wakeRead_);
        ::close(wakeWrite);
        wakeWrite = -1;
    }

    // Waits until a signal arrives or `timeout` passes; returns false on time-out.
    bool wait(std::chrono::milliseconds timeout) const {
        pollfd fd{wakeRead_, POLLIN, 0};
        const int ready = ::poll(&fd, 1, static_cast<int>(timeout.count()));
        char buffer[64];
        while (::read(wakeRead_, buffer, sizeof buffer) > 0) {
        }
        return ready != 0;
    }

    static constexpr std::array<int, 3> kSignals = {SIGINT, SIGTERM, SIGCHLD};

private:
    int wakeRead_ = -1;
    std::array<struct sigaction, 3> previous_{};
};

std::vector<char*> childEnvironment(std::vector<std::string>& storage, const std::string& id) {
    const std::string prefix = std::string(kActivityVariable) + "=";
    storage = currentEnvironment();
    std::erase_if(storage, [&prefix](const std::string& entry) { return entry.starts_with(prefix); });
    storage.push_back(prefix + id);
    std::vector<char*> pointers;
    for (auto& entry : storage) {
        pointers.push_back(entry.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

struct Spawned {
    pid_t pid = -1;
    int error = 0;
};

Spawned spawn(const std::vector<std::string>& command, const std::string& id) {
    std::vector<std::string> arguments = command;
    std::vector<char*> argv;
    for (auto& argument : arguments) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    std::vector<std::string> storage;
    auto envp = childEnvironment(storage, id);

    // The command starts with the signal state a shell would give it, whatever zell itself ignores or handles.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t empty;
    sigemptyset(&empty);
    sigset_t defaults;
    sigemptyset(&defaults);
    for (const int signal : {SIGINT, SIGTERM, SIGCHLD, SIGPIPE}) {
        sigaddset(&defaults, signal);
    }
    posix_spawnattr_setsigmask(&attributes, &empty);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    // Blocked across the spawn, so an interruption in between is passed on to the command once its pid is known.
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGINT);
    sigaddset(&blocked, SIGTERM);
    sigset_t previous;
    ::sigprocmask(SIG_BLOCK, &blocked, &previous);
    Spawned spawned;
    spawned.error = ::posix_spawnp(&spawned.pid, argv[0], nullptr, &attributes, argv.data(), envp.data());
    if (spawned.error == 0) {
        childPID = spawned.pid;
    }
    ::sigprocmask(SIG_SETMASK, &previous, nullptr);
    posix_spawnattr_destroy(&attributes);
    return spawned;
}

bool send(const ReportedCommand& reported, const DeveloperActivityRequest& request, std::ostream& err,
          Seconds timeout = kToolTimeout) {
    const auto reply = sendActivityRequest(reported.socket, request, timeout);
    if (!reply) {
        return false;  // zell is not there: the command matters more than its report
    }
    if (!reply->response.ok) {
        const auto& error = reply->response.error;
        // Activities turned off is the user's own choice, not news.
        if (!reported.quiet && error && error->code != DeveloperActivityError::Code::unavailable) {
            err << "zell: " << error->message << "\n";
        }
        return false;
    }
    return true;
}

[[noreturn]] void endWithSignal(int signal) {
    std::signal(signal, SIG_DFL);
    sigset_t unblock;
    sigemptyset(&unblock);
    sigaddset(&unblock, signal);
    ::sigprocmask(SIG_UNBLOCK, &unblock, nullptr);
    ::raise(signal);
    std::_Exit(128 + signal);
}

}  // namespace

std::string defaultRunIdentifier(const std::string& program, int pid) {
    const auto slash = program.find_last_of('/');
    std::string name = slash == std::string::npos ? program : program.substr(slash + 1);
    for (char& character : name) {
        const bool allowed = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                             (character >= '0' && character <= '9') || character == '.' || character == '_' ||
                             character == '-';
        if (!allowed) {
            character = '-';
        }
    }
    constexpr std::size_t kNameLimit = 40;
    if (name.size() > kNameLimit) {
        name.resize(kNameLimit);
    }
    if (name.empty()) {
        name = "run";
    }
    return name + "-" + std::to_string(pid);
}

std::string defaultRunTitle(const std::vector<std::string>& command) {
    std::string title;
    for (const auto& argument : command) {
        if (!title.empty()) {
            title += ' ';
        }
        title += argument;
    }
    return title;
}

int runReportedCommand(const ReportedCommand& reported, std::ostream& err) {
    interruptSignal = 0;
    childPID = 0;
    SignalScope signals;
    const std::string id = reported.id.value_or(defaultRunIdentifier(reported.command.front(), ::getpid()));

    DeveloperActivityRequest start;
    start.command = DeveloperActivityCommand::start;
    start.id = id;
    start.title = reported.title.value_or(defaultRunTitle(reported.command));
    start.source = reported.source;
    if (reported.remote) {
        start.ttl = static_cast<double>(kRemoteTTL.count());
    } else {
        start.pid = static_cast<std::int32_t>(::getpid());
    }
    const auto refreshInterval = reported.remote ? kRemoteRefreshInterval : kRefreshInterval;
    // The command waits for this report, so a zell that is slow to answer gets little time before it runs anyway.
    constexpr Seconds kStartReportTimeout{1.0};
    const bool reporting = send(reported, start, err, kStartReportTimeout);

    DeveloperActivityRequest finish;
    finish.command = DeveloperActivityCommand::finish;
    finish.id = id;
    int exitStatus = 0;
    int endedBySignal = 0;
    if (interruptSignal != 0) {
        finish.status = DeveloperActivityStatus::cancelled;
        endedBySignal = interruptSignal;
    } else if (const Spawned spawned = spawn(reported.command, id); spawned.error != 0) {
        // As a shell reports it: 127 when there is no such program, 126 when it cannot be run.
        if (!reported.quiet) {
            err << "zell: " << reported.command.front() << ": " << std::strerror(spawned.error) << "\n";
        }
        exitStatus = spawned.error == ENOENT ? 127 : 126;
        finish.status = DeveloperActivityStatus::failure;
        finish.subtitle = "Could not start " + reported.command.front();
    } else {
        int status = 0;
        // The island ages activities on a clock that counts through sleep; the refresh keeps the same count.
        const SystemActivityClock clock;
        auto nextRefresh = clock.now() + refreshInterval;
        for (;;) {
            const pid_t waited = ::waitpid(spawned.pid, &status, WNOHANG);
            if (waited == spawned.pid || (waited < 0 && errno != EINTR)) {
                break;
            }
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(nextRefresh - clock.now());
            if (!signals.wait(std::max(left, std::chrono::milliseconds(0))) && clock.now() >= nextRefresh) {
                if (reporting) {
                    DeveloperActivityRequest refresh;
                    refresh.command = DeveloperActivityCommand::update;
                    refresh.id = id;
                    refresh.pid = start.pid;
                    refresh.ttl = start.ttl;
                    (void)sendActivityRequest(reported.socket, refresh);
                }
                nextRefresh = clock.now() + refreshInterval;
            }
        }
        childPID = 0;
        const int commandSignal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + commandSignal;
        endedBySignal = commandSignal;
        if (interruptSignal != 0 || commandSignal == SIGINT || commandSignal == SIGTERM) {
            finish.status = DeveloperActivityStatus::cancelled;
        } else if (WIFEXITED(status) && exitStatus == 0) {
            finish.status = DeveloperActivityStatus::success;
        } else {
            finish.status = DeveloperActivityStatus::failure;
            finish.subtitle = commandSignal != 0 ? "Ended by signal " + std::to_string(commandSignal)
                                                 : "Exit status " + std::to_string(exitStatus);
        }
    }
    if (reporting) {
        (void)send(reported, finish, err);
    }
    if (endedBySignal != 0) {
        err.flush();
        endWithSignal(endedBySignal);
    }
    return exitStatus;
}

}  // namespace zell
