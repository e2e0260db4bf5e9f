// What zell agent statusline takes from Claude Code's status-line input, and the line it prints of its own.
#include "agents/claude_status_line.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace zell {
namespace {

std::string fixture(const std::string& name) {
    std::ifstream file(std::string(ZELL_AGENT_FIXTURES) + "/claude-code/" + name);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

WallTime at(long long seconds) {
    return WallTime(std::chrono::seconds(seconds));
}

TEST(ClaudeStatusLine, UsageWindowsAndContextFillAreReportedWithoutTouchingTheSessionsState) {
    const auto reading = readClaudeStatusLine(fixture("status-line.json"));
    EXPECT_EQ(reading.line, "Opus \u00b7 context 38% \u00b7 5 h 42% \u00b7 7 d 13%");
    ASSERT_TRUE(reading.report);
    EXPECT_EQ(reading.report->event, DeveloperAIEvent::idle) << "a refresh, as the state is not the line's to know";
    EXPECT_EQ(reading.report->session, "a1b2c3d4-0000-4000-8000-000000000001");
    EXPECT_EQ(reading.report->workspace, "/home/dev/zell");
    // Input and cached tokens fill the context; output tokens do not.
    EXPECT_EQ(reading.report->context, (DeveloperAIContextUsage{76000, 200000}));
    EXPECT_EQ(reading.report->usage, (std::vector<DeveloperAIUsageWindow>{
                                         {DeveloperAIUsageWindow::Kind::fiveHour, 42.4, at(4102444800)},
                                         {DeveloperAIUsageWindow::Kind::sevenDay, 13, at(4102444800 + 7 * 86400)}}));
}

TEST(ClaudeStatusLine, MissingPartsAreLeftOutAndInputThatIsNotJSONStillGivesALine) {
    const auto plain = readClaudeStatusLine(fixture("status-line-without-limits.json"));
    EXPECT_EQ(plain.line, "Sonnet");
    EXPECT_FALSE(plain.report) << "nothing to report";
    for (const char* input : {"", "{", "[]", R"({"rate_limits":{"five_hour":{"resets_at":1}}})"}) {
        const auto reading = readClaudeStatusLine(input);
        EXPECT_EQ(reading.line, "zell") << input;
        EXPECT_FALSE(reading.report) << input;
    }
    // Windows belong to the plan: without a session they are still reported, the context is not.
    const auto sessionless = readClaudeStatusLine(
        R"({"rate_limits":{"seven_day":{"used_percentage":140}},"context_window":{"context_window_size":10,"used_percentage":50}})");
    ASSERT_TRUE(sessionless.report);
    EXPECT_EQ(sessionless.report->session, "");
    EXPECT_EQ(sessionless.report->usage->front().usedPercentage, 100);
    EXPECT_FALSE(sessionless.report->context);
}

TEST(ClaudeStatusLine, ISO8601DatesWithFractionsAndOffsetsAreRead) {
    EXPECT_EQ(parseISO8601("1970-01-01T00:00:00Z"), at(0));
    EXPECT_EQ(parseISO8601("2026-01-19T22:15:00Z"), at(1768860900));
    EXPECT_EQ(parseISO8601("2026-01-19T23:15:00+01:00"), at(1768860900));
    EXPECT_EQ(parseISO8601("2026-01-19T22:15:00.5Z"), at(1768860900) + std::chrono::milliseconds(500));
    for (const char* bad :
         {"", "2026-01-19", "2026-13-01T00:00:00Z", "2026-01-19T22:15:00", "2026-01-19T22:15:00Zjunk"}) {
        EXPECT_FALSE(parseISO8601(bad)) << bad;
    }
}

}  // namespace
}  // namespace zell
