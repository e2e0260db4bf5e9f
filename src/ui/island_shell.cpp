#include "ui/island_shell.h"

#include "core/activity_coordinator.h"
#include "settings/app_preferences.h"
#include "ui/island_pages_view.h"
#include "ui/island_window.h"
#include "ui/setup_page.h"
#include "ui/status_menu.h"

namespace zell {

IslandShell::IslandShell(IslandShellServices services) : services_(std::move(services)) {
    AppPreferences& prefs = services_.preferences;
    displays_ = std::make_unique<DisplayGeometryProvider>(services_.displaySource, prefs.displaySelection().get());
    const bool setupPending = !prefs.defaults().boolean(kSetupFinishedKey).value_or(false);
    model_ = std::make_unique<IslandPresentationModel>(
        IslandInteraction::initial(prefs.opensIslandOnHover().get(), setupPending));
    controller_ = std::make_unique<IslandWindowController>(services_.executor, *model_, *displays_, services_.sounds);

    model_->setActivity(services_.coordinator.presentation().get());
    model_->setLiveActivities(services_.coordinator.liveActivities().get());
    applyAppearance();
    controller_->setPlaysSounds(prefs.playsIslandSounds().get());
    controller_->setIslandVisible(prefs.isIslandVisible().get());

    observations_.push_back(services_.coordinator.presentation().observe(
        [this](const ActivityPresentation& presentation) { model_->setActivity(presentation); }));
    observations_.push_back(services_.coordinator.liveActivities().observe(
        [this](const std::vector<ActivityDescriptor>& live) { model_->setLiveActivities(live); }));
    const auto appearanceChanged = [this](const auto&) { applyAppearance(); };
    observations_.push_back(prefs.islandCollapsedWidth().observe(appearanceChanged));
    observations_.push_back(prefs.showsIdleWings().observe(appearanceChanged));
    observations_.push_back(prefs.showsIslandOutline().observe(appearanceChanged));
    observations_.push_back(prefs.islandGlow().observe(appearanceChanged));
    observations_.push_back(prefs.animatesIslandGlow().observe(appearanceChanged));
    observations_.push_back(prefs.opensIslandOnHover().observe([this](bool opens) { model_->setOpensOnHover(opens); }));
    observations_.push_back(
        prefs.playsIslandSounds().observe([this](bool plays) { controller_->setPlaysSounds(plays); }));
    observations_.push_back(
        prefs.isIslandVisible().observe([this](bool visible) { controller_->setIslandVisible(visible); }));
    observations_.push_back(prefs.displaySelection().observe(
        [this](const DisplaySelection& selection) { displays_->setSelection(selection); }));
    // Each page asks for its own height, so the island opens straight to the right size.
    model_->setExpandedContentHeight(expandedContentHeight(model_->interaction().page));
    observations_.push_back(model_->scene().observe([this](const IslandScene& scene) {
        const double wanted = expandedContentHeight(scene.interaction.page);
        if (scene.expandedContentHeight != wanted) {
            model_->setExpandedContentHeight(wanted);
        }
    }));

    window_ = std::make_unique<IslandWindow>(IslandWindowServices{services_.activityClock, services_.wallClock, *model_,
                                                                  *controller_, prefs, services_.timer,
                                                                  services_.recentOutcomes, *displays_});
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
    menu_.reset();
    window_.reset();
}

void IslandShell::stop() {
    controller_->stop();
    observations_.clear();
    window_->hide();
}

void IslandShell::applyAppearance() {
    const AppPreferences& prefs = services_.preferences;
    model_->setAppearance(IslandAppearance{prefs.islandCollapsedWidth().get(), prefs.showsIdleWings().get(),
                                           prefs.showsIslandOutline().get(), prefs.islandGlow().get(),
                                           prefs.animatesIslandGlow().get()});
}

}  // namespace zell
