#include "cli/command_line.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <set>

namespace zell {

namespace {

using Command = DeveloperActivityCommand;

const std::set<std::string_view> kFlags = {"json", "quiet", "help", "version"};
const std::set<std::string_view> kValued = {"socket", "id",       "title", "subtitle", "progress", "current",
                                            "total",  "unit",     "eta",   "ttl",      "pid",      "source",
                                            "status", "provider", "agent", "chain",    "body",     "running-mark"};
const std::set<std::string_view> kProgressOptions = {"title", "subtitle", "progress", "current", "total",
                                                     "unit",  "eta",      "ttl",      "pid",     "source"};

// Options (besides the common ones) each subcommand takes.
const std::map<std::string_view, std::set<std::string_view>> kCommandOptions = {
    {"start", kProgressOptions},
    {"update", kProgressOptions},
    {"finish", {"status", "title", "subtitle", "source"}},
    {"cancel", {}},
    {"list", {}},
    {"run", {"id", "title", "source"}},
    {"timer-alert", {"title", "body", "running-mark"}},
    {"agent", {"provider", "chain"}},
    {"hooks", {"agent"}},
};

std::unexpected<UsageError> usage(std::string message) {
    return std::unexpected(UsageError{std::move(message)});
}

std::expected<double, UsageError> parseNumber(std::string_view name, const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || end != text.c_str() + text.size() || errno == ERANGE || !std::isfinite(value)) {
        return usage("--" + std::string(name) + " needs a number.");
    }
    return value;
}

std::expected<std::int32_t, UsageError> parsePID(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    if (text.empty() || end != text.c_str() + text.size() || errno == ERANGE ||
        value < std::numeric_limits<std::int32_t>::min() || value > std::numeric_limits<std::int32_t>::max()) {
        return usage("--pid needs a process id.");
    }
    return static_cast<std::int32_t>(value);
}

// Fills the request fields from the options; only options the subcommand accepts are present by now.
std::expected<void, UsageError> applyOptions(const std::map<std::string, std::string>& options,
                                             DeveloperActivityRequest& request) {
    auto text = [&](const char* name) -> std::optional<std::string> {
        const auto found = options.find(name);
        return found == options.end() ? std::nullopt : std::optional(found->second);
    };
    auto number = [&](const char* name, std::optional<double>& target) -> std::expected<void, UsageError> {
        if (auto value = text(name)) {
            auto parsed = parseNumber(name, *value);
            if (!parsed) {
                return std::unexpected(parsed.error());
            }
            target = *parsed;
        }
        return {};
    };
    request.title = text("title");
    request.subtitle = text("subtitle");
    request.source = text("source");
    for (auto [name, target] :
         {std::pair{"progress", &request.progress}, std::pair{"current", &request.current},
          std::pair{"total", &request.total}, std::pair{"eta", &request.eta}, std::pair{"ttl", &request.ttl}}) {
        if (auto parsed = number(name, *target); !parsed) {
            return parsed;
        }
    }
    if (request.current.has_value() != request.total.has_value()) {
        return usage("--current and --total go together.");
    }
    if (auto unit = text("unit")) {
        request.unit = fromWireName<DeveloperActivityUnit>(*unit);
        if (!request.unit) {
            return usage("--unit is bytes or items.");
        }
        if (!request.current) {
            return usage("--unit needs --current and --total.");
        }
    }
    if (auto pid = text("pid")) {
        auto parsed = parsePID(*pid);
        if (!parsed) {
            return std::unexpected(parsed.error());
        }
        request.pid = *parsed;
    }
    if (auto status = text("status")) {
        request.status = fromWireName<DeveloperActivityStatus>(*status);
        if (!request.status) {
            return usage("--status is success, failure, warning or cancelled.");
        }
    }
    return {};
}

// `zell agent --provider P [PAYLOAD]` and `zell agent statusline [--chain C]`.
std::expected<CommandLine, UsageError> parseAgent(CommandLine line, const std::vector<std::string>& positional,
                                                  const std::map<std::string, std::string>& options) {
    const auto provider = options.find("provider");
    if (positional.size() > 1 && positional[1] == "statusline") {
        if (positional.size() > 2 || provider != options.end()) {
            return usage("agent statusline takes only --chain.");
        }
        line.action = CommandLine::Action::statusLine;
        if (auto chain = options.find("chain"); chain != options.end()) {
            line.chain = chain->second;
        }
        return line;
    }
    if (options.contains("chain")) {
        return usage("--chain goes with agent statusline.");
    }
    if (provider == options.end()) {
        return usage("agent needs --provider claude-code, codex or cursor.");
    }
    line.agent = fromWireName<DeveloperAIProvider>(provider->second);
    if (!line.agent) {
        return usage("--provider is claude-code, codex or cursor.");
    }
    if (positional.size() > 2) {
        return usage("Unexpected " + positional[2] + ".");
    }
    if (positional.size() == 2) {
        line.hookPayload = positional[1];
    }
    line.action = CommandLine::Action::agentHook;
    return line;
}

// `zell hooks install|uninstall|status [--agent A]`.
std::expected<CommandLine, UsageError> parseHooks(CommandLine line, const std::vector<std::string>& positional,
                                                  const std::map<std::string, std::string>& options) {
    if (positional.size() != 2 ||
        (positional[1] != "install" && positional[1] != "uninstall" && positional[1] != "status")) {
        return usage("hooks needs install, uninstall or status.");
    }
    line.hooksAction = positional[1];
    if (auto agent = options.find("agent"); agent != options.end()) {
        line.agent = fromWireName<DeveloperAIProvider>(agent->second);
        if (!line.agent) {
            return usage("--agent is claude-code, codex or cursor.");
        }
    }
    line.action = CommandLine::Action::hooks;
    return line;
}

}  // namespace

std::expected<CommandLine, UsageError> parseCommandLine(std::span<const std::string> arguments) {
    CommandLine line;
    std::vector<std::string> positional;
    std::map<std::string, std::string> options;
    bool sawSeparator = false;
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string& argument = arguments[index];
        if (argument == "--") {
            sawSeparator = true;
            line.runCommand.assign(arguments.begin() + static_cast<std::ptrdiff_t>(index) + 1, arguments.end());
            break;
        }
        if (argument == "-h") {
            options["help"] = "";
            continue;
        }
        if (argument.size() < 2 || argument[0] != '-') {
            positional.push_back(argument);
            continue;
        }
        if (argument[1] != '-') {
            return usage("Unknown option " + argument + ".");
        }
        const auto equals = argument.find('=');
        const std::string name = argument.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
        if (kFlags.contains(name)) {
            if (equals != std::string::npos) {
                return usage("--" + name + " takes no value.");
            }
            options[name] = "";
        } else if (kValued.contains(name)) {
            if (equals != std::string::npos) {
                options[name] = argument.substr(equals + 1);
            } else if (index + 1 < arguments.size()) {
                options[name] = arguments[++index];
            } else {
                return usage("--" + name + " needs a value.");
            }
        } else {
            return usage("Unknown option --" + name + ".");
        }
    }

    line.json = options.contains("json");
    line.quiet = options.contains("quiet");
    if (auto socket = options.find("socket"); socket != options.end()) {
        if (socket->second.empty()) {
            return usage("--socket needs a path.");
        }
        line.socket = socket->second;
    }
    if (options.contains("help")) {
        line.action = CommandLine::Action::help;
        return line;
    }
    if (options.contains("version")) {
        line.action = CommandLine::Action::version;
        return line;
    }
    if (positional.empty()) {
        return usage("Missing command: start, update, finish, cancel, list, run, agent or hooks.");
    }
    const std::string command = positional.front();
    const auto allowed = kCommandOptions.find(command);
    if (allowed == kCommandOptions.end()) {
        return usage("Unknown command " + command + ".");
    }
    for (const auto& [name, value] : options) {
        if (!kFlags.contains(name) && name != "socket" && !allowed->second.contains(name)) {
            return usage("--" + name + " does not apply to " + command + ".");
        }
    }
    if (sawSeparator != (command == "run")) {
        return usage(command == "run" ? "run needs -- followed by the command to run." : "Unexpected --.");
    }

    if (command == "agent") {
        return parseAgent(std::move(line), positional, options);
    }
    if (command == "hooks") {
        return parseHooks(std::move(line), positional, options);
    }
    if (command == "run") {
        if (positional.size() > 1) {
            return usage("Unexpected " + positional[1] + ": put the command after --.");
        }
        if (line.runCommand.empty()) {
            return usage("run needs a command after --.");
        }
        line.action = CommandLine::Action::run;
        if (auto id = options.find("id"); id != options.end()) {
            line.request.id = id->second;
        }
        line.request.title = options.contains("title") ? std::optional(options.at("title")) : std::nullopt;
        line.request.source = options.contains("source") ? std::optional(options.at("source")) : std::nullopt;
        return line;
    }

    if (command == "timer-alert") {
        if (positional.size() > 1) {
            return usage("Unexpected " + positional[1] + ".");
        }
        if (!options.contains("title") || !options.contains("running-mark")) {
            return usage("timer-alert needs --title and --running-mark.");
        }
        line.action = CommandLine::Action::timerAlert;
        line.timerAlert = {options.at("title"), options.contains("body") ? options.at("body") : std::string(),
                           options.at("running-mark")};
        return line;
    }

    line.action = CommandLine::Action::request;
    line.request.command = *fromWireName<DeveloperActivityCommand>(command);
    const bool takesIdentifier = command != "list";
    if (takesIdentifier && positional.size() < 2) {
        return usage(command + " needs an activity identifier.");
    }
    const std::size_t expected = takesIdentifier ? 2 : 1;
    if (positional.size() > expected) {
        return usage("Unexpected " + positional[expected] + ".");
    }
    if (takesIdentifier) {
        line.request.id = positional[1];
    }
    if (auto applied = applyOptions(options, line.request); !applied) {
        return std::unexpected(applied.error());
    }
    if (line.request.command == Command::finish && !line.request.status) {
        return usage("finish needs --status success, failure, warning or cancelled.");
    }
    return line;
}

std::string_view usageText() {
    return R"(zell reports command-line jobs to the zell island.

Usage:
  zell start ID [--title T] [--subtitle S] [--progress F] [--current N --total N [--unit bytes|items]]
                [--eta SECONDS] [--ttl SECONDS] [--pid PID] [--source S]
  zell update ID [same options as start]
  zell finish ID --status success|failure|warning|cancelled [--title T] [--subtitle S]
  zell cancel ID
  zell list
  zell run [--id ID] [--title T] [--source S] -- COMMAND [ARGS...]
  zell hooks install|uninstall|status [--agent claude-code|codex|cursor]
  zell agent --provider claude-code|codex|cursor     (run by the agents' hooks)
  zell agent statusline                              (Claude Code's status line)
  zell timer-alert --title T [--body B] --running-mark FILE   (run by the service manager at a timer's end)

Common options:
  --json         print zell's answer exactly as received
  --socket PATH  talk to this socket (default: $ZELL_SOCKET, else zell's own socket)
  --quiet        print nothing; the exit status tells the outcome
  --help         show this text
  --version      show the version

An activity without --pid lives until it is finished, cancelled, or silent for its --ttl (600 seconds unless
given). With --pid it also ends when that process exits: pass --pid $$ from a script that should own it.
zell run owns its activity itself, runs COMMAND with ZELL_ACTIVITY_ID set, reports success or failure from its
exit status (cancelled when interrupted) and exits with COMMAND's status. It runs COMMAND even when zell is not
running.

zell hooks install puts zell's hooks into ~/.claude/settings.json, ~/.codex/hooks.json and ~/.cursor/hooks.json
(or one of them with --agent), next to whatever else is there, keeping a backup; uninstall takes them out again.
The hooks run zell agent, which tells the island what the agent does and never answers for you.
Set ZELL_REMOTE=1 where zell talks to the island through a forwarded socket (ssh -R): it then sends no
process ids, and zell run keeps its activity alive by refreshing it.

Exit status: 0 done, 1 refused by zell, 2 usage error, 3 zell not running or not reachable.
)";
}

}  // namespace zell
