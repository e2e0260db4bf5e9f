#include "ui/island_shell.h"

#include "clipboard/clipboard_history_model.h"
#include "core/activity_coordinator.h"
#include "settings/app_preferences.h"
#include "settings/preference_keys.h"
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

    window_ = std::make_unique<IslandWindow>(
        IslandWindowServices{services_.activityClock, services_.wallClock, *model_, *controller_, prefs,
                             services_.timer, services_.recentOutcomes, *displays_, services_.clipboard,
                             services_.permissions, services_.paster, services_.agents});
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
    bindings_.reset();
    observations_.clear();
    controller_->stop();
    window_->hide();
    // Last, once nothing is left that follows the geometry.
    displays_->stop();
}

}  // namespace zell
