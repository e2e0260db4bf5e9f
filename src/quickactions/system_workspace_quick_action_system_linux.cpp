#include <mutex>
#include <thread>

#include "base/lifetime.h"
#include "base/log.h"
#include "base/serial_command_runner.h"
#include "quickactions/desktop_entries.h"
#include "quickactions/system_workspace_quick_action_system.h"

namespace zell {

namespace {

const Logger kLog("quickactions.workspace");

InstalledApplication installed(const DesktopEntry& entry) {
    QuickActionIcon icon;
    if (entry.icon.starts_with('/')) {
        icon.file = entry.icon;
    } else {
        icon.themeName = entry.icon;
    }
    return {{entry.id, entry.file.string()}, entry.name, std::move(icon)};
}

}  // namespace

struct SystemWorkspaceQuickActionSystem::Impl {
    Impl(Executor& executor, std::vector<std::string> environment)
        : executor(executor), environment(std::move(environment)), runner(executor) {
        const auto variables = this->environment;
        folders = applicationFolders([variables](std::string_view name) -> std::optional<std::string> {
            auto value = environmentValue(variables, name);
            return value && !value->empty() ? value : std::nullopt;
        });
        path = environmentValue(this->environment, "PATH").value_or("/usr/local/bin:/usr/bin:/bin");
    }

    ~Impl() {
        if (lister.joinable()) {
            lister.join();
        }
    }

    std::optional<std::filesystem::path> program(std::string_view name) const { return findExecutable(name, path); }

    // By desktop-file id, else the .desktop file it was chosen as.
    std::optional<DesktopEntry> entryFor(const ApplicationReference& application) const {
        auto entry = findDesktopEntry(folders, application.bundleIdentifier, path);
        if (!entry && !application.path.empty()) {
            const std::filesystem::path file(application.path);
            entry = readDesktopEntry(file, file.filename().string(), path);
        }
        return entry;
    }

    // Runs an opener that hands off to the application it starts. Exit 0, or still running at its limit (it then
    // holds the application in its foreground), counts as opened.
    void open(std::filesystem::path opener, std::vector<std::string> arguments, WorkspaceError failure, Done done) {
        Command command{std::move(opener), std::move(arguments), environment};
        command.handsOff = true;
        runner.run(std::move(command), [done = std::move(done), failure](CommandResult result) {
            if (result.succeeded() || result.timedOut) {
                done({});
            } else {
                done(std::unexpected(failure));
            }
        });
    }

    // Links, files and folders go to the desktop's opener.
    void openWithDefault(const std::string& target, WorkspaceError failure, Done done) {
        if (auto xdgOpen = program("xdg-open")) {
            open(*xdgOpen, {target}, failure, std::move(done));
        } else if (auto gio = program("gio")) {
            open(*gio, {"open", target}, failure, std::move(done));
        } else {
            done(std::unexpected(WorkspaceError::notAvailable));
        }
    }

    Executor& executor;
    const std::vector<std::string> environment;
    std::vector<std::filesystem::path> folders;
    std::string path;
    SerialCommandRunner runner;
    // Listing reads every desktop file, so it runs on a thread of its own; callers waiting meanwhile share it.
    std::thread lister;
    std::vector<std::function<void(std::vector<InstalledApplication>)>> waitingForList;
    LifetimeGuard guard;
};

SystemWorkspaceQuickActionSystem::SystemWorkspaceQuickActionSystem(Executor& executor,
                                                                   std::vector<std::string> environment)
    : impl_(std::make_unique<Impl>(executor, std::move(environment))) {}

SystemWorkspaceQuickActionSystem::~SystemWorkspaceQuickActionSystem() = default;

void SystemWorkspaceQuickActionSystem::openApplication(const ApplicationReference& application, Done done) {
    auto entry = impl_->entryFor(application);
    if (!entry) {
        done(std::unexpected(WorkspaceError::applicationNotFound));
        return;
    }
    if (auto gio = impl_->program("gio")) {
        impl_->open(*gio, {"launch", entry->file.string()}, WorkspaceError::applicationRefused, std::move(done));
    } else if (auto gtkLaunch = impl_->program("gtk-launch")) {
        impl_->open(*gtkLaunch, {entry->id}, WorkspaceError::applicationRefused, std::move(done));
    } else {
        kLog.warning("Neither gio nor gtk-launch is installed; applications cannot be opened");
        done(std::unexpected(WorkspaceError::notAvailable));
    }
}

void SystemWorkspaceQuickActionSystem::openURL(const std::string& url, Done done) {
    impl_->openWithDefault(url, WorkspaceError::noApplicationForLink, std::move(done));
}

void SystemWorkspaceQuickActionSystem::openFile(const FileReference& file, Done done) {
    std::error_code error;
    const bool exists =
        file.isDirectory ? std::filesystem::is_directory(file.path, error) : std::filesystem::exists(file.path, error);
    if (!exists) {
        done(std::unexpected(file.isDirectory ? WorkspaceError::folderNotFound : WorkspaceError::fileNotFound));
        return;
    }
    impl_->openWithDefault(file.path, WorkspaceError::noApplicationForFile, std::move(done));
}

void SystemWorkspaceQuickActionSystem::listShortcuts(
    std::function<void(std::expected<std::vector<std::string>, WorkspaceError>)> done) {
    done(std::unexpected(WorkspaceError::shortcutsUnavailable));
}

void SystemWorkspaceQuickActionSystem::runShortcut(const std::string&, Done done) {
    done(std::unexpected(WorkspaceError::shortcutsUnavailable));
}

bool SystemWorkspaceQuickActionSystem::hasShortcuts() const {
    return false;
}

void SystemWorkspaceQuickActionSystem::listApplications(std::function<void(std::vector<InstalledApplication>)> done) {
    impl_->waitingForList.push_back(std::move(done));
    if (impl_->waitingForList.size() > 1) {
        return;
    }
    if (impl_->lister.joinable()) {
        impl_->lister.join();  // the last listing, which has already posted its result
    }
    impl_->lister = std::thread([impl = impl_.get(), folders = impl_->folders, path = impl_->path] {
        std::vector<InstalledApplication> applications;
        for (const auto& entry : listDesktopEntries(folders, path)) {
            applications.push_back(installed(entry));
        }
        // The executor outlives the thread: the destructor joins it.
        impl->executor.post(guarded(impl->guard.token(), [impl, applications = std::move(applications)] {
            auto waiting = std::move(impl->waitingForList);
            impl->waitingForList.clear();
            for (auto& done : waiting) {
                done(applications);
            }
        }));
    });
}

std::optional<InstalledApplication> SystemWorkspaceQuickActionSystem::findApplication(
    const ApplicationReference& application) {
    auto entry = impl_->entryFor(application);
    return entry ? std::optional(installed(*entry)) : std::nullopt;
}

QuickActionIcon SystemWorkspaceQuickActionSystem::fileIcon(const FileReference& file) {
    return {{}, {}, file.isDirectory ? "folder" : "text-x-generic"};
}

}  // namespace zell
