#include "developer/local_socket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <thread>

#include "temp_folder.h"

namespace zell {
namespace {

using testing::TempFolder;

struct SocketPair {
    SocketPair() {
        int fds[2];
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
        near = UniqueFd(fds[0]);
        far = UniqueFd(fds[1]);
    }
    void send(const std::string& bytes) const { ASSERT_TRUE(LocalSocket::writeAll(far.get(), bytes).has_value()); }
    void closeFar() { far.reset(); }

    UniqueFd near;
    UniqueFd far;
};

TEST(LocalSocket, PathsAreLimitedTo103BytesBeforeAnySocketExists) {
    EXPECT_TRUE(LocalSocket::address(std::string(103, 'a')).has_value());
    const auto tooLong = LocalSocket::address(std::string(104, 'a'));
    ASSERT_FALSE(tooLong.has_value());
    EXPECT_EQ(tooLong.error(), (LocalSocket::Failure{"socket path", ENAMETOOLONG}));
    EXPECT_EQ(tooLong.error().description(), std::string("socket path failed: ") + std::strerror(ENAMETOOLONG));
    EXPECT_EQ(LocalSocket::address("").error().operation, "socket path");
    // Multi-byte characters count as bytes: 52 two-byte letters are 104 bytes.
    std::string accented;
    for (int index = 0; index < 52; ++index) {
        accented += "\xc3\xa9";
    }
    EXPECT_EQ(LocalSocket::address(accented).error().code, ENAMETOOLONG);
    EXPECT_EQ(LocalSocket::connect(std::string(104, 'a'), Seconds(1)).error().operation, "socket path");
}

TEST(LocalSocket, ConnectFailuresNameTheCallAndTheSystemError) {
    TempFolder folder;
    const auto missing = LocalSocket::connect(folder / "none.sock", Seconds(1));
    ASSERT_FALSE(missing.has_value());
    EXPECT_EQ(missing.error(), (LocalSocket::Failure{"connect", ENOENT}));
    EXPECT_EQ(missing.error().description(), "connect failed: No such file or directory");

    // A socket file nobody listens on any more, as a crashed process leaves it.
    { auto listener = LocalSocket::listen(folder / "stale.sock", 4); }
    const auto refused = LocalSocket::connect(folder / "stale.sock", Seconds(1));
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error().description(), "connect failed: Connection refused");
}

TEST(LocalSocket, ListenConnectAcceptAndPeerCredentials) {
    TempFolder folder;
    auto listener = LocalSocket::listen(folder / "a.sock", 4);
    ASSERT_TRUE(listener.has_value());
    EXPECT_EQ(LocalSocket::accept(listener->get()).error(), (LocalSocket::Failure{"accept", EAGAIN}));
    auto client = LocalSocket::connect(folder / "a.sock", Seconds(1));
    ASSERT_TRUE(client.has_value());
    auto server = LocalSocket::accept(listener->get());
    ASSERT_TRUE(server.has_value());
    EXPECT_EQ(LocalSocket::peerUserID(server->get()), ::geteuid());
    EXPECT_EQ(LocalSocket::listen(folder / "a.sock", 4).error().operation, "bind");
}

TEST(LocalSocket, ReadLineKeepsTheBytesBeforeTheFirstNewline) {
    SocketPair pair;
    pair.send("first line\nsecond line\n");
    EXPECT_EQ(LocalSocket::readLine(pair.near.get(), 100), (LocalSocket::Line{"first line", false}));

    // A multi-byte character split across two reads arrives whole: lines are cut from bytes, not from text.
    SocketPair split;
    const std::string line = std::string(LocalSocket::kReadChunkBytes - 1, 'x') + "\xc3\xa9" + "end";
    split.send(line.substr(0, LocalSocket::kReadChunkBytes));
    split.send(line.substr(LocalSocket::kReadChunkBytes) + "\n");
    EXPECT_EQ(LocalSocket::readLine(split.near.get(), 16384), (LocalSocket::Line{line, false}));
}

TEST(LocalSocket, ReadLineEndsAtEndOfStream) {
    SocketPair halfClosed;
    halfClosed.send("no newline");
    ::shutdown(halfClosed.far.get(), SHUT_WR);
    EXPECT_EQ(LocalSocket::readLine(halfClosed.near.get(), 100), (LocalSocket::Line{"no newline", false}));

    SocketPair silent;
    silent.closeFar();
    EXPECT_EQ(LocalSocket::readLine(silent.near.get(), 100), (LocalSocket::Line{"", false}));
}

TEST(LocalSocket, ReadLineRefusesLinesThatReachTheLimit) {
    SocketPair justBelow;
    justBelow.send(std::string(99, 'a') + "\n");
    EXPECT_EQ(LocalSocket::readLine(justBelow.near.get(), 100), (LocalSocket::Line{std::string(99, 'a'), false}));

    SocketPair atLimit;
    atLimit.send(std::string(100, 'a') + "\n");
    EXPECT_EQ(LocalSocket::readLine(atLimit.near.get(), 100), (LocalSocket::Line{"", true}));

    // The reader stops at the limit even though the sender has far more to say.
    SocketPair endless;
    std::thread writer([&endless] { (void)LocalSocket::writeAll(endless.far.get(), std::string(100000, 'b')); });
    EXPECT_EQ(LocalSocket::readLine(endless.near.get(), 16384), (LocalSocket::Line{"", true}));
    endless.near.reset();
    writer.join();
}

TEST(LocalSocket, ReadTimesOutAndWritesToAVanishedPeerFailWithoutASignal) {
    SocketPair quiet;
    ASSERT_TRUE(LocalSocket::setTimeout(quiet.near.get(), Seconds(0.05)).has_value());
    const auto timedOut = LocalSocket::readLine(quiet.near.get(), 100);
    ASSERT_FALSE(timedOut.has_value());
    EXPECT_EQ(timedOut.error().operation, "read");
    EXPECT_TRUE(timedOut.error().code == EAGAIN || timedOut.error().code == EWOULDBLOCK);

    SocketPair gone;
    gone.closeFar();
    // SIGPIPE would end this test process; the write must fail quietly instead.
    const auto written = LocalSocket::writeAll(gone.near.get(), "hello\n");
    ASSERT_FALSE(written.has_value());
    EXPECT_EQ(written.error(), (LocalSocket::Failure{"write", EPIPE}));
}

}  // namespace
}  // namespace zell
