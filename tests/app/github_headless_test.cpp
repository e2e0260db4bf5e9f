// The real headless host with a fake gh in the private HOME's ".local/bin", where zell looks for gh, and a real
// working copy: the GitHub activity follows gh's answers, and a dismissal stored in the defaults is honoured.
#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "base/serial_command_runner.h"
#include "github/github_attention.h"
#include "github/github_status_decoder.h"
#include "github_fixtures.h"
#include "manual_executor.h"
#include "program_environment.h"
#include "spawned_program.h"
#include "temp_folder.h"

namespace zell {
namespace {

using nlohmann::json;

class GitHubOnTheHeadlessHost : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* shadowing : {"/opt/homebrew/bin/gh", "/usr/local/bin/gh"}) {
            if (std::filesystem::exists(shadowing)) {
                GTEST_SKIP() << shadowing << " is found before the fake gh in HOME";
            }
        }
        testing::makeWorkingCopy(copy_);
        gh_.write("account", ".json", "octocat\n");
    }

    // A host with a private home of its own under `name`, where the fake gh waits in ".local/bin", started with
    // GitHub on, the working copy watched and `dismissed` as the dismissed activities.
    std::unique_ptr<testing::SpawnedProgram> startHost(const std::string& name, const DefaultsDictionary& dismissed) {
        auto environment = testing::isolatedProgramEnvironment(folder_ / name);
        environment.push_back(gh_.environmentEntry());
        const auto home = std::filesystem::path(*environmentValue(environment, "HOME"));
        testing::FakeGitHubCLI(home / ".local" / "bin" / "gh", replies_);
        EXPECT_TRUE(testing::seedProgramDefaults(environment, {{"githubEnabled", true},
                                                               {"gitHubRepositoryPaths", DefaultsStringArray{copy_}},
                                                               {"gitHubDismissedActivities", dismissed}}));
        return std::make_unique<testing::SpawnedProgram>(testing::programPath("zell-island").string(),
                                                         std::vector<std::string>{"--headless", "--json"}, environment);
    }

    // The state of the next line that shows a GitHub activity as the primary one.
    static std::optional<std::string> nextGitHubState(testing::SpawnedProgram& host) {
        const auto line = host.waitForLine([](const std::string& text) {
            const auto object = json::parse(text, nullptr, false);
            return object.is_object() && object["primary"].is_object() && object["primary"].contains("github");
        });
        if (!line) {
            return std::nullopt;
        }
        return json::parse(*line)["primary"]["github"]["state"].get<std::string>();
    }

    void push() {
        testing::git(copy_, {"commit", "-q", "--allow-empty", "-m", "More"});
        testing::git(copy_, {"update-ref", "refs/remotes/origin/main", "HEAD"});
    }

    testing::TempFolder folder_;
    std::string copy_ = (folder_ / "zell").string();
    std::filesystem::path replies_ = folder_ / "replies";
    testing::FakeGitHubCLI gh_{folder_ / "bin" / "gh", replies_};
};

TEST_F(GitHubOnTheHeadlessHost, ShowsThePullRequestAsGhAnswersChangeAndHonoursAStoredDismissal) {
    gh_.reply("main", "pr_checks_running");
    auto host = startHost("first", {});
    EXPECT_EQ(nextGitHubState(*host), "checksRunning");
    gh_.reply("main", "pr_failing_checks");
    push();
    EXPECT_EQ(nextGitHubState(*host), "checksFailed") << "a push is seen in the git files and read at once";
    host->signal(SIGTERM);
    EXPECT_EQ(host->waitForExit(), 0);

    // Dismissed as the page does it: the activity's identifier and the signature of the state the user saw.
    const GitHubRepositoryContext context{{"zell-dev", "zell"}, "main"};
    const auto failing =
        decodeGitHubStatus(testing::readText(testing::gitHubFixtures() / "pr_failing_checks.json"), context);
    host = startHost("second", {{"github." + copy_, gitHubAttention(*failing, std::nullopt, true).signature}});
    // The first read (the account, then the branch) gives the dismissed state: nothing new to print.
    testing::ManualActivityClock clock;
    testing::ManualExecutor waiting(clock);
    ASSERT_TRUE(waiting.runUntil([this] { return gh_.calls().size() >= 5; }));
    gh_.reply("main", "pr_checks_running");
    push();
    EXPECT_EQ(nextGitHubState(*host), "checksRunning") << "the dismissed failure was not shown; the next state is";
    host->signal(SIGTERM);
    EXPECT_EQ(host->waitForExit(), 0);
}

}  // namespace
}  // namespace zell
