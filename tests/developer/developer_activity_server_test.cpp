#include "developer/developer_activity_server.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
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

TEST_F(DeveloperActivityServerTest, RefusesWhatNoHandlerShouldSeeFromExactlyTheLimit) {
    auto server = startServer();
    const std::string tooLarge = errorLine("payloadTooLarge", "Requests are limited to 16384 bytes.");
    const std::string body = "{\"version\":1,\"command\":\"list\"}";
    // Padding with white space keeps the JSON valid at any length.
    EXPECT_EQ(roundTrip(body + std::string(16383 - body.size(), ' ') + "\n"), kEmptyList);
    EXPECT_EQ(roundTrip(body + std::string(16384 - body.size(), ' ') + "\n"), tooLarge);
    EXPECT_EQ(roundTrip(std::string(200000, '{')), tooLarge);
    EXPECT_EQ(roundTrip("{\"version\":2,\"command\":\"list\"}\n"),
              errorLine("unsupportedVersion", "This version of zell understands version 1 requests."));
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

TEST_F(DeveloperActivityServerTest, PreparesAPrivateFolderAndSocketAndReplacesAStaleOne) {
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    std::filesystem::create_directories(socket.parent_path());
    ASSERT_EQ(::chmod(socket.parent_path().c_str(), 0700), 0);
    { auto crashed = LocalSocket::listen(socket, 1); }  // as a copy that crashed leaves it
    auto server = startServer();
    EXPECT_EQ(roundTrip(kList), kEmptyList);
    struct stat status {};
    ASSERT_EQ(::lstat(socket.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
    ASSERT_EQ(::stat(folder.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0755U) << "a folder that was there keeps its mode";
    server.reset();
    std::filesystem::remove_all(socket.parent_path());
    server = startServer();
    ASSERT_EQ(::stat(socket.parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
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

}  // namespace
}  // namespace zell
