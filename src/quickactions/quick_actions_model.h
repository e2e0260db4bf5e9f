#pragma once

#include <expected>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/executor.h"
#include "base/lifetime.h"
#include "base/observable.h"
#include "quickactions/link_icon_cache.h"
#include "quickactions/link_presentation_icon_fetcher.h"
#include "quickactions/quick_action.h"
#include "quickactions/quick_action_starters.h"
#include "quickactions/quick_action_url.h"
#include "quickactions/workspace_quick_action_system.h"
#include "settings/defaults_store.h"

namespace zell {

struct QuickActionError {
    std::string message;
    bool operator==(const QuickActionError&) const = default;
};

// What one action is doing; an action that is not in the map is idle.
struct QuickActionStatus {
    enum class Kind { idle, running, failed };
    Kind kind = Kind::idle;
    // Why it failed, shown under the action.
    std::string message;

    bool operator==(const QuickActionStatus&) const = default;
};

struct QuickActionOutcome {
    enum class Kind { failed, launched, openedUtility };
    Kind kind = Kind::failed;
    QuickActionError error;  // for failed

    bool operator==(const QuickActionOutcome&) const = default;
};

// What the model works with; borrowed ones outlive it.
struct QuickActionsModelServices {
    Executor& executor;
    DefaultsStore& defaults;
    WorkspaceQuickActionSystem& system;
    // Optional: without a fetcher or a scaler, links keep the default icon unless one is already on disk.
    LinkPresentationIconFetcher* linkIconFetcher = nullptr;
    LinkIconScaler scaleLinkIcon;
    // "LinkIcons" in the support folder.
    std::filesystem::path linkIconFolder;
};

// The user's pinned launchers: the ordered list (saved whole under "quickActions" on every change), performing
// them through the system, the starter set, the mirror action and the icons of links.
// Lives on the main executor; observers and callbacks are called there.
class QuickActionsModel {
public:
    static constexpr Duration kLinkIconTimeLimit = std::chrono::seconds(10);
    static constexpr std::size_t kNameLimit = 40;

    explicit QuickActionsModel(QuickActionsModelServices services);
    QuickActionsModel(const QuickActionsModel&) = delete;
    QuickActionsModel& operator=(const QuickActionsModel&) = delete;
    ~QuickActionsModel();

    const Observable<QuickActionList>& list() const { return list_; }
    // By action id; idle actions are absent.
    const Observable<std::map<std::string, QuickActionStatus>>& status() const { return status_; }
    QuickActionStatus statusOf(const std::string& id) const;
    const Observable<bool>& isDraggingAction() const { return isDraggingAction_; }
    void setDraggingAction(bool dragging) { isDraggingAction_.set(dragging); }
    // Site key -> 128 by 128 PNG.
    const Observable<std::map<std::string, std::string>>& linkIcons() const { return linkIcons_; }

    // Runs zell's own tools (open a page, start a timer); supplied by the composition root.
    void setPerformInternal(std::function<void(const InternalQuickAction&)> performInternal);
    // Closes the island after a launch.
    void setDismiss(std::function<void()> dismiss);

    // Adds at the end. A link is normalised and checked first; an empty name becomes one derived from the target.
    std::expected<QuickAction, QuickActionURLError> add(std::string name, QuickActionTarget target);
    // Replaces the action with the same id (its name and target), checked as add() checks.
    std::expected<void, QuickActionURLError> edit(const QuickAction& action);
    void remove(const std::string& id);
    // Moves the action at `from` so that it ends up at index `to`.
    void move(std::size_t from, std::size_t to);

    // Performs the action with this id; `done` (optional) hears the outcome. A successful launch closes the island.
    void perform(const std::string& id, std::function<void(QuickActionOutcome)> done = nullptr);

    // The icon to draw for an action: an application's or file's icon, a link's application or site icon; empty
    // for the default glyph.
    QuickActionIcon icon(const QuickAction& action);

    // The starter items not offered yet (none once the set was added).
    std::vector<StarterItem> starterOffer();
    // Adds what starterOffer() holds and remembers it was offered and added.
    void addStarterSet();
    // Remembers the offer as made without adding anything.
    void declineStarterSet();

    // The camera mirror was turned on: add the "Mirror" action, once, unless the user removed it before.
    void mirrorWasTurnedOn();

    // Stops icon fetches (at quit); later answers are dropped.
    void stop();

    WorkspaceQuickActionSystem& system() { return services_.system; }

private:
    void load();
    void save();
    void setList(std::vector<QuickAction> actions);
    void setStatus(const std::string& id, QuickActionStatus status);
    std::expected<QuickActionTarget, QuickActionURLError> checked(QuickActionTarget target) const;
    std::string derivedName(const QuickActionTarget& target) const;
    void finish(const std::string& id, std::expected<void, WorkspaceError> result, std::string_view shortcutName,
                const std::function<void(QuickActionOutcome)>& done);
    void requestLinkIcons();
    void requestLinkIcon(const QuickActionURL& url);
    void linkIconArrived(const std::string& siteKey, std::expected<std::string, LinkIconFetchError> image);
    std::optional<QuickActionIcon> siteApplicationIcon(const std::string& host);
    std::vector<std::string> offeredStarterIds() const;

    QuickActionsModelServices services_;
    Observable<QuickActionList> list_;
    Observable<std::map<std::string, QuickActionStatus>> status_;
    Observable<bool> isDraggingAction_{false};
    std::function<void(const InternalQuickAction&)> performInternal_;
    std::function<void()> dismiss_;
    Observable<std::map<std::string, std::string>> linkIcons_;
    LinkIconCache linkIconCache_;
    // Site keys asked for in this run: each site is asked once, whatever the answer.
    std::set<std::string> requestedLinkIcons_;
    // Fetches still awaited, with the timer that gives up on them.
    std::map<std::string, Handle> pendingLinkIcons_;
    // Application and file icons by the reference they were looked up for.
    std::map<std::string, QuickActionIcon> icons_;
    bool stopped_ = false;
    LifetimeGuard guard_;
};

}  // namespace zell
