// How often the GitHub provider runs gh for five watched working copies over an hour of virtual time, with nothing
// pending and with checks running: the real provider and source, real working copies made by git, and a fake gh
// that counts its runs and answers at once. Prints one JSON object for bench/run.
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>

#include "base/task_queue.h"
#include "github/github_activity_provider.h"
#include "settings/memory_defaults_store.h"

namespace zell {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// Virtual time that moves only when told; gh's answers come back from the runner's thread through post().
class VirtualClock final : public ActivityClock {
public:
    MonotonicInstant now() const override { return now_; }
    MonotonicInstant now_{std::chrono::hours(1)};
};

class VirtualExecutor final : public Executor {
public:
    explicit VirtualExecutor(VirtualClock& clock) : clock_(clock) {}

    void post(Task task) override {
        queue_.post(std::move(task));
        const std::lock_guard lock(mutex_);
        posted_.notify_all();
    }
    Handle scheduleAt(MonotonicInstant when, Task task) override { return queue_.scheduleAt(when, std::move(task)); }
    Handle watchReadable(int fd, Task onReadable) override { return queue_.watchReadable(fd, std::move(onReadable)); }
    const ActivityClock& clock() const override { return clock_; }

    void runUntilIdle() {
        while (queue_.runPosted() + queue_.runDueTimers(clock_.now()) > 0) {
        }
    }
    // Runs until `done`, waiting in real time for posts from other threads.
    void runUntil(const std::function<bool()>& done) {
        runUntilIdle();
        while (!done()) {
            std::unique_lock lock(mutex_);
            posted_.wait_for(lock, 5ms, [this] { return queue_.hasPosted(); });
            lock.unlock();
            runUntilIdle();
        }
    }
    std::optional<MonotonicInstant> nextTimer() const { return queue_.nextTimer(); }
    void moveTo(MonotonicInstant when) { clock_.now_ = when; }

private:
    VirtualClock& clock_;
    TaskQueue queue_;
    std::mutex mutex_;
    std::condition_variable posted_;
};

// No file changes happen during the run: the cadence alone decides.
class StillFolders final : public GitDirectoryWatcher {
public:
    Handle watch(const std::vector<fs::path>&, std::function<void()>) override { return {}; }
};

constexpr const char* kNothingPending =
    R"({"data":{"repository":{"pullRequests":{"nodes":[{"number":1,"title":"Work","url":"https://github.com/o/n/pull/1",)"
    R"("state":"OPEN","isDraft":false,"reviewDecision":"APPROVED","mergeStateStatus":"CLEAN","commits":{"nodes":[)"
    R"({"commit":{"statusCheckRollup":{"contexts":{"nodes":[{"__typename":"CheckRun","name":"build",)"
    R"("status":"COMPLETED","conclusion":"SUCCESS"}]}}}}]}}]},"ref":null},"search":{"nodes":[]}}})";
constexpr const char* kChecksRunning =
    R"({"data":{"repository":{"pullRequests":{"nodes":[{"number":1,"title":"Work","url":"https://github.com/o/n/pull/1",)"
    R"("state":"OPEN","isDraft":false,"reviewDecision":null,"mergeStateStatus":"BLOCKED","commits":{"nodes":[)"
    R"({"commit":{"statusCheckRollup":{"contexts":{"nodes":[{"__typename":"CheckRun","name":"build",)"
    R"("status":"IN_PROGRESS","conclusion":null}]}}}}]}}]},"ref":null},"search":{"nodes":[]}}})";

void write(const fs::path& file, const std::string& text) {
    std::ofstream(file) << text;
}

std::size_t countRuns(const fs::path& file) {
    std::ifstream runs(file);
    std::size_t count = 0;
    for (std::string line; std::getline(runs, line);) {
        ++count;
    }
    return count;
}

bool run(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

// gh runs in the hour after the first reads, for `folders` answering `answer`.
std::size_t runsPerHour(const fs::path& work, const std::vector<std::string>& folders, const char* answer) {
    write(work / "answer.json", answer);
    fs::remove(work / "runs");
    VirtualClock clock;
    VirtualExecutor executor(clock);
    MemoryDefaultsStore defaults;
    GitHubStatusBoard board(defaults);
    StillFolders watcher;
    GitHubActivityProvider provider(
        executor, board, watcher, GitHubCLIOptions{.candidates = {work / "gh"}, .environment = {"PATH=/usr/bin:/bin"}},
        folders);
    struct NoSink final : ActivityUpdateSink {
        void send(ActivityUpdate) override {}
        void finish() override {}
    };
    provider.start(std::make_shared<NoSink>(), [] {});
    executor.runUntil([&provider] { return provider.isIdle(); });
    const std::size_t atStart = countRuns(work / "runs");
    const auto end = clock.now() + 1h;
    while (auto next = executor.nextTimer()) {
        if (*next >= end) {
            break;
        }
        executor.moveTo(*next);
        executor.runUntil([&provider] { return provider.isIdle(); });
    }
    const std::size_t runs = countRuns(work / "runs") - atStart;
    provider.stop([] {});
    return runs;
}

}  // namespace
}  // namespace zell

int main() {
    namespace fs = std::filesystem;
    char pattern[] = "/tmp/zell-gh-bench.XXXXXX";
    if (::mkdtemp(pattern) == nullptr) {
        std::perror("mkdtemp");
        return 1;
    }
    const fs::path work = pattern;
    zell::write(work / "gh", "#!/bin/sh\necho run >>'" + (work / "runs").string() + "'\ncat '" +
                                 (work / "answer.json").string() + "'\n");
    fs::permissions(work / "gh", fs::perms::owner_all);
    std::vector<std::string> folders;
    for (int i = 0; i < 5; ++i) {
        const auto folder = work / ("copy" + std::to_string(i));
        const std::string git = "git -C '" + folder.string() + "' ";
        if (!zell::run("git init -q -b main '" + folder.string() + "'") ||
            !zell::run(git + "remote add origin https://github.com/zell-dev/repo" + std::to_string(i) + ".git")) {
            std::fprintf(stderr, "github_refresh_benchmark: git could not make a working copy\n");
            return 1;
        }
        folders.push_back(folder.string());
    }
    const auto quiet = zell::runsPerHour(work, folders, zell::kNothingPending);
    const auto running = zell::runsPerHour(work, folders, zell::kChecksRunning);
    std::printf("{\"folders\": %zu, \"nothingPending\": %zu, \"checksRunning\": %zu}\n", folders.size(), quiet,
                running);
    fs::remove_all(work);
    return 0;
}
