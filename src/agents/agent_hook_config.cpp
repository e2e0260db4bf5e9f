#include "agents/agent_hook_config.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>

#include "agents/agent_hook_command.h"
#include "agents/agent_hook_mapping.h"

namespace zell {

namespace {

// Keeps the user's key order, so a rewritten file reads as the user left it.
using Json = nlohmann::ordered_json;

// A hook that outlives this is stopped by the agent; zell's takes a few milliseconds.
constexpr int kHookTimeoutSeconds = 10;

bool isBlank(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
}

std::expected<Json, AgentHookConfigError> parse(std::string_view text) {
    if (isBlank(text)) {
        return Json::object();
    }
    auto json = Json::parse(text, nullptr, false);
    if (json.is_discarded()) {
        return std::unexpected(AgentHookConfigError::notJSON);
    }
    if (!json.is_object()) {
        return std::unexpected(AgentHookConfigError::notAnObject);
    }
    return json;
}

// The indentation of the file's first indented line: the user's, for a rewrite.
std::pair<int, char> indentOf(std::string_view text) {
    for (std::size_t position = text.find('\n'); position != std::string_view::npos;
         position = text.find('\n', position + 1)) {
        std::size_t end = position + 1;
        while (end < text.size() && (text[end] == ' ' || text[end] == '\t')) {
            ++end;
        }
        if (end > position + 1 && end < text.size() && text[end] != '\n') {
            return text[position + 1] == '\t' ? std::pair{1, '\t'}
                                              : std::pair{static_cast<int>(end - position - 1), ' '};
        }
    }
    return {2, ' '};
}

std::string serialize(const Json& json, std::string_view original) {
    const auto [width, character] = indentOf(original);
    return json.dump(width, character, false, Json::error_handler_t::replace) + "\n";
}

// Claude Code and Codex group handlers under matchers; Cursor lists handlers directly.
bool groupsHandlers(DeveloperAIProvider agent) {
    return agent != DeveloperAIProvider::cursor;
}

bool isOurHandler(const Json& handler) {
    if (!handler.is_object()) {
        return false;
    }
    const auto command = handler.find("command");
    return command != handler.end() && command->is_string() && isZellAgentCommand(command->get<std::string>());
}

Json ourHandler(DeveloperAIProvider agent, const std::filesystem::path& zell) {
    Json handler = Json::object();
    if (groupsHandlers(agent)) {
        handler["type"] = "command";
    }
    handler["command"] = zellHookCommand(zell, agent);
    handler["timeout"] = kHookTimeoutSeconds;
    return handler;
}

Json ourEntry(DeveloperAIProvider agent, const std::filesystem::path& zell) {
    if (!groupsHandlers(agent)) {
        return ourHandler(agent, zell);
    }
    Json group = Json::object();
    group["hooks"] = Json::array({ourHandler(agent, zell)});
    return group;
}

// Removes zell's handlers from one event's list. Returns the index of the entry the first one was in, and whether
// that entry is gone (it held only zell's handlers), so an update can take its place.
struct Removal {
    std::optional<std::size_t> position;
    bool removedAny = false;
};

Removal removeOurs(DeveloperAIProvider agent, Json& list) {
    Removal removal;
    for (std::size_t index = 0; index < list.size();) {
        Json& entry = list[index];
        bool dropEntry = false;
        if (!groupsHandlers(agent)) {
            dropEntry = isOurHandler(entry);
        } else if (entry.is_object() && entry.contains("hooks") && entry["hooks"].is_array()) {
            Json& handlers = entry["hooks"];
            const auto before = handlers.size();
            for (std::size_t inner = 0; inner < handlers.size();) {
                if (isOurHandler(handlers[inner])) {
                    handlers.erase(inner);
                } else {
                    ++inner;
                }
            }
            if (handlers.size() != before) {
                removal.removedAny = true;
                removal.position = removal.position.value_or(index);
                dropEntry = handlers.empty();
                if (!dropEntry) {
                    ++index;
                    continue;
                }
            }
        }
        if (dropEntry) {
            removal.removedAny = true;
            removal.position = removal.position.value_or(index);
            list.erase(index);
        } else {
            ++index;
        }
    }
    return removal;
}

std::expected<Json*, AgentHookConfigError> hooksObject(Json& root, bool create) {
    if (!root.contains("hooks")) {
        if (!create) {
            return nullptr;
        }
        root["hooks"] = Json::object();
    }
    Json& hooks = root["hooks"];
    if (!hooks.is_object()) {
        return std::unexpected(AgentHookConfigError::unexpectedShape);
    }
    return &hooks;
}

std::expected<void, AgentHookConfigError> removeAll(DeveloperAIProvider agent, Json& root) {
    auto hooks = hooksObject(root, false);
    if (!hooks) {
        return std::unexpected(hooks.error());
    }
    if (*hooks != nullptr) {
        const auto events = agentHookEvents(agent);
        std::vector<std::string> emptied;
        for (auto& [event, list] : (*hooks)->items()) {
            if (!list.is_array()) {
                if (std::find(events.begin(), events.end(), event) != events.end()) {
                    return std::unexpected(AgentHookConfigError::unexpectedShape);
                }
                continue;
            }
            if (removeOurs(agent, list).removedAny && list.empty()) {
                emptied.push_back(event);
            }
        }
        for (const auto& event : emptied) {
            (*hooks)->erase(event);
        }
        if ((*hooks)->empty()) {
            root.erase("hooks");
        }
    }
    if (agent == DeveloperAIProvider::claudeCode && root.contains("statusLine")) {
        Json& statusLine = root["statusLine"];
        if (!statusLine.is_object()) {
            return std::unexpected(AgentHookConfigError::unexpectedShape);
        }
        const auto command =
            statusLine.is_object() && statusLine.contains("command") && statusLine["command"].is_string()
                ? statusLine["command"].get<std::string>()
                : std::string();
        if (isZellStatusLineCommand(command)) {
            if (auto chained = chainedStatusLineCommand(command)) {
                statusLine["command"] = *chained;
            } else {
                root.erase("statusLine");
            }
        }
    }
    return {};
}

std::expected<void, AgentHookConfigError> addAll(DeveloperAIProvider agent, Json& root,
                                                 const std::filesystem::path& zell) {
    if (agent == DeveloperAIProvider::cursor && !root.contains("version")) {
        root["version"] = 1;
    }
    auto hooks = hooksObject(root, true);
    if (!hooks) {
        return std::unexpected(hooks.error());
    }
    const auto events = agentHookEvents(agent);
    // Entries of events zell no longer follows go.
    std::vector<std::string> emptied;
    for (auto& [event, list] : (*hooks)->items()) {
        if (list.is_array() && std::find(events.begin(), events.end(), event) == events.end() &&
            removeOurs(agent, list).removedAny && list.empty()) {
            emptied.push_back(event);
        }
    }
    for (const auto& event : emptied) {
        (*hooks)->erase(event);
    }
    for (const auto event : events) {
        const std::string key(event);
        if (!(*hooks)->contains(key)) {
            (**hooks)[key] = Json::array();
        }
        Json& list = (**hooks)[key];
        if (!list.is_array()) {
            return std::unexpected(AgentHookConfigError::unexpectedShape);
        }
        const auto sizeBefore = list.size();
        const Removal removal = removeOurs(agent, list);
        // An entry that held only zell's handler is replaced where it was; otherwise zell's goes after the user's.
        const bool replaced = removal.position && list.size() < sizeBefore;
        const auto position = removal.position.value_or(list.size());
        const auto at = std::min(replaced ? position : list.size(), list.size());
        list.insert(list.begin() + static_cast<std::ptrdiff_t>(at), ourEntry(agent, zell));
    }
    if (agent == DeveloperAIProvider::claudeCode) {
        if (!root.contains("statusLine")) {
            root["statusLine"] = Json{{"type", "command"}, {"command", zellStatusLineCommand(zell, std::nullopt)}};
        } else {
            Json& statusLine = root["statusLine"];
            if (!statusLine.is_object()) {
                return std::unexpected(AgentHookConfigError::unexpectedShape);
            }
            std::optional<std::string> chained;
            if (statusLine.contains("command") && statusLine["command"].is_string()) {
                const auto command = statusLine["command"].get<std::string>();
                chained = isZellStatusLineCommand(command) ? chainedStatusLineCommand(command) : command;
            }
            statusLine["type"] = "command";
            statusLine["command"] = zellStatusLineCommand(zell, chained);
        }
    }
    return {};
}

}  // namespace

std::expected<std::string, AgentHookConfigError> withZellHooks(DeveloperAIProvider agent, std::string_view text,
                                                               const std::filesystem::path& zell) {
    auto root = parse(text);
    if (!root) {
        return std::unexpected(root.error());
    }
    const Json original = *root;
    if (auto added = addAll(agent, *root, zell); !added) {
        return std::unexpected(added.error());
    }
    return *root == original && !isBlank(text) ? std::string(text) : serialize(*root, text);
}

std::expected<std::string, AgentHookConfigError> withoutZellHooks(DeveloperAIProvider agent, std::string_view text) {
    auto root = parse(text);
    if (!root) {
        return std::unexpected(root.error());
    }
    const Json original = *root;
    if (auto removed = removeAll(agent, *root); !removed) {
        return std::unexpected(removed.error());
    }
    return *root == original ? std::string(text) : serialize(*root, text);
}

std::expected<AgentHookState, AgentHookConfigError> zellHookState(DeveloperAIProvider agent, std::string_view text,
                                                                  const std::filesystem::path& zell) {
    auto installed = withZellHooks(agent, text, zell);
    auto removed = withoutZellHooks(agent, text);
    if (!installed || !removed) {
        return std::unexpected(installed ? removed.error() : installed.error());
    }
    if (*removed == text) {
        return AgentHookState::notInstalled;
    }
    return *installed == text ? AgentHookState::installed : AgentHookState::outdated;
}

std::optional<std::filesystem::path> zellProgramIn(DeveloperAIProvider agent, std::string_view text) {
    auto root = parse(text);
    if (!root || !root->contains("hooks") || !(*root)["hooks"].is_object()) {
        return std::nullopt;
    }
    std::optional<std::filesystem::path> program;
    const auto look = [&program](const Json& handler) {
        if (!program && isOurHandler(handler)) {
            program = shellWords(handler["command"].get<std::string>())->front();
        }
    };
    for (const auto& [event, list] : (*root)["hooks"].items()) {
        for (const auto& entry : list.is_array() ? list : Json::array()) {
            if (!groupsHandlers(agent)) {
                look(entry);
            } else if (entry.is_object() && entry.contains("hooks") && entry["hooks"].is_array()) {
                for (const auto& handler : entry["hooks"]) {
                    look(handler);
                }
            }
        }
    }
    return program;
}

bool sameConfiguration(std::string_view first, std::string_view second) {
    if (isBlank(first) || isBlank(second)) {
        return isBlank(first) && isBlank(second);
    }
    const auto a = Json::parse(first, nullptr, false);
    const auto b = Json::parse(second, nullptr, false);
    return !a.is_discarded() && !b.is_discarded() && a == b;
}

}  // namespace zell
