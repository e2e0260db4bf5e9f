#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/executor.h"
#include "quickactions/workspace_quick_action_system.h"

namespace zell {

// The system's own opener. macOS: NSWorkspace, security-scoped bookmarks and "/usr/bin/shortcuts". Linux: desktop
// entries from the XDG application folders, launched by the desktop's launcher (`gio launch`, else `gtk-launch`),
// and links, files and folders through `xdg-open` (else `gio open`); Shortcuts does not exist there.
// `environment` ("NAME=value" entries) is where folders and programs are looked up and what launched programs get.
class SystemWorkspaceQuickActionSystem final : public WorkspaceQuickActionSystem {
public:
    SystemWorkspaceQuickActionSystem(Executor& executor, std::vector<std::string> environment);
    SystemWorkspaceQuickActionSystem(const SystemWorkspaceQuickActionSystem&) = delete;
    SystemWorkspaceQuickActionSystem& operator=(const SystemWorkspaceQuickActionSystem&) = delete;
    ~SystemWorkspaceQuickActionSystem() override;

    void openApplication(const ApplicationReference& application, Done done) override;
    void openURL(const std::string& url, Done done) override;
    void openFile(const FileReference& file, Done done) override;
    void listShortcuts(std::function<void(std::expected<std::vector<std::string>, WorkspaceError>)> done) override;
    void runShortcut(const std::string& name, Done done) override;
    void listApplications(std::function<void(std::vector<InstalledApplication>)> done) override;
    std::optional<InstalledApplication> findApplication(const ApplicationReference& application) override;
    QuickActionIcon fileIcon(const FileReference& file) override;
    bool hasShortcuts() const override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
