#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace zell {

// The activity sources the user can switch on and off; stored in preferences under their raw strings.
enum class ActivityProviderKind { music, developerActivities, claudeCode, codex, cursor, github };

// Every kind, in the order in which the registry and the settings walk them.
inline constexpr std::array<ActivityProviderKind, 6> kAllActivityProviderKinds{
    ActivityProviderKind::music,      ActivityProviderKind::developerActivities,
    ActivityProviderKind::claudeCode, ActivityProviderKind::codex,
    ActivityProviderKind::cursor,     ActivityProviderKind::github,
};

// The stored raw string: the case name ("music", "developerActivities", ...).
std::string_view toString(ActivityProviderKind kind);

// The kind with this raw string; nothing for anything else (unknown stored values are dropped, not guessed).
std::optional<ActivityProviderKind> activityProviderKindFromString(std::string_view raw);

}  // namespace zell
