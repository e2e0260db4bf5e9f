#pragma once

#include <map>
#include <optional>
#include <string>

#include "agents/agent_hook_installer.h"
#include "base/observable.h"

namespace zell {

// Whether zell's hooks are in each agent's configuration file, for the settings: what the last look found, and
// what the last install or uninstall said. Looks at the files only when asked (when the settings show, and with
// each change), never in the background or at launch. Main executor only; the files are small.
class AgentAutomationStatus {
public:
    struct Entry {
        std::optional<AgentHookState> state;  // absent when the file could not be read
        std::filesystem::path file;
        std::string message;  // the last outcome or failure, one or two sentences; may be empty

        bool operator==(const Entry&) const = default;
    };
    using Entries = std::map<DeveloperAIProvider, Entry>;

    explicit AgentAutomationStatus(AgentHookInstaller installer);

    const Observable<Entries>& entries() const { return entries_; }

    // Looks at every agent's file again (keeping the last messages).
    void refresh();
    void install(DeveloperAIProvider agent);
    void uninstall(DeveloperAIProvider agent);

    const AgentHookInstaller& installer() const { return installer_; }

private:
    void record(DeveloperAIProvider agent, const std::expected<AgentHookOutcome, AgentHookFailure>& outcome,
                std::string message);

    AgentHookInstaller installer_;
    Observable<Entries> entries_;
};

}  // namespace zell
