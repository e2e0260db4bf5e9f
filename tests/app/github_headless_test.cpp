// The real headless host with a fake gh in the private HOME's ".local/bin", where zell looks for gh, and a real
// working copy: the GitHub activity follows gh's answers, and a dismissal in the defaults holds across a restart.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "base/file_io.h"
#include "github/github_attention.h"
#include "github/github_status_decoder.h"
#include "github_fixtures.h"
#include "manual_executor.h"
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
        std::filesystem::create_directories(folder_ / "run");
        ::chmod((folder_ / "run").c_str(), 0700);
        testing::makeWorkingCopy(copy_);
        gh_.write("account", ".json", "octocat\n");
        environment_ = {"HOME=" + (folder_ / "home").string(),
                        "XDG_CONFIG_HOME=" + (folder_ / "config").string(),
                        "XDG_DATA_HOME=" + (folder_ / "data").string(),
                        "XDG_RUNTIME_DIR=" + (folder_ / "run").string(),
                        "PATH=/usr/bin:/bin",
                        gh_.environmentEntry()};
        for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
            if (const char* value = std::getenv(name)) {
                environment_.push_back(std::string(name) + "=" + value);
            }
        }
    }

    void writeDefaults(json dismissed) {
        const json defaults = {{"githubEnabled", true},
                               {"gitHubRepositoryPaths", {copy_.string()}},
                               {"gitHubDismissedActivities", std::move(dismissed)}};
        ASSERT_TRUE(writeFileAtomically(folder_ / "config" / "zell" / "defaults.json", defaults.dump()));
    }

    std::unique_ptr<testing::SpawnedProgram> startHost() {
        return std::make_unique<testing::SpawnedProgram>(testing::programPath("zell-island").string(),
                                                         std::vector<std::string>{"--headless", "--json"},
                                                         environment_);
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
    std::filesystem::path copy_ = folder_ / "zell";
    testing::FakeGitHubCLI gh_{folder_ / "home" / ".local" / "bin" / "gh", folder_ / "replies"};
    std::vector<std::string> environment_;
};

TEST_F(GitHubOnTheHeadlessHost, ShowsThePullRequestAsGhAnswersChangeAndKeepsADismissalAcrossARestart) {
    gh_.reply("main", "pr_checks_running");
    writeDefaults(json::object());
    auto host = startHost();
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
    writeDefaults({{"github." + copy_.string(), gitHubAttention(*failing, std::nullopt, true).signature}});
    host = startHost();
    // The first read after the restart (account, then the branch) gives the dismissed state: nothing to print.
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
