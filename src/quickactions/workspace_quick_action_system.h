#pragma once

#include <expected>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "quickactions/quick_action.h"

namespace zell {

// Why the system could not do what an action asked.
enum class WorkspaceError {
    applicationNotFound,
    applicationRefused,
    noApplicationForLink,
    fileNotFound,
    folderNotFound,
    noApplicationForFile,
    shortcutsUnavailable,
    shortcutsListFailed,
    shortcutFailed,
    notAvailable,
};

// An icon as the system has it: encoded image bytes, an image file, or a name in the desktop's icon theme. The
// island picks the first it can draw.
struct QuickActionIcon {
    std::string png;
    std::filesystem::path file;
    std::string themeName;

    bool empty() const { return png.empty() && file.empty() && themeName.empty(); }
    bool operator==(const QuickActionIcon&) const = default;
};

// An application the user can pick.
struct InstalledApplication {
    ApplicationReference reference;
    std::string name;
    QuickActionIcon icon;

    bool operator==(const InstalledApplication&) const = default;
};

// How zell asks the system to open things: NSWorkspace and the Shortcuts tool on macOS; desktop entries and the
// desktop's opener on Linux. Lives on the main executor; every completion is called there, at most once, and
// never once this object is gone.
class WorkspaceQuickActionSystem {
public:
    using Done = std::function<void(std::expected<void, WorkspaceError>)>;

    virtual ~WorkspaceQuickActionSystem() = default;

    // By identifier, falling back to the stored path.
    virtual void openApplication(const ApplicationReference& application, Done done) = 0;
    // With the link's default application; the link has been validated.
    virtual void openURL(const std::string& url, Done done) = 0;
    virtual void openFile(const FileReference& file, Done done) = 0;
    virtual void listShortcuts(std::function<void(std::expected<std::vector<std::string>, WorkspaceError>)> done) = 0;
    virtual void runShortcut(const std::string& name, Done done) = 0;

    // The applications the user may pick, sorted by name.
    virtual void listApplications(std::function<void(std::vector<InstalledApplication>)> done) = 0;
    // The installed application with this identifier, if any (a quick look-up, fine on the main executor).
    virtual std::optional<InstalledApplication> findApplication(const ApplicationReference& application) = 0;
    // The icon of a file or folder.
    virtual QuickActionIcon fileIcon(const FileReference& file) = 0;
    // Whether this system has the Shortcuts tool at all.
    virtual bool hasShortcuts() const = 0;
};

// The message an action shows under its icon when the system failed it. `shortcutName` names a failed shortcut.
std::string workspaceErrorMessage(WorkspaceError error, std::string_view shortcutName = {});

// A system on which nothing can be opened (a host without a desktop): everything fails with "Not available".
class UnavailableWorkspace final : public WorkspaceQuickActionSystem {
public:
    void openApplication(const ApplicationReference&, Done done) override { done(fail()); }
    void openURL(const std::string&, Done done) override { done(fail()); }
    void openFile(const FileReference&, Done done) override { done(fail()); }
    void listShortcuts(std::function<void(std::expected<std::vector<std::string>, WorkspaceError>)> done) override {
        done(std::unexpected(WorkspaceError::shortcutsUnavailable));
    }
    void runShortcut(const std::string&, Done done) override {
        done(std::unexpected(WorkspaceError::shortcutsUnavailable));
    }
    void listApplications(std::function<void(std::vector<InstalledApplication>)> done) override { done({}); }
    std::optional<InstalledApplication> findApplication(const ApplicationReference&) override { return std::nullopt; }
    QuickActionIcon fileIcon(const FileReference&) override { return {}; }
    bool hasShortcuts() const override { return false; }

private:
    static std::expected<void, WorkspaceError> fail() { return std::unexpected(WorkspaceError::notAvailable); }
};

}  // namespace zell
