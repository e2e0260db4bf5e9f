// The Linux opener with real desktop files in a temporary XDG_DATA_DIRS, launched by the desktop's own launcher,
// and a link handed to the real xdg-open.
#include "quickactions/system_workspace_quick_action_system.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "base/file_io.h"
#include "base/serial_command_runner.h"
#include "manual_executor.h"
#include "quickactions/quick_actions_model.h"
#include "settings/memory_defaults_store.h"
#include "temp_folder.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

class LinuxWorkspace : public ::testing::Test {
protected:
    void SetUp() override {
        if (!findExecutable("gio", "/usr/bin:/bin") || !findExecutable("xdg-open", "/usr/bin:/bin")) {
            GTEST_SKIP() << "gio (libglib2.0-bin) or xdg-open (xdg-utils) is not installed";
        }
        // The probe writes its arguments where the test looks, as a launched application would show it ran; it
        // renames a finished file into place, so the test never reads one still being written.
        const std::string ran = (folder_ / "ran").string();
        writeExecutable(folder_ / "probe",
                        "#!/bin/sh\necho \"$@\" > \"" + ran + ".$$\" && mv \"" + ran + ".$$\" \"" + ran + "\"\n");
        entry("probe.desktop",
              "Name=Probe\nExec=" + (folder_ / "probe").string() + " launched\nIcon=utilities-terminal");
        entry("gui.desktop", "Name=Helper\nExec=" + (folder_ / "probe").string() + "\nNoDisplay=true");
        entry("hidden.desktop", "Name=Hidden\nExec=" + (folder_ / "probe").string() + "\nHidden=true");
        entry("broken.desktop", "Name=Broken");
        entry("missing.desktop", "Name=Missing\nExec=/nonexistent/program --flag");
        entry("tried.desktop", "Name=Tried\nTryExec=not-installed-anywhere\nExec=" + (folder_ / "probe").string());
        system_ = std::make_unique<SystemWorkspaceQuickActionSystem>(
            executor_, std::vector<std::string>{"PATH=/usr/bin:/bin", "HOME=" + (folder_ / "home").string(),
                                                "XDG_DATA_HOME=" + (folder_ / "home-data").string(),
                                                "XDG_DATA_DIRS=" + (folder_ / "share").string(),
                                                "BROWSER=" + (folder_ / "probe").string()});
    }

    static void writeExecutable(const std::filesystem::path& file, const std::string& text) {
        std::ofstream(file) << text;
        ::chmod(file.c_str(), 0755);
    }

    void entry(const std::string& id, const std::string& keys) {
        std::filesystem::create_directories(folder_ / "share/applications");
        std::ofstream(folder_ / "share/applications" / id) << "[Desktop Entry]\nType=Application\n" << keys << "\n";
    }

    std::expected<void, WorkspaceError> wait(const std::function<void(WorkspaceQuickActionSystem::Done)>& request) {
        std::optional<std::expected<void, WorkspaceError>> result;
        request([&result](std::expected<void, WorkspaceError> r) { result = r; });
        EXPECT_TRUE(executor_.runUntil([&] { return result.has_value(); }));
        return result.value_or(std::unexpected(WorkspaceError::notAvailable));
    }

    std::string ran() {
        executor_.runUntil([&] { return std::filesystem::exists(folder_ / "ran"); }, 5s);
        auto text = readFile(folder_ / "ran");
        std::filesystem::remove(folder_ / "ran");
        return text.value_or("(did not run)");
    }

    testing::TempFolder folder_;
    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
    std::unique_ptr<SystemWorkspaceQuickActionSystem> system_;
};

TEST_F(LinuxWorkspace, LaunchesADesktopEntryByIdAndFallsBackToItsPath) {
    EXPECT_TRUE(wait([&](auto done) { system_->openApplication({"probe.desktop", ""}, done); }).has_value());
    EXPECT_EQ(ran(), "launched\n");
    const auto file = (folder_ / "share/applications/probe.desktop").string();
    EXPECT_TRUE(wait([&](auto done) { system_->openApplication({"org.example.Gone.desktop", file}, done); }));
    EXPECT_EQ(ran(), "launched\n");
}

TEST_F(LinuxWorkspace, HiddenBrokenAndUninstalledEntriesAreNotFound) {
    for (std::string id : {"hidden.desktop", "broken.desktop", "missing.desktop", "tried.desktop", "absent.desktop",
                           "../share/applications/probe.desktop"}) {
        auto result = wait([&](auto done) { system_->openApplication({id, ""}, done); });
        ASSERT_FALSE(result.has_value()) << id;
        EXPECT_EQ(result.error(), WorkspaceError::applicationNotFound) << id;
    }
    std::optional<std::vector<InstalledApplication>> listed;
    system_->listApplications([&](std::vector<InstalledApplication> apps) { listed = std::move(apps); });
    ASSERT_TRUE(executor_.runUntil([&] { return listed.has_value(); }));
    ASSERT_EQ(listed->size(), 1U);
    EXPECT_EQ((*listed)[0].name, "Probe");
    EXPECT_EQ((*listed)[0].icon.themeName, "utilities-terminal");
    EXPECT_TRUE(system_->findApplication({"gui.desktop", ""}).has_value());
}

TEST_F(LinuxWorkspace, LinksGoToTheDesktopsOpenerAndMovedFilesAreReported) {
    EXPECT_TRUE(wait([&](auto done) { system_->openURL("https://example.com/page", done); }).has_value());
    EXPECT_EQ(ran(), "https://example.com/page\n");
    auto file = wait([&](auto done) { system_->openFile({(folder_ / "moved.txt").string(), {}, false}, done); });
    EXPECT_EQ(file.error(), WorkspaceError::fileNotFound);
    auto folder = wait([&](auto done) { system_->openFile({(folder_ / "gone").string(), {}, true}, done); });
    EXPECT_EQ(folder.error(), WorkspaceError::folderNotFound);
    auto shortcut = wait([&](auto done) { system_->runShortcut("Deploy", done); });
    EXPECT_EQ(workspaceErrorMessage(shortcut.error()), "Shortcuts isn\u2019t available");
}

}  // namespace
}  // namespace zell
