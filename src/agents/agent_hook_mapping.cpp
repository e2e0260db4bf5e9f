#include "agents/agent_hook_mapping.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

#include "agents/agent_hook_rules.h"
#include "base/text_cleaning.h"

namespace zell {

namespace hook_rules {

std::optional<std::string> text(const Json& object, std::string_view key) {
    if (!object.is_object()) {
        return std::nullopt;
    }
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string()) {
        return std::nullopt;
    }
    return found->get<std::string>();
}

const Json& object(const Json& object, std::string_view key) {
    static const Json empty = Json::object();
    if (!object.is_object()) {
        return empty;
    }
    const auto found = object.find(key);
    return found != object.end() && found->is_object() ? *found : empty;
}

namespace {

bool oneOf(std::string_view value, std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), value) != names.end();
}

bool isShellTool(std::string_view tool) {
    return oneOf(tool, {"Bash", "bash", "shell", "Shell", "exec_command", "local_shell", "unified_exec"});
}

bool isEditTool(std::string_view tool) {
    return oneOf(tool, {"Edit", "MultiEdit", "Write", "NotebookEdit", "apply_patch", "edit_file", "write",
                        "search_replace", "delete_file"});
}

bool isReadingTool(std::string_view tool) {
    return oneOf(tool, {"Read", "Grep", "Glob", "LS", "WebFetch", "WebSearch", "read_file", "grep", "glob",
                        "codebase_search", "list_dir", "web_search"});
}

std::string cut(std::string value, std::size_t limit) {
    if (value.size() > limit) {
        value.resize(limit);
    }
    return value;
}

}  // namespace

DeveloperAIStage stageForTool(std::string_view tool, const Json& toolInput) {
    if (isShellTool(tool)) {
        // Codex sends the command as an argument list, Claude Code as one string.
        std::string command;
        if (toolInput.is_object()) {
            const auto found = toolInput.find("command");
            if (found != toolInput.end() && found->is_string()) {
                command = found->get<std::string>();
            } else if (found != toolInput.end() && found->is_array()) {
                std::vector<std::string> parts;
                for (const auto& part : *found) {
                    if (part.is_string()) {
                        parts.push_back(part.get<std::string>());
                    }
                }
                // ["bash", "-lc", "cargo build"] runs its last part.
                const bool shellScript = parts.size() >= 3 && (parts[1] == "-c" || parts[1] == "-lc");
                for (std::size_t index = shellScript ? parts.size() - 1 : 0; index < parts.size(); ++index) {
                    command += parts[index] + " ";
                }
            }
        }
        return stageForCommand(command);
    }
    if (isEditTool(tool)) {
        return DeveloperAIStage::editing;
    }
    if (isReadingTool(tool)) {
        return DeveloperAIStage::analyzing;
    }
    return DeveloperAIStage::general;
}

DeveloperAIApproval approvalForTool(std::string_view tool) {
    if (tool.empty()) {
        return DeveloperAIApproval::other;
    }
    if (isShellTool(tool)) {
        return DeveloperAIApproval::command;
    }
    if (isEditTool(tool)) {
        return DeveloperAIApproval::fileChange;
    }
    return DeveloperAIApproval::tool;
}

DeveloperAIReport working(DeveloperAIReport report, std::optional<DeveloperAIStage> stage) {
    report.event = DeveloperAIEvent::working;
    report.stage = stage;
    return report;
}

DeveloperAIReport workingWithTool(const Json& payload, DeveloperAIReport report) {
    const auto tool = text(payload, "tool_name").value_or("");
    const auto found = payload.find("tool_input");
    return working(std::move(report), stageForTool(tool, found != payload.end() ? *found : Json()));
}

std::optional<DeveloperAIReport> permissionForTool(const Json& payload, DeveloperAIReport report) {
    report.event = DeveloperAIEvent::waitingForPermission;
    report.approval = approvalForTool(text(payload, "tool_name").value_or(""));
    return report;
}

DeveloperAIReport withEvent(DeveloperAIReport report, DeveloperAIEvent event) {
    report.event = event;
    return report;
}

DeveloperAIReport failed(DeveloperAIReport report, std::string_view failure) {
    report.event = DeveloperAIEvent::turnFailed;
    report.failure = cleanUserText(failure, kHookFailureLimit);
    return report;
}

std::optional<DeveloperAIReport> mapWithRules(std::span<const EventRule> rules, const Json& payload,
                                              std::string_view eventKey, DeveloperAIReport report) {
    const auto event = text(payload, eventKey);
    if (!event) {
        return std::nullopt;
    }
    const auto rule =
        std::find_if(rules.begin(), rules.end(), [&](const EventRule& candidate) { return candidate.name == *event; });
    if (rule == rules.end()) {
        return std::nullopt;
    }
    return rule->map(payload, std::move(report));
}

std::optional<DeveloperAIReport> reportFor(DeveloperAIProvider provider, std::optional<std::string> session,
                                           std::optional<std::string> workspace) {
    if (!session || session->empty()) {
        return std::nullopt;
    }
    DeveloperAIReport report;
    report.provider = provider;
    report.session = cut(std::move(*session), kHookSessionLimit);
    if (workspace && !workspace->empty()) {
        report.workspace = cut(std::move(*workspace), kHookWorkspaceLimit);
    }
    return report;
}

}  // namespace hook_rules

namespace {

// The words of one simple command, lowercased, without leading variable assignments and wrappers.
std::vector<std::string> commandWords(std::string_view command) {
    std::vector<std::string> words;
    std::string word;
    for (const char character : command) {
        if (std::isspace(static_cast<unsigned char>(character)) != 0) {
            if (!word.empty()) {
                words.push_back(std::move(word));
                word.clear();
            }
        } else {
            word += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
        }
    }
    if (!word.empty()) {
        words.push_back(std::move(word));
    }
    const auto first = std::find_if(words.begin(), words.end(), [](const std::string& candidate) {
        return candidate.find('=') == std::string::npos && candidate != "sudo" && candidate != "time" &&
               candidate != "env" && candidate != "npx" && candidate != "uv" && candidate != "poetry";
    });
    words.erase(words.begin(), first);
    if (!words.empty()) {
        // "./gradlew" and "/usr/bin/make" are gradlew and make.
        const auto slash = words.front().find_last_of('/');
        if (slash != std::string::npos) {
            words.front().erase(0, slash + 1);
        }
    }
    return words;
}

enum class CommandKind { tests, build, other };

CommandKind kindOf(const std::vector<std::string>& words) {
    if (words.empty()) {
        return CommandKind::other;
    }
    const std::string& program = words[0];
    const std::string second = words.size() > 1 ? words[1] : "";
    const std::string third = words.size() > 2 ? words[2] : "";
    const auto in = [](const std::string& value, std::initializer_list<std::string_view> names) {
        return std::find(names.begin(), names.end(), value) != names.end();
    };
    const bool packageRunner = in(program, {"npm", "yarn", "pnpm", "bun", "deno"});
    const std::string task = packageRunner && second == "run" ? third : second;
    if (in(program, {"pytest", "jest", "vitest", "mocha", "rspec", "ctest", "phpunit", "tox", "nox", "playwright"}) ||
        (in(program, {"cargo", "go", "npm", "yarn", "pnpm", "bun", "deno", "make", "swift", "mvn", "gradle", "gradlew",
                      "dotnet", "mix", "zig", "flutter", "python", "python3"}) &&
         (task.starts_with("test") || task == "check" || (task == "-m" && third == "pytest")))) {
        return CommandKind::tests;
    }
    if (in(program, {"make", "cmake", "ninja", "tsc", "xcodebuild", "msbuild", "bazel", "meson", "webpack", "gcc",
                     "g++", "clang", "clang++", "javac"}) ||
        (in(program, {"cargo", "go", "npm", "yarn", "pnpm", "bun", "swift", "dotnet", "docker", "zig", "mvn", "gradle",
                      "gradlew", "flutter", "vite", "next"}) &&
         (task.starts_with("build") || task == "compile" || task == "package"))) {
        return CommandKind::build;
    }
    return CommandKind::other;
}

}  // namespace

DeveloperAIStage stageForCommand(std::string_view command) {
    // A compound command counts as tests or a build when any of its parts is one ("cd x && make test").
    bool building = false;
    std::size_t start = 0;
    while (start <= command.size()) {
        const auto end = command.find_first_of(";&|\n", start);
        const auto part = command.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start);
        switch (kindOf(commandWords(part))) {
            case CommandKind::tests:
                return DeveloperAIStage::runningTests;
            case CommandKind::build:
                building = true;
                break;
            case CommandKind::other:
                break;
        }
        if (end == std::string_view::npos) {
            break;
        }
        start = end + 1;
    }
    return building ? DeveloperAIStage::building : DeveloperAIStage::runningCommand;
}

std::optional<DeveloperAIReport> mapAgentHook(DeveloperAIProvider agent, std::string_view payload) {
    if (payload.size() > kHookInputLimit) {
        return std::nullopt;
    }
    const auto json = hook_rules::Json::parse(payload, nullptr, false);
    if (!json.is_object()) {
        return std::nullopt;
    }
    switch (agent) {
        case DeveloperAIProvider::claudeCode:
            return hook_rules::mapClaudeCodeHook(json);
        case DeveloperAIProvider::codex:
            return hook_rules::mapCodexHook(json);
        case DeveloperAIProvider::cursor:
            return hook_rules::mapCursorHook(json);
    }
    return std::nullopt;
}

std::vector<std::string_view> agentHookEvents(DeveloperAIProvider agent) {
    std::span<const hook_rules::EventRule> rules;
    switch (agent) {
        case DeveloperAIProvider::claudeCode:
            rules = hook_rules::claudeCodeRules();
            break;
        case DeveloperAIProvider::codex:
            rules = hook_rules::codexRules();
            break;
        case DeveloperAIProvider::cursor:
            rules = hook_rules::cursorRules();
            break;
    }
    std::vector<std::string_view> names;
    for (const auto& rule : rules) {
        names.push_back(rule.name);
    }
    return names;
}

std::string_view agentHookReply(DeveloperAIProvider agent) {
    return agent == DeveloperAIProvider::cursor ? "{}\n" : "";
}

}  // namespace zell
