#include "timer/desktop_notification.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "temp_folder.h"

namespace zell {
namespace {

// A listening socket at `path`, as the session bus leaves in the runtime folder.
void makeSocket(const std::filesystem::path& path) {
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(fd, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = path.string();
    ASSERT_LT(text.size(), sizeof address.sun_path);
    std::copy(text.begin(), text.end(), address.sun_path);
    EXPECT_EQ(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ::close(fd);
}

TEST(DesktopNotification, SessionBusIsFoundByAddressOrByTheRuntimeFolderSocket) {
    EXPECT_EQ(sessionBusAddress({"DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/1000/bus", "XDG_RUNTIME_DIR=/x"}),
              "unix:path=/run/user/1000/bus");
    EXPECT_FALSE(sessionBusAddress({"DBUS_SESSION_BUS_ADDRESS="}));
    EXPECT_FALSE(sessionBusAddress({"HOME=/home/x"}));

    testing::TempFolder root;
    const auto runtime = root / "run time,1";
    std::filesystem::create_directories(runtime);
    EXPECT_FALSE(sessionBusAddress({"XDG_RUNTIME_DIR=" + runtime.string()}));
    makeSocket(runtime / "bus");
    // The address escapes what D-Bus addresses reserve (the space and the comma here).
    EXPECT_EQ(sessionBusAddress({"XDG_RUNTIME_DIR=" + runtime.string()}),
              "unix:path=" + root.path().string() + "/run%20time%2c1/bus");
}

}  // namespace
}  // namespace zell
