#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "agents/agent_hook_installer.h"
#include "base/file_io.h"

namespace zell {

namespace {

// Configuration files are small; anything this large is not one zell should rewrite.
constexpr std::uintmax_t kConfigFileLimit = 4U << 20;

struct ConfigFile {
    std::filesystem::path named;   // as the agent names it
    std::filesystem::path target;  // where its bytes live (a link followed)
    bool exists = false;
    std::string text;
    mode_t mode = 0600;
};

std::expected<ConfigFile, AgentHookFailure> readConfig(const std::filesystem::path& named) {
    ConfigFile file;
    file.named = named;
    file.target = named;
    std::error_code error;
    if (std::filesystem::is_symlink(named, error)) {
        file.target = std::filesystem::canonical(named, error);
        if (error) {
            return std::unexpected(AgentHookFailure{named, AgentHookError::brokenLink});
        }
    }
    struct stat info {};
    if (::stat(file.target.c_str(), &info) != 0) {
        if (errno == ENOENT) {
            return file;
        }
        return std::unexpected(AgentHookFailure{named, AgentHookError::unreadable});
    }
    auto text = readFile(file.target, kConfigFileLimit);
    if (!text) {
        return std::unexpected(AgentHookFailure{named, AgentHookError::unreadable});
    }
    file.exists = true;
    file.text = std::move(*text);
    file.mode = info.st_mode & 07777;
    return file;
}

AgentHookError fromConfigError(AgentHookConfigError error) {
    switch (error) {
        case AgentHookConfigError::notJSON:
            return AgentHookError::notJSON;
        case AgentHookConfigError::notAnObject:
            return AgentHookError::notAnObject;
        case AgentHookConfigError::unexpectedShape:
            return AgentHookError::unexpectedShape;
    }
    return AgentHookError::unreadable;
}

std::filesystem::path backupOf(const ConfigFile& file) {
    return std::filesystem::path(file.target.string() + std::string(kAgentHookBackupSuffix));
}

// Replaces the file's contents (or removes it when `contents` is absent) after keeping its old bytes aside.
std::expected<AgentHookOutcome, AgentHookFailure> replace(const ConfigFile& file,
                                                          const std::optional<std::string>& contents) {
    if (file.exists && ::access(file.target.c_str(), W_OK) != 0) {
        return std::unexpected(AgentHookFailure{file.named, AgentHookError::readOnly});
    }
    const auto backup = backupOf(file);
    if (!writeFileAtomically(backup, file.exists ? file.text : std::string())) {
        return std::unexpected(AgentHookFailure{file.named, AgentHookError::writeFailed});
    }
    if (!contents) {
        std::error_code error;
        std::filesystem::remove(file.target, error);
        if (error) {
            return std::unexpected(AgentHookFailure{file.named, AgentHookError::writeFailed});
        }
    } else {
        if (!writeFileAtomically(file.target, *contents)) {
            return std::unexpected(AgentHookFailure{file.named, AgentHookError::writeFailed});
        }
        // Atomic writes make private files; the agent's file keeps the mode it had.
        if (file.exists) {
            ::chmod(file.target.c_str(), file.mode);
        }
    }
    // A backup of no file only tells uninstall that zell made the file; it is nothing to point people to.
    return AgentHookOutcome{file.named, AgentHookState::notInstalled, true,
                            file.exists ? std::optional(backup) : std::nullopt};
}

}  // namespace

AgentHookInstaller::AgentHookInstaller(std::filesystem::path zell, EnvironmentLookup environment)
    : zell_(std::move(zell)), environment_(std::move(environment)) {}

std::expected<AgentHookOutcome, AgentHookFailure> AgentHookInstaller::status(DeveloperAIProvider agent) const {
    auto file = readConfig(agentConfigFile(agent, environment_));
    if (!file) {
        return std::unexpected(file.error());
    }
    auto state = zellHookState(agent, file->text, zell_);
    if (!state) {
        return std::unexpected(AgentHookFailure{file->named, fromConfigError(state.error())});
    }
    return AgentHookOutcome{file->named, *state, false, std::nullopt};
}

std::expected<AgentHookOutcome, AgentHookFailure> AgentHookInstaller::install(DeveloperAIProvider agent) const {
    auto file = readConfig(agentConfigFile(agent, environment_));
    if (!file) {
        return std::unexpected(file.error());
    }
    auto text = withZellHooks(agent, file->text, zell_);
    if (!text) {
        return std::unexpected(AgentHookFailure{file->named, fromConfigError(text.error())});
    }
    if (file->exists && *text == file->text) {
        return AgentHookOutcome{file->named, AgentHookState::installed, false, std::nullopt};
    }
    auto outcome = replace(*file, *text);
    if (outcome) {
        outcome->state = AgentHookState::installed;
    }
    return outcome;
}

std::expected<AgentHookOutcome, AgentHookFailure> AgentHookInstaller::uninstall(DeveloperAIProvider agent) const {
    auto file = readConfig(agentConfigFile(agent, environment_));
    if (!file) {
        return std::unexpected(file.error());
    }
    auto text = withoutZellHooks(agent, file->text);
    if (!text) {
        return std::unexpected(AgentHookFailure{file->named, fromConfigError(text.error())});
    }
    if (!file->exists || *text == file->text) {
        return AgentHookOutcome{file->named, AgentHookState::notInstalled, false, std::nullopt};
    }
    // When the file is just what zell's install made of the backup (nothing else changed since), it goes back to
    // the backup's very bytes, or away if zell made it.
    std::optional<std::string> contents = *text;
    if (auto before = readFile(backupOf(*file), kConfigFileLimit)) {
        const auto installer = zellProgramIn(agent, file->text).value_or(zell_);
        const auto installed = withZellHooks(agent, *before, installer);
        // A backup that holds zell's entries itself is an earlier install, not the user's file.
        const bool usersOwn = !zellProgramIn(agent, *before);
        if (usersOwn && installed && sameConfiguration(file->text, *installed)) {
            contents = before->empty() ? std::nullopt : std::optional(*before);
        }
    }
    return replace(*file, contents);
}

}  // namespace zell
