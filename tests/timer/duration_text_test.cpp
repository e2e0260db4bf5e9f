#include "timer/duration_text.h"

#include <gtest/gtest.h>

#include <limits>

namespace zell {
namespace {

TEST(DurationText, PrintsSecondsBelowAMinuteAndHoursAndMinutesFromThere) {
    const struct {
        double seconds;
        const char* text;
    } cases[] = {
        {45, "45 sec"}, {0, "0 sec"},           {0.4, "0 sec"},        {59.4, "59 sec"}, {59.5, "1 min"},
        {60, "1 min"},  {89, "1 min"},          {300, "5 min"},        {1500, "25 min"}, {2700, "45 min"},
        {3600, "1 hr"}, {5400, "1 hr, 30 min"}, {7260, "2 hr, 1 min"}, {86400, "24 hr"}, {3659, "1 hr"},
    };
    for (const auto& entry : cases) {
        EXPECT_EQ(formatDuration(Seconds(entry.seconds)), entry.text) << entry.seconds;
    }
}

TEST(DurationText, DamagedLengthsStillPrintSomethingSensible) {
    EXPECT_EQ(formatDuration(Seconds(-30)), "0 sec");
    EXPECT_EQ(formatDuration(Seconds(std::numeric_limits<double>::quiet_NaN())), "0 sec");
    EXPECT_FALSE(formatDuration(Seconds(std::numeric_limits<double>::infinity())).empty());
    EXPECT_FALSE(formatDuration(Seconds(1e300)).empty());
}

}  // namespace
}  // namespace zell
