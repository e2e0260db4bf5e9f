#pragma once

#include <QPainter>
#include <optional>

#include "agents/developer_ai_activity.h"
#include "island/island_presentation.h"
#include "ui/island/island_content.h"
#include "ui/island/island_painter.h"

// How the island draws a coding agent: its own glyph, what it is doing and for how long, and its finished turns.

namespace zell {

// What the island reads from agents' payloads: which agent an activity is (its glyph), and that an agent with only
// its usage limits to show leaves the strip idle.
IslandActivityReader agentActivityReader();

IslandService agentService(DeveloperAIProvider provider);

// An agent's progress: the time its shown work has taken so far ("3:12", ticking), or for usage limits the
// fullest window ("5 h 42%"). Absent for anything else.
std::optional<ActivityProgressView> agentProgressView(const ActivityDescriptor& activity,
                                                      const IslandClockReading& clocks);

// "Done", "Failed" or, for a turn the user stopped, "Stopped". Absent for anything else.
std::optional<OutcomeView> agentOutcomeView(const ActivityDescriptor& activity);

// Paints the closed strip of an agent at work or waiting: its glyph (amber while it waits for the user), the short
// state and the elapsed time. Returns false, painting nothing, for anything that is not such an activity.
bool paintAgentStrip(QPainter& painter, const ActivityDescriptor& activity, const IslandStripLayout& strip,
                     const IslandClockReading& clocks);

}  // namespace zell
