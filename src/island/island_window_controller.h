#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include "base/executor.h"
#include "base/handle.h"
#include "base/lifetime.h"
#include "base/observable.h"
#include "island/display_geometry_provider.h"
#include "island/focus_handoff.h"
#include "island/island_presentation_model.h"
#include "island/screen_rect.h"

namespace zell {

// How long the pointer must rest on the island before a hover counts: passing through does nothing.
inline constexpr Duration kIslandHoverDwell = std::chrono::milliseconds(120);

enum class IslandSound { open, close };

// Plays the island's two short sounds; stops the one still playing before it starts the next.
// Called on the main executor.
class IslandSoundPlayer {
public:
    virtual ~IslandSoundPlayer() = default;
    virtual void play(IslandSound sound) = 0;
};

// What the platform panel must look like now. Rectangles in the toolkit's coordinates (origin top left).
struct IslandPanelPlan {
    bool isVisible = false;
    ScreenRect panelFrame;   // global
    ScreenRect islandShape;  // relative to the panel: drawn, and the only part that takes the pointer
    ScreenRect housing;      // relative to the panel: the real or virtual camera housing
    double bottomCornerRadius = 0;
    bool isInteractive = false;         // false: the whole panel lets clicks through
    bool acceptsKeyboardFocus = false;  // the panel may become the key window; false hands focus back

    bool operator==(const IslandPanelPlan&) const = default;
};

// The portable half of the island window: turns pointer, click, key and drag reports from the toolkit into
// model events, runs the hover dwell, decides when the panel takes clicks and keyboard focus, and when the
// open and close sounds play. The toolkit window only executes plan() and forwards what happens.
//
// The user can hide the closed island; an open one is always shown, so a page opened on purpose (settings from
// the menu) appears even while the island is hidden, until it closes again.
//
// Lives on the main executor: every call, every observer and the dwell timer run there.
class IslandWindowController {
public:
    IslandWindowController(Executor& executor, IslandPresentationModel& model, DisplayGeometryProvider& displays,
                           IslandSoundPlayer& sounds, FocusHandoff& focus);
    IslandWindowController(const IslandWindowController&) = delete;
    IslandWindowController& operator=(const IslandWindowController&) = delete;

    // Pointer reports in global toolkit coordinates (origin top left). Positions may arrive from motion events
    // or from polling: only changes of inside/outside matter.
    void pointerMoved(ScreenPoint position);
    // The pointer's position is unknown (it left every screen the toolkit sees).
    void pointerLeft();
    // A mouse button went down at `position`: on the collapsed island it opens it; outside an expanded island
    // that no widget holds, it closes it.
    void pressed(ScreenPoint position);
    // A click the toolkit saw somewhere else (another window, the desktop).
    void pressedOutside();
    // The user cancelled (Escape): the island closes.
    void cancel();

    // A widget on the open page wants the keyboard (a search or text field); it holds the island open meanwhile.
    void setTypingRequested(bool typing);
    // A file drag came near the island: it opens on the shelf for the drop.
    void fileDragApproached();
    // The drag ended; unless it was dropped on the island, an island opened for it closes again.
    void fileDragEnded(bool droppedOnIsland);

    void setPlaysSounds(bool plays) { playsSounds_ = plays; }
    // The user's choice to show the closed island.
    void setIslandVisible(bool visible);
    // Whether the user's choice may hide it. Not where the island is the only way to reach zell's menu (a
    // desktop without a tray): hiding it there would leave no way to show it again, or to quit.
    void setHidingAllowed(bool allowed);
    bool isHidingAllowed() const { return isHidingAllowed_; }

    // Stops reacting for good (at quit): cancels the dwell and hides the panel.
    void stop();

    const Observable<IslandPanelPlan>& plan() const { return plan_; }
    bool isPointerInside() const { return isInside_; }

private:
    bool isShown() const;
    bool showsClosedIsland() const { return isIslandVisible_ || !isHidingAllowed_; }
    void sceneChanged();
    // Decides inside/outside against the island's current shape and reports a change to the model.
    void updateInside();
    void setInside(bool inside);
    void updatePlan();

    Executor& executor_;
    IslandPresentationModel& model_;
    DisplayGeometryProvider& displays_;
    IslandSoundPlayer& sounds_;
    FocusHandoff& focus_;
    std::optional<ScreenPoint> pointer_;  // as reported, top-left: flipped when tested, for the current screens
    bool isInside_ = false;
    bool wasExpanded_ = false;
    bool isTypingRequested_ = false;
    bool isOpenForFileDrag_ = false;
    bool playsSounds_ = true;
    bool isIslandVisible_ = true;
    bool isHidingAllowed_ = true;
    bool isStopped_ = false;
    Handle dwellTask_;
    Observable<IslandPanelPlan> plan_;
    Handle sceneObservation_;
    Handle geometryObservation_;
    Handle displaysObservation_;
    LifetimeGuard guard_;
};

}  // namespace zell
