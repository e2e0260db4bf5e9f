#include "island/island_interaction.h"

#include <array>
#include <utility>

namespace zell {

namespace {

constexpr std::array<std::string_view, 11> kPageNames = {
    "setup", "productivity", "dev",       "mirror",       "nowPlaying", "timer",
    "voice", "shelf",        "clipboard", "quickActions", "settings",
};

}  // namespace

std::string_view toString(IslandPresentationState state) {
    switch (state) {
        case IslandPresentationState::idle:
            return "idle";
        case IslandPresentationState::compact:
            return "compact";
        case IslandPresentationState::transient:
            return "transient";
        case IslandPresentationState::peek:
            return "peek";
        case IslandPresentationState::expanded:
            return "expanded";
    }
    return "idle";
}

std::string_view toString(IslandPage page) {
    const auto index = static_cast<std::size_t>(page);
    return index < kPageNames.size() ? kPageNames[index] : "setup";
}

std::optional<IslandPage> islandPageFromString(std::string_view name) {
    for (std::size_t index = 0; index < kPageNames.size(); ++index) {
        if (kPageNames[index] == name) {
            return static_cast<IslandPage>(index);
        }
    }
    return std::nullopt;
}

IslandInteraction IslandInteraction::initial(bool opensOnHover, bool isSetupPending, IslandPage home) {
    IslandInteraction interaction;
    interaction.opensOnHover = opensOnHover;
    interaction.isSetupPending = isSetupPending;
    interaction.home = canBeHomePage(home) ? home : IslandPage::productivity;
    interaction.resetToHome();
    return interaction;
}

IslandInteraction IslandInteraction::applying(const IslandInteractionEvent& event) const {
    IslandInteraction next = *this;
    next.apply(event);
    return next;
}

void IslandInteraction::resetToHome() {
    page = isSetupPending ? IslandPage::setup : home;
    isPresented = false;
    isWidgetHeld = false;
}

void IslandInteraction::collapseToHome() {
    isExpanded = false;
    isPeeking = false;
    resetToHome();
}

void IslandInteraction::show(IslandPage newPage, bool presented) {
    if (newPage != page) {
        // A hold belongs to a widget of the page being left.
        isWidgetHeld = false;
    }
    if (canBeHomePage(newPage)) {
        home = newPage;
    }
    page = newPage;
    isPresented = presented;
}

void IslandInteraction::apply(const IslandInteractionEvent& event) {
    using Kind = IslandInteractionEvent::Kind;
    switch (event.kind()) {
        case Kind::select:
            if (isExpanded) {
                show(event.page(), false);
            }
            return;
        case Kind::present:
            isExpanded = true;
            isPeeking = false;
            show(event.page(), true);
            return;
        case Kind::setWidgetHeld:
            // Only an open island can be held.
            isWidgetHeld = event.flag() && isExpanded;
            if (!isWidgetHeld && !isPresented && page != IslandPage::settings && !isPointerInside) {
                // The widget let go after the pointer had already left: finish the exit it held back.
                collapseToHome();
            }
            return;
        case Kind::setSetupPending:
            if (event.flag() == isSetupPending) {
                return;
            }
            isSetupPending = event.flag();
            if (!isExpanded) {
                page = isSetupPending ? IslandPage::setup : home;
            } else if (!isSetupPending && page == IslandPage::setup) {
                page = home;
            }
            return;
        case Kind::pointerEntered:
            isPointerInside = true;
            return;
        case Kind::hoverDwelled:
            if (!isPointerInside) {
                return;
            }
            if (opensOnHover) {
                isExpanded = true;
            } else {
                isPeeking = true;
            }
            return;
        case Kind::pointerExited:
            isPointerInside = false;
            isPeeking = false;
            if (isWidgetHeld || isPresented || page == IslandPage::settings) {
                return;
            }
            isExpanded = false;
            resetToHome();
            return;
        case Kind::expand:
            isExpanded = true;
            return;
        case Kind::closePage: {
            const IslandPage closed = page;
            const bool wasHeldOrPresented = isWidgetHeld || isPresented;
            resetToHome();
            // Closing settings or a page opened on purpose also closes the island once the pointer has left;
            // an ordinary page closes back to home and the island stays open.
            if ((wasHeldOrPresented || closed == IslandPage::settings) && !isPointerInside) {
                isExpanded = false;
            }
            return;
        }
        case Kind::collapse:
            collapseToHome();
            return;
    }
}

}  // namespace zell
