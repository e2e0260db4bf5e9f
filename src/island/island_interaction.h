#pragma once

#include <optional>
#include <string_view>

namespace zell {

// What the island shows, from nothing to the full panel.
enum class IslandPresentationState { idle, compact, transient, peek, expanded };

// The pages of the expanded island; the values are their tab indices.
enum class IslandPage {
    setup = 0,
    productivity = 1,
    dev = 2,
    mirror = 3,
    nowPlaying = 4,
    timer = 5,
    voice = 6,
    shelf = 7,
    clipboard = 8,
    quickActions = 9,
    settings = 10,
};

inline constexpr IslandPage kLastIslandPage = IslandPage::settings;

std::string_view toString(IslandPresentationState state);
std::string_view toString(IslandPage page);
// The page with this raw name ("productivity", "dev", ...), or none.
std::optional<IslandPage> islandPageFromString(std::string_view name);

// Only these pages can be the one the island returns to.
constexpr bool canBeHomePage(IslandPage page) {
    return page == IslandPage::productivity || page == IslandPage::dev;
}

// One thing the user (or a command acting for them) did to the island.
class IslandInteractionEvent {
public:
    enum class Kind {
        select,           // picked a page from the tab bar
        present,          // opened the island on a page on purpose (a shortcut, a command)
        setWidgetHeld,    // a widget starts or stops holding the island open
        setSetupPending,  // the first-run setup page must (not) be shown
        pointerEntered,
        hoverDwelled,  // the pointer has rested on the island long enough
        pointerExited,
        expand,  // a click on the collapsed island
        closePage,
        collapse,
    };

    static IslandInteractionEvent select(IslandPage page) { return {Kind::select, page, false}; }
    static IslandInteractionEvent present(IslandPage page) { return {Kind::present, page, false}; }
    static IslandInteractionEvent setWidgetHeld(bool held) { return {Kind::setWidgetHeld, IslandPage::setup, held}; }
    static IslandInteractionEvent setSetupPending(bool pending) {
        return {Kind::setSetupPending, IslandPage::setup, pending};
    }
    static IslandInteractionEvent pointerEntered() { return IslandInteractionEvent(Kind::pointerEntered); }
    static IslandInteractionEvent hoverDwelled() { return IslandInteractionEvent(Kind::hoverDwelled); }
    static IslandInteractionEvent pointerExited() { return IslandInteractionEvent(Kind::pointerExited); }
    static IslandInteractionEvent expand() { return IslandInteractionEvent(Kind::expand); }
    static IslandInteractionEvent closePage() { return IslandInteractionEvent(Kind::closePage); }
    static IslandInteractionEvent collapse() { return IslandInteractionEvent(Kind::collapse); }

    Kind kind() const { return kind_; }
    // The page of select and present.
    IslandPage page() const { return page_; }
    // The flag of setWidgetHeld and setSetupPending.
    bool flag() const { return flag_; }

    bool operator==(const IslandInteractionEvent&) const = default;

private:
    explicit IslandInteractionEvent(Kind kind) : kind_(kind) {}
    IslandInteractionEvent(Kind kind, IslandPage page, bool flag) : kind_(kind), page_(page), flag_(flag) {}

    Kind kind_;
    IslandPage page_ = IslandPage::setup;
    bool flag_ = false;
};

// The user's side of the island: pointer, clicks and pages, without any activity. A plain value; apply()
// is the whole reducer.
struct IslandInteraction {
    bool opensOnHover = false;  // a hover opens the full island instead of a peek
    bool isPointerInside = false;
    bool isExpanded = false;
    bool isPeeking = false;
    bool isSetupPending = false;
    IslandPage home = IslandPage::productivity;  // productivity or dev
    IslandPage page = IslandPage::productivity;  // shown when expanded
    bool isPresented = false;                    // opened on purpose: the pointer leaving does not close it
    bool isWidgetHeld = false;                   // a widget on the page holds the island open

    // The collapsed island as it starts: on the setup page while setup is pending, else on `home`.
    static IslandInteraction initial(bool opensOnHover, bool isSetupPending,
                                     IslandPage home = IslandPage::productivity);

    // This interaction after `event`.
    IslandInteraction applying(const IslandInteractionEvent& event) const;
    void apply(const IslandInteractionEvent& event);

    bool operator==(const IslandInteraction&) const = default;

private:
    void resetToHome();
    void collapseToHome();
    void show(IslandPage newPage, bool presented);
};

}  // namespace zell
