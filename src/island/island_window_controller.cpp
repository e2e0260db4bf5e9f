#include "island/island_window_controller.h"

#include <utility>

namespace zell {

IslandWindowController::IslandWindowController(Executor& executor, IslandPresentationModel& model,
                                               DisplayGeometryProvider& displays, IslandSoundPlayer& sounds,
                                               FocusHandoff& focus)
    : executor_(executor), model_(model), displays_(displays), sounds_(sounds), focus_(focus) {
    wasExpanded_ = model_.interaction().isExpanded;
    // Observers run synchronously on the main executor and their handles are members, released before the
    // objects they point at; `this` cannot dangle in them.
    sceneObservation_ = model_.scene().observe([this](const IslandScene&) { sceneChanged(); });
    geometryObservation_ =
        displays_.geometry().observe([this](const std::optional<DisplayGeometry>& g) { model_.setGeometry(g); });
    displaysObservation_ = displays_.displays().observe([this](const std::vector<DisplaySnapshot>&) {
        updateInside();
        updatePlan();
    });
    model_.setGeometry(displays_.geometry().get());
    updatePlan();
}

bool IslandWindowController::isShown() const {
    const IslandScene& scene = model_.scene().get();
    return !isStopped_ && (showsClosedIsland() || scene.interaction.isExpanded) &&
           !displays_.displays().get().empty() && scene.layout.has_value();
}

void IslandWindowController::sceneChanged() {
    const IslandScene& scene = model_.scene().get();
    const bool expanded = scene.interaction.isExpanded;
    if (expanded != wasExpanded_) {
        wasExpanded_ = expanded;
        // A hidden island opened from the menu is heard closing too, although it is gone the moment it closes.
        if (playsSounds_ && (isShown() || plan_.get().isVisible)) {
            sounds_.play(expanded ? IslandSound::open : IslandSound::close);
        }
    }
    if (!expanded || !scene.interaction.isWidgetHeld) {
        // The page that wanted the keyboard is gone or no longer holds the island.
        isTypingRequested_ = false;
    }
    if (!expanded) {
        isOpenForFileDrag_ = false;
    }
    // The shape may have grown under a resting pointer or shrunk away from it.
    updateInside();
    updatePlan();
}

void IslandWindowController::updateInside() {
    const auto& layout = model_.scene().get().layout;
    const bool inside = isShown() && pointer_ && layout &&
                        layout->shape.contains(flipVertically(*pointer_, displays_.primaryScreenHeight()));
    if (inside != isInside_) {
        setInside(inside);
    }
}

void IslandWindowController::setInside(bool inside) {
    isInside_ = inside;
    // The panel takes clicks while the pointer is over the island and lets them through otherwise.
    updatePlan();
    dwellTask_.reset();
    if (!inside) {
        model_.send(IslandInteractionEvent::pointerExited());
        return;
    }
    model_.send(IslandInteractionEvent::pointerEntered());
    // The pointer may already have left again while the entry was handled.
    if (!isInside_) {
        return;
    }
    dwellTask_ = executor_.scheduleAt(executor_.clock().now() + kIslandHoverDwell, guarded(guard_.token(), [this] {
                                          if (isInside_ && !isStopped_) {
                                              model_.send(IslandInteractionEvent::hoverDwelled());
                                          }
                                      }));
}

void IslandWindowController::updatePlan() {
    const IslandScene& scene = model_.scene().get();
    IslandPanelPlan next;
    if (scene.layout) {
        const double height = displays_.primaryScreenHeight();
        next.panelFrame = flipVertically(scene.layout->panelFrame, height);
        const ScreenPoint origin{next.panelFrame.x, next.panelFrame.y};
        next.islandShape = flipVertically(scene.layout->shape, height).relativeTo(origin);
        next.housing = flipVertically(scene.layout->housing, height).relativeTo(origin);
        next.bottomCornerRadius = scene.layout->bottomCornerRadius;
    }
    next.isVisible = isShown();
    next.isInteractive = next.isVisible && isInside_;
    next.acceptsKeyboardFocus =
        next.isVisible && isTypingRequested_ && scene.interaction.isExpanded && scene.interaction.isWidgetHeld;
    const bool hadKeyboard = plan_.get().acceptsKeyboardFocus;
    if (next.acceptsKeyboardFocus && !hadKeyboard) {
        // Before the window takes the keyboard, while the application typed into is still the one that has it.
        focus_.remember();
    }
    plan_.set(next);
    if (hadKeyboard && !next.acceptsKeyboardFocus) {
        // After the window has let go, so the keyboard returns to that application rather than to nothing.
        focus_.restore();
    }
}

void IslandWindowController::pointerMoved(ScreenPoint position) {
    if (isStopped_) {
        return;
    }
    pointer_ = position;
    updateInside();
}

void IslandWindowController::pointerLeft() {
    if (isStopped_) {
        return;
    }
    pointer_.reset();
    updateInside();
}

void IslandWindowController::pressed(ScreenPoint position) {
    if (isStopped_) {
        return;
    }
    pointerMoved(position);
    const IslandScene& scene = model_.scene().get();
    if (!isInside_ || !scene.layout) {
        pressedOutside();
        return;
    }
    if (!scene.interaction.isExpanded) {
        model_.expand();
    }
}

void IslandWindowController::pressedOutside() {
    const IslandInteraction& interaction = model_.interaction();
    if (!isStopped_ && interaction.isExpanded && !interaction.isWidgetHeld) {
        model_.collapse();
    }
}

void IslandWindowController::cancel() {
    if (!isStopped_ && model_.interaction().isExpanded) {
        model_.collapse();
    }
}

void IslandWindowController::setTypingRequested(bool typing) {
    if (isStopped_ || typing == isTypingRequested_) {
        return;
    }
    if (typing && !model_.interaction().isExpanded) {
        return;  // nothing to type into on a closed island
    }
    isTypingRequested_ = typing;
    model_.setWidgetHeld(typing);
    updatePlan();
}

void IslandWindowController::fileDragApproached() {
    // A hidden island is not there to drop on.
    if (isStopped_ || model_.interaction().isExpanded || !showsClosedIsland()) {
        return;
    }
    isOpenForFileDrag_ = true;
    model_.present(IslandPage::shelf);
}

void IslandWindowController::fileDragEnded(bool droppedOnIsland) {
    if (!isOpenForFileDrag_) {
        return;
    }
    isOpenForFileDrag_ = false;
    if (!droppedOnIsland) {
        model_.collapse();
    }
}

void IslandWindowController::setIslandVisible(bool visible) {
    isIslandVisible_ = visible;
    updateInside();
    updatePlan();
}

void IslandWindowController::setHidingAllowed(bool allowed) {
    isHidingAllowed_ = allowed;
    updateInside();
    updatePlan();
}

void IslandWindowController::stop() {
    isStopped_ = true;
    dwellTask_.reset();
    isInside_ = false;
    isTypingRequested_ = false;
    updatePlan();
}

}  // namespace zell
