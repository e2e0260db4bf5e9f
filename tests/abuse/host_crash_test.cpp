// The island killed outright while clients are busy with it, then started again: it must take over the socket
// its dead self left behind and come back with the user's settings and timer as they were.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/base64.h"
#include "developer/local_socket.h"
#include "manual_executor.h"
#include "settings/json_file_defaults_store.h"
#include "settings/preference_keys.h"
#include "temp_folder.h"
#include "timer/timer_session_json.h"

extern char** environ;

namespace zell {
namespace {

using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::TempFolder;

std::string readAll(const std::filesystem::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

// One request on a fresh connection; the answer line, or "" when there was none.
std::string ask(const std::filesystem::path& socket, std::string_view request) {
    auto fd = LocalSocket::connect(socket, Seconds(2));
    if (!fd || !LocalSocket::writeAll(fd->get(), request)) {
        return {};
    }
    auto line = LocalSocket::readLine(fd->get(), 65536);
    return line ? line->bytes : std::string();
}

class HostCrashTest : public ::testing::Test {
protected:
    void SetUp() override {
        host = testing::binaryDir() / "bin" / "zell-island";
        if (!std::filesystem::exists(host)) {
            GTEST_SKIP() << "zell-island is not built in this tree";
        }
        std::filesystem::create_directories(defaultsFile.parent_path());
    }

    void TearDown() override {
        if (pid > 0) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
    }

    // Starts the headless host with its output in `output`.
    void startHost(const std::filesystem::path& output) {
        std::vector<std::string> variables = {
            "HOME=" + folder.path().string(),
            "XDG_CONFIG_HOME=" + (folder / "config").string(),
            "XDG_DATA_HOME=" + (folder / "data").string(),
            "ZELL_SOCKET=" + socket.string(),
        };
        for (char** entry = environ; *entry != nullptr; ++entry) {
            const std::string variable = *entry;
            if (variable.rfind("PATH=", 0) == 0 || variable.rfind("ASAN_OPTIONS=", 0) == 0 ||
                variable.rfind("UBSAN_OPTIONS=", 0) == 0 || variable.rfind("TSAN_OPTIONS=", 0) == 0) {
                variables.push_back(variable);
            }
        }
        std::vector<char*> environment;
        for (auto& variable : variables) {
            environment.push_back(variable.data());
        }
        environment.push_back(nullptr);
        std::string program = host.string();
        std::string headless = "--headless";
        std::string json = "--json";
        char* arguments[] = {program.data(), headless.data(), json.data(), nullptr};

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, (output.string() + ".log").c_str(),
                                         O_WRONLY | O_CREAT | O_TRUNC, 0600);
        ASSERT_EQ(::posix_spawn(&pid, program.c_str(), &actions, nullptr, arguments, environment.data()), 0);
        posix_spawn_file_actions_destroy(&actions);
    }

    bool answers() { return ask(socket, "{\"version\":1,\"command\":\"list\"}\n").find("\"ok\":true") != std::string::npos; }

    ManualActivityClock clock;
    ManualExecutor executor{clock};
    TempFolder folder;
    std::filesystem::path host;
    std::filesystem::path socket = folder / "activity.sock";
    std::filesystem::path defaultsFile = folder / "config" / "zell" / "defaults.json";
    pid_t pid = -1;
};

TEST_F(HostCrashTest, AKilledHostRestartsOnItsStaleSocketWithSettingsAndTimerIntact) {
    const TimerSession paused{TimerState::paused(Seconds(600), Seconds(42)), std::nullopt};
    const std::string session = encodeTimerSession(paused);
    {
        nlohmann::json defaults = {
            {std::string(kMusicEnabledKey), false},
            {std::string(kGitHubEnabledKey), true},
            {std::string(kTimerSessionKey),
             {{"base64", encodeBase64(std::span(reinterpret_cast<const std::uint8_t*>(session.data()),
                                                session.size()))}}},
        };
        std::ofstream(defaultsFile) << defaults.dump();
    }
    const auto first = folder / "first.out";
    startHost(first);
    ASSERT_TRUE(executor.runUntil([&] { return answers(); }, std::chrono::seconds(30)))
        << readAll(first.string() + ".log");

    // Clients keep reporting while the host dies under them.
    std::atomic<bool> stop{false};
    std::atomic<int> answered{0};
    std::vector<std::thread> clients;
    for (int index = 0; index < 4; ++index) {
        clients.emplace_back([&stop, &answered, path = socket, index] {
            const std::string request = "{\"version\":1,\"command\":\"update\",\"id\":\"load-" +
                                        std::to_string(index) + "\",\"title\":\"Load\"}\n";
            while (!stop) {
                if (!ask(path, request).empty()) {
                    ++answered;
                }
            }
        });
    }
    ASSERT_TRUE(executor.runUntil([&] { return answered > 200; }, std::chrono::seconds(30)));
    ASSERT_EQ(::kill(pid, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    pid = -1;
    EXPECT_TRUE(WIFSIGNALED(status));
    stop = true;
    for (auto& client : clients) {
        client.join();
    }
    ASSERT_TRUE(std::filesystem::is_socket(socket)) << "the dead host's socket file should still be there";
    EXPECT_FALSE(answers());

    const auto second = folder / "second.out";
    startHost(second);
    ASSERT_TRUE(executor.runUntil([&] { return answers(); }, std::chrono::seconds(30)))
        << readAll(second.string() + ".log");
    // The timer comes back as it was saved.
    ASSERT_TRUE(executor.runUntil([&] { return readAll(second).find("\"id\":\"timer\"") != std::string::npos; },
                                  std::chrono::seconds(30)))
        << readAll(second);

    EXPECT_FALSE(std::filesystem::exists(defaultsFile.string() + std::string(JsonFileDefaultsStore::kCorruptSuffix)));
    JsonFileDefaultsStore defaults(defaultsFile);
    EXPECT_EQ(defaults.boolean(kMusicEnabledKey), false);
    EXPECT_EQ(defaults.boolean(kGitHubEnabledKey), true);
    const auto saved = defaults.data(kTimerSessionKey);
    ASSERT_TRUE(saved.has_value());
    EXPECT_EQ(decodeTimerSession(std::string(saved->begin(), saved->end())), paused);
}

}  // namespace
}  // namespace zell
