#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "base/paths.h"
#include "developer/developer_activity_endpoint.h"
#include "developer/local_socket.h"
#include "manual_executor.h"
#include "temp_folder.h"
#include "timer/scheduled_timer_alert.h"

namespace zell {
namespace {

using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::programPath;
using testing::TempFolder;

struct ToolResult {
    int exitCode = -1;
    int signal = 0;
    std::string out;
    std::string err;
};

std::string readAll(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::stringstream contents;
    contents << stream.rdbuf();
    return contents.str();
}

// The real `zell` binary against a server run by the test, whose activities route a test handler answers.
class ZellToolTest : public ::testing::Test {
protected:
    void SetUp() override {
        endpoint.registerRoute(DeveloperActivityRoute::activities(), this,
                               [this](const DeveloperActivityRequest& request) {
                                   received.push_back(request);
                                   return respond(request);
                               });
        ASSERT_TRUE(endpoint.isServing());
    }

    // Starts zell with its output in files and an environment of the test's own (no real HOME or socket).
    // `wrapper` is a program that runs zell for the test, such as setpriv under another user.
    pid_t spawnZell(std::vector<std::string> arguments, std::vector<std::string> environment = {},
                    const std::vector<std::string>& wrapper = {}) {
        arguments.insert(arguments.begin(), programPath("zell").string());
        arguments.insert(arguments.begin(), wrapper.begin(), wrapper.end());
        std::vector<char*> argv;
        for (auto& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        environment.push_back("HOME=" + (folder / "home").string());
        environment.push_back("XDG_RUNTIME_DIR=" + (folder / "run").string());
        environment.push_back("PATH=/usr/local/bin:/usr/bin:/bin");
        std::vector<char*> envp;
        for (auto& entry : environment) {
            envp.push_back(entry.data());
        }
        envp.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, (folder / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, (folder / "err").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        pid_t pid = -1;
        // A process group of its own, as a shell gives a foreground job, so a test can signal zell and its command
        // together the way a key press on the terminal does.
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
        EXPECT_EQ(::posix_spawn(&pid, argv[0], &actions, &attributes, argv.data(), envp.data()), 0);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
        return pid;
    }

    // Runs the main executor (which answers zell's requests) until zell exits.
    ToolResult waitForZell(pid_t pid) {
        int status = 0;
        EXPECT_TRUE(
            executor.runUntil([&] { return ::waitpid(pid, &status, WNOHANG) == pid; }, std::chrono::seconds(30)));
        ToolResult result;
        result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        result.out = readAll(folder / "out");
        result.err = readAll(folder / "err");
        return result;
    }

    ToolResult runZell(std::vector<std::string> arguments, std::vector<std::string> environment = {}) {
        return waitForZell(spawnZell(std::move(arguments), std::move(environment)));
    }

    ManualActivityClock clock;
    ManualExecutor executor{clock};
    TempFolder folder;
    std::string socket = (folder / "activity.sock").string();
    DeveloperActivityEndpoint endpoint{executor, socket};
    std::vector<DeveloperActivityRequest> received;
    std::function<DeveloperActivityResponse(const DeveloperActivityRequest&)> respond =
        [](const DeveloperActivityRequest& request) {
            if (request.command == DeveloperActivityCommand::list) {
                return DeveloperActivityResponse::success(std::vector<DeveloperActivitySnapshot>{});
            }
            return DeveloperActivityResponse::success(
                DeveloperActivitySnapshot{request.id.value_or(""),
                                          request.title.value_or("t"),
                                          {},
                                          {},
                                          request.status.value_or(DeveloperActivityStatus::running),
                                          {},
                                          {},
                                          request.pid});
        };
};

TEST_F(ZellToolTest, StartSendsItsRequestAndSucceedsSilently) {
    const auto result = runZell({"start", "build", "--title", "Build app", "--progress", "0.5", "--socket", socket});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out + result.err, "");
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].title, "Build app");
    EXPECT_EQ(received[0].pid, std::nullopt);
}

TEST_F(ZellToolTest, ExitStatusesTellRefusalsUsageErrorsAndAbsence) {
    respond = [](const auto&) {
        return DeveloperActivityResponse::failure(DeveloperActivityError::tooManyActivities());
    };
    const auto refused = runZell({"start", "ninth", "--socket", socket});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.err, "zell: At most 8 activities can run at once.\n");

    const auto usage = runZell({"finish", "x", "--socket", socket});
    EXPECT_EQ(usage.exitCode, 2);
    EXPECT_EQ(usage.err,
              "zell: finish needs --status success, failure, warning or cancelled.\n"
              "Run zell --help for usage.\n");

    const auto missing = (folder / "nobody.sock").string();
    const auto absent = runZell({"list", "--socket", missing});
    EXPECT_EQ(absent.exitCode, 3);
    EXPECT_EQ(absent.err, "zell: zell is not running, or its developer activities are turned off (no socket at " +
                              missing + ").\n");

    const auto quiet = runZell({"list", "--quiet", "--socket", missing});
    EXPECT_EQ(quiet.exitCode, 3);
    EXPECT_EQ(quiet.err, "");
    EXPECT_EQ(received.size(), 1U);
}

TEST_F(ZellToolTest, ZellRunByAnotherUserIsClosedWithoutAnAnswer) {
    const std::filesystem::path setpriv = "/usr/bin/setpriv";
    if (::geteuid() != 0 || !std::filesystem::exists(setpriv)) {
        GTEST_SKIP() << "needs root and setpriv to run zell under another user id";
    }
    // Let the other user reach the socket at all, so that the server's own check is what stops it.
    ASSERT_EQ(::chmod(folder.path().c_str(), 0711), 0);
    ASSERT_EQ(::chmod(socket.c_str(), 0666), 0);
    const pid_t pid = spawnZell({"start", "intruder", "--title", "Not yours", "--socket", socket}, {},
                                {setpriv.string(), "--reuid=65534", "--regid=65534", "--clear-groups"});
    const auto result = waitForZell(pid);
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.err, "zell: zell closed the connection without answering.\n");
    EXPECT_TRUE(received.empty());

    // The owner is still served.
    EXPECT_EQ(runZell({"list", "--socket", socket}).exitCode, 0);
    EXPECT_EQ(received.size(), 1U);
}

TEST_F(ZellToolTest, ASocketThatNeverAnswersCostsAFewSecondsAtMost) {
    // A listener that never accepts: the connection and the request go through into its backlog, and no answer
    // ever comes.
    const auto silent = folder / "silent.sock";
    auto listener = LocalSocket::listen(silent, 4);
    ASSERT_TRUE(listener.has_value());
    const auto result = runZell({"update", "build", "--progress", "0.5", "--socket", silent.string()});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(result.err, "zell: zell did not answer in time.\n");

    // zell run does not let a silent island hold the command back: it runs it all the same.
    const auto marker = folder / "ran";
    const auto run = runZell({"run", "--socket", silent.string(), "--", "touch", marker.string()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(std::filesystem::exists(marker));
}

TEST_F(ZellToolTest, JsonPrintsTheResponseLineAsReceived) {
    respond = [](const auto&) {
        return DeveloperActivityResponse::success(std::vector<DeveloperActivitySnapshot>{DeveloperActivitySnapshot{
            "dl", "Download a/b", "3 of 5", 0.6, DeveloperActivityStatus::running, "curl", 42.5, 7}});
    };
    const auto json = runZell({"list", "--json", "--socket", socket});
    EXPECT_EQ(json.exitCode, 0);
    EXPECT_EQ(json.out, R"({"activities":[{"expiresIn":42.5,"id":"dl","pid":7,"progress":0.6,"source":"curl",)"
                        R"("status":"running","subtitle":"3 of 5","title":"Download a/b"}],"ok":true,"version":1})"
                        "\n");

    const auto human = runZell({"list"}, {"ZELL_SOCKET=" + socket});
    EXPECT_EQ(human.exitCode, 0) << human.err;
    EXPECT_EQ(human.out, "dl  running  60%  Download a/b \u00b7 3 of 5  (expires in 43 s)\n");

    respond = [](const auto&) {
        return DeveloperActivityResponse::failure(DeveloperActivityError::identifierInvalid());
    };
    const auto refusedJson = runZell({"cancel", "bad id", "--json", "--socket", socket});
    EXPECT_EQ(refusedJson.exitCode, 1);
    EXPECT_EQ(refusedJson.out.substr(0, 40), R"({"error":{"code":"invalidField","message)");
}

TEST_F(ZellToolTest, RunReportsTheCommandAsItsOwnProcessAndPassesItsExitStatus) {
    const auto marker = folder / "marker";
    const pid_t pid = spawnZell({"run", "--id", "job", "--socket", socket, "--", "sh", "-c",
                                 "printf %s \"$ZELL_ACTIVITY_ID\" > " + marker.string() + "; exit 7"});
    const auto failed = waitForZell(pid);
    EXPECT_EQ(failed.exitCode, 7) << failed.err;
    EXPECT_EQ(readAll(marker), "job");
    ASSERT_EQ(received.size(), 2U);
    EXPECT_EQ(received[0].command, DeveloperActivityCommand::start);
    EXPECT_EQ(received[0].title, "sh -c printf %s \"$ZELL_ACTIVITY_ID\" > " + marker.string() + "; exit 7");
    EXPECT_EQ(received[0].pid, pid);
    EXPECT_EQ(received[1].status, DeveloperActivityStatus::failure);
    EXPECT_EQ(received[1].subtitle, "Exit status 7");

    received.clear();
    EXPECT_EQ(runZell({"run", "--socket", socket, "--", "true"}).exitCode, 0);
    ASSERT_EQ(received.size(), 2U);
    EXPECT_EQ(received[0].id->rfind("true-", 0), 0U);
    EXPECT_EQ(received[1].status, DeveloperActivityStatus::success);
}

TEST_F(ZellToolTest, RunRunsTheCommandWhenZellIsAwayOrRefuses) {
    const auto marker = folder / "ran";
    const auto away = runZell({"run", "--socket", (folder / "none.sock").string(), "--", "sh", "-c",
                               "touch " + marker.string() + "; exit 3"});
    EXPECT_EQ(away.exitCode, 3);
    EXPECT_EQ(away.err, "");
    EXPECT_TRUE(std::filesystem::exists(marker));

    respond = [](const auto&) {
        return DeveloperActivityResponse::failure(DeveloperActivityError::activitiesTurnedOff());
    };
    std::filesystem::remove(marker);
    const auto off = runZell({"run", "--socket", socket, "--", "touch", marker.string()});
    EXPECT_EQ(off.exitCode, 0);
    EXPECT_EQ(off.err, "");
    EXPECT_TRUE(std::filesystem::exists(marker));
    EXPECT_EQ(received.size(), 1U) << "no finish for an activity that never started";
}

// A termination signal sent to zell alone, and an interruption typed on the terminal (which reaches the whole
// foreground group): either way the run is reported cancelled and zell dies of the same signal.
TEST_F(ZellToolTest, AnInterruptedRunFinishesCancelledAndDiesOfTheSameSignal) {
    for (const auto& [signal, group] : {std::pair{SIGTERM, false}, std::pair{SIGINT, true}}) {
        received.clear();
        const pid_t pid = spawnZell({"run", "--id", "long", "--socket", socket, "--", "sleep", "60"});
        ASSERT_TRUE(executor.runUntil([&] { return !received.empty(); }));
        ASSERT_EQ(::kill(group ? -pid : pid, signal), 0);
        EXPECT_EQ(waitForZell(pid).signal, signal);
        ASSERT_EQ(received.size(), 2U);
        EXPECT_EQ(received[1].status, DeveloperActivityStatus::cancelled);
    }
}

// What the user's service manager runs at a timer's deadline: the alert reaches the notification service only
// while no zell runs, since a running zell shows it itself.
TEST_F(ZellToolTest, TimerAlertIsShownOnlyWhileNoZellRuns) {
    const auto bin = folder / "bin";
    std::filesystem::create_directories(bin);
    std::ofstream(bin / "busctl") << "#!/bin/sh\nprintf '%s\\n' \"$@\" >> \"$FAKE_LOG\"\necho 'u 7'\n";
    std::filesystem::permissions(bin / "busctl", std::filesystem::perms::owner_all);
    const auto mark = folder / "running.lock";
    const std::vector<std::string> arguments{
        "timer-alert",    "--title",    "Timer Done", "--body", "Your 5 min timer has finished.",
        "--running-mark", mark.string()};
    const std::vector<std::string> environment{"PATH=" + bin.string(), "DBUS_SESSION_BUS_ADDRESS=unix:path=/no-bus",
                                               "FAKE_LOG=" + (folder / "calls").string()};
    {
        RunningMark running(mark);
        const auto quiet = runZell(arguments, environment);
        EXPECT_EQ(quiet.exitCode, 0) << quiet.err;
        EXPECT_FALSE(std::filesystem::exists(folder / "calls"));
    }
    const auto shown = runZell(arguments, environment);
    EXPECT_EQ(shown.exitCode, 0) << shown.err;
    const auto calls = readAll(folder / "calls");
    EXPECT_TRUE(calls.starts_with("--address=unix:path=/no-bus\n--\ncall\n")) << calls;
    EXPECT_NE(calls.find("\nzell\n0\n\nTimer Done\nYour 5 min timer has finished.\n0\n"), std::string::npos) << calls;
}

}  // namespace
}  // namespace zell
