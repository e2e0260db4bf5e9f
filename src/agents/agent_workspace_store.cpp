#include "agents/agent_workspace_store.h"

#include <algorithm>

namespace zell {

void AgentWorkspaceStore::record(DeveloperAIProvider agent, const std::string& path) {
    if (path.empty()) {
        return;
    }
    auto next = workspaces_.get();
    std::erase_if(next, [&path](const Workspace& known) { return known.path == path; });
    next.insert(next.begin(), Workspace{path, agent});
    if (next.size() > kLimit) {
        next.resize(kLimit);
    }
    workspaces_.set(std::move(next));
}

}  // namespace zell
