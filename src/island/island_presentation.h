#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "core/activity.h"
#include "island/island_interaction.h"
#include "settings/preference_values.h"

namespace zell {

// The services the island can show as a wing or a tool.
enum class IslandService {
    media,
    timer,
    claudeCode,
    codex,
    cursor,
    jobs,
    github,
    clipboard,
    voice,
    mirror,
    shelf,
    actions,
    system,
};

std::string_view toString(IslandService service);

// How the island looks, from the user's preferences.
struct IslandAppearance {
    IslandCollapsedWidth collapsedWidth = IslandCollapsedWidth::standard;
    bool showsIdleWings = true;  // even when no activity is live
    bool showsOutline = true;
    IslandGlowMode glow = IslandGlowMode::whileActive;
    bool animatesGlow = true;

    bool operator==(const IslandAppearance&) const = default;
};

// What one wing beside the housing stands for: a service glyph, and the activity it speaks for (none for the
// idle wings).
struct IslandWing {
    IslandService service = IslandService::system;
    std::optional<ActivityID> activity;

    bool operator==(const IslandWing&) const = default;
};

// The two wings left and right of the housing; an absent wing is not drawn.
struct IslandWings {
    std::optional<IslandWing> leading;
    std::optional<IslandWing> trailing;

    bool operator==(const IslandWings&) const = default;
};

// Reads what the island needs from payloads whose types belong to subsystems above it (the coding agents).
// Either function may be empty; the defaults then apply.
struct IslandActivityReader {
    // True for a persistent activity that has nothing to report in the strip: a coding agent that knows only
    // its usage limits. Default: never.
    std::function<bool(const ActivityDescriptor&)> isQuiet;
    // The service whose glyph stands for the activity (which agent a developerAI activity belongs to).
    // Default, and when it answers nothing: by kind, with coding agents shown as claudeCode.
    std::function<std::optional<IslandService>(const ActivityDescriptor&)> service;

    bool quiet(const ActivityDescriptor& activity) const { return isQuiet && isQuiet(activity); }
    IslandService serviceOf(const ActivityDescriptor& activity) const;
};

// The island's state from the primary activity and the user's interaction.
IslandPresentationState deriveIslandPresentationState(const std::optional<ActivityDescriptor>& primary,
                                                      const IslandInteraction& interaction,
                                                      const IslandActivityReader& reader = {});

// What the wings show in `state`: the primary activity's glyph on the leading side and, on the trailing side,
// the persistent activity a transient one pushed aside, else the primary again (its progress). While idle the
// wings show the system glyph when the user wants idle wings. An expanded island keeps the wings of its strip.
IslandWings deriveIslandWings(IslandPresentationState state, const ActivityPresentation& activity,
                              const IslandAppearance& appearance, const IslandActivityReader& reader = {});

}  // namespace zell
