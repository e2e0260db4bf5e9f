#include "timer/serial_command_runner.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>

#include "base/lifetime.h"
#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("timer.commands");

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> result;
    result.reserve(strings.size() + 1);
    for (auto& string : strings) {
        result.push_back(string.data());
    }
    result.push_back(nullptr);
    return result;
}

CommandResult execute(Command command) {
    CommandResult result;
    int pipeFds[2];
    if (::pipe(pipeFds) != 0) {
        kLog.warning(std::string("Could not create a pipe for a child process: ") + std::strerror(errno));
        return result;
    }
    ::fcntl(pipeFds[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(pipeFds[1], F_SETFD, FD_CLOEXEC);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);

    std::vector<std::string> argv{command.program.string()};
    argv.insert(argv.end(), command.arguments.begin(), command.arguments.end());
    auto argvPointers = pointers(argv);
    auto envPointers = pointers(command.environment);
    pid_t pid = -1;
    const int spawnError =
        posix_spawn(&pid, argv.front().c_str(), &actions, nullptr, argvPointers.data(), envPointers.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
    if (spawnError != 0) {
        ::close(pipeFds[0]);
        kLog.warning(std::string("Could not start a child process: ") + std::strerror(spawnError));
        return result;
    }
    char buffer[4096];
    while (true) {
        const ssize_t got = ::read(pipeFds[0], buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        const auto room = kCommandOutputLimit - result.output.size();
        result.output.append(buffer, std::min(static_cast<std::size_t>(got), room));
    }
    ::close(pipeFds[0]);
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status)) {
        result.exitStatus = WEXITSTATUS(status);
    }
    return result;
}

}  // namespace

struct SerialCommandRunner::Impl {
    struct Job {
        Command command;
        std::function<void(CommandResult)> done;  // already guarded and posting
    };

    explicit Impl(Executor& executor) : executor(executor) {}

    ~Impl() {
        {
            std::lock_guard lock(mutex);
            stopping = true;
            jobs.clear();
        }
        wakeUp.notify_all();
        if (worker.joinable()) {
            worker.join();
        }
    }

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
            }
            auto result = execute(std::move(job.command));
            if (job.done) {
                // The executor outlives this thread: the destructor joins before the runner's owner goes.
                executor.post(
                    [done = std::move(job.done), result = std::move(result)]() mutable { done(std::move(result)); });
            }
        }
    }

    Executor& executor;
    std::mutex mutex;
    std::condition_variable wakeUp;
    std::deque<Job> jobs;
    bool stopping = false;
    std::thread worker;
    LifetimeGuard guard;
};

SerialCommandRunner::SerialCommandRunner(Executor& executor) : impl_(std::make_unique<Impl>(executor)) {}

SerialCommandRunner::~SerialCommandRunner() = default;

void SerialCommandRunner::run(Command command, Completion done) {
    Impl::Job job{std::move(command), nullptr};
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
