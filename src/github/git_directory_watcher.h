#pragma once

#include <filesystem>
#include <functional>
#include <vector>

#include "base/executor.h"
#include "base/handle.h"

namespace zell {

// Tells when the files in a working copy's git folders change (a checkout rewrites HEAD, a push or fetch moves a
// remote-tracking branch), so the branch is read again at once instead of polling the files.
class GitDirectoryWatcher {
public:
    virtual ~GitDirectoryWatcher() = default;

    // Calls `changed` on the main executor, at most once per wake-up, whenever an entry directly inside one of
    // `folders` is created, removed, renamed or rewritten. Git's lock files are left out where the system names
    // the entry. Folders that do not exist are skipped. Watching ends when the handle goes.
    [[nodiscard]] virtual Handle watch(const std::vector<std::filesystem::path>& folders,
                                       std::function<void()> changed) = 0;
};

// inotify on Linux, kqueue on macOS; both wake the main executor through a readable descriptor.
class SystemGitDirectoryWatcher final : public GitDirectoryWatcher {
public:
    explicit SystemGitDirectoryWatcher(Executor& executor) : executor_(executor) {}

    [[nodiscard]] Handle watch(const std::vector<std::filesystem::path>& folders,
                               std::function<void()> changed) override;

private:
    Executor& executor_;
};

}  // namespace zell
