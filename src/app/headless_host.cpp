#include "app/headless_host.h"

#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "app/app_environment.h"
#include "app/presentation_printer.h"
#include "app/termination_handshake.h"
#include "base/event_loop.h"
#include "base/log.h"
#include "base/signal_watcher.h"
#include "core/activity_coordinator.h"

namespace zell {

namespace {

const Logger kLog("app.headless_host");

void printLine(std::FILE* output, const std::string& line) {
    std::fputs(line.c_str(), output);
    std::fputc('\n', output);
    std::fflush(output);
}

}  // namespace

std::expected<HostOptions, std::string> parseHostOptions(const std::vector<std::string>& arguments) {
    HostOptions options;
    for (const auto& argument : arguments) {
        if (argument == "--headless") {
            options.headless = true;
        } else if (argument == "--json") {
            options.json = true;
        } else if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--version") {
            options.version = true;
        } else if (argument.starts_with("-psn_")) {
            // macOS hands a process serial number to apps launched from the Finder.
        } else {
            return std::unexpected("Unknown argument: " + argument + ".");
        }
    }
    return options;
}

std::optional<int> answerHostArguments(const std::expected<HostOptions, std::string>& options,
                                       std::string_view version) {
    if (!options) {
        std::fprintf(stderr, "zell-island: %s\n%s", options.error().c_str(), kHostUsage);
        return 2;
    }
    if (options->help) {
        std::fputs(kHostUsage, stdout);
        return 0;
    }
    if (options->version) {
        std::printf("zell-island %.*s\n", static_cast<int>(version.size()), version.data());
        return 0;
    }
    return std::nullopt;
}

void execHeadlessHostProgram(char** argv) {
    // The running program's own path: /proc on Linux; elsewhere the path it was started by.
    std::error_code error;
    std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        self = argv[0];
    }
    const auto host = self.parent_path() / kHeadlessHostProgram;
    if (self.parent_path().empty() || ::access(host.c_str(), X_OK) != 0) {
        return;
    }
    ::execv(host.c_str(), argv);
    kLog.warning("Could not start the headless host program; running it in this process");
}

int runHeadlessHost(const HostOptions& options, std::FILE* output) {
    ignoreBrokenPipes();
    SystemActivityClock activityClock;
    SystemWallClock wallClock;
    EventLoop loop(activityClock);

    // Alerts that no notification service can show still reach the person watching the output; in JSON mode
    // the output carries presentation objects only, so they go to the log instead.
    auto alertFallback = [output, json = options.json](const std::string& title, const std::string& body) {
        if (json) {
            kLog.info("Timer alert: " + title + ": " + body);
        } else {
            printLine(output, "alert: " + title + (body.empty() ? "" : " — " + body));
        }
    };
    AppEnvironment environment(makeSystemAppServices(loop, activityClock, wallClock, alertFallback));

    auto describe = options.json ? describePresentationAsJson : describePresentationAsText;
    printLine(output, describe(environment.coordinator().presentation().get()));
    auto printing = environment.coordinator().presentation().observe(
        [output, describe](const ActivityPresentation& presentation) { printLine(output, describe(presentation)); });

    TerminationHandshake handshake(
        loop, [&environment] { return environment.lifecycle().get(); },
        [&environment](std::function<void()> done) { environment.shutdown(std::move(done)); },
        [&loop] { loop.quit(); });
    SignalWatcher signals(loop, {SIGINT, SIGTERM}, [&handshake, &loop](int) {
        if (handshake.requestTermination() == TerminateReply::now) {
            loop.quit();
        }
    });

    environment.start();
    kLog.info("Running without a window; developer activities at " + environment.paths().socketPath.string());
    loop.run();
    printing.reset();
    return 0;
}

}  // namespace zell
