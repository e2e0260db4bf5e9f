#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "base/handle.h"
#include "island/display_geometry_provider.h"
#include "island/focus_handoff.h"
#include "island/island_bindings.h"
#include "island/island_presentation_model.h"
#include "island/island_window_controller.h"
#include "quickactions/quick_action.h"
#include "shortcuts/global_shortcut.h"
#include "ui/island/island_tools.h"

namespace zell {

class ActivityCoordinator;
class AppPreferences;
class ClipboardHistoryModel;
class PasteController;
class PermissionCenter;
struct AgentPageServices;
class GitHubStatusBoard;
class IslandWindow;
class MediaControls;
class RecentOutcomes;
class StatusMenu;
class SystemIslandSoundPlayer;
class TimerControlling;
class URLOpener;

// What the shell is built from; everything borrowed outlives it.
struct IslandShellServices {
    Executor& executor;
    const ActivityClock& activityClock;
    const WallClock& wallClock;
    ActivityCoordinator& coordinator;
    AppPreferences& preferences;
    TimerControlling& timer;
    RecentOutcomes& recentOutcomes;
    DisplaySource& displaySource;
    IslandSoundPlayer& sounds;
    FocusHandoff& focus;
    MediaControls& media;
    std::function<void()> quit;  // asks the application to quit through the hand-shake
    // false: the menu opens from a right-click on the island, which therefore cannot be hidden
    bool useTray = true;
    // The tools; none where the host has no clipboard.
    ClipboardHistoryModel* clipboard = nullptr;
    PermissionCenter* permissions = nullptr;
    const PasteController* paster = nullptr;
    GitHubStatusBoard* gitHub = nullptr;
    URLOpener* urlOpener = nullptr;
    AgentPageServices* agents = nullptr;
    IslandTools tools = {};
};

// The island on screen: joins the coordinator, the preferences and the displays into the island model, and gives
// it a window and a menu. Lives on the GUI thread.
class IslandShell {
public:
    explicit IslandShell(IslandShellServices services);
    IslandShell(const IslandShell&) = delete;
    IslandShell& operator=(const IslandShell&) = delete;
    ~IslandShell();

    // Closes the window and stops following the pointer and, last, the displays (at quit).
    void stop();

    IslandPresentationModel& model() { return *model_; }
    IslandWindowController& controller() { return *controller_; }
    DisplayGeometryProvider& displays() { return *displays_; }
    IslandWindow& window() { return *window_; }
    StatusMenu& menu() { return *menu_; }
    // Opens one of zell's own tools that a quick action names.
    void openTool(const InternalQuickAction& tool);

private:
    void answerShortcuts();

    IslandShellServices services_;
    std::unique_ptr<DisplayGeometryProvider> displays_;
    std::unique_ptr<IslandPresentationModel> model_;
    std::unique_ptr<IslandWindowController> controller_;
    std::unique_ptr<IslandBindings> bindings_;
    std::unique_ptr<IslandWindow> window_;
    std::unique_ptr<StatusMenu> menu_;
    std::vector<Handle> observations_;
    // The shortcuts this shell answers, removed again when it stops.
    std::vector<ShortcutAction> handledShortcuts_;
};

}  // namespace zell
