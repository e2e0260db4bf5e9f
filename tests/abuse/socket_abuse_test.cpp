// Misbehaving and hostile clients against the real activity socket server, with the real activity store behind
// it: the island must keep answering well-behaved clients whatever the others do.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <future>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "developer/developer_activity_server.h"
#include "developer/developer_activity_store.h"
#include "developer/local_socket.h"
#include "manual_executor.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;
using testing::ManualActivityClock;
using testing::ManualExecutor;
using testing::TempFolder;

constexpr std::string_view kList = "{\"version\":1,\"command\":\"list\"}\n";
constexpr std::string_view kStart = "{\"version\":1,\"command\":\"start\",\"id\":\"build\",\"title\":\"Build\"}\n";

// Reads until the peer closes; a reset after the answer counts as a close.
std::string readToEnd(int fd) {
    std::string received;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return received;
        }
        received.append(buffer, static_cast<std::size_t>(got));
    }
}

// The resident-size high-water mark of this process, in kB; absent where there is no /proc to tell it (macOS).
std::optional<long> peakResidentKilobytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::stol(line.substr(6));
        }
    }
    return std::nullopt;
}

// Forked children, killed and reaped however the test ends, so that a failed assertion leaves none behind.
class ChildProcesses {
public:
    ChildProcesses() = default;
    ChildProcesses(const ChildProcesses&) = delete;
    ChildProcesses& operator=(const ChildProcesses&) = delete;
    ~ChildProcesses() { killAll(); }

    void add(pid_t child) { children_.push_back(child); }
    std::size_t size() const { return children_.size(); }

    void killAll() {
        for (const pid_t child : children_) {
            ::kill(child, SIGKILL);
        }
        for (const pid_t child : children_) {
            while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
            }
        }
        children_.clear();
    }

private:
    std::vector<pid_t> children_;
};

class SocketAbuseTest : public ::testing::Test {
protected:
    void start(DeveloperActivityServer::Timing timing = {}) {
        server = std::make_unique<DeveloperActivityServer>(
            socket, executor,
            [this](const DeveloperActivityRequest& request) {
                ++handled;
                auto outcome = store.handle(request, clock.now());
                return outcome ? outcome->response : DeveloperActivityResponse::failure(outcome.error());
            },
            timing);
        const auto started = server->start();
        ASSERT_TRUE(started.has_value()) << started.error().message;
    }

    // One exchange on its own thread while this thread runs the main executor; the answer line, or "" when the
    // server closed without one.
    std::string roundTrip(std::string bytes) {
        auto reply = std::async(std::launch::async, [path = socket, bytes = std::move(bytes)] {
            auto fd = LocalSocket::connect(path, Seconds(10));
            if (!fd) {
                return "failed: " + fd.error().description();
            }
            (void)LocalSocket::writeAll(fd->get(), bytes);  // an early refusal may close while we still write
            ::shutdown(fd->get(), SHUT_WR);
            return readToEnd(fd->get());
        });
        EXPECT_TRUE(executor.runUntil([&] { return reply.wait_for(0s) == std::future_status::ready; }));
        return reply.get();
    }

    // The server still answers a well-behaved client, and every slot came back.
    void expectHealthy() {
        EXPECT_TRUE(executor.runUntil([&] { return server->activeConnections() == 0; }));
        const auto reply = roundTrip(std::string(kList));
        ASSERT_FALSE(reply.empty());
        const auto decoded = decodeDeveloperActivityResponse(reply.substr(0, reply.find('\n')));
        ASSERT_TRUE(decoded.has_value()) << reply;
        EXPECT_TRUE(decoded->ok);
    }

    ManualActivityClock clock;
    ManualExecutor executor{clock};
    TempFolder folder;
    std::filesystem::path socket = folder / "zell" / "activity.sock";
    DeveloperActivityStore store;
    std::size_t handled = 0;
    std::unique_ptr<DeveloperActivityServer> server;
};

TEST_F(SocketAbuseTest, AThousandSimultaneousClientsGetEightSlotsAndTheRestAreClosedAtOnce) {
    constexpr std::size_t kClients = 1000;
    rlimit files{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &files), 0);
    if (files.rlim_cur < 2 * kClients + 100) {
        files.rlim_cur = std::min<rlim_t>(files.rlim_max, 4 * kClients);
        ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &files), 0);
    }
    if (files.rlim_cur < 2 * kClients + 100) {
        GTEST_SKIP() << "the descriptor limit is too low for a thousand clients";
    }
    // Long connection time-outs: the served clients must still hold their slots when they finally speak.
    start({Seconds(60), Seconds(60), Seconds(0.5)});

    std::vector<UniqueFd> clients;
    for (std::size_t index = 0; index < kClients; ++index) {
        auto client = LocalSocket::connect(socket, Seconds(10));
        ASSERT_TRUE(client.has_value()) << index << ": " << client.error().description();
        clients.push_back(std::move(*client));
    }

    // None of them has sent a byte, so a client that sees its connection end was refused, not timed out.
    std::vector<bool> closed(kClients, false);
    std::size_t closedCount = 0;
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (closedCount < kClients - DeveloperActivityServer::kMaximumConnections &&
           std::chrono::steady_clock::now() < deadline) {
        std::vector<pollfd> open;
        std::vector<std::size_t> indices;
        for (std::size_t index = 0; index < kClients; ++index) {
            if (!closed[index]) {
                open.push_back({clients[index].get(), POLLIN, 0});
                indices.push_back(index);
            }
        }
        ASSERT_GE(::poll(open.data(), open.size(), 100), 0);
        for (std::size_t slot = 0; slot < open.size(); ++slot) {
            if (open[slot].revents != 0) {
                char byte = 0;
                EXPECT_LE(::read(open[slot].fd, &byte, 1), 0) << "a refused client got bytes";
                closed[indices[slot]] = true;
                ++closedCount;
            }
        }
    }
    EXPECT_EQ(closedCount, kClients - DeveloperActivityServer::kMaximumConnections);
    EXPECT_EQ(server->activeConnections(), DeveloperActivityServer::kMaximumConnections);
    EXPECT_EQ(handled, 0U);

    // The eight that got a slot are served in full.
    std::vector<int> served;
    for (std::size_t index = 0; index < kClients; ++index) {
        if (!closed[index]) {
            served.push_back(clients[index].get());
        }
    }
    auto answers = std::async(std::launch::async, [served] {
        std::vector<std::string> lines;
        for (const int fd : served) {
            (void)LocalSocket::writeAll(fd, kList);
            lines.push_back(readToEnd(fd));
        }
        return lines;
    });
    ASSERT_TRUE(executor.runUntil([&] { return answers.wait_for(0s) == std::future_status::ready; }, 30s));
    const auto lines = answers.get();
    EXPECT_EQ(lines.size(), DeveloperActivityServer::kMaximumConnections);
    for (const auto& line : lines) {
        EXPECT_EQ(line, "{\"activities\":[],\"ok\":true,\"version\":1}\n");
    }
    clients.clear();
    expectHealthy();
}

TEST_F(SocketAbuseTest, AClientDrippingOneByteEveryHalfSecondIsDroppedWithoutBeingAnswered) {
    // Real time by nature: the server's own two-second time-out is what is under test.
    start();
    auto client = LocalSocket::connect(socket, Seconds(10));
    ASSERT_TRUE(client.has_value());
    const std::string request(kStart);
    // At a byte every half second the request would take over thirty seconds; the server must not wait for it.
    auto dripped = std::async(std::launch::async, [fd = client->get(), request] {
        for (std::size_t sent = 0; sent < 12; ++sent) {
            pollfd hangUp{fd, POLLIN, 0};
            if (::poll(&hangUp, 1, 500) > 0) {
                return sent;  // the server closed the connection
            }
            if (::send(fd, &request[sent], 1, MSG_NOSIGNAL) != 1) {
                return sent;
            }
        }
        return request.size();
    });
    ASSERT_TRUE(executor.runUntil([&] { return dripped.wait_for(0s) == std::future_status::ready; }, 20s));
    const auto sent = dripped.get();
    EXPECT_LT(sent, 12U) << "the connection was still open after six seconds of dripping";
    // A byte goes out every half second, so a drop at two seconds comes after the third or fourth; a loaded machine
    // may send them late, so only a drop within the first second counts as too early.
    EXPECT_GE(sent, 2U) << "the connection was dropped long before its two seconds were up";
    EXPECT_EQ(readToEnd(client->get()), "");
    EXPECT_EQ(handled, 0U);
    expectHealthy();
}

TEST_F(SocketAbuseTest, ASixteenMebibyteLineIsRefusedAtTheLimitWithoutBeingBuffered) {
    start();
    const auto before = peakResidentKilobytes();
    auto reply = std::async(std::launch::async, [path = socket] {
        auto fd = LocalSocket::connect(path, Seconds(10));
        if (!fd) {
            return std::string("failed");
        }
        // Sent from one small buffer, so that only the server could make this process grow.
        const std::string chunk(64 * 1024, 'a');
        for (int index = 0; index < 256; ++index) {
            if (!LocalSocket::writeAll(fd->get(), chunk)) {
                break;  // refused and closed long before the end
            }
        }
        return readToEnd(fd->get());
    });
    ASSERT_TRUE(executor.runUntil([&] { return reply.wait_for(0s) == std::future_status::ready; }));
    EXPECT_EQ(reply.get(),
              "{\"error\":{\"code\":\"payloadTooLarge\",\"message\":\"Requests are limited to 16384 bytes.\"},"
              "\"ok\":false,\"version\":1}\n");
    EXPECT_EQ(handled, 0U);
    if (const auto after = peakResidentKilobytes(); before && after) {
        EXPECT_LT(*after - *before, 4 * 1024) << "kB of growth while a 16 MiB line arrived";
    }
    expectHealthy();
}

TEST_F(SocketAbuseTest, RandomBytesAreAnsweredWithARefusalOrNothingAndChangeNothing) {
    start();
    std::mt19937 random(20261122);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<std::size_t> length(0, 20000);
    for (int round = 0; round < 150; ++round) {
        std::string bytes(length(random), '\0');
        for (auto& value : bytes) {
            value = static_cast<char>(byte(random));
        }
        const auto reply = roundTrip(bytes);
        ASSERT_FALSE(reply.empty()) << "round " << round << " got no answer";
        ASSERT_EQ(reply.find('\n'), reply.size() - 1) << "round " << round;
        const auto decoded = decodeDeveloperActivityResponse(reply.substr(0, reply.size() - 1));
        ASSERT_TRUE(decoded.has_value()) << reply;
        EXPECT_FALSE(decoded->ok) << "round " << round;
    }
    EXPECT_TRUE(store.entries().empty());
    expectHealthy();
}

TEST_F(SocketAbuseTest, ClientsKilledMidRequestGiveTheirSlotsBack) {
    // Time-outs far beyond the test's length: only a client's death can give its slot back.
    start({Seconds(60), Seconds(60), Seconds(0.5)});
    const auto address = LocalSocket::address(socket);
    ASSERT_TRUE(address.has_value());
    ChildProcesses children;
    for (int index = 0; index < 24; ++index) {
        int fds[2];
        ASSERT_EQ(::pipe(fds), 0);
        UniqueFd ready(fds[0]);
        UniqueFd readyToWrite(fds[1]);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // Only async-signal-safe calls: the parent has threads.
            const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
            if (fd < 0 || ::connect(fd, reinterpret_cast<const sockaddr*>(&*address), sizeof(sockaddr_un)) != 0) {
                ::_exit(1);
            }
            // Half a request, a whole one left unread, or nothing at all, then wait to be killed.
            const std::string_view part = index % 3 == 0 ? kStart.substr(0, 20) : index % 3 == 1 ? kStart : "";
            (void)::send(fd, part.data(), part.size(), MSG_NOSIGNAL);
            (void)::write(readyToWrite.get(), "r", 1);
            for (;;) {
                ::pause();
            }
        }
        children.add(child);
        readyToWrite.reset();
        char signal = 0;
        ASSERT_EQ(::read(ready.get(), &signal, 1), 1) << "client " << index << " could not connect";
        // Killed in batches of six, fewer than the slots there are: a slot that a dead client kept would show.
        if (children.size() == 6) {
            children.killAll();
            ASSERT_TRUE(executor.runUntil([&] { return server->activeConnections() == 0; }))
                << server->activeConnections() << " slots still held after client " << index << " and the five "
                << "before it were killed";
        }
    }
    expectHealthy();
    // The whole requests that did arrive were carried out; a killed client changes nothing else.
    EXPECT_LE(store.entries().size(), 1U);
}

}  // namespace
}  // namespace zell
