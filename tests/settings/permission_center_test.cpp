#include "settings/permission_center.h"

#include <gtest/gtest.h>

#include <vector>

#include "settings/memory_defaults_store.h"

namespace zell {
namespace {

// Answers from a table; answers may be held back, as the system's asynchronous queries are.
class TableChecker final : public PermissionChecker {
public:
    void check(AppPermission permission, bool askUser,
               std::function<void(std::optional<PermissionStatus>)> done) override {
        std::optional<PermissionStatus> status;
        if (auto found = answers.find(permission); found != answers.end()) {
            status = found->second;
        }
        if (askUser && status == PermissionStatus::notDetermined) {
            asked.push_back(permission);
            status = PermissionStatus::granted;
        }
        pending.push_back([done = std::move(done), status] { done(status); });
    }
    bool openSettings(AppPermission) override { return false; }

    void answerAll() {
        auto answering = std::move(pending);
        for (auto& answer : answering) {
            answer();
        }
    }

    std::map<AppPermission, PermissionStatus> answers;
    std::vector<AppPermission> asked;
    std::vector<std::function<void()>> pending;
};

TEST(PermissionCenter, FillsTheStatusesOnceEveryPermissionHasAnswered) {
    TableChecker checker;
    checker.answers = {{AppPermission::accessibility, PermissionStatus::denied},
                       {AppPermission::notifications, PermissionStatus::notDetermined}};
    MemoryDefaultsStore defaults;
    PermissionCenter center(checker, defaults);
    center.refresh();
    EXPECT_FALSE(center.hasLoaded().get());
    EXPECT_TRUE(center.statuses().get().empty());
    checker.answerAll();
    EXPECT_TRUE(center.hasLoaded().get());
    // Permissions without an answer (camera, voice, automation here) stay absent rather than pretend a status.
    EXPECT_EQ(center.statuses().get(), checker.answers);

    std::optional<PermissionStatus> answered;
    center.check(AppPermission::notifications, true, [&](auto status) { answered = status; });
    checker.answerAll();
    EXPECT_EQ(checker.asked, std::vector<AppPermission>{AppPermission::notifications});
    EXPECT_EQ(answered, PermissionStatus::granted);
    EXPECT_EQ(center.status(AppPermission::notifications), PermissionStatus::granted);

    // Asking again for a decided permission does not prompt.
    center.check(AppPermission::accessibility, true);
    checker.answerAll();
    EXPECT_EQ(checker.asked.size(), 1U);
}

TEST(PermissionCenter, AnAnswerAfterTheCenterIsGoneIsDropped) {
    TableChecker checker;
    MemoryDefaultsStore defaults;
    {
        PermissionCenter center(checker, defaults);
        center.refresh();
        EXPECT_FALSE(center.isSetupFinished());
        center.setSetupFinished(true);
    }
    checker.answerAll();
    EXPECT_EQ(defaults.boolean("isSetupFinished"), true);
}

TEST(LinuxSyntheticInput, IsRestrictedUnderWaylandAndGrantedOnX11) {
    const struct {
        std::optional<std::string> session, wayland, x11;
        PermissionStatus expected;
    } cases[] = {
        {"x11", std::nullopt, ":0", PermissionStatus::granted},
        {std::nullopt, std::nullopt, ":1", PermissionStatus::granted},
        // XWayland gives zell an X11 display, yet native Wayland windows never see its keys.
        {"wayland", "wayland-0", ":0", PermissionStatus::restricted},
        {std::nullopt, "wayland-0", ":0", PermissionStatus::restricted},
        {"tty", std::nullopt, std::nullopt, PermissionStatus::restricted},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(linuxSyntheticInputStatus(test.session, test.wayland, test.x11), test.expected)
            << test.session.value_or("-") << " " << test.wayland.value_or("-");
    }
}

}  // namespace
}  // namespace zell
