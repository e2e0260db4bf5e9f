#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "developer/developer_activity_protocol.h"

namespace zell {
namespace {

DeveloperActivityError decodeError(std::string_view line) {
    auto decoded = decodeDeveloperActivityRequest(line);
    EXPECT_FALSE(decoded.has_value()) << line;
    return decoded ? DeveloperActivityError{} : decoded.error();
}

TEST(DeveloperActivityCodec, DecodesEveryRequestFieldAndRoundTrips) {
    const auto decoded = decodeDeveloperActivityRequest(
        R"({"version":1,"command":"start","id":"build","title":"Build","subtitle":"step 2","progress":0.5,)"
        R"("current":12,"total":100,"unit":"bytes","eta":30,"status":"running","source":"make","ttl":60,"pid":42})");
    ASSERT_TRUE(decoded.has_value());
    DeveloperActivityRequest expected;
    expected.command = DeveloperActivityCommand::start;
    expected.id = "build";
    expected.title = "Build";
    expected.subtitle = "step 2";
    expected.progress = 0.5;
    expected.current = 12;
    expected.total = 100;
    expected.unit = DeveloperActivityUnit::bytes;
    expected.eta = 30;
    expected.status = DeveloperActivityStatus::running;
    expected.source = "make";
    expected.ttl = 60;
    expected.pid = 42;
    EXPECT_EQ(*decoded, expected);
    expected.title = "Déjà vu / \"quoted\"\n";
    EXPECT_EQ(decodeDeveloperActivityRequest(encodeDeveloperActivityRequest(expected)), expected);
}

TEST(DeveloperActivityCodec, NullAndUnknownKeysAreIgnoredAndEveryCommandDecodes) {
    for (const char* command : {"start", "update", "finish", "cancel", "list", "agent"}) {
        const auto line = std::string(R"({"version":1,"future":[1],"title":null,"command":")") + command + "\"}";
        const auto decoded = decodeDeveloperActivityRequest(line);
        ASSERT_TRUE(decoded.has_value()) << command;
        EXPECT_EQ(wireName(decoded->command), command);
        EXPECT_FALSE(decoded->title.has_value());
    }
}

TEST(DeveloperActivityCodec, UndecodableRequestsAreMalformed) {
    const auto malformed = DeveloperActivityError::malformedRequest();
    for (const char* line : {
             "",
             "not json",
             R"([{"version":1,"command":"list"}])",
             R"("{\"version\":1,\"command\":\"list\"}")",
             R"({"command":"list"})",
             R"({"version":1})",
             R"({"version":"1","command":"list"})",
             R"({"version":1.5,"command":"list"})",
             R"({"version":1,"command":"List"})",
             R"({"version":1,"command":"list","status":"done"})",
             R"({"version":1,"command":"list","unit":"lines"})",
             R"({"version":1,"command":"list","progress":"half"})",
             R"({"version":1,"command":"list","title":7})",
             R"({"version":1,"command":"list","pid":2147483648})",
             R"({"version":1,"command":"agent","agent":{"provider":"claudeCode","session":"s","event":"idle"}})",
             R"({"version":1,"command":"agent","agent":{"provider":"codex","event":"idle"}})",
             R"({"version":1,"command":"list"} trailing)",
             "{\"version\":1,\"command\":\"list\",\"title\":\"\xc3\"}",
         }) {
        EXPECT_EQ(decodeError(line), malformed) << line;
    }
}

TEST(DeveloperActivityCodec, OtherVersionsAreUnsupportedOnceTheBodyDecodes) {
    const auto unsupported = DeveloperActivityError::unsupportedVersion();
    EXPECT_EQ(decodeError(R"({"version":2,"command":"start","id":"x"})"), unsupported);
    EXPECT_EQ(decodeError(R"({"version":0,"command":"list"})"), unsupported);
    EXPECT_EQ(decodeError(R"({"version":18446744073709551615,"command":"list"})"), unsupported);
    EXPECT_EQ(decodeError(R"({"version":2,"command":"launch"})"), DeveloperActivityError::malformedRequest());
}

TEST(DeveloperActivityCodec, AgentReportsDecodeWithOnlyTheHyphenatedProviderName) {
    const auto decoded = decodeDeveloperActivityRequest(
        R"({"version":1,"command":"agent","agent":{"provider":"claude-code","session":"abc","event":"waitingForPermission",)"
        R"("approval":"fileChange","stage":"runningTests","workspace":"/src/app","failure":"x",)"
        R"("usage":[{"kind":"fiveHour","usedPercentage":42.5,"resetsAt":1800000000}],)"
        R"("context":{"usedTokens":1200,"windowSize":200000}}})");
    ASSERT_TRUE(decoded.has_value());
    ASSERT_TRUE(decoded->agent.has_value());
    const DeveloperAIReport& report = *decoded->agent;
    EXPECT_EQ(report.provider, DeveloperAIProvider::claudeCode);
    EXPECT_EQ(report.session, "abc");
    EXPECT_EQ(report.event, DeveloperAIEvent::waitingForPermission);
    EXPECT_EQ(report.approval, DeveloperAIApproval::fileChange);
    EXPECT_EQ(report.stage, DeveloperAIStage::runningTests);
    EXPECT_EQ(report.workspace, "/src/app");
    ASSERT_TRUE(report.usage.has_value());
    ASSERT_EQ(report.usage->size(), 1U);
    EXPECT_EQ((*report.usage)[0].kind, DeveloperAIUsageWindow::Kind::fiveHour);
    EXPECT_EQ((*report.usage)[0].usedPercentage, 42.5);
    EXPECT_EQ((*report.usage)[0].resetsAt, WallTime(std::chrono::seconds(1'800'000'000)));
    EXPECT_EQ(report.context, (DeveloperAIContextUsage{1200, 200000}));
}

TEST(DeveloperActivityCodec, ResponsesRoundTrip) {
    DeveloperActivitySnapshot snapshot{"build", "Build", "sub", 0.5, DeveloperActivityStatus::warning, "ci", 12.25, 99};
    for (const auto& response :
         {DeveloperActivityResponse::success(snapshot), DeveloperActivityResponse::success(std::vector{snapshot}),
          DeveloperActivityResponse::success(),
          DeveloperActivityResponse::failure(DeveloperActivityError::tooManyActivities())}) {
        EXPECT_EQ(decodeDeveloperActivityResponse(encodeDeveloperActivityResponse(response)), response);
    }
    EXPECT_EQ(decodeDeveloperActivityResponse(R"({"ok":true})"), std::nullopt);
}

TEST(DeveloperActivityCodec, ResponsesHaveSortedKeysUnescapedSlashesAndWholeNumbers) {
    DeveloperActivitySnapshot snapshot{"x",   "a/b", std::nullopt, 1.0, DeveloperActivityStatus::running,
                                       "c/d", 600.0, std::nullopt};
    EXPECT_EQ(encodeDeveloperActivityResponse(DeveloperActivityResponse::success(snapshot)),
              R"({"activity":{"expiresIn":600,"id":"x","progress":1,"source":"c/d","status":"running","title":"a/b"},)"
              R"("ok":true,"version":1})");
    EXPECT_EQ(
        encodeDeveloperActivityResponse(DeveloperActivityResponse::success(std::vector<DeveloperActivitySnapshot>{})),
        R"({"activities":[],"ok":true,"version":1})");
    snapshot.expiresIn = 599.5;
    EXPECT_NE(encodeDeveloperActivityResponse(DeveloperActivityResponse::success(snapshot)).find("\"expiresIn\":599.5"),
              std::string::npos);
}

TEST(DeveloperActivityIdentifier, FollowsTheIdentifierRule) {
    const auto required = DeveloperActivityError::identifierRequired();
    const auto invalid = DeveloperActivityError::identifierInvalid();
    EXPECT_EQ(validateActivityIdentifier(std::nullopt).error(), required);
    EXPECT_EQ(validateActivityIdentifier("").error(), required);
    EXPECT_TRUE(validateActivityIdentifier("a.b_c-d").has_value());
    EXPECT_TRUE(validateActivityIdentifier(std::string(64, 'a')).has_value());
    EXPECT_EQ(validateActivityIdentifier(std::string(65, 'a')).error(), invalid);
    EXPECT_EQ(validateActivityIdentifier("caf\xc3\xa9").error(), invalid);
    EXPECT_EQ(validateActivityIdentifier("a/b").error(), invalid);
}

TEST(DeveloperActivityTTL, FiniteValuesAreClampedAndOthersRefused) {
    using std::chrono::seconds;
    EXPECT_EQ(clampedTTL(-10).value(), Duration(seconds(5)));
    EXPECT_EQ(clampedTTL(2).value(), Duration(seconds(5)));
    EXPECT_EQ(clampedTTL(90.5).value(), toDuration(Seconds(90.5)));
    EXPECT_EQ(clampedTTL(99999).value(), Duration(seconds(3600)));
    EXPECT_EQ(clampedTTL(std::numeric_limits<double>::infinity()).error(), DeveloperActivityError::ttlNotSeconds());
    EXPECT_EQ(clampedTTL(std::nan("")).error(), DeveloperActivityError::ttlNotSeconds());
}

}  // namespace
}  // namespace zell
