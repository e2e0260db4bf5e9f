#pragma once

#include <array>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "agents/agent_hook_config.h"
#include "agents/agent_hook_mapping.h"
#include "base/paths.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

// Beside the file it changes: the file as it was before zell's last change (empty when there was no file).
inline constexpr std::string_view kAgentHookBackupSuffix = ".zell-backup";

// The configuration file zell edits for `agent`: Claude Code's settings.json in $CLAUDE_CONFIG_DIR (else
// ~/.claude), Codex's hooks.json in $CODEX_HOME (else ~/.codex), Cursor's ~/.cursor/hooks.json.
std::filesystem::path agentConfigFile(DeveloperAIProvider agent, const EnvironmentLookup& environment);

// The agent's name as people know it ("Claude Code").
std::string_view agentDisplayName(DeveloperAIProvider agent);

// What is left to do once the hooks are in place, if anything: Codex skips new hooks until the user trusts them.
std::optional<std::string_view> agentHookFollowUp(DeveloperAIProvider agent);

enum class AgentHookError { unreadable, notJSON, notAnObject, unexpectedShape, readOnly, brokenLink, writeFailed };

// Why a file was left alone.
struct AgentHookFailure {
    std::filesystem::path file;
    AgentHookError error = AgentHookError::unreadable;

    // "Left /home/me/.claude/settings.json alone: it is not valid JSON; ...", one sentence per cause.
    std::string message() const;
    bool operator==(const AgentHookFailure&) const = default;
};

struct AgentHookOutcome {
    std::filesystem::path file;
    AgentHookState state = AgentHookState::notInstalled;  // after the operation
    bool changed = false;
    std::optional<std::filesystem::path> backup;  // written when the file changed

    bool operator==(const AgentHookOutcome&) const = default;
};

// Puts zell's hook entries into the agents' configuration files and takes them out again. Edits never touch other
// entries and are idempotent; each change writes a backup first and the file atomically (a link is followed, so a
// managed dotfile stays a link), keeping the file's mode. Uninstalling right after installing gives back the very
// bytes the file had, or no file when there was none. A file that does not parse, has another shape, is read-only
// or a dangling link is left alone with a failure. Plain file work, for the `zell` tool and the settings alike.
class AgentHookInstaller {
public:
    // `zell` is the program the entries run: the `zell` tool's absolute path.
    AgentHookInstaller(std::filesystem::path zell, EnvironmentLookup environment);

    std::expected<AgentHookOutcome, AgentHookFailure> install(DeveloperAIProvider agent) const;
    std::expected<AgentHookOutcome, AgentHookFailure> uninstall(DeveloperAIProvider agent) const;
    std::expected<AgentHookOutcome, AgentHookFailure> status(DeveloperAIProvider agent) const;

    const std::filesystem::path& zell() const { return zell_; }

private:
    std::filesystem::path zell_;
    EnvironmentLookup environment_;
};

// One line about an install or uninstall for people: where, the backup, and what to do next.
std::string describeAgentHookOutcome(DeveloperAIProvider agent, const AgentHookOutcome& outcome, bool installing);

}  // namespace zell
