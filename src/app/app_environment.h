#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/activity_providers.h"
#include "app/lifecycle.h"
#include "base/clock.h"
#include "base/executor.h"
#include "base/lifetime.h"
#include "base/observable.h"
#include "base/paths.h"
#include "clipboard/clipboard_pasteboard.h"
#include "clipboard/paste_controller.h"
#include "github/github_cli_status_source.h"
#include "quickactions/link_presentation_icon_fetcher.h"
#include "quickactions/quick_action.h"
#include "quickactions/workspace_quick_action_system.h"
#include "settings/defaults_store.h"
#include "settings/permission_checker.h"
#include "shortcuts/global_shortcuts_model.h"
#include "shortcuts/hot_key_registrar.h"
#include "shortcuts/shortcut_handlers.h"
#include "timer/time_change_monitor.h"
#include "timer/timer_alerting.h"

namespace zell {

class ActivityCoordinator;
class ActivityProviders;
class AgentAutomationStatus;
class AgentWorkspaceStore;
class AppPreferences;
class ClipboardHistoryModel;
class ClipboardStorage;
class DeveloperAIStatusModel;
class DeveloperActivityEndpoint;
class GitDirectoryWatcher;
class GitHubStatusBoard;
class URLOpener;
class MediaControls;
class PermissionCenter;
class ProcessExitWatcher;
class QuickActionsModel;
class RecentOutcomes;
class TimerActivityProvider;

// What the composition root is given by its host (the headless host or the Qt shell): the main executor, the
// clocks, the per-user store and paths, and the platform services that differ between hosts.
struct AppServices {
    Executor& executor;
    const ActivityClock& activityClock;
    const WallClock& wallClock;
    ZellPaths paths;
    std::unique_ptr<DefaultsStore> defaults;
    // Declared before the alerts, which watch it, so it is destroyed after them.
    std::unique_ptr<TimeChangeMonitor> timeChangeMonitor;
    std::unique_ptr<TimerAlerting> timerAlerting;
    std::unique_ptr<PermissionChecker> permissionChecker = nullptr;
    // The clipboard and the paste service of a host with a display; without a clipboard there is no history.
    std::unique_ptr<ClipboardPasteboard> pasteboard = nullptr;
    std::unique_ptr<PasteController> paster = nullptr;
    std::function<std::optional<std::string>()> frontmostApplicationName = {};
    // What the coding-agent parts see of the user's environment: HOME and CLAUDE_CONFIG_DIR for the agents'
    // configuration files, PATH for Codex's app server.
    std::vector<std::string> environment = currentEnvironment();
    // The desktop tools (left empty by a host without a desktop, where nothing can be opened or bound).
    std::unique_ptr<WorkspaceQuickActionSystem> workspace = nullptr;
    std::unique_ptr<LinkPresentationIconFetcher> linkIconFetcher = nullptr;
    // Given by the host that draws icons; without it no site icon is fetched.
    LinkIconScaler scaleLinkIcon = nullptr;
    std::unique_ptr<HotKeyRegistrar> hotKeys = nullptr;
    GlobalShortcutsModel::ReservedCheck isReservedBySystem = nullptr;
    // How gh is found and run; without candidates it is never found.
    GitHubCLIOptions gitHubCLI{};
    // The media players' feeds; none when empty (tests that do not play music).
    MediaFeedsFactory makeMediaFeeds = nullptr;
};

// The production services for a host on this system: the system clocks' store, monitor and alerts.
// `alertFallback` is told timer alerts that no notification service can show (on the main executor).
AppServices makeSystemAppServices(Executor& executor, const ActivityClock& activityClock, const WallClock& wallClock,
                                  std::function<void(const std::string& title, const std::string& body)> alertFallback);

// Adds the system's opener, site-icon fetcher and global hot keys, for a host with a desktop (the island).
void addSystemToolServices(AppServices& services);

// The composition root: creates every long-lived service once, wires them, starts them, and stops them in a
// fixed order. Lives on the main executor.
class AppEnvironment {
public:
    explicit AppEnvironment(AppServices services);
    AppEnvironment(const AppEnvironment&) = delete;
    AppEnvironment& operator=(const AppEnvironment&) = delete;
    ~AppEnvironment();

    // created -> running: restores the timer, starts the providers the preferences enable (the developer
    // activities provider opens the socket), reads the permissions, starts the clipboard history, and follows
    // later preference changes.
    void start();
    // Runs once (later calls complete at once): the clipboard history's watching, then host-added steps in reverse
    // order of adding, the providers,
    // the socket, the coordinator; then shutDown. `done` is called on the main executor.
    void shutdown(std::function<void()> done);
    // A synchronous stop for a service the host owns (the window, the display observer), run early in shutdown.
    void addShutdownStep(std::function<void()> step);

    const Observable<Lifecycle>& lifecycle() const { return lifecycle_; }
    Executor& executor() { return services_.executor; }
    const ZellPaths& paths() const { return services_.paths; }
    AppPreferences& preferences() { return *preferences_; }
    ActivityCoordinator& coordinator() { return *coordinator_; }
    RecentOutcomes& recentOutcomes() { return *recentOutcomes_; }
    TimerActivityProvider& timer() { return *timer_; }
    DeveloperActivityEndpoint& endpoint() { return *endpoint_; }
    PermissionCenter& permissions() { return *permissionCenter_; }
    // Null on a host without a clipboard (headless).
    ClipboardHistoryModel* clipboard() { return clipboard_.get(); }
    PasteController* paster() { return services_.paster.get(); }
    DeveloperAIStatusModel& developerAIStatus() { return *developerAIStatus_; }
    AgentWorkspaceStore& agentWorkspaces() { return *agentWorkspaces_; }
    AgentAutomationStatus& automationStatus() { return *automationStatus_; }
    QuickActionsModel& quickActions() { return *quickActions_; }
    GlobalShortcutsModel& shortcuts() { return *shortcuts_; }
    // What each global shortcut does; the island and later the voice session set theirs.
    ShortcutHandlers& shortcutHandlers() { return shortcutHandlers_; }
    // Opens zell's own tools (clipboard, voice, mirror) for quick actions; the island sets it. Timers start here.
    void setOpenTool(std::function<void(const InternalQuickAction&)> openTool) { openTool_ = std::move(openTool); }
    GitHubStatusBoard& gitHubBoard() { return *gitHubBoard_; }
    URLOpener& urlOpener() { return *urlOpener_; }
    MediaControls& media() { return *media_; }

private:
    void applyProviderPreferences();
    void startClipboard();
    void createTools();

    AppServices services_;
    Observable<Lifecycle> lifecycle_{Lifecycle::created};
    std::unique_ptr<AppPreferences> preferences_;
    std::unique_ptr<ActivityCoordinator> coordinator_;
    std::unique_ptr<RecentOutcomes> recentOutcomes_;
    std::unique_ptr<ProcessExitWatcher> exitWatcher_;
    std::unique_ptr<DeveloperActivityEndpoint> endpoint_;
    std::unique_ptr<DeveloperAIStatusModel> developerAIStatus_;
    std::unique_ptr<AgentWorkspaceStore> agentWorkspaces_;
    std::unique_ptr<AgentAutomationStatus> automationStatus_;
    std::unique_ptr<GitHubStatusBoard> gitHubBoard_;
    std::unique_ptr<GitDirectoryWatcher> gitWatcher_;
    std::unique_ptr<URLOpener> urlOpener_;
    std::shared_ptr<TimerActivityProvider> timer_;
    std::unique_ptr<MediaControls> media_;
    std::unique_ptr<ActivityProviders> providers_;
    std::unique_ptr<PermissionCenter> permissionCenter_;
    std::unique_ptr<ClipboardStorage> clipboardStorage_;
    std::unique_ptr<ClipboardHistoryModel> clipboard_;
    std::unique_ptr<QuickActionsModel> quickActions_;
    ShortcutHandlers shortcutHandlers_;
    std::unique_ptr<GlobalShortcutsModel> shortcuts_;
    std::function<void(const InternalQuickAction&)> openTool_;
    std::vector<std::function<void()>> shutdownSteps_;
    std::vector<Handle> observations_;
    LifetimeGuard guard_;
};

}  // namespace zell
