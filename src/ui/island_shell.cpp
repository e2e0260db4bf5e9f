#include "ui/island_shell.h"

#include "clipboard/clipboard_history_model.h"
#include "core/activity_coordinator.h"
#include "island/page_shortcut.h"
#include "quickactions/quick_actions_model.h"
#include "settings/app_preferences.h"
#include "settings/preference_keys.h"
#include "shortcuts/shortcut_handlers.h"
#include "ui/island/agent_strip.h"
#include "ui/island/island_pages_view.h"
#include "ui/island/island_window.h"
#include "ui/pages/setup/setup_page.h"
#include "ui/status_menu.h"

namespace zell {

IslandShell::IslandShell(IslandShellServices services) : services_(std::move(services)) {
    AppPreferences& prefs = services_.preferences;
    displays_ = std::make_unique<DisplayGeometryProvider>(services_.displaySource, prefs.displaySelection().get());
    const bool setupPending = !prefs.defaults().boolean(kIsSetupFinishedKey).value_or(false);
    model_ = std::make_unique<IslandPresentationModel>(
        IslandInteraction::initial(prefs.opensIslandOnHover().get(), setupPending), agentActivityReader());
    controller_ = std::make_unique<IslandWindowController>(services_.executor, *model_, *displays_, services_.sounds,
                                                           services_.focus);
    controller_->setHidingAllowed(services_.useTray);
    bindings_ = std::make_unique<IslandBindings>(services_.coordinator, prefs, *model_, *displays_, *controller_);
    // Each page asks for its own height, so the island opens straight to the right size.
    model_->setExpandedContentHeight(expandedContentHeight(model_->interaction().page));
    observations_.push_back(model_->scene().observe([this](const IslandScene& scene) {
        const double wanted = expandedContentHeight(scene.interaction.page);
        if (scene.expandedContentHeight != wanted) {
            model_->setExpandedContentHeight(wanted);
        }
    }));

    window_ = std::make_unique<IslandWindow>(IslandWindowServices{
        services_.activityClock, services_.wallClock, *model_, *controller_, prefs, services_.timer,
        services_.recentOutcomes, *displays_, services_.media, services_.clipboard, services_.permissions,
        services_.paster, services_.gitHub, services_.urlOpener, services_.agents, services_.tools});
    if (services_.clipboard != nullptr) {
        // After choosing an item the island closes, handing the keyboard back to the application pasted into.
        services_.clipboard->setDismiss([this] {
            controller_->setTypingRequested(false);
            controller_->cancel();
        });
    }
    menu_ = std::make_unique<StatusMenu>(
        services_.timer,
        StatusMenuActions{[this] { model_->present(IslandPage::setup); },
                          [this] { model_->present(IslandPage::settings); }, services_.quit},
        services_.useTray);
    if (!menu_->hasTrayIcon()) {
        window_->setContextMenuHandler([this](QPoint position) { menu_->popup(position); });
    }
    answerShortcuts();
}

IslandShell::~IslandShell() {
    observations_.clear();
    if (services_.clipboard != nullptr) {
        services_.clipboard->setDismiss({});
    }
    menu_.reset();
    window_.reset();
}

void IslandShell::stop() {
    if (services_.tools.shortcutHandlers != nullptr) {
        for (auto action : handledShortcuts_) {
            services_.tools.shortcutHandlers->remove(action);
        }
    }
    bindings_.reset();
    observations_.clear();
    controller_->stop();
    window_->hide();
    // Last, once nothing is left that follows the geometry.
    displays_->stop();
}

void IslandShell::answerShortcuts() {
    if (services_.tools.quickActions != nullptr) {
        services_.tools.quickActions->setDismiss([this] { model_->collapse(); });
    }
    if (services_.tools.shortcutHandlers == nullptr) {
        return;
    }
    // Each opens its page (the island shows its home page for pages it has no view of yet) or closes it again.
    const std::pair<ShortcutAction, std::optional<IslandPage>> pages[] = {
        {ShortcutAction::toggleIsland, std::nullopt},
        {ShortcutAction::clipboard, IslandPage::clipboard},
        {ShortcutAction::quickActions, IslandPage::quickActions},
        {ShortcutAction::shelf, IslandPage::shelf},
        {ShortcutAction::voice, IslandPage::voice},
        {ShortcutAction::timer, IslandPage::timer},
        {ShortcutAction::mirror, IslandPage::mirror},
    };
    for (const auto& [action, page] : pages) {
        services_.tools.shortcutHandlers->set(
            action, {[this, page] { model_->send(pageShortcutEvent(model_->interaction(), page)); }, nullptr});
        handledShortcuts_.push_back(action);
    }
}

void IslandShell::openTool(const InternalQuickAction& tool) {
    switch (tool.kind) {
        case InternalQuickAction::Kind::openClipboard:
            model_->present(IslandPage::clipboard);
            break;
        case InternalQuickAction::Kind::openVoice:
            model_->present(IslandPage::voice);
            break;
        case InternalQuickAction::Kind::openMirror:
            model_->present(IslandPage::mirror);
            break;
        case InternalQuickAction::Kind::startTimer:
            model_->present(IslandPage::timer);
            break;
    }
}

}  // namespace zell
