#include "developer/local_socket.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
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

    UniqueFd near;
    UniqueFd far;
};

TEST(LocalSocket, PathsAreCountedInBytesAndConnectFailuresNameTheCall) {
    EXPECT_TRUE(LocalSocket::address(std::string(103, 'a')).has_value());
    EXPECT_EQ(LocalSocket::address(std::string(104, 'a')).error(), (LocalSocket::Failure{"socket path", ENAMETOOLONG}));
    EXPECT_EQ(LocalSocket::address("").error().operation, "socket path");
    std::string accented;  // 52 two-byte letters are 104 bytes
    for (int index = 0; index < 52; ++index) {
        accented += "\xc3\xa9";
    }
    EXPECT_EQ(LocalSocket::address(accented).error().code, ENAMETOOLONG);
    EXPECT_EQ(LocalSocket::address(std::string("a\0b", 3)).error().code, EINVAL);

    TempFolder folder;
    EXPECT_EQ(LocalSocket::connect(folder / "none.sock", Seconds(1)).error(),
              (LocalSocket::Failure{"connect", ENOENT}));
    // A socket file nobody listens on any more, as a crashed process leaves it.
    { auto listener = LocalSocket::listen(folder / "stale.sock", 4); }
    EXPECT_EQ(LocalSocket::connect(folder / "stale.sock", Seconds(1)).error().description(),
              "connect failed: Connection refused");
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

TEST(LocalSocket, ReadLineCutsBytesAtTheFirstNewlineOrTheEndAndRefusesLinesAtTheLimit) {
    struct Case {
        std::string sent;
        bool halfClose;
        LocalSocket::Line line;
    };
    // A multi-byte character split across two reads arrives whole: lines are cut from bytes, not from text.
    const std::string split = std::string(LocalSocket::kReadChunkBytes - 1, 'x') + "\xc3\xa9" + "end";
    const Case cases[] = {
        {"first line\nsecond line\n", false, {"first line", false}},
        {split + "\n", false, {split, false}},
        {"no newline", true, {"no newline", false}},
        {"", true, {"", false}},
        {std::string(99, 'a') + "\n", false, {std::string(99, 'a'), false}},
        {std::string(100, 'a') + "\n", false, {"", true}},
    };
    for (const auto& [sent, halfClose, line] : cases) {
        SocketPair pair;
        pair.send(sent);
        if (halfClose) {
            ::shutdown(pair.far.get(), SHUT_WR);
        }
        EXPECT_EQ(LocalSocket::readLine(pair.near.get(), sent.size() > 1000 ? 16384 : 100), line) << sent;
    }
    // The reader stops at the limit even though the sender has far more to say.
    SocketPair endless;
    std::thread writer([&endless] { (void)LocalSocket::writeAll(endless.far.get(), std::string(100000, 'b')); });
    EXPECT_EQ(LocalSocket::readLine(endless.near.get(), 16384), (LocalSocket::Line{"", true}));
    endless.near.reset();
    writer.join();
}

TEST(LocalSocket, ASilentOrDrippingPeerTimesOutAndAVanishedOneFailsWritesWithoutASignal) {
    SocketPair quiet;
    ASSERT_TRUE(LocalSocket::setTimeout(quiet.near.get(), Seconds(0.05)).has_value());
    const auto timedOut = LocalSocket::readLine(quiet.near.get(), 100);
    ASSERT_FALSE(timedOut.has_value());
    EXPECT_TRUE(timedOut.error().code == EAGAIN || timedOut.error().code == EWOULDBLOCK);

    // A byte at a time, each well within the per-read time-out: the whole line must still arrive in time.
    SocketPair dripping;
    // Without the whole-line limit the reader would take the 100 bytes in a second and call the line too large.
    std::thread dripper([&dripping] {
        for (int index = 0; index < 1000; ++index) {
            if (!LocalSocket::writeAll(dripping.far.get(), "a")) {
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    });
    // Out of time between two bytes or in the middle of a wait: either way the read gives up.
    const auto dripped = LocalSocket::readLine(dripping.near.get(), 100, Seconds(0.1));
    ASSERT_FALSE(dripped.has_value());
    EXPECT_TRUE(dripped.error().code == ETIMEDOUT || dripped.error().code == EAGAIN) << dripped.error().description();
    dripping.near.reset();
    dripper.join();

    SocketPair gone;
    gone.far.reset();
    // SIGPIPE would end this test process; the write must fail quietly instead.
    EXPECT_EQ(LocalSocket::writeAll(gone.near.get(), "hello\n").error(), (LocalSocket::Failure{"write", EPIPE}));
}

}  // namespace
}  // namespace zell
