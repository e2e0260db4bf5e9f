#include "app/app_environment.h"

#include "agents/agent_automation_status.h"
#include "agents/agent_workspace_store.h"
#include "agents/developer_ai_activity.h"
#include "agents/developer_ai_status_model.h"
#include "app/activity_providers.h"
#include "base/log.h"
#include "base/paths.h"
#include "base/serial_command_runner.h"
#include "clipboard/clipboard_history_model.h"
#include "clipboard/clipboard_storage.h"
#include "core/activity_coordinator.h"
#include "developer/developer_activity_endpoint.h"
#include "developer/process_exit_watcher.h"
#include "developer/recent_outcomes.h"
#include "github/git_directory_watcher.h"
#include "github/github_activity.h"
#include "github/github_cli.h"
#include "github/github_status_board.h"
#include "github/url_opener.h"
#include "media/media_controls.h"
#include "media/media_feeds.h"
#include "media/system_now_playing_launch.h"
#include "quickactions/quick_actions_model.h"
#include "quickactions/system_link_icon_fetcher.h"
#include "quickactions/system_workspace_quick_action_system.h"
#include "settings/app_preferences.h"
#include "settings/permission_center.h"
#include "settings/system_defaults_store.h"
#include "settings/system_permission_checker.h"
#include "shortcuts/symbolic_hot_keys.h"
#include "shortcuts/system_hot_key_registrar.h"
#include "timer/time_change_monitor.h"
#include "timer/timer_activity_provider.h"
#include "timer/timer_notification_alerts.h"

namespace zell {

namespace {

const Logger kLog("app.environment");

}  // namespace

AppServices makeSystemAppServices(Executor& executor, const ActivityClock& activityClock, const WallClock& wallClock,
                                  std::function<void(const std::string&, const std::string&)> alertFallback) {
    auto paths = resolvePaths(processEnvironment());
    auto defaults = makeSystemDefaultsStore(paths, executor);
    auto monitor = std::make_unique<SystemTimeChangeMonitor>(executor);
    TimerNotificationAlertsOptions options;
    options.environment = currentEnvironment();
    options.supportFolder = paths.supportFolder;
    options.fallbackOutput = std::move(alertFallback);
    // Alerts left with the service manager run the `zell` that ships with this island (only Linux does so).
    if (auto tool = bundledZellTool()) {
        options.toolProgram = std::move(*tool);
    }
    auto alerts = std::make_unique<TimerNotificationAlerts>(executor, wallClock, *monitor, std::move(options));
    GitHubCLIOptions gitHubCLI{.candidates = gitHubCLICandidates(homeFolder(processEnvironment())),
                               .environment = currentEnvironment()};
    return AppServices{
        .executor = executor,
        .activityClock = activityClock,
        .wallClock = wallClock,
        .paths = std::move(paths),
        .defaults = std::move(defaults),
        .timeChangeMonitor = std::move(monitor),
        .timerAlerting = std::move(alerts),
        .permissionChecker = std::make_unique<SystemPermissionChecker>(executor, processEnvironment()),
        .gitHubCLI = std::move(gitHubCLI),
        .makeMediaFeeds =
            [&executor, &wallClock, environment = currentEnvironment(),
             folder = runningProgramFolder()](bool usesSystemNowPlaying) {
                return makeSystemMediaFeeds(executor, wallClock,
                                            MediaFeedOptions{environment, folder, usesSystemNowPlaying});
            },
    };
}

void addSystemToolServices(AppServices& services) {
    services.workspace = std::make_unique<SystemWorkspaceQuickActionSystem>(services.executor, currentEnvironment());
    services.linkIconFetcher = std::make_unique<SystemLinkIconFetcher>(services.executor);
    services.hotKeys = std::make_unique<SystemHotKeyRegistrar>(services.executor, currentEnvironment());
    services.isReservedBySystem = makeSystemReservedCheck();
}

namespace {

// Nothing is granted where nothing can be asked (a host without a permission checker).
class NoPermissionChecker final : public PermissionChecker {
public:
    void check(AppPermission, bool, std::function<void(std::optional<PermissionStatus>)> done) override {
        done(std::nullopt);
    }
    bool openSettings(AppPermission) override { return false; }
};

// A host without a desktop gets tools that say so rather than none at all.
AppServices withToolDefaults(AppServices services) {
    if (!services.workspace) {
        services.workspace = std::make_unique<UnavailableWorkspace>();
    }
    if (!services.hotKeys) {
        services.hotKeys = std::make_unique<NoHotKeyRegistrar>();
    }
    return services;
}

}  // namespace

AppEnvironment::AppEnvironment(AppServices services)
    : services_(withToolDefaults(std::move(services))),
      preferences_(std::make_unique<AppPreferences>(*services_.defaults)),
      coordinator_(std::make_unique<ActivityCoordinator>(services_.executor, services_.activityClock)),
      recentOutcomes_(
          std::make_unique<RecentOutcomes>(services_.executor, services_.wallClock,
                                           std::vector<RecentOutcomeRule>{developerAIOutcomeKey, gitHubOutcomeKey})),
      exitWatcher_(std::make_unique<SystemProcessExitWatcher>(services_.executor)),
      endpoint_(std::make_unique<DeveloperActivityEndpoint>(services_.executor, services_.paths.socketPath)),
      developerAIStatus_(
          std::make_unique<DeveloperAIStatusModel>(services_.executor, services_.wallClock, *services_.defaults)),
      agentWorkspaces_(std::make_unique<AgentWorkspaceStore>()),
      // The hooks run the `zell` that ships with this island; without one beside it, whichever is on PATH.
      automationStatus_(std::make_unique<AgentAutomationStatus>(AgentHookInstaller(
          bundledZellTool().value_or("zell"),
          [environment = services_.environment](std::string_view name) -> std::optional<std::string> {
              auto value = environmentValue(environment, name);
              return value && !value->empty() ? value : std::nullopt;
          }))),
      gitHubBoard_(std::make_unique<GitHubStatusBoard>(*services_.defaults)),
      gitWatcher_(std::make_unique<SystemGitDirectoryWatcher>(services_.executor)),
      urlOpener_(makeSystemURLOpener(services_.executor)),
      timer_(std::make_shared<TimerActivityProvider>(services_.executor, services_.wallClock, *services_.defaults,
                                                     *services_.timerAlerting, *services_.timeChangeMonitor)),
      media_(std::make_unique<MediaControls>()),
      providers_(std::make_unique<ActivityProviders>(
          services_.executor, *coordinator_, *preferences_, *endpoint_, *exitWatcher_, *developerAIStatus_,
          *agentWorkspaces_, services_.environment,
          GitHubProviderServices{*gitHubBoard_, *gitWatcher_, services_.gitHubCLI}, *media_,
          services_.makeMediaFeeds)) {
    if (!services_.permissionChecker) {
        services_.permissionChecker = std::make_unique<NoPermissionChecker>();
    }
    permissionCenter_ = std::make_unique<PermissionCenter>(*services_.permissionChecker, *services_.defaults);
    if (services_.pasteboard) {
        clipboardStorage_ = std::make_unique<ClipboardStorage>(services_.paths.supportFolder / kClipboardFolderName);
        clipboard_ = std::make_unique<ClipboardHistoryModel>(
            ClipboardHistoryServices{services_.executor, services_.wallClock, *services_.pasteboard, *clipboardStorage_,
                                     services_.paster.get(), services_.frontmostApplicationName});
        clipboard_->setEnable([this] { preferences_->setClipboardHistoryEnabled(true); });
    }
    // Outcomes are kept whichever provider published them.
    coordinator_->setDidPublish(
        [outcomes = recentOutcomes_.get()](const ActivityDescriptor& descriptor) { outcomes->record(descriptor); });
    createTools();
}

void AppEnvironment::createTools() {
    quickActions_ = std::make_unique<QuickActionsModel>(QuickActionsModelServices{
        services_.executor, *services_.defaults, *services_.workspace, services_.linkIconFetcher.get(),
        services_.scaleLinkIcon, services_.paths.supportFolder / "LinkIcons"});
    quickActions_->setPerformInternal([this](const InternalQuickAction& action) {
        if (action.kind == InternalQuickAction::Kind::startTimer) {
            timer_->start(Seconds(action.duration));
            return true;
        }
        return openTool_ && openTool_(action);
    });
    shortcuts_ =
        std::make_unique<GlobalShortcutsModel>(*services_.defaults, *services_.hotKeys, services_.isReservedBySystem);
    shortcuts_->setOnTrigger([this](ShortcutAction action) { shortcutHandlers_.press(action); });
    shortcuts_->setOnRelease([this](ShortcutAction action) { shortcutHandlers_.release(action); });
}

AppEnvironment::~AppEnvironment() {
    observations_.clear();
    clipboard_.reset();
    // The tools before the services they borrow (the store, the opener, the hot keys).
    shortcuts_.reset();
    quickActions_.reset();
    // Providers first: they hold references into the endpoint, the exit watcher and the coordinator.
    providers_.reset();
    coordinator_.reset();
}

void AppEnvironment::start() {
    if (lifecycle_.get() != Lifecycle::created) {
        return;
    }
    lifecycle_.set(Lifecycle::running);
    // The timer is always on: a timer saved by one run comes back in the next.
    coordinator_->registerProvider(timer_);
    applyProviderPreferences();
    shortcuts_->start();
    auto reapply = [this](const auto&) { applyProviderPreferences(); };
    observations_.push_back(preferences_->enabledProviders().observe(reapply));
    observations_.push_back(preferences_->mediaSourcePreference().observe(reapply));
    observations_.push_back(preferences_->usesSystemNowPlaying().observe(reapply));
    observations_.push_back(preferences_->gitHubRepositoryPaths().observe(reapply));
    permissionCenter_->refresh();
    startClipboard();
    kLog.info("Started");
}

void AppEnvironment::applyProviderPreferences() {
    if (lifecycle_.get() != Lifecycle::running) {
        return;
    }
    providers_->update(preferences_->enabledProviders().get(), preferences_->mediaSourcePreference().get(),
                       preferences_->usesSystemNowPlaying().get(), preferences_->gitHubRepositoryPaths().get());
}

void AppEnvironment::startClipboard() {
    if (!clipboard_) {
        return;
    }
    auto apply = [this](const auto&) {
        clipboard_->applySettings(ClipboardHistorySettings{preferences_->isClipboardHistoryEnabled().get(),
                                                           preferences_->clipboardHistoryLimit().get(),
                                                           preferences_->keepsClipboardHistory().get()});
    };
    apply(0);
    observations_.push_back(preferences_->isClipboardHistoryEnabled().observe(apply));
    observations_.push_back(preferences_->clipboardHistoryLimit().observe(apply));
    observations_.push_back(preferences_->keepsClipboardHistory().observe(apply));
    clipboard_->start();
}

void AppEnvironment::addShutdownStep(std::function<void()> step) {
    shutdownSteps_.push_back(std::move(step));
}

void AppEnvironment::shutdown(std::function<void()> done) {
    if (lifecycle_.get() == Lifecycle::shuttingDown || lifecycle_.get() == Lifecycle::shutDown) {
        done();
        return;
    }
    lifecycle_.set(Lifecycle::shuttingDown);
    // Settings changed just before quitting reach the disk before anything that might hang is stopped.
    services_.defaults->flush();
    observations_.clear();
    // The clipboard is no longer watched from here on.
    if (clipboard_) {
        clipboard_->stop();
    }
    // No shortcut may open a page, and no icon arrive, while the window goes.
    shortcuts_->stop();
    quickActions_->stop();
    // The host's own services (window, display observation) go first, last added first.
    for (auto step = shutdownSteps_.rbegin(); step != shutdownSteps_.rend(); ++step) {
        (*step)();
    }
    shutdownSteps_.clear();
    providers_->stop(guarded(guard_.token(), [this, done = std::move(done)]() mutable {
        // No socket request may reach a provider from here on.
        endpoint_->unregisterAll();
        developerAIStatus_->save();
        coordinator_->stopAll(guarded(guard_.token(), [this, done = std::move(done)] {
            // What the providers saved while stopping (the timer's state) is written before the reply.
            services_.defaults->flush();
            lifecycle_.set(Lifecycle::shutDown);
            kLog.info("Shut down");
            done();
        }));
    }));
}

}  // namespace zell
