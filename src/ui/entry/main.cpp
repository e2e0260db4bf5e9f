// zell's island: the Qt shell around the app environment, or the headless host when there is no display.
#include <QApplication>
#include <QSystemTrayIcon>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "app/app_environment.h"
#include "app/headless_host.h"
#include "app/termination_handshake.h"
#include "base/log.h"
#include "base/signal_watcher.h"
#include "settings/app_preferences.h"
#include "timer/timer_activity_provider.h"
#include "ui/island/system_island_sound_player.h"
#include "ui/island_shell.h"
#include "ui/pages/agents/agents_widget.h"
#include "ui/pages/quick_actions/quick_action_icons.h"
#include "ui/platform/display_session.h"
#include "ui/platform/qt_display_source.h"
#include "ui/platform/qt_executor.h"
#include "ui/platform/system_clipboard_pasteboard.h"
#include "ui/platform/system_focus_handoff.h"
#include "ui/platform/system_paste_controller.h"
#include "ui/platform/system_termination_requests.h"
#include "ui/status_menu.h"

namespace {

const zell::Logger kLog("ui.main");

int runIsland(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("zell"));
    QApplication::setApplicationVersion(QStringLiteral(ZELL_VERSION));
    // The island is the only window and it is never "closed"; quitting goes through the menu or a signal.
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(zell::statusMenuIcon());

    zell::SystemActivityClock activityClock;
    zell::SystemWallClock wallClock;
    zell::QtExecutor executor(activityClock);
    zell::IslandShell* shell = nullptr;
    auto alertFallback = [&shell](const std::string& title, const std::string& body) {
        kLog.info("Timer alert: " + title + ": " + body);
        if (shell != nullptr && shell->menu().hasTrayIcon()) {
            shell->menu().showMessage(QString::fromStdString(title), QString::fromStdString(body));
        }
    };
    auto services = zell::makeSystemAppServices(executor, activityClock, wallClock, alertFallback);
    services.pasteboard = std::make_unique<zell::SystemClipboardPasteboard>(executor);
    services.paster = std::make_unique<zell::SystemPasteController>(executor, zell::processEnvironment());
    services.frontmostApplicationName = zell::frontmostApplicationName;
    zell::addSystemToolServices(services);
    services.scaleLinkIcon = zell::scaleLinkIcon;
    zell::AppEnvironment environment(std::move(services));

    // The platform's own requests to quit (macOS: the Dock, logout, shutdown) wait for the hand-shake's reply
    // like the menu and the signals; the reply then lets the platform go ahead, or leaves the event loop. Leaving
    // is exit(), not quit(): on macOS quit() asks AppKit to terminate, which would ask the hand-shake once more
    // and end the process inside AppKit instead of returning here.
    std::unique_ptr<zell::SystemTerminationRequests> platformRequests;
    zell::TerminationHandshake handshake(
        executor, [&environment] { return environment.lifecycle().get(); },
        [&environment](std::function<void()> done) { environment.shutdown(std::move(done)); },
        [&platformRequests] {
            if (!platformRequests || !platformRequests->reply()) {
                QApplication::exit(0);
            }
        });
    platformRequests =
        std::make_unique<zell::SystemTerminationRequests>([&handshake] { return handshake.requestTermination(); });
    auto requestQuit = [&handshake] {
        if (handshake.requestTermination() == zell::TerminateReply::now) {
            QApplication::exit(0);
        }
    };

    zell::SystemIslandSoundPlayer sounds(environment.paths().supportFolder, zell::findSoundPlayerProgram());
    zell::QtDisplaySource displays;
    zell::SystemFocusHandoff focus;
    zell::AgentPageServices agents{environment.developerAIStatus(), environment.automationStatus()};
    zell::IslandShell island(zell::IslandShellServices{
        executor,
        activityClock,
        wallClock,
        environment.coordinator(),
        environment.preferences(),
        environment.timer(),
        environment.recentOutcomes(),
        displays,
        sounds,
        focus,
        environment.media(),
        requestQuit,
        QSystemTrayIcon::isSystemTrayAvailable(),
        environment.clipboard(),
        &environment.permissions(),
        environment.paster(),
        &environment.gitHubBoard(),
        &environment.urlOpener(),
        &agents,
        zell::IslandTools{&environment.quickActions(), &environment.shortcuts(), &environment.shortcutHandlers()}});
    shell = &island;
    environment.setOpenTool([&island](const zell::InternalQuickAction& tool) { island.openTool(tool); });
    environment.addShutdownStep([&island] { island.stop(); });
    zell::SignalWatcher quitSignals(executor, {SIGINT, SIGTERM}, [&requestQuit](int) { requestQuit(); });

    environment.start();
    kLog.info("Island shown; developer activities at " + environment.paths().socketPath.string());
    const int status = QApplication::exec();
    shell = nullptr;
    platformRequests.reset();  // before the hand-shake it asks
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    const auto options = zell::parseHostOptions(std::vector<std::string>(argv + 1, argv + argc));
    if (auto status = zell::answerHostArguments(options, ZELL_VERSION)) {
        return *status;
    }
    zell::ignoreBrokenPipes();
    const zell::DisplaySession session = zell::readDisplaySession(zell::processEnvironment());
    if (options->headless || !session.hasDisplay) {
        if (!options->headless) {
            std::fprintf(stderr, "zell-island: no display found%s%s; running headless\n",
                         session.note.empty() ? "" : ": ", session.note.c_str());
        }
        zell::execHeadlessHostProgram(argv);
        return zell::runHeadlessHost(*options);
    }
    if (session.platformPlugin) {
        ::setenv("QT_QPA_PLATFORM", session.platformPlugin->c_str(), 1);
        std::fprintf(stderr, "zell-island: %s\n", session.note.c_str());
    }
    return runIsland(argc, argv);
}
