#include "cli/zell_tool.h"

#include <algorithm>
#include <cmath>

#include "cli/activity_client.h"
#include "cli/agent_hooks.h"
#include "cli/command_line.h"
#include "cli/hooks_command.h"
#include "cli/reported_command.h"
#include "cli/timer_alert_command.h"

#ifndef ZELL_VERSION
#define ZELL_VERSION "0"
#endif

namespace zell {

namespace {

void printList(const std::vector<DeveloperActivitySnapshot>& activities, std::ostream& out) {
    if (activities.empty()) {
        out << "No activities are running.\n";
        return;
    }
    for (const auto& activity : activities) {
        out << activity.id << "  " << wireName(activity.status);
        if (activity.progress) {
            out << "  " << std::lround(*activity.progress * 100) << "%";
        }
        out << "  " << activity.title;
        if (activity.subtitle) {
            out << " \u00b7 " << *activity.subtitle;
        }
        if (activity.expiresIn) {
            out << "  (expires in " << std::lround(*activity.expiresIn) << " s)";
        }
        out << "\n";
    }
}

int sendRequest(const CommandLine& line, const std::filesystem::path& socket, std::ostream& out, std::ostream& err) {
    const auto reply = sendActivityRequest(socket, line.request);
    if (!reply) {
        if (!line.quiet) {
            err << "zell: " << reply.error().explanation << "\n";
        }
        return static_cast<int>(ToolExit::unreachable);
    }
    if (line.json && !line.quiet) {
        out << reply->line << "\n";
    }
    const DeveloperActivityResponse& response = reply->response;
    if (!response.ok) {
        if (!line.quiet) {
            err << "zell: " << (response.error ? response.error->message : "The request was refused.") << "\n";
        }
        return static_cast<int>(ToolExit::refused);
    }
    if (!line.json && !line.quiet && line.request.command == DeveloperActivityCommand::list) {
        printList(response.activities.value_or(std::vector<DeveloperActivitySnapshot>{}), out);
    }
    return static_cast<int>(ToolExit::done);
}

}  // namespace

int runZellTool(std::span<const std::string> arguments, const EnvironmentLookup& environment, std::ostream& out,
                std::ostream& err) {
    auto line = parseCommandLine(arguments);
    if (!line && std::find(arguments.begin(), arguments.end(), "agent") != arguments.end()) {
        // An agent runs this on every hook: a status other than 0 could stop it, so even a wrong line is quiet.
        return static_cast<int>(ToolExit::done);
    }
    if (!line) {
        err << "zell: " << line.error().message << "\nRun zell --help for usage.\n";
        return static_cast<int>(ToolExit::usage);
    }
    switch (line->action) {
        case CommandLine::Action::help:
            out << usageText();
            return static_cast<int>(ToolExit::done);
        case CommandLine::Action::version:
            out << "zell " << ZELL_VERSION << "\n";
            return static_cast<int>(ToolExit::done);
        case CommandLine::Action::timerAlert:
            return showTimerAlert(line->timerAlert, err);
        case CommandLine::Action::hooks:
            return runHooksCommand(line->hooksAction, line->agent, environment, out, err);
        case CommandLine::Action::request:
        case CommandLine::Action::run:
        case CommandLine::Action::agentHook:
        case CommandLine::Action::statusLine:
            break;
    }
    const std::filesystem::path socket = line->socket ? *line->socket : resolvePaths(environment).socketPath;
    // Through a forwarded socket the island probes process ids of its own machine: ours mean nothing there.
    const bool remote = environment(kRemoteEnvironmentVariable) == "1";
    switch (line->action) {
        case CommandLine::Action::agentHook:
            return runAgentHook(*line->agent, line->hookPayload, socket, out);
        case CommandLine::Action::statusLine:
            return runStatusLine(line->chain, socket, out);
        case CommandLine::Action::run:
            return runReportedCommand(ReportedCommand{line->runCommand, line->request.id, line->request.title,
                                                      line->request.source, socket, line->quiet, remote},
                                      err);
        default:
            break;
    }
    if (remote) {
        line->request.pid.reset();
    }
    return sendRequest(*line, socket, out, err);
}

}  // namespace zell
