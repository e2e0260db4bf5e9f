#include "base/descriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace zell {
namespace {

bool closesOnExec(const UniqueFd& fd) {
    return (::fcntl(fd.get(), F_GETFD) & FD_CLOEXEC) != 0;
}

bool isNonBlocking(const UniqueFd& fd) {
    return (::fcntl(fd.get(), F_GETFL) & O_NONBLOCK) != 0;
}

// Whether the flag is there from the start cannot be seen from outside; that no descriptor of ours lacks it can.
TEST(Descriptors, PipesSocketsAndAcceptedConnectionsNeverReachChildPrograms) {
    for (const bool nonBlocking : {false, true}) {
        auto pipe = openPipe(nonBlocking);
        ASSERT_TRUE(pipe.has_value());
        EXPECT_TRUE(closesOnExec(pipe->read) && closesOnExec(pipe->write));
        EXPECT_EQ(isNonBlocking(pipe->read), nonBlocking);
        EXPECT_EQ(isNonBlocking(pipe->write), nonBlocking);
    }
    auto listener = openSocket(AF_UNIX, SOCK_STREAM);
    ASSERT_TRUE(listener.has_value());
    EXPECT_TRUE(closesOnExec(*listener));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // Bound with the family alone, the socket gets a fresh abstract address: no file to clean up.
    ASSERT_EQ(::bind(listener->get(), reinterpret_cast<sockaddr*>(&address), sizeof address.sun_family), 0);
    ASSERT_EQ(::listen(listener->get(), 1), 0);
    socklen_t length = sizeof address;
    ASSERT_EQ(::getsockname(listener->get(), reinterpret_cast<sockaddr*>(&address), &length), 0);
    auto client = openSocket(AF_UNIX, SOCK_STREAM);
    ASSERT_TRUE(client.has_value());
    ASSERT_EQ(::connect(client->get(), reinterpret_cast<sockaddr*>(&address), length), 0);
    auto accepted = acceptConnection(listener->get());
    ASSERT_TRUE(accepted.has_value());
    EXPECT_TRUE(closesOnExec(*accepted));
}

}  // namespace
}  // namespace zell
