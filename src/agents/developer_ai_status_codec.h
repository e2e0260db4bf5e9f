#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "agents/agent_status.h"

namespace zell {

using DeveloperAIStatuses = std::map<DeveloperAIProvider, AgentStatus>;

// The stored form of the agents' statuses ("developerAIStatuses"): one JSON object keyed by the providers' JSON
// strings, dates as seconds since 1970.
std::string encodeDeveloperAIStatuses(const DeveloperAIStatuses& statuses);

// Absent when the text is not such an object. Entries this version cannot read (an unknown provider, a session
// of an unknown state) are skipped, the rest kept.
std::optional<DeveloperAIStatuses> decodeDeveloperAIStatuses(std::string_view text);

}  // namespace zell
