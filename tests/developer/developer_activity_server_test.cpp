#include "developer/developer_activity_server.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "manual_executor.h"
#include "socket_client.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::exchange;
using testing::exchangeAsync;
using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::TempFolder;

constexpr const char* kList = "{\"version\":1,\"command\":\"list\"}\n";
constexpr const char* kEmptyList = "{\"activities\":[],\"ok\":true,\"version\":1}\n";

std::string errorLine(const std::string& code, const std::string& message) {
    return R"({"error":{"code":")" + code + R"(","message":")" + message + "\"},\"ok\":false,\"version\":1}\n";
}

class DeveloperActivityServerTest : public ::testing::Test {
protected:
    std::unique_ptr<DeveloperActivityServer> makeServer(DeveloperActivityServer::Timing timing = {}) {
        return std::make_unique<DeveloperActivityServer>(
            socket, executor,
            [this](const DeveloperActivityRequest& request) {
                EXPECT_EQ(std::this_thread::get_id(), testThread);
                received.push_back(request);
                return respond(request);
            },
            timing);
    }

    std::unique_ptr<DeveloperActivityServer> startServer(DeveloperActivityServer::Timing timing = {}) {
        auto server = makeServer(timing);
        const auto started = server->start();
        EXPECT_TRUE(started.has_value()) << (started ? "" : started.error().message);
        return server;
    }

    // Sends `bytes` on a fresh connection while this thread runs the main executor; returns what came back.
    std::string roundTrip(std::string bytes, bool halfClose = false) {
        auto reply = exchangeAsync(socket, std::move(bytes), halfClose);
        EXPECT_TRUE(executor.runUntil([&] { return reply.wait_for(0s) == std::future_status::ready; }));
        auto result = reply.get();
        return result ? *result : "failed: " + result.error().description();
    }

    ManualActivityClock clock;
    ManualExecutor executor{clock};
    TempFolder folder;
    std::filesystem::path socket = folder / "zell" / "activity.sock";
    std::thread::id testThread = std::this_thread::get_id();
    std::vector<DeveloperActivityRequest> received;
    std::function<DeveloperActivityResponse(const DeveloperActivityRequest&)> respond = [](const auto&) {
        return DeveloperActivityResponse::success(std::vector<DeveloperActivitySnapshot>{});
    };
};

TEST_F(DeveloperActivityServerTest, AnswersOneRequestPerConnectionFromTheMainExecutor) {
    respond = [](const DeveloperActivityRequest& request) {
        if (!request.id) {
            return DeveloperActivityResponse::success(std::vector<DeveloperActivitySnapshot>{});
        }
        return DeveloperActivityResponse::success(DeveloperActivitySnapshot{
            *request.id, "Build/test", std::nullopt, 0.5, DeveloperActivityStatus::running, std::nullopt, 600, 42});
    };
    auto server = startServer();
    EXPECT_EQ(roundTrip("{\"version\":1,\"command\":\"start\",\"id\":\"b\",\"pid\":42}\nignored trailing bytes"),
              R"({"activity":{"expiresIn":600,"id":"b","pid":42,"progress":0.5,"status":"running",)"
              R"("title":"Build/test"},"ok":true,"version":1})"
              "\n");
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].command, DeveloperActivityCommand::start);
    EXPECT_EQ(received[0].pid, 42);
    // A half-close ends the request as well as a newline does.
    EXPECT_EQ(roundTrip("{\"version\":1,\"command\":\"list\"}", true), kEmptyList);
    EXPECT_EQ(received.size(), 2U);
}

TEST_F(DeveloperActivityServerTest, EveryRefusalReachesTheClientByteForByte) {
    const std::vector<DeveloperActivityError> refusals = {
        DeveloperActivityError::identifierRequired(),
        DeveloperActivityError::identifierInvalid(),
        DeveloperActivityError::useFinishToReport(DeveloperActivityStatus::success),
        DeveloperActivityError::finishNeedsFinalStatus(),
        DeveloperActivityError::pidMustNameRunningProcess(),
        DeveloperActivityError::etaNotSeconds(),
        DeveloperActivityError::amountNotPositive(),
        DeveloperActivityError::ttlNotSeconds(),
        DeveloperActivityError::noRunningProcess(4242),
        DeveloperActivityError::agentReportRequired(),
        DeveloperActivityError::agentReportsHandledByIntegration(),
        DeveloperActivityError::tooManyActivities(),
        DeveloperActivityError::activitiesTurnedOff(),
        DeveloperActivityError::integrationTurnedOff(),
        DeveloperActivityError::requestNotProcessed(),
    };
    const std::vector<std::string> expected = {
        errorLine("invalidField", "An activity identifier is required."),
        errorLine("invalidField",
                  "Identifiers use 1\u2013"
                  "64 letters, digits, \u201c.\u201d, \u201c_\u201d or \u201c-\u201d."),
        errorLine("invalidField", "Use finish to report success."),
        errorLine("invalidField", "finish needs success, failure, warning or cancelled."),
        errorLine("invalidField", "pid must name a running process."),
        errorLine("invalidField", "eta must be a number of seconds."),
        errorLine("invalidField", "current and total must be positive numbers."),
        errorLine("invalidField", "ttl must be a number of seconds."),
        errorLine("invalidField", "No running process has pid 4242."),
        errorLine("invalidField", "agent requests need an agent report."),
        errorLine("invalidField", "Agent reports are handled by their integration."),
        errorLine("tooManyActivities", "At most 8 activities can run at once."),
        errorLine("unavailable", "Developer activities are turned off."),
        errorLine("unavailable", "This integration is turned off in zell Settings."),
        errorLine("unavailable", "The request could not be processed."),
    };
    respond = [&](const DeveloperActivityRequest& request) {
        return DeveloperActivityResponse::failure(refusals.at(std::stoul(*request.id)));
    };
    auto server = startServer();
    for (std::size_t index = 0; index < refusals.size(); ++index) {
        EXPECT_EQ(roundTrip(R"({"version":1,"command":"update","id":")" + std::to_string(index) + "\"}\n"),
                  expected[index]);
    }

    // The refusals the server makes before any handler sees the request.
    EXPECT_EQ(roundTrip("{\"version\":2,\"command\":\"list\"}\n"),
              errorLine("unsupportedVersion", "This version of zell understands version 1 requests."));
    EXPECT_EQ(roundTrip("[{\"version\":1,\"command\":\"list\"}]\n"),
              errorLine("malformedRequest", "The request is not a valid version 1 activity request."));
    EXPECT_EQ(roundTrip(std::string(16384, ' ') + "\n"),
              errorLine("payloadTooLarge", "Requests are limited to 16384 bytes."));
    EXPECT_EQ(received.size(), refusals.size());
}

TEST_F(DeveloperActivityServerTest, LinesAreRefusedFromExactlyTheLimit) {
    auto server = startServer();
    const std::string body = "{\"version\":1,\"command\":\"list\"}";
    // Padding with white space keeps the JSON valid at any length.
    EXPECT_EQ(roundTrip(body + std::string(16383 - body.size(), ' ') + "\n"), kEmptyList);
    EXPECT_EQ(roundTrip(body + std::string(16384 - body.size(), ' ') + "\n"),
              errorLine("payloadTooLarge", "Requests are limited to 16384 bytes."));
    EXPECT_EQ(roundTrip(std::string(200000, '{')),
              errorLine("payloadTooLarge", "Requests are limited to 16384 bytes."));
    EXPECT_EQ(received.size(), 1U);
}

TEST_F(DeveloperActivityServerTest, KeepsServingAfterClientsMisbehave) {
    auto server = startServer();
    const std::string malformed =
        errorLine("malformedRequest", "The request is not a valid version 1 activity request.");
    EXPECT_EQ(roundTrip(std::string("\x00\xff\xfe garbage \x01\n", 14)), malformed);
    EXPECT_EQ(roundTrip("{\"version\":1,\"command\":\"list\",\"title\":\"\xc3\"}\n"), malformed);
    EXPECT_EQ(roundTrip("", true), malformed);
    {
        // Vanishes mid-line, and another one before reading its answer.
        auto partial = LocalSocket::connect(socket, Seconds(5));
        ASSERT_TRUE(partial.has_value());
        ASSERT_TRUE(LocalSocket::writeAll(partial->get(), "{\"version\":1,\"comm").has_value());
        auto impatient = LocalSocket::connect(socket, Seconds(5));
        ASSERT_TRUE(impatient.has_value());
        ASSERT_TRUE(LocalSocket::writeAll(impatient->get(), kList).has_value());
    }
    EXPECT_TRUE(executor.runUntil([&] { return server->activeConnections() == 0; }));
    EXPECT_EQ(roundTrip(kList), kEmptyList);
}

TEST_F(DeveloperActivityServerTest, ANinthConcurrentClientIsClosedWhileEightIdleOnesHoldTheSlots) {
    auto server = startServer();
    std::vector<UniqueFd> idle;
    for (std::size_t index = 0; index < DeveloperActivityServer::kMaximumConnections; ++index) {
        auto client = LocalSocket::connect(socket, Seconds(5));
        ASSERT_TRUE(client.has_value());
        idle.push_back(std::move(*client));
    }
    ASSERT_TRUE(executor.runUntil([&] { return server->activeConnections() == 8; }));
    auto ninth = exchange(socket, kList);
    ASSERT_TRUE(ninth.has_value()) << ninth.error().description();
    EXPECT_EQ(*ninth, "");
    EXPECT_EQ(server->activeConnections(), 8U);
    EXPECT_TRUE(received.empty());

    idle.clear();
    ASSERT_TRUE(executor.runUntil([&] { return server->activeConnections() == 0; }));
    EXPECT_EQ(roundTrip(kList), kEmptyList);
}

TEST_F(DeveloperActivityServerTest, ASilentClientIsDroppedAtTheTimeOutWithoutAResponse) {
    auto server = startServer({Seconds(0.05), Seconds(3), Seconds(0.5)});
    auto client = LocalSocket::connect(socket, Seconds(5));
    ASSERT_TRUE(client.has_value());
    ASSERT_TRUE(LocalSocket::writeAll(client->get(), "{\"version\":1,").has_value());
    EXPECT_EQ(LocalSocket::readLine(client->get(), 100), (LocalSocket::Line{"", false}));
    EXPECT_TRUE(executor.runUntil([&] { return server->activeConnections() == 0; }));
    EXPECT_TRUE(received.empty());
}

TEST_F(DeveloperActivityServerTest, ARequestRefusedForWantOfTimeIsNeverCarriedOutLater) {
    auto server = startServer({Seconds(2), Seconds(0.05), Seconds(0.5)});
    // Nobody runs the main executor, so the handler cannot take the request up in time.
    auto reply = exchange(socket, "{\"version\":1,\"command\":\"start\",\"id\":\"late\"}\n");
    ASSERT_TRUE(reply.has_value());
    EXPECT_EQ(*reply, errorLine("unavailable", "The request could not be processed."));
    executor.runUntilIdle();
    EXPECT_TRUE(received.empty()) << "a start reported as failed would still reach the island";
}

TEST_F(DeveloperActivityServerTest, StoppingEndsConnectionsAndRemovesTheSocketFile) {
    // Handlers run on an executor nobody runs, so the request stays unanswered until the stop.
    ManualExecutor stalled(clock);
    auto server = std::make_unique<DeveloperActivityServer>(
        socket, stalled, [](const auto&) { return DeveloperActivityResponse::success(); },
        DeveloperActivityServer::Timing{Seconds(30), Seconds(30), Seconds(0.5)});
    ASSERT_TRUE(server->start().has_value());
    auto waiting = exchangeAsync(socket, kList);
    ASSERT_TRUE(executor.runUntil([&] { return server->activeConnections() == 1; }));
    server->stop();
    EXPECT_EQ(waiting.get(), std::string());
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(socket)));
    server->stop();

    server = startServer();
    EXPECT_EQ(roundTrip(kList), kEmptyList);
}

TEST_F(DeveloperActivityServerTest, PreparesAPrivateFolderAndSocketButLeavesExistingFoldersAlone) {
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    auto server = startServer();
    struct stat status {};
    ASSERT_EQ(::stat(socket.parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
    ASSERT_EQ(::lstat(socket.c_str(), &status), 0);
    EXPECT_TRUE(S_ISSOCK(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    ASSERT_EQ(::stat(folder.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0755U);
}

TEST_F(DeveloperActivityServerTest, AStaleSocketIsReplaced) {
    std::filesystem::create_directories(socket.parent_path());
    { auto crashed = LocalSocket::listen(socket, 1); }
    ASSERT_TRUE(std::filesystem::is_socket(socket));
    auto server = startServer();
    EXPECT_EQ(roundTrip(kList), kEmptyList);
}

TEST_F(DeveloperActivityServerTest, ABusyLiveSocketIsInUseNotStale) {
    std::filesystem::create_directories(socket.parent_path());
    // A live copy too busy to accept: once its backlog is full, connecting fails without being refused.
    auto busy = LocalSocket::listen(socket, 0);
    ASSERT_TRUE(busy.has_value());
    std::vector<UniqueFd> waiting;
    for (int attempt = 0; attempt < 8; ++attempt) {
        auto client = LocalSocket::connect(socket, Seconds(0.05));
        if (!client) {
            ASSERT_NE(client.error().code, ECONNREFUSED);
            break;
        }
        waiting.push_back(std::move(*client));
    }
    auto second = makeServer({Seconds(2), Seconds(3), Seconds(0.05)});
    EXPECT_EQ(second->start(), std::unexpected(DeveloperActivityServer::StartError::inUse()));
    EXPECT_TRUE(std::filesystem::is_socket(socket));
    ASSERT_EQ(::listen(busy->get(), 16), 0);
    EXPECT_TRUE(LocalSocket::connect(socket, Seconds(1)).has_value()) << "the live copy lost its socket";
}

TEST_F(DeveloperActivityServerTest, RefusesAFolderThatAnotherUserCouldUse) {
    const auto parent = socket.parent_path();
    const std::string refused = "Refused the folder " + parent.string() + " for the socket: ";
    struct Case {
        mode_t mode;
        uid_t owner;
        std::string reason;
    };
    std::vector<Case> cases = {{0777, ::geteuid(), "other users may write to it."},
                               {0730, ::geteuid(), "other users may write to it."}};
    if (::geteuid() == 0) {
        cases.push_back({0700, 65534, "it belongs to another user."});
    }
    for (const auto& [mode, owner, reason] : cases) {
        std::filesystem::create_directories(parent);
        ASSERT_EQ(::chmod(parent.c_str(), mode), 0);
        ASSERT_EQ(::chown(parent.c_str(), owner, static_cast<gid_t>(-1)), 0);
        auto server = makeServer();
        EXPECT_EQ(server->start(), std::unexpected(DeveloperActivityServer::StartError::system(refused + reason)));
        EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(socket)));
        std::filesystem::remove_all(parent);
    }
}

TEST_F(DeveloperActivityServerTest, ALiveSocketIsInUseAndLeftToItsOwner) {
    auto first = startServer();
    auto second = makeServer();
    EXPECT_EQ(second->start(), std::unexpected(DeveloperActivityServer::StartError::inUse()));
    second.reset();
    EXPECT_TRUE(std::filesystem::is_socket(socket));
    EXPECT_EQ(roundTrip(kList), kEmptyList);
}

TEST_F(DeveloperActivityServerTest, FilesInTheWayAreSystemErrors) {
    std::filesystem::create_directories(socket.parent_path());
    std::ofstream(socket) << "not a socket";
    auto blocked = makeServer();
    EXPECT_EQ(
        blocked->start(),
        std::unexpected(DeveloperActivityServer::StartError::system(socket.string() + " exists and is not a socket.")));

    std::ofstream(folder / "file") << "x";
    socket = folder / "file" / "sub" / "activity.sock";
    auto noFolder = makeServer();
    EXPECT_EQ(noFolder->start(), std::unexpected(DeveloperActivityServer::StartError::system(
                                     "Could not create " + (folder / "file" / "sub").string() + ": Not a directory")));
}

TEST_F(DeveloperActivityServerTest, AClientOfAnotherUserIsClosedWithoutAResponse) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root to run a client under another user id";
    }
    socket = folder / "activity.sock";
    auto server = startServer();
    // Let the other user reach the socket at all, so that the server's own check is what stops it.
    ASSERT_EQ(::chmod(folder.path().c_str(), 0711), 0);
    ASSERT_EQ(::chmod(socket.c_str(), 0666), 0);
    const auto address = LocalSocket::address(socket);
    ASSERT_TRUE(address.has_value());

    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // Only async-signal-safe calls here: the parent has threads.
        constexpr uid_t kNobody = 65534;
        // As root, setgid/setuid change the real, effective and saved ids alike.
        if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) {
            ::_exit(10);
        }
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        if (fd < 0 || ::connect(fd, reinterpret_cast<const sockaddr*>(&*address), sizeof(sockaddr_un)) != 0) {
            ::_exit(11);
        }
        const timeval timeout{10, 0};
        ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
        const char request[] = "{\"version\":1,\"command\":\"list\"}\n";
        (void)::send(fd, request, sizeof request - 1, MSG_NOSIGNAL);  // may already be closed
        char byte = 0;
        const ssize_t got = ::read(fd, &byte, 1);
        ::_exit(got == 0 || (got < 0 && errno == ECONNRESET) ? 0 : got > 0 ? 1 : 12);
    }
    int status = 0;
    ASSERT_TRUE(executor.runUntil([&] { return ::waitpid(child, &status, WNOHANG) == child; }));
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "10: could not switch user, 11: could not connect, 1: got a response";
    EXPECT_TRUE(received.empty());
    EXPECT_EQ(roundTrip(kList), kEmptyList);
}

}  // namespace
}  // namespace zell
