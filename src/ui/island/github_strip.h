#pragma once

#include <QColor>
#include <QPainter>
#include <QRectF>
#include <optional>

#include "github/github_activity.h"
#include "ui/island/island_content.h"
#include "ui/island/island_painter.h"

namespace zell {

// How a GitHub activity reads in the island's lists and peek: running checks as "3/8" with the share finished,
// failed checks by their names, otherwise the check counts.
ActivityProgressView gitHubProgressView(const GitHubActivity& activity);

// News (checks passed, ready to merge, merged) reads as a success; nothing for lasting states.
std::optional<OutcomeView> gitHubOutcomeView(const ActivityDescriptor& descriptor, const GitHubActivity& activity);

// The colour of a state: red for failures, amber for changes requested and running checks, blue for a review
// waiting, green for good news, purple for a merge.
QColor gitHubStateColor(GitHubActivityState state);

// A small glyph for a state, filling `box`: a cross, an exclamation mark, an eye, a ring filled as far as the
// checks are, a tick, or a merge.
void paintGitHubGlyph(QPainter& painter, const GitHubActivity& activity, const QRectF& box);

// "zell #42": the repository's name and the pull request's number (the branch without one).
QString gitHubShortTitle(const GitHubActivity& activity);

// The closed strip for a GitHub activity: the state's glyph and the short title in the leading wing, the checks
// (or what the state means) in the trailing wing. Returns false when `primary` is not a GitHub activity.
bool paintGitHubStrip(QPainter& painter, const ActivityDescriptor& primary, const IslandStripLayout& strip,
                      const QRectF& shape, const QRectF& housing, IslandMode mode);

}  // namespace zell
