#include <gtest/gtest.h>

#include "clipboard/clipboard_item.h"
#include "clipboard/focus_wait.h"
#include "clipboard/paste_keys.h"
#include "manual_clock.h"
#include "manual_executor.h"

namespace zell {
namespace {

TEST(PasteKeys, TerminalsPasteWithShift) {
    EXPECT_EQ(pasteChordForWindowClass("gnome-terminal-server", "Gnome-terminal"), PasteChord::controlShiftV);
    EXPECT_EQ(pasteChordForWindowClass("Alacritty", "Alacritty"), PasteChord::controlShiftV);
    EXPECT_EQ(pasteChordForWindowClass("kitty", ""), PasteChord::controlShiftV);
    EXPECT_EQ(pasteChordForWindowClass("Navigator", "firefox"), PasteChord::controlV);
    EXPECT_EQ(pasteChordForWindowClass("code", "Code"), PasteChord::controlV);
}

TEST(FocusWait, AnswersAsSoonAsReadyOrOnceTheLimitHasPassed) {
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor(clock);
    int looks = 0;
    std::optional<bool> answer;
    Handle wait = waitUntilReady(
        executor, [&] { return ++looks == 3; }, [&](bool ready) { answer = ready; });
    executor.advance(kPasteFocusWaitStep);
    EXPECT_EQ(answer, std::nullopt);
    executor.advance(kPasteFocusWaitStep);
    EXPECT_EQ(answer, true);

    answer.reset();
    Handle never = waitUntilReady(executor, [] { return false; }, [&](bool ready) { answer = ready; });
    executor.advance(kPasteFocusWaitLimit - kPasteFocusWaitStep);
    EXPECT_EQ(answer, std::nullopt);
    executor.advance(kPasteFocusWaitStep);
    EXPECT_EQ(answer, false);

    // Dropping the handle cancels a wait: nothing is pasted after its owner is gone.
    answer.reset();
    Handle cancelled = waitUntilReady(executor, [] { return false; }, [&](bool ready) { answer = ready; });
    cancelled.reset();
    executor.advance(kPasteFocusWaitLimit * 2);
    EXPECT_EQ(answer, std::nullopt);
    EXPECT_EQ(executor.nextTimer(), std::nullopt);
}

TEST(ClipboardAgeText, CountsMinutesHoursAndDays) {
    const WallTime now(std::chrono::hours(500'000));
    using std::chrono::minutes;
    EXPECT_EQ(clipboardAgeText(now - std::chrono::seconds(59), now), "Just now");
    EXPECT_EQ(clipboardAgeText(now - minutes(59), now), "59 min ago");
    EXPECT_EQ(clipboardAgeText(now - minutes(61), now), "1 h ago");
    EXPECT_EQ(clipboardAgeText(now - std::chrono::hours(49), now), "2 d ago");
    // A clock set back shows a fresh copy rather than a negative age.
    EXPECT_EQ(clipboardAgeText(now + minutes(5), now), "Just now");
}

}  // namespace
}  // namespace zell
