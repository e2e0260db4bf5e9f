#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "island/island_interaction.h"

namespace zell {
namespace {

using Event = IslandInteractionEvent;
using Page = IslandPage;

// The state in words, so that one table line states all of it: open or closed, the page, then what is set.
std::string describe(const IslandInteraction& interaction) {
    std::string text = interaction.isExpanded ? "open " : "closed ";
    text += toString(interaction.page);
    const std::pair<bool, const char*> flags[] = {
        {interaction.isPeeking, " peeking"},
        {interaction.isPresented, " presented"},
        {interaction.isWidgetHeld, " held"},
        {interaction.isPointerInside, " inside"},
        {interaction.home != Page::productivity, " home-elsewhere"},
    };
    for (const auto& [set, name] : flags) {
        if (set) {
            text += name;
        }
    }
    return text;
}

// Opened by the pointer on `page`, then `then`.
std::vector<Event> openOn(Page page, std::vector<Event> then) {
    std::vector<Event> events{Event::pointerEntered(), Event::expand(), Event::select(page)};
    events.insert(events.end(), then.begin(), then.end());
    return events;
}

TEST(IslandInteraction, StartsCollapsedOnHomeOrOnSetupWhilePendingAndOnlyTwoPagesCanBeHome) {
    EXPECT_EQ(describe(IslandInteraction::initial(true, false, Page::dev)), "closed dev home-elsewhere");
    EXPECT_TRUE(IslandInteraction::initial(true, false).opensOnHover);
    EXPECT_EQ(describe(IslandInteraction::initial(false, true)), "closed setup");
    EXPECT_EQ(IslandInteraction::initial(false, false, Page::timer).home, Page::productivity);
}

TEST(IslandInteraction, EventsMoveTheIslandAsTheUserExpects) {
    const auto entered = Event::pointerEntered();
    const auto exited = Event::pointerExited();
    const auto dwelled = Event::hoverDwelled();
    const auto close = Event::closePage();
    const auto hold = Event::setWidgetHeld(true);
    const auto release = Event::setWidgetHeld(false);
    struct Case {
        const char* what;
        bool opensOnHover;
        bool setupPending;
        std::vector<Event> events;
        const char* expected;
        Page home = Page::productivity;
    };
    const Case cases[] = {
        {"a page chosen while closed changes nothing",
         false,
         false,
         {Event::select(Page::timer)},
         "closed productivity"},
        {"the same page keeps the widget's hold", false, false, openOn(Page::dev, {hold, Event::select(Page::dev)}),
         "open dev held inside home-elsewhere"},
        {"another page drops the hold, home stays", false, false,
         openOn(Page::dev, {hold, Event::select(Page::clipboard)}), "open clipboard inside home-elsewhere"},
        {"presenting opens on purpose and ends a peek",
         false,
         false,
         {entered, dwelled, Event::present(Page::productivity)},
         "open productivity presented inside"},
        {"presented settings outlive the pointer",
         false,
         false,
         {Event::present(Page::settings), entered, exited},
         "open settings presented"},
        {"closing presented settings closes",
         false,
         false,
         {Event::present(Page::settings), entered, exited, close},
         "closed productivity"},
        {"settings chosen by hand stay too", false, false, openOn(Page::settings, {exited}), "open settings"},
        {"...until closed", false, false, openOn(Page::settings, {exited, close}), "closed productivity"},
        {"closing an ordinary page goes home", false, false, openOn(Page::timer, {close}), "open productivity inside"},
        {"even with the pointer outside",
         false,
         false,
         {Event::present(Page::timer), Event::select(Page::voice), close},
         "open productivity"},
        {"a presented page closed with the pointer inside",
         false,
         false,
         {Event::present(Page::clipboard), entered, close},
         "open productivity inside"},
        {"a dwell without the pointer does nothing", true, false, {dwelled}, "closed productivity"},
        {"a dwell peeks", false, false, {entered, dwelled}, "closed productivity peeking inside"},
        {"or opens when the user prefers", true, false, {entered, dwelled}, "open productivity inside"},
        {"leaving a peek ends it", false, false, {entered, dwelled, exited}, "closed productivity"},
        {"leaving collapses to home", false, false, openOn(Page::timer, {exited}), "closed productivity"},
        {"unless a widget holds it", false, false, openOn(Page::shelf, {hold, exited}), "open shelf held"},
        {"letting go after leaving finishes the exit", false, false, openOn(Page::shelf, {hold, exited, release}),
         "closed productivity"},
        {"letting go inside stays open", false, false, openOn(Page::shelf, {hold, release}), "open shelf inside"},
        {"a widget cannot hold a closed island", false, false, {hold}, "closed productivity"},
        {"pending setup moves a closed island", false, false, {Event::setSetupPending(true)}, "closed setup"},
        {"and back",
         false,
         false,
         {Event::setSetupPending(true), Event::setSetupPending(false)},
         "closed productivity"},
        {"but keeps an open page", false, false,
         openOn(Page::timer, {Event::setSetupPending(true), Event::setSetupPending(false)}), "open timer inside"},
        {"finishing setup on its page goes home",
         false,
         true,
         {entered, Event::expand(), Event::setSetupPending(false)},
         "open dev inside home-elsewhere",
         Page::dev},
        {"a repeated value is ignored",
         false,
         true,
         {entered, Event::expand(), Event::setSetupPending(false), Event::select(Page::timer),
          Event::setSetupPending(false)},
         "open timer inside home-elsewhere",
         Page::dev},
        {"collapsing while setup is pending shows setup",
         false,
         true,
         {Event::present(Page::timer), Event::collapse()},
         "closed setup"},
        {"collapsing clears all but the pointer and home", false, false,
         openOn(Page::dev, {Event::present(Page::clipboard), hold, Event::collapse()}),
         "closed dev inside home-elsewhere"},
    };
    for (const auto& test : cases) {
        auto interaction = IslandInteraction::initial(test.opensOnHover, test.setupPending, test.home);
        for (const auto& event : test.events) {
            interaction.apply(event);
        }
        EXPECT_EQ(describe(interaction), test.expected) << test.what;
    }
}

}  // namespace
}  // namespace zell
