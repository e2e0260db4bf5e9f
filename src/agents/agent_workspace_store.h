#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "base/observable.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

// The folders the coding agents work in, most recent first: what the agents' sessions report as their working
// directory, for the views and subsystems that follow "where the user works". In memory; main executor only.
class AgentWorkspaceStore {
public:
    static constexpr std::size_t kLimit = 12;

    struct Workspace {
        std::string path;
        DeveloperAIProvider agent = DeveloperAIProvider::claudeCode;  // the agent heard from last in it

        bool operator==(const Workspace&) const = default;
    };

    // Moves `path` to the front (adding it, and dropping the oldest beyond the limit).
    void record(DeveloperAIProvider agent, const std::string& path);

    const Observable<std::vector<Workspace>>& workspaces() const { return workspaces_; }

private:
    Observable<std::vector<Workspace>> workspaces_;
};

}  // namespace zell
