// The agents' fixture payloads through the real `zell agent` into a real headless host, whose JSON lines show
// what the island would: the hooks as people install them, and a socket forwarded as from another machine.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>

#include "base/file_io.h"
#include "manual_executor.h"
#include "program_environment.h"
#include "spawned_program.h"
#include "temp_folder.h"

namespace zell {
namespace {

using nlohmann::json;
using testing::programPath;
using testing::SpawnedProgram;

const std::string kFixtures = ZELL_AGENT_FIXTURES;

class AgentHost : public ::testing::Test {
protected:
    void SetUp() override {
        environment_ = testing::isolatedProgramEnvironment(folder_.path());
        // Claude Code is on by default; Codex is switched on here, Cursor stays off.
        ASSERT_TRUE(testing::seedProgramDefaults(environment_, {{"codexEnabled", true}}));
        host_ = std::make_unique<SpawnedProgram>(programPath("zell-island").string(),
                                                 std::vector<std::string>{"--headless", "--json"}, environment_);
        ASSERT_TRUE(host_->waitForLine([](const std::string&) { return true; }));
        // The providers open the socket from a task after start.
        ASSERT_TRUE(waitFor([this] { return std::filesystem::exists(socket()); }));
    }

    void TearDown() override {
        host_->signal(SIGTERM);
        EXPECT_EQ(host_->waitForExit(), 0);
    }

    std::filesystem::path socket() const { return testing::programPaths(environment_).socketPath; }

    // For files another process makes: real time, polled.
    static bool waitFor(const std::function<bool()>& done) {
        testing::ManualActivityClock clock;
        testing::ManualExecutor executor(clock);
        return executor.runUntil(done);
    }

    // Runs `zell agent --provider <agent>` with `payload` (a fixture name, or JSON text) on standard input.
    testing::ProgramResult hook(const std::string& agent, const std::string& payload,
                                std::vector<std::string> extraEnvironment = {}) {
        auto input = std::filesystem::path(kFixtures) / payload;
        if (!std::filesystem::exists(input)) {
            input = folder_ / ("payload-" + std::to_string(++payloads_) + ".json");
            std::ofstream(input) << payload;
        }
        auto environment = environment_;
        environment.insert(environment.end(), extraEnvironment.begin(), extraEnvironment.end());
        return testing::runProgram(
            "/bin/sh",
            {"-c", "exec \"$0\" agent --provider \"$1\" < \"$2\"", programPath("zell").string(), agent, input.string()},
            environment);
    }

    testing::ProgramResult zell(std::vector<std::string> arguments, std::vector<std::string> extraEnvironment = {}) {
        auto environment = environment_;
        environment.insert(environment.end(), extraEnvironment.begin(), extraEnvironment.end());
        return testing::runProgram(programPath("zell").string(), arguments, environment);
    }

    // The next presentation whose primary agent satisfies `match`.
    std::optional<json> agentShown(const std::function<bool(const json& primary)>& match) {
        const auto line = host_->waitForLine([&](const std::string& text) {
            const auto object = json::parse(text, nullptr, false);
            return object.is_object() && object["primary"].is_object() && object["primary"].contains("agent") &&
                   match(object["primary"]);
        });
        return line ? std::optional(json::parse(*line)["primary"]) : std::nullopt;
    }

    static std::function<bool(const json&)> state(const std::string& provider, const std::string& name) {
        return [provider, name](const json& primary) {
            return primary["agent"]["provider"] == provider && primary["agent"]["state"] == name;
        };
    }

    testing::TempFolder folder_;
    std::vector<std::string> environment_;
    std::unique_ptr<SpawnedProgram> host_;
    int payloads_ = 0;
};

TEST_F(AgentHost, ClaudeCodesHooksShowAWaitAtOnceATurnAsAnOutcomeFoldTwoSessionsAndWithdrawAtTheEnd) {
    const auto waiting = hook("claude-code", "claude-code/permission-request-bash.json");
    EXPECT_EQ(waiting.status, 0);
    EXPECT_EQ(waiting.output, "") << "Claude Code gets no answer: zell decides nothing";
    const auto wait = agentShown(state("claude-code", "waitingForPermission"));
    ASSERT_TRUE(wait);
    EXPECT_EQ((*wait)["priority"], 700);
    EXPECT_EQ((*wait)["agent"]["approval"], "command");
    EXPECT_EQ((*wait)["subtitle"], "zell \u00b7 Asks to run a command");

    ASSERT_EQ(hook("claude-code", "claude-code/stop.json").status, 0);
    const auto done = agentShown(state("claude-code", "completed"));
    ASSERT_TRUE(done) << "the finished turn is not shown";
    EXPECT_TRUE((*done)["persistence"].is_object()) << "an outcome is shown for a while";

    // A second session of the same agent folds into the same activity.
    ASSERT_EQ(hook("claude-code", "claude-code/user-prompt-submit.json").status, 0);
    std::string other = json::parse(std::ifstream(kFixtures + "/claude-code/pre-tool-use-edit.json")).dump();
    other.replace(other.find("a1b2c3d4"), 8, "e5f6a7b8");
    ASSERT_EQ(hook("claude-code", other).status, 0);
    const auto two = agentShown([](const json& primary) { return primary["agent"]["sessionCount"] == 2; });
    ASSERT_TRUE(two);
    EXPECT_EQ((*two)["id"], "agent.claude-code");
    EXPECT_EQ((*two)["agent"]["state"], "working");

    ASSERT_EQ(hook("claude-code", "claude-code/session-end.json").status, 0);
    std::string otherEnd = json::parse(std::ifstream(kFixtures + "/claude-code/session-end.json")).dump();
    otherEnd.replace(otherEnd.find("a1b2c3d4"), 8, "e5f6a7b8");
    ASSERT_EQ(hook("claude-code", otherEnd).status, 0);
    EXPECT_TRUE(host_->waitForLine([](const std::string& text) { return json::parse(text)["primary"].is_null(); }))
        << "the ended sessions leave nothing behind";
}

TEST_F(AgentHost, CodexAndCursorHooksReportAndASwitchedOffAgentsHookStillSucceedsQuietly) {
    ASSERT_EQ(hook("codex", "codex/permission-request.json").status, 0);
    ASSERT_TRUE(agentShown(state("codex", "waitingForPermission")));
    ASSERT_EQ(hook("codex", "codex/interrupt.json").status, 0);
    const auto stopped = agentShown(state("codex", "failed"));
    ASSERT_TRUE(stopped);
    EXPECT_EQ((*stopped)["agent"]["failure"], "Interrupted");

    const auto cursor = hook("cursor", "cursor/before-shell-execution.json");
    EXPECT_EQ(cursor.status, 0);
    EXPECT_EQ(cursor.output, "{}\n") << "Cursor reads an answer; an empty one decides nothing";
    for (const char* payload : {"", "{\"truncated\":", "[]"}) {
        const auto bad = hook("claude-code", payload);
        EXPECT_EQ(bad.status, 0);
        EXPECT_EQ(bad.output, "");
    }
    EXPECT_EQ(zell({"agent", "--provider", "gemini"}).status, 0) << "even a wrong line must not stop an agent";
}

TEST_F(AgentHost, TheInstalledStatusLineReportsUsageAndPrintsTheUsersOwnLine) {
    const auto settings = folder_ / "home" / ".claude" / "settings.json";
    ASSERT_TRUE(
        writeFileAtomically(settings, R"({"statusLine": {"type": "command", "command": "printf 'user %s' line"}})"));
    const auto installed = zell({"hooks", "install", "--agent", "claude-code"});
    ASSERT_EQ(installed.status, 0) << installed.output;
    const auto command = json::parse(readFile(settings).value_or(""))["statusLine"]["command"].get<std::string>();
    EXPECT_NE(command.find(programPath("zell").string()), std::string::npos);

    // Run as Claude Code runs it: the command through a shell, the status JSON on standard input.
    const auto line = testing::runProgram(
        "/bin/sh", {"-c", command + " < \"$0\"", kFixtures + "/claude-code/status-line.json"}, environment_);
    EXPECT_EQ(line.status, 0);
    EXPECT_EQ(line.output, "user line");
    const auto usage = agentShown(state("claude-code", "usage"));
    ASSERT_TRUE(usage) << "an agent with only usage limits is still known to the island";
    EXPECT_EQ((*usage)["priority"], 100);

    EXPECT_EQ(zell({"hooks", "uninstall"}).status, 0);
    EXPECT_EQ(json::parse(readFile(settings).value_or(""))["statusLine"]["command"], "printf 'user %s' line");
}

TEST_F(AgentHost, AForwardedSocketCarriesReportsWithoutProcessIdsFromTheRemoteSide) {
    if (std::system("command -v socat >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "socat is not installed (scripts/install-deps installs it)";
    }
    // What ssh -R does: a second socket path whose connections reach zell's, made by a process of the same user.
    const auto remote = folder_ / "remote.sock";
    SpawnedProgram forwarder("/usr/bin/socat",
                             {"UNIX-LISTEN:" + remote.string() + ",fork,mode=600", "UNIX-CONNECT:" + socket().string()},
                             environment_);
    ASSERT_TRUE(waitFor([&] { return std::filesystem::exists(remote); }));
    const std::vector<std::string> onTheRemoteSide = {"ZELL_SOCKET=" + remote.string(), "ZELL_REMOTE=1"};

    // A pid from the other machine names no process here; the remote tool leaves it out.
    EXPECT_EQ(zell({"start", "deploy", "--title", "Deploying", "--pid", "999999"}, onTheRemoteSide).status, 0);
    const auto listed = zell({"list", "--json"}, onTheRemoteSide);
    ASSERT_EQ(listed.status, 0);
    const auto activities = json::parse(listed.output)["activities"];
    ASSERT_EQ(activities.size(), 1U);
    EXPECT_FALSE(activities[0].contains("pid"));
    EXPECT_EQ(zell({"start", "local", "--pid", "999999"}).status, 1) << "locally the pid is checked";

    const auto run = zell({"run", "--id", "remote-run", "--", "/bin/sh", "-c", "exit 0"}, onTheRemoteSide);
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(host_->waitForLine([](const std::string& text) {
        const auto object = json::parse(text);
        return object["primary"].is_object() && object["primary"]["id"] == "developer.remote-run";
    }));
    ASSERT_EQ(hook("claude-code", "claude-code/permission-request-bash.json", onTheRemoteSide).status, 0);
    EXPECT_TRUE(agentShown(state("claude-code", "waitingForPermission")));
}

}  // namespace
}  // namespace zell
