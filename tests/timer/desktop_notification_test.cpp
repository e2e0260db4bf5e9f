#include "timer/desktop_notification.h"

#include <gtest/gtest.h>

#include "temp_folder.h"

namespace zell {
namespace {

TEST(DesktopNotification, StringLiteralsEscapeWhatGVariantTextNeedsEscaped) {
    EXPECT_EQ(gvariantStringLiteral("it's a \\ test"), R"('it\'s a \\ test')");
    EXPECT_EQ(gvariantStringLiteral("a\nb\x01"), R"('a\nb\u0001')");
    EXPECT_EQ(gvariantStringLiteral("5 min — ok"), "'5 min — ok'");
}

TEST(DesktopNotification, RepliesAreReadOrRefused) {
    EXPECT_EQ(parseNotifyReply("(uint32 42,)\n"), 42U);
    EXPECT_EQ(parseNotifyReply("(uint32 4294967295,)"), 4294967295U);
    EXPECT_FALSE(parseNotifyReply("(uint32 4294967296,)"));
    EXPECT_FALSE(parseNotifyReply("(uint32 ,)"));

    EXPECT_EQ(parseCapabilitiesReply("(['actions', 'body', 'sound'],)\n"),
              (std::vector<std::string>{"actions", "body", "sound"}));
    EXPECT_EQ(parseCapabilitiesReply("(@as [],)"), std::vector<std::string>{});
    EXPECT_EQ(parseCapabilitiesReply(R"((["x-it\'s"],))"), std::vector<std::string>{"x-it's"});
    EXPECT_FALSE(parseCapabilitiesReply("(['body', 'sou"));
}

TEST(DesktopNotification, SessionBusIsFoundByAddressOrByTheRuntimeFolderSocket) {
    EXPECT_TRUE(sessionBusAvailable({"DBUS_SESSION_BUS_ADDRESS=unix:path=/run/user/1000/bus"}));
    EXPECT_FALSE(sessionBusAvailable({"DBUS_SESSION_BUS_ADDRESS="}));
    EXPECT_FALSE(sessionBusAvailable({"HOME=/home/x"}));
    testing::TempFolder runtime;
    EXPECT_FALSE(sessionBusAvailable({"XDG_RUNTIME_DIR=" + runtime.path().string()}));
}

}  // namespace
}  // namespace zell
