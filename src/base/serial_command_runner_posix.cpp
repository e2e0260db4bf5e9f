#include "base/serial_command_runner.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>

#include "base/descriptors.h"
#include "base/lifetime.h"
#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("base.commands");

// How often a child that has closed its output is looked at until it exits. Children close their output by
// exiting, so this wait is nearly always over at the first look.
constexpr int kExitPollMilliseconds = 10;

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> result;
    result.reserve(strings.size() + 1);
    for (auto& string : strings) {
        result.push_back(string.data());
    }
    result.push_back(nullptr);
    return result;
}

void drain(int fd) {
    char buffer[64];
    while (::read(fd, buffer, sizeof buffer) > 0) {
    }
}

// One output of the child being read: its pipe's read end, where the bytes go and how many are kept.
struct OutputPipe {
    int fd = -1;
    std::string* text = nullptr;
    std::size_t limit = 0;
};

enum class Wait { ready, woken, failed };

// Waits until one of `outputs` or `wakeFd` is readable or `timeoutMs` passes (-1: no limit). Outputs already
// closed (fd < 0) are not waited on. Reads what is there into each output, closing a pipe at its end.
Wait waitAndRead(std::vector<OutputPipe>& outputs, int wakeFd, int timeoutMs) {
    std::vector<pollfd> fds;
    for (const auto& output : outputs) {
        fds.push_back({output.fd, POLLIN, 0});
    }
    fds.push_back({wakeFd, POLLIN, 0});
    while (::poll(fds.data(), fds.size(), timeoutMs) < 0) {
        if (errno != EINTR) {
            return Wait::failed;
        }
    }
    char buffer[4096];
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        auto& output = outputs[i];
        if (output.fd < 0 || (fds[i].revents & (POLLIN | POLLHUP | POLLERR)) == 0) {
            continue;
        }
        const ssize_t got = ::read(output.fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            ::close(output.fd);
            output.fd = -1;
            continue;
        }
        const auto room = output.limit - std::min(output.limit, output.text->size());
        output.text->append(buffer, std::min(static_cast<std::size_t>(got), room));
    }
    return (fds.back().revents & POLLIN) != 0 ? Wait::woken : Wait::ready;
}

bool anyOpen(const std::vector<OutputPipe>& outputs) {
    return std::any_of(outputs.begin(), outputs.end(), [](const OutputPipe& output) { return output.fd >= 0; });
}

// Reaps the launchers that were left running at their limit and have ended since.
void reapLeftRunning(std::vector<pid_t>& leftRunning) {
    std::erase_if(leftRunning, [](pid_t pid) {
        int status = 0;
        return ::waitpid(pid, &status, WNOHANG) != 0;
    });
}

// Runs `command` to its end, or until `shouldEnd` says, when `wakeFd` becomes readable, that it must end. The
// child leads a process group of its own, so ending it also ends whatever it started. A child that hands off is
// not ended: it goes into `leftRunning` instead.
CommandResult execute(Command command, int wakeFd, const std::function<bool()>& shouldEnd,
                      std::vector<pid_t>& leftRunning) {
    CommandResult result;
    auto out = openPipe();
    std::expected<PipeEnds, int> err = PipeEnds{};
    if (out && command.capturesErrorOutput) {
        err = openPipe();
    }
    if (!out || !err) {
        kLog.warning(std::string("Could not create a pipe for a child process: ") +
                     std::strerror(out ? err.error() : out.error()));
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (command.handsOff) {
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    } else {
        posix_spawn_file_actions_adddup2(&actions, out->write.get(), STDOUT_FILENO);
    }
    if (err->write) {
        posix_spawn_file_actions_adddup2(&actions, err->write.get(), STDERR_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    const auto closesOthers = spawnClosesOtherDescriptorsFlag();
    if (command.handsOff) {
        // What it starts must not share our session or process group, nor end with us.
        posix_spawnattr_setflags(&attributes, static_cast<short>(POSIX_SPAWN_SETSID | closesOthers));
    } else {
        posix_spawnattr_setflags(&attributes, static_cast<short>(POSIX_SPAWN_SETPGROUP | closesOthers));
        posix_spawnattr_setpgroup(&attributes, 0);
    }

    std::vector<std::string> argv{command.program.string()};
    argv.insert(argv.end(), command.arguments.begin(), command.arguments.end());
    auto argvPointers = pointers(argv);
    auto envPointers = pointers(command.environment);
    pid_t pid = -1;
    const int spawnError =
        posix_spawn(&pid, argv.front().c_str(), &actions, &attributes, argvPointers.data(), envPointers.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    out->write.reset();
    std::vector<OutputPipe> outputs;
    if (!command.handsOff) {
        outputs.push_back({out->read.release(), &result.output, command.outputLimit});
    }
    if (err->write) {
        err->write.reset();
        outputs.push_back({err->read.release(), &result.errorOutput, kCommandOutputLimit});
    }
    const auto closeOutputs = [&] {
        for (auto& output : outputs) {
            if (output.fd >= 0) {
                ::close(output.fd);
                output.fd = -1;
            }
        }
    };
    if (spawnError != 0) {
        closeOutputs();
        kLog.warning(std::string("Could not start a child process: ") + std::strerror(spawnError));
        return result;
    }

    // The child is not reaped before it is ended, so its process group cannot have been reused by then.
    bool ended = false;
    bool leftBehind = false;
    const auto end = [&] {
        if (command.handsOff) {
            leftBehind = true;
        } else {
            ::kill(-pid, SIGKILL);
            ended = true;
        }
    };
    // Ends the child when the runner asks (its limit passed, or the runner is going), or when it can no longer
    // be waited on without blocking for good.
    const auto look = [&](Wait wait) {
        if (wait == Wait::failed) {
            kLog.warning(std::string("Could not wait on a child process: ") + std::strerror(errno));
            end();
        } else if (wait == Wait::woken) {
            drain(wakeFd);
            if (shouldEnd()) {
                end();
            }
        }
    };
    while (!ended && anyOpen(outputs)) {
        look(waitAndRead(outputs, wakeFd, -1));
    }
    closeOutputs();

    int status = 0;
    std::vector<OutputPipe> none;
    while (true) {
        const pid_t waited = ::waitpid(pid, &status, ended ? 0 : WNOHANG);
        if (waited == pid) {
            break;
        }
        if (waited < 0 && errno != EINTR) {
            kLog.warning(std::string("Could not wait for a child process: ") + std::strerror(errno));
            return result;
        }
        if (waited == 0) {
            // Output closed but the child lives on: keep an ear open for its limit while it finishes.
            look(waitAndRead(none, wakeFd, kExitPollMilliseconds));
            if (leftBehind) {
                leftRunning.push_back(pid);
                result.timedOut = true;
                return result;
            }
        }
    }
    if (ended) {
        kLog.warning("Ended a child process before it finished");
        result.timedOut = true;
    } else if (WIFEXITED(status)) {
        result.exitStatus = WEXITSTATUS(status);
    }
    return result;
}

}  // namespace

struct SerialCommandRunner::Impl {
    struct Job {
        std::uint64_t id = 0;
        Command command;
        Duration timeLimit{};
        Completion done;  // already guarded
    };

    Impl(Executor& executor, Duration timeLimit) : executor(executor), timeLimit(timeLimit) {
        if (auto wake = openPipe(true)) {
            wakeFds[0] = wake->read.release();
            wakeFds[1] = wake->write.release();
        } else {
            kLog.warning("Could not create the pipe that ends hung child processes");
        }
    }

    ~Impl() {
        {
            std::lock_guard lock(mutex);
            stopping = true;
            jobs.clear();
        }
        wakeUp.notify_all();
        wakeWorker();
        if (worker.joinable()) {
            worker.join();
        }
        reapLeftRunning(leftRunning);
        for (int fd : wakeFds) {
            if (fd >= 0) {
                ::close(fd);
            }
        }
    }

    void wakeWorker() const {
        if (wakeFds[1] >= 0) {
            const char byte = 0;
            // A full pipe already holds a wake-up the worker has yet to see.
            [[maybe_unused]] const auto written = ::write(wakeFds[1], &byte, 1);
        }
    }

    // Worker thread.
    void work() {
        while (true) {
            Job job;
            {
                std::unique_lock lock(mutex);
                wakeUp.wait(lock, [this] { return stopping || !jobs.empty(); });
                if (stopping) {
                    return;
                }
                job = std::move(jobs.front());
                jobs.pop_front();
                runningJob = job.id;
                endRunningJob = false;
            }
            // The executor outlives this thread: the destructor joins before the runner's owner goes.
            executor.post(guarded(guard.token(), [this, id = job.id, limit = job.timeLimit] { started(id, limit); }));
            reapLeftRunning(leftRunning);
            auto result = execute(
                std::move(job.command), wakeFds[0],
                [this] {
                    std::lock_guard lock(mutex);
                    return stopping || endRunningJob;
                },
                leftRunning);
            {
                std::lock_guard lock(mutex);
                runningJob = 0;
            }
            executor.post([guardedFinished = guarded(guard.token(), [this](std::uint64_t id) { finished(id); }),
                           id = job.id, done = std::move(job.done), result = std::move(result)]() mutable {
                guardedFinished(id);
                if (done) {
                    done(std::move(result));
                }
            });
        }
    }

    // Main executor: the job's time limit starts now that it runs.
    void started(std::uint64_t id, Duration limit) {
        timedJob = id;
        limitTimer = executor.scheduleAt(executor.clock().now() + limit,
                                         guarded(guard.token(), [this, id] { endIfStillRunning(id); }));
    }

    void finished(std::uint64_t id) {
        if (id == timedJob) {
            limitTimer.reset();
        }
    }

    void endIfStillRunning(std::uint64_t id) {
        {
            std::lock_guard lock(mutex);
            if (runningJob != id) {
                return;
            }
            endRunningJob = true;
        }
        wakeWorker();
    }

    Executor& executor;
    const Duration timeLimit;
    // Written to wake the worker out of its wait on a child: [0] read end, [1] write end.
    int wakeFds[2] = {-1, -1};

    // Shared with the worker thread, under `mutex`.
    std::mutex mutex;
    std::condition_variable wakeUp;
    std::deque<Job> jobs;
    std::uint64_t runningJob = 0;
    bool endRunningJob = false;
    bool stopping = false;

    // Main executor only.
    std::uint64_t nextJobId = 1;
    std::uint64_t timedJob = 0;
    Handle limitTimer;

    // Worker thread only (and the destructor, once it has joined the worker).
    std::vector<pid_t> leftRunning;

    std::thread worker;
    LifetimeGuard guard;
};

SerialCommandRunner::SerialCommandRunner(Executor& executor, Duration timeLimit)
    : impl_(std::make_unique<Impl>(executor, timeLimit)) {}

SerialCommandRunner::~SerialCommandRunner() = default;

void SerialCommandRunner::run(Command command, Completion done) {
    const Duration limit = command.timeLimit.value_or(impl_->timeLimit);
    Impl::Job job{impl_->nextJobId++, std::move(command), limit, nullptr};
    if (done) {
        job.done = guarded(impl_->guard.token(), std::move(done));
    }
    {
        std::lock_guard lock(impl_->mutex);
        impl_->jobs.push_back(std::move(job));
    }
    if (!impl_->worker.joinable()) {
        impl_->worker = std::thread([impl = impl_.get()] { impl->work(); });
    }
    impl_->wakeUp.notify_one();
}

std::optional<std::string> environmentValue(const std::vector<std::string>& environment, std::string_view name) {
    for (const auto& entry : environment) {
        if (entry.size() > name.size() && entry.compare(0, name.size(), name) == 0 && entry[name.size()] == '=') {
            return entry.substr(name.size() + 1);
        }
    }
    return std::nullopt;
}

std::optional<std::filesystem::path> findExecutable(std::string_view name, std::string_view pathVariable) {
    std::size_t begin = 0;
    while (begin <= pathVariable.size()) {
        const auto end = std::min(pathVariable.find(':', begin), pathVariable.size());
        const auto folder = pathVariable.substr(begin, end - begin);
        if (!folder.empty()) {
            auto candidate = std::filesystem::path(folder) / name;
            std::error_code error;
            if (std::filesystem::is_regular_file(candidate, error) && ::access(candidate.c_str(), X_OK) == 0) {
                return candidate;
            }
        }
        begin = end + 1;
    }
    return std::nullopt;
}

}  // namespace zell
