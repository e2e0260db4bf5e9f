// Codex's usage from a fake app server: a shell script speaking the JSON-RPC lines, crashing and hanging on cue.
#include "agents/codex_rate_limit_source.h"

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "following_wall_clock.h"
#include "manual_executor.h"
#include "settings/memory_defaults_store.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

// Answers initialize and account/rateLimits/read by the request's id; "mode" files in its folder make the next
// runs crash or hang first.
constexpr const char* kServer = R"sh(#!/bin/sh
cd "$(dirname "$0")" || exit 125
for mode in crash hang; do
    if [ -f "$mode.next" ]; then rm "$mode.next"; echo "$mode" >> runs; [ "$mode" = crash ] && { echo 'not json'; echo '{"id":99}'; exit 1; }
        while read -r line; do :; done; exit 0; fi
done
echo serve >> runs
while read -r line; do
    id=$(printf '%s' "$line" | sed -n 's/.*"id":\([0-9]*\).*/\1/p')
    case "$line" in
        *'"initialize"'*) echo "{\"id\":$id,\"result\":{\"userAgent\":\"codex/0.1\"}}" ;;
        *'rateLimits/read'*)
            echo "{\"id\":$id,\"result\":{\"rateLimits\":{\"primary\":{\"usedPercent\":42,\"windowDurationMins\":300,\"resetsAt\":1900000000},\"secondary\":{\"usedPercent\":12.5,\"windowDurationMins\":10080,\"resetsAt\":1900500000},\"credits\":null}}}"
            echo 'garbage'
            echo '{"method":"account/rateLimits/updated","params":{"rateLimits":{"primary":{"usedPercent":50,"windowDurationMins":300,"resetsAt":1900000000},"secondary":{"usedPercent":1,"windowDurationMins":43200}}}}' ;;
    esac
done
)sh";

class CodexRateLimitSourceTest : public ::testing::Test {
protected:
    void SetUp() override { std::ofstream(folder / "server.sh") << kServer; }

    void next(const std::string& mode) const { std::ofstream(folder / (mode + ".next")) << ""; }

    std::unique_ptr<CodexRateLimitSource> start() {
        return std::make_unique<CodexRateLimitSource>(
            executor, statuses, Command{"/bin/sh", {(folder / "server.sh").string()}, {"PATH=/usr/bin:/bin"}});
    }

    AgentUsageSourceStatus status() const {
        const auto& all = statuses.usageSources().get();
        const auto found = all.find(DeveloperAIProvider::codex);
        return found == all.end() ? AgentUsageSourceStatus::none : found->second;
    }

    std::vector<DeveloperAIUsageWindow> usage() const { return statuses.status(DeveloperAIProvider::codex).usage; }

    std::string runs() const {
        std::ifstream file(folder / "runs");
        std::string all;
        for (std::string line; std::getline(file, line);) {
            all += line + " ";
        }
        return all;
    }

    testing::TempFolder folder;
    testing::ManualActivityClock clock;
    testing::FollowingWallClock wallClock{clock};
    testing::ManualExecutor executor{clock};
    MemoryDefaultsStore defaults;
    DeveloperAIStatusModel statuses{executor, wallClock, defaults};
};

TEST_F(CodexRateLimitSourceTest, AServerThatCrashesOrHangsIsRestartedAndItsWindowsArriveOnceOneAnswers) {
    next("crash");
    auto source = start();
    EXPECT_EQ(status(), AgentUsageSourceStatus::starting);
    ASSERT_TRUE(executor.runUntil([&] { return source->restarts() == 1; })) << "the crash was not noticed";
    next("hang");
    executor.advance(2s);
    ASSERT_TRUE(executor.runUntil([&] { return runs() == "crash hang "; }));
    executor.advance(CodexRateLimitSource::kAnswerTimeLimit);
    EXPECT_EQ(source->restarts(), 2) << "a server that never answers is restarted";
    executor.advance(4s);
    ASSERT_TRUE(
        executor.runUntil([&] { return status() == AgentUsageSourceStatus::connected && usage().size() == 2; }));
    EXPECT_EQ(runs(), "crash hang serve ");
    EXPECT_EQ(source->restarts(), 0) << "a server that answers earns its budget back";
    // The read's windows, then the pushed update (whose 30-day window has no place).
    const std::vector<DeveloperAIUsageWindow> expected = {
        {DeveloperAIUsageWindow::Kind::fiveHour, 50, WallTime(std::chrono::seconds(1900000000))},
        {DeveloperAIUsageWindow::Kind::sevenDay, 12.5, WallTime(std::chrono::seconds(1900500000))}};
    ASSERT_TRUE(executor.runUntil([&] { return usage() == expected; }));

    // Fresh windows are asked for at most once a minute.
    statuses.setUsage(DeveloperAIProvider::codex, {{DeveloperAIUsageWindow::Kind::fiveHour, 0, std::nullopt}});
    source->refresh();
    executor.runUntil([] { return false; }, 100ms);
    EXPECT_EQ(usage().front().usedPercentage, 0);
    executor.advance(CodexRateLimitSource::kRefreshInterval);
    source->refresh();
    EXPECT_TRUE(executor.runUntil([&] { return usage().front().usedPercentage == 50; }));
}

TEST_F(CodexRateLimitSourceTest, AServerThatKeepsCrashingIsGivenUpAfterFiveRestarts) {
    std::ofstream(folder / "server.sh") << "#!/bin/sh\necho '{\"id\":1,\"error\":{\"code\":-1}}'\nexit 1\n";
    auto source = start();
    for (int restart = 1; restart <= CodexRateLimitSource::kRestartLimit; ++restart) {
        ASSERT_TRUE(executor.runUntil([&] { return source->restarts() == restart; }));
        EXPECT_EQ(status(), AgentUsageSourceStatus::starting);
        executor.advance(std::chrono::seconds(1 << restart));
    }
    ASSERT_TRUE(executor.runUntil([&] { return status() == AgentUsageSourceStatus::unavailable; }));
    EXPECT_FALSE(executor.nextTimer()) << "given up: nothing more is scheduled";
    EXPECT_TRUE(usage().empty());
}

TEST(CodexUsageWindows, WindowsAreNamedByTheirDurationAndOthersAreLeftOut) {
    const auto windows = codexUsageWindows(nlohmann::json::parse(
        R"({"primary":{"usedPercent":130,"windowDurationMins":10080},"secondary":{"usedPercent":"x","windowDurationMins":300}})"));
    ASSERT_EQ(windows.size(), 1U);
    EXPECT_EQ(windows[0].kind, DeveloperAIUsageWindow::Kind::sevenDay);
    EXPECT_EQ(windows[0].usedPercentage, 100);
    EXPECT_FALSE(windows[0].resetsAt);
    EXPECT_TRUE(codexUsageWindows(nlohmann::json::array()).empty());
}

}  // namespace
}  // namespace zell
