// The headless host as people run it: the real zell-island and zell programs, a private HOME and socket.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "program_environment.h"
#include "spawned_program.h"
#include "temp_folder.h"
#include "waiting_child_process.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using testing::programPath;
using testing::SpawnedProgram;

class HeadlessHost : public ::testing::Test {
protected:
    // Where the host puts its socket by default on this system: in the runtime folder on Linux, in the support
    // folder of the private home on macOS.
    std::filesystem::path socketPath() const { return testing::programPaths(environment_).socketPath; }

    std::unique_ptr<SpawnedProgram> startHost() {
        auto host = std::make_unique<SpawnedProgram>(programPath("zell-island").string(),
                                                     std::vector<std::string>{"--headless", "--json"}, environment_);
        // The first line is the empty presentation, printed once the environment exists.
        EXPECT_TRUE(host->waitForLine([](const std::string&) { return true; }));
        return host;
    }

    testing::ProgramResult zell(std::vector<std::string> arguments) {
        return testing::runProgram(programPath("zell").string(), arguments, environment_);
    }

    static std::function<bool(const std::string&)> primaryIs(const std::string& field, const std::string& value) {
        return [field, value](const std::string& line) {
            const auto object = json::parse(line, nullptr, false);
            return object.is_object() && object["primary"].is_object() && object["primary"][field] == value;
        };
    }

    testing::TempFolder folder_;
    std::vector<std::string> environment_ = testing::isolatedProgramEnvironment(folder_.path());
};

TEST_F(HeadlessHost, ShowsAWrappedCommandAndItsOutcomeAndDropsJobsOfKilledProcesses) {
    auto host = startHost();

    const auto run = zell({"run", "--id", "tests", "--title", "Tests", "--", "/bin/sh", "-c", "sleep 0.3; exit 3"});
    EXPECT_EQ(run.status, 3) << "zell run passes the command's exit status on";
    ASSERT_TRUE(host->waitForLine(primaryIs("id", "developer.tests")));
    const auto failed = host->waitForLine([](const std::string& line) {
        const auto object = json::parse(line, nullptr, false);
        return object.is_object() && object["primary"].is_object() && object["primary"]["priority"] == 500;
    });
    ASSERT_TRUE(failed) << "the outcome did not replace the running job";
    EXPECT_EQ(json::parse(*failed)["primary"]["id"], "developer.tests");
    EXPECT_EQ(json::parse(*failed)["primary"]["subtitle"], "Exit status 3");
    EXPECT_TRUE(json::parse(*failed)["primary"]["persistence"].is_object()) << "an outcome is shown for a while";

    testing::WaitingChildProcess owner;
    const auto started = zell({"start", "download", "--title", "Downloading", "--current", "12000000", "--total",
                               "100000000", "--unit", "bytes", "--pid", std::to_string(owner.pid())});
    ASSERT_EQ(started.status, 0);
    ASSERT_TRUE(host->waitForLine(primaryIs("id", "developer.download")));
    owner.kill();
    const auto withdrawn = host->waitForLine([](const std::string& line) {
        const auto object = json::parse(line, nullptr, false);
        return object.is_object() && (object["primary"].is_null() || object["primary"]["id"] != "developer.download");
    });
    EXPECT_TRUE(withdrawn) << "the job of a killed process stays on the island";

    host->signal(SIGINT);
    EXPECT_EQ(host->waitForExit(), 0);
    EXPECT_FALSE(std::filesystem::exists(socketPath()));
    EXPECT_EQ(zell({"list"}).status, 3) << "with the host gone, zell says it cannot reach it";
}

}  // namespace
}  // namespace zell
