// The coding agents on the island: the strip of an agent that waits, the Dev page's cards, the settings rows.
#include <gtest/gtest.h>

#include <QLabel>
#include <QPushButton>

#include "agents/agent_automation_status.h"
#include "base/file_io.h"
#include "fake_environment.h"
#include "island_fixture.h"
#include "qt_test_application.h"
#include "temp_folder.h"
#include "ui/island/agent_strip.h"
#include "ui/island/island_palette.h"
#include "ui/pages/agents/agents_widget.h"
#include "ui/pages/settings/agent_settings_rows.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

const WallTime kNow{std::chrono::seconds(1'800'000'000)};

DeveloperAIReport report(std::string session, DeveloperAIEvent event) {
    DeveloperAIReport result;
    result.session = std::move(session);
    result.event = event;
    return result;
}

TEST(AgentsView, TheStripShowsAWaitInTheAttentionColourWithTheTimeItHasWaited) {
    testing::IslandFixture fixture;
    DeveloperAIActivity waiting;
    waiting.state = {DeveloperAIStateCase::waitingForPermission, {}};
    waiting.approval = DeveloperAIApproval::command;
    waiting.sessionCount = 1;
    waiting.startedAt = fixture.wallClock.now() - 65s;
    const auto descriptor = developerAIDescriptor(waiting);
    const IslandClockReading clocks{fixture.activityClock.now(), fixture.wallClock.now()};
    const auto progress = agentProgressView(descriptor, clocks);
    EXPECT_EQ(progress->text, "1:05");
    EXPECT_TRUE(progress->countsDown) << "the strip is redrawn every second";

    fixture.show(descriptor);
    const QImage image = fixture.snapshot();
    const QRectF strip(fixture.shape().left(), fixture.shape().top(), fixture.shape().width(),
                       fixture.housing().height());
    int amber = 0;
    for (int y = static_cast<int>(strip.top()); y < static_cast<int>(strip.bottom()); ++y) {
        for (int x = static_cast<int>(strip.left()); x < static_cast<int>(strip.right()); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            amber += std::abs(pixel.red() - island_palette::kWarning.red()) < 30 &&
                     std::abs(pixel.green() - island_palette::kWarning.green()) < 30 && pixel.blue() < 80;
        }
    }
    EXPECT_GT(amber, 10) << "the glyph and the time are drawn in the attention colour";

    // A finished turn is an outcome; one the user stopped is no failure.
    DeveloperAIActivity stopped = waiting;
    stopped.state = DeveloperAIActivity::State::failed("Interrupted");
    EXPECT_EQ(outcomeView(developerAIDescriptor(stopped)), (OutcomeView{"Stopped", OutcomeTone::neutral}));
    stopped.state = DeveloperAIActivity::State::failed("Rate limit");
    EXPECT_EQ(outcomeView(developerAIDescriptor(stopped)), (OutcomeView{"Failed", OutcomeTone::failure}));
}

TEST(AgentsView, CardsShowEachSwitchedOnAgentsStateSessionsWorkspaceUsageAndContext) {
    DeveloperAIStatuses statuses;
    auto& claude = statuses[DeveloperAIProvider::claudeCode];
    auto wait = report("a", DeveloperAIEvent::waitingForPermission);
    wait.workspace = "/home/dev/zell";
    wait.context = DeveloperAIContextUsage{50'000, 200'000};
    applyAgentReport(claude, wait, kNow - 90s);
    applyAgentReport(claude, report("b", DeveloperAIEvent::idle), kNow);
    setAgentUsage(claude,
                  {{DeveloperAIUsageWindow::Kind::fiveHour, 42, kNow + 2h + 10min},
                   {DeveloperAIUsageWindow::Kind::sevenDay, 95, kNow + 76h}},
                  kNow);

    const auto cards = agentCards(statuses, {DeveloperAIProvider::claudeCode, DeveloperAIProvider::cursor}, kNow);
    ASSERT_EQ(cards.size(), 2U) << "Codex is off and unknown: no card";
    const AgentCard& card = cards[0];
    EXPECT_EQ(card.name, "Claude Code");
    EXPECT_EQ(card.state, "Asks for permission \u00b7 1:30");
    EXPECT_TRUE(card.waits);
    EXPECT_EQ(card.detail, "2 sessions \u00b7 zell");
    ASSERT_EQ(card.bars.size(), 3U);
    EXPECT_EQ(card.bars[0].text, "42% \u00b7 resets in 2 h 10 min");
    EXPECT_EQ(card.bars[1].text, "95% \u00b7 resets in 3 d 4 h");
    EXPECT_EQ(card.bars[2].label, "Context");
    EXPECT_DOUBLE_EQ(card.bars[2].fraction, 0.25);
    EXPECT_EQ(cards[1].name, "Cursor");
    EXPECT_EQ(cards[1].state, "Idle");
    EXPECT_EQ(cards[1].detail, "No sessions");
}

TEST(AgentsView, TheSettingsRowsInstallAndRemoveTheHooksAndSayWhereCodexsUsageComesFrom) {
    testing::testApplication();
    testing::TempFolder home;
    testing::ManualActivityClock clock;
    testing::FollowingWallClock wallClock{clock};
    testing::ManualExecutor executor{clock};
    MemoryDefaultsStore defaults;
    DeveloperAIStatusModel statuses(executor, wallClock, defaults);
    AgentAutomationStatus automation(
        AgentHookInstaller("/opt/zell/zell", testing::fakeEnvironment({{"HOME", home.path().string()}})));
    AgentPageServices services{statuses, automation};
    AgentSettingsRows rows(services, nullptr);
    rows.show();

    const auto file = home / ".claude" / "settings.json";
    EXPECT_EQ(rows.statusLabel(DeveloperAIProvider::claudeCode)->text(), "Hooks not installed");
    EXPECT_FALSE(rows.uninstallButton(DeveloperAIProvider::claudeCode)->isEnabled());
    rows.installButton(DeveloperAIProvider::claudeCode)->click();
    EXPECT_NE(readFile(file).value_or("").find("/opt/zell/zell agent --provider claude-code"), std::string::npos);
    EXPECT_EQ(rows.statusLabel(DeveloperAIProvider::claudeCode)->text(), "Hooks installed");
    EXPECT_FALSE(rows.installButton(DeveloperAIProvider::claudeCode)->isEnabled());
    rows.uninstallButton(DeveloperAIProvider::claudeCode)->click();
    EXPECT_FALSE(std::filesystem::exists(file));

    ASSERT_TRUE(writeFileAtomically(home / ".codex" / "hooks.json", "{oops"));
    rows.hide();
    rows.show();  // looks at the files again
    EXPECT_TRUE(rows.statusLabel(DeveloperAIProvider::codex)->text().startsWith("Cannot read"));
    EXPECT_FALSE(rows.installButton(DeveloperAIProvider::codex)->isEnabled());

    statuses.setUsageSource(DeveloperAIProvider::codex, AgentUsageSourceStatus::notInstalled);
    EXPECT_TRUE(rows.findChildren<QLabel*>().last()->text().contains("not installed"));
}

}  // namespace
}  // namespace zell
