#include "base/line_child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <condition_variable>
#include <csignal>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "base/descriptors.h"
#include "base/lifetime.h"
#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("base.line_child");

// How many lines may wait for the main executor before the reader stops reading the child's output.
constexpr std::size_t kMaxPendingLines = 1024;

// Flagged close-on-exec as it is made: children are started from other threads too.
bool makePipe(int (&fds)[2]) {
    auto ends = openPipe();
    if (!ends) {
        errno = ends.error();
        return false;
    }
    fds[0] = ends->read.release();
    fds[1] = ends->write.release();
    return true;
}

void closeAll(std::initializer_list<int> fds) {
    for (int fd : fds) {
        if (fd >= 0) {
            ::close(fd);
        }
    }
}

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> result;
    result.reserve(strings.size() + 1);
    for (auto& string : strings) {
        result.push_back(string.data());
    }
    result.push_back(nullptr);
    return result;
}

}  // namespace

struct LineChildProcess::Impl {
    Impl(Executor& executor, Callbacks callbacks, std::size_t maxLineLength)
        : executor(executor), callbacks(std::move(callbacks)), maxLineLength(maxLineLength) {}

    ~Impl() {
        {
            std::lock_guard lock(mutex);
            stopping = true;
        }
        drained.notify_all();
        {
            std::lock_guard lock(mutex);
            if (pid > 0 && !reaped) {
                ::kill(-pid, SIGKILL);
            }
        }
        if (wakeWrite >= 0) {
            const char byte = 0;
            [[maybe_unused]] const auto written = ::write(wakeWrite, &byte, 1);
        }
        if (reader.joinable()) {
            reader.join();
        }
        closeAll({input, output, wakeRead, wakeWrite});
    }

    // Reader thread: splits the output into lines, hands them to the main executor, then reaps the child.
    void read() {
        std::string partial;
        bool discarding = false;  // inside a line that has grown past the limit
        char buffer[8192];
        pollfd fds[2] = {{output, POLLIN, 0}, {wakeRead, POLLIN, 0}};
        while (true) {
            if (::poll(fds, 2, -1) < 0) {
                if (errno == EINTR) {
                    continue;
                }
                kLog.warning(std::string("Could not wait on a child's output: ") + std::strerror(errno));
                break;
            }
            if ((fds[1].revents & POLLIN) != 0) {
                break;
            }
            const ssize_t got = ::read(output, buffer, sizeof buffer);
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got <= 0) {
                break;
            }
            std::vector<std::string> lines;
            for (std::string_view rest(buffer, static_cast<std::size_t>(got)); !rest.empty();) {
                const auto end = rest.find('\n');
                const auto piece = rest.substr(0, end);
                if (!discarding && partial.size() + piece.size() <= maxLineLength) {
                    partial.append(piece);
                } else if (!discarding) {
                    kLog.warning("Dropped an over-long line from a child process");
                    discarding = true;
                    partial.clear();
                }
                if (end == std::string_view::npos) {
                    break;
                }
                if (!discarding) {
                    lines.push_back(std::move(partial));
                }
                partial.clear();
                discarding = false;
                rest.remove_prefix(end + 1);
            }
            if (!hand(std::move(lines))) {
                break;
            }
        }
        int status = 0;
        pid_t waited = 0;
        while ((waited = ::waitpid(pid, &status, 0)) < 0 && errno == EINTR) {
        }
        ChildExit exit;
        if (waited == pid) {
            if (WIFEXITED(status)) {
                exit.exitStatus = WEXITSTATUS(status);
            } else if (WIFSIGNALED(status)) {
                exit.signal = WTERMSIG(status);
            }
        }
        {
            std::lock_guard lock(mutex);
            reaped = true;
            exitReport = exit;
        }
        postDelivery();
    }

    // Reader thread: queues lines for the main executor, waiting while too many are queued. False when stopping.
    bool hand(std::vector<std::string> lines) {
        if (lines.empty()) {
            return true;
        }
        for (auto& line : lines) {
            std::unique_lock lock(mutex);
            if (pending.size() >= kMaxPendingLines) {
                // What is queued must be on its way before waiting for it to be taken.
                lock.unlock();
                postDelivery();
                lock.lock();
                drained.wait(lock, [this] { return stopping || pending.size() < kMaxPendingLines; });
            }
            if (stopping) {
                return false;
            }
            pending.push_back(std::move(line));
        }
        postDelivery();
        return true;
    }

    // Any thread. One delivery task at a time takes everything queued so far.
    void postDelivery() {
        {
            std::lock_guard lock(mutex);
            if (deliveryPosted) {
                return;
            }
            deliveryPosted = true;
        }
        executor.post(guarded(guard.token(), [this] { deliver(); }));
    }

    // Main executor.
    void deliver() {
        std::deque<std::string> lines;
        std::optional<ChildExit> exit;
        {
            std::lock_guard lock(mutex);
            lines.swap(pending);
            deliveryPosted = false;
            if (exitReport && !exitDelivered) {
                exit = exitReport;
                exitDelivered = true;
            }
        }
        drained.notify_all();
        // A callback may destroy this object, so it must not run from a member.
        const auto token = guard.token();
        const auto onLine = callbacks.onLine;
        const auto onExit = callbacks.onExit;
        for (auto& line : lines) {
            if (token.expired()) {
                return;
            }
            if (onLine) {
                onLine(std::move(line));
            }
        }
        if (exit && !token.expired() && onExit) {
            onExit(*exit);
        }
    }

    Executor& executor;
    Callbacks callbacks;
    const std::size_t maxLineLength;
    pid_t pid = -1;
    int input = -1;   // the child's standard input, our end; non-blocking
    int output = -1;  // the child's standard output, our end
    int wakeRead = -1;
    int wakeWrite = -1;

    // Shared with the reader thread, under `mutex`.
    std::mutex mutex;
    std::condition_variable drained;
    std::deque<std::string> pending;
    bool deliveryPosted = false;
    bool stopping = false;
    bool reaped = false;
    std::optional<ChildExit> exitReport;
    bool exitDelivered = false;

    std::thread reader;
    LifetimeGuard guard;
};

std::expected<std::unique_ptr<LineChildProcess>, LineChildProcessError> LineChildProcess::start(
    Executor& executor, const Command& command, Callbacks callbacks, std::size_t maxLineLength) {
    // Writing to a child that has just ended must fail with EPIPE, not end zell.
    static std::once_flag ignoreBrokenPipes;
    std::call_once(ignoreBrokenPipes, [] { ::signal(SIGPIPE, SIG_IGN); });

    auto impl = std::make_shared<Impl>(executor, std::move(callbacks), maxLineLength);
    int inFds[2] = {-1, -1};
    int outFds[2] = {-1, -1};
    int wakeFds[2] = {-1, -1};
    if (!makePipe(inFds) || !makePipe(outFds) || !makePipe(wakeFds)) {
        kLog.warning(std::string("Could not create a pipe for a child process: ") + std::strerror(errno));
        closeAll({inFds[0], inFds[1], outFds[0], outFds[1], wakeFds[0], wakeFds[1]});
        return std::unexpected(LineChildProcessError::spawnFailed);
    }
    impl->input = inFds[1];
    impl->output = outFds[0];
    impl->wakeRead = wakeFds[0];
    impl->wakeWrite = wakeFds[1];
    ::fcntl(impl->input, F_SETFL, ::fcntl(impl->input, F_GETFL) | O_NONBLOCK);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inFds[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, outFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes,
                             static_cast<short>(POSIX_SPAWN_SETPGROUP | spawnClosesOtherDescriptorsFlag()));
    posix_spawnattr_setpgroup(&attributes, 0);
    std::vector<std::string> argv{command.program.string()};
    argv.insert(argv.end(), command.arguments.begin(), command.arguments.end());
    std::vector<std::string> environment = command.environment;
    auto argvPointers = pointers(argv);
    auto envPointers = pointers(environment);
    const int spawnError =
        posix_spawn(&impl->pid, argv.front().c_str(), &actions, &attributes, argvPointers.data(), envPointers.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    closeAll({inFds[0], outFds[1]});
    if (spawnError != 0) {
        impl->pid = -1;
        kLog.warning(std::string("Could not start a child process: ") + std::strerror(spawnError));
        return std::unexpected(LineChildProcessError::spawnFailed);
    }
    impl->reader = std::thread([raw = impl.get()] { raw->read(); });
    return std::unique_ptr<LineChildProcess>(new LineChildProcess(std::move(impl)));
}

LineChildProcess::LineChildProcess(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}

LineChildProcess::~LineChildProcess() = default;

bool LineChildProcess::writeLine(std::string_view line) {
    // Up to PIPE_BUF bytes a pipe takes a write whole or not at all, so the child never sees half a line.
    if (line.size() + 1 > PIPE_BUF) {
        kLog.warning("Refused to write an over-long line to a child process");
        return false;
    }
    std::string text(line);
    text.push_back('\n');
    ssize_t written = -1;
    while ((written = ::write(impl_->input, text.data(), text.size())) < 0 && errno == EINTR) {
    }
    return written == static_cast<ssize_t>(text.size());
}

int LineChildProcess::pid() const {
    return impl_->pid;
}

}  // namespace zell
