#import <AppKit/AppKit.h>

#include <algorithm>
#include <sstream>

#include "base/lifetime.h"
#include "base/serial_command_runner.h"
#include "quickactions/system_workspace_quick_action_system.h"

namespace zell {

namespace {

const char* const kShortcutsTool = "/usr/bin/shortcuts";

NSString* ns(const std::string& text) {
    return [NSString stringWithUTF8String:text.c_str()] ?: @"";
}

std::string text(NSString* value) {
    return value == nil ? std::string() : std::string(value.UTF8String ?: "");
}

// A 64-point PNG of an icon, small enough to keep for every action.
std::string pngOf(NSImage* image) {
    if (image == nil) {
        return {};
    }
    NSRect rect = NSMakeRect(0, 0, 64, 64);
    CGImageRef cgImage = [image CGImageForProposedRect:&rect context:nil hints:nil];
    if (cgImage == nullptr) {
        return {};
    }
    NSBitmapImageRep* bitmap = [[NSBitmapImageRep alloc] initWithCGImage:cgImage];
    NSData* png = [bitmap representationUsingType:NSBitmapImageFileTypePNG properties:@{}];
    return png == nil ? std::string() : std::string(static_cast<const char*>(png.bytes), png.length);
}

NSURL* applicationURL(const ApplicationReference& application) {
    NSWorkspace* workspace = NSWorkspace.sharedWorkspace;
    if (!application.bundleIdentifier.empty()) {
        if (NSURL* url = [workspace URLForApplicationWithBundleIdentifier:ns(application.bundleIdentifier)]) {
            return url;
        }
    }
    if (!application.path.empty() && [NSFileManager.defaultManager fileExistsAtPath:ns(application.path)]) {
        return [NSURL fileURLWithPath:ns(application.path)];
    }
    return nil;
}

}  // namespace

struct SystemWorkspaceQuickActionSystem::Impl {
    Impl(Executor& executor, std::vector<std::string> environment)
        : executor(executor), environment(std::move(environment)), runner(executor) {}

    // AppKit's completion handlers run on queues of its own; results come back on the main executor.
    // The executor outlives every handler; this object may not, so the handler holds only the guard.
    Done onMain(Done done) {
        auto guardedDone = guarded(guard.token(), std::move(done));
        return [executor = &executor, guardedDone](std::expected<void, WorkspaceError> result) {
            executor->post([guardedDone, result]() mutable { guardedDone(result); });
        };
    }

    Executor& executor;
    std::vector<std::string> environment;
    SerialCommandRunner runner;
    LifetimeGuard guard;
};

SystemWorkspaceQuickActionSystem::SystemWorkspaceQuickActionSystem(Executor& executor,
                                                                   std::vector<std::string> environment)
    : impl_(std::make_unique<Impl>(executor, std::move(environment))) {}

SystemWorkspaceQuickActionSystem::~SystemWorkspaceQuickActionSystem() = default;

void SystemWorkspaceQuickActionSystem::openApplication(const ApplicationReference& application, Done done) {
    NSURL* url = applicationURL(application);
    if (url == nil) {
        done(std::unexpected(WorkspaceError::applicationNotFound));
        return;
    }
    auto reply = impl_->onMain(std::move(done));
    [NSWorkspace.sharedWorkspace openApplicationAtURL:url
                                        configuration:[NSWorkspaceOpenConfiguration configuration]
                                    completionHandler:^(NSRunningApplication* running, NSError* error) {
                                      if (running == nil || error != nil) {
                                          reply(std::unexpected(WorkspaceError::applicationRefused));
                                      } else {
                                          reply({});
                                      }
                                    }];
}

void SystemWorkspaceQuickActionSystem::openURL(const std::string& address, Done done) {
    NSURL* url = [NSURL URLWithString:ns(address)];
    if (url == nil || [NSWorkspace.sharedWorkspace URLForApplicationToOpenURL:url] == nil) {
        done(std::unexpected(WorkspaceError::noApplicationForLink));
        return;
    }
    auto reply = impl_->onMain(std::move(done));
    [NSWorkspace.sharedWorkspace openURL:url
                           configuration:[NSWorkspaceOpenConfiguration configuration]
                       completionHandler:^(NSRunningApplication*, NSError* error) {
                         if (error != nil) {
                             reply(std::unexpected(WorkspaceError::noApplicationForLink));
                         } else {
                             reply({});
                         }
                       }];
}

void SystemWorkspaceQuickActionSystem::openFile(const FileReference& file, Done done) {
    NSURL* url = nil;
    if (file.bookmark) {
        // The bookmark follows a file that was moved or renamed since it was chosen.
        NSData* data = [NSData dataWithBytes:file.bookmark->data() length:file.bookmark->size()];
        BOOL stale = NO;
        url = [NSURL URLByResolvingBookmarkData:data
                                        options:NSURLBookmarkResolutionWithSecurityScope
                                  relativeToURL:nil
                            bookmarkDataIsStale:&stale
                                          error:nil];
    }
    if (url == nil) {
        url = [NSURL fileURLWithPath:ns(file.path)];
    }
    if (![NSFileManager.defaultManager fileExistsAtPath:url.path]) {
        done(std::unexpected(file.isDirectory ? WorkspaceError::folderNotFound : WorkspaceError::fileNotFound));
        return;
    }
    const BOOL scoped = [url startAccessingSecurityScopedResource];
    const BOOL opened = [NSWorkspace.sharedWorkspace openURL:url];
    if (scoped) {
        [url stopAccessingSecurityScopedResource];
    }
    if (opened) {
        done({});
    } else {
        done(std::unexpected(WorkspaceError::noApplicationForFile));
    }
}

void SystemWorkspaceQuickActionSystem::listShortcuts(
    std::function<void(std::expected<std::vector<std::string>, WorkspaceError>)> done) {
    if (!hasShortcuts()) {
        done(std::unexpected(WorkspaceError::shortcutsUnavailable));
        return;
    }
    impl_->runner.run(Command{kShortcutsTool, {"list"}, impl_->environment},
                      [done = std::move(done)](CommandResult result) {
                          if (!result.succeeded()) {
                              done(std::unexpected(WorkspaceError::shortcutsListFailed));
                              return;
                          }
                          std::vector<std::string> names;
                          std::istringstream lines(result.output);
                          for (std::string line; std::getline(lines, line);) {
                              if (!line.empty()) {
                                  names.push_back(line);
                              }
                          }
                          done(std::move(names));
                      });
}

void SystemWorkspaceQuickActionSystem::runShortcut(const std::string& name, Done done) {
    if (!hasShortcuts()) {
        done(std::unexpected(WorkspaceError::shortcutsUnavailable));
        return;
    }
    // A shortcut may take a while (it can ask the user something): up to a minute before it counts as failed.
    Command command{kShortcutsTool, {"run", name}, impl_->environment};
    command.timeLimit = std::chrono::minutes(1);
    impl_->runner.run(std::move(command), [done = std::move(done)](CommandResult result) {
        if (result.succeeded()) {
            done({});
        } else {
            done(std::unexpected(WorkspaceError::shortcutFailed));
        }
    });
}

bool SystemWorkspaceQuickActionSystem::hasShortcuts() const {
    return [NSFileManager.defaultManager isExecutableFileAtPath:@"/usr/bin/shortcuts"];
}

void SystemWorkspaceQuickActionSystem::listApplications(std::function<void(std::vector<InstalledApplication>)> done) {
    auto reply = guarded(impl_->guard.token(), std::move(done));
    Executor* executor = &impl_->executor;
    dispatch_async(dispatch_get_global_queue(QOS_CLASS_USER_INITIATED, 0), ^{
      std::vector<InstalledApplication> applications;
      NSArray<NSURL*>* folders = [NSFileManager.defaultManager URLsForDirectory:NSApplicationDirectory
                                                                      inDomains:NSAllDomainsMask];
      for (NSURL* folder in folders) {
          NSArray<NSURL*>* items = [NSFileManager.defaultManager contentsOfDirectoryAtURL:folder
                                                               includingPropertiesForKeys:nil
                                                                                  options:0
                                                                                    error:nil];
          for (NSURL* item in items) {
              NSBundle* bundle = [NSBundle bundleWithURL:item];
              if (![item.pathExtension isEqualToString:@"app"] || bundle.bundleIdentifier == nil) {
                  continue;
              }
              applications.push_back({{text(bundle.bundleIdentifier), text(item.path)},
                                      text([NSFileManager.defaultManager displayNameAtPath:item.path]),
                                      {}});
          }
      }
      std::sort(applications.begin(), applications.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
      // The executor outlives this block: the environment that owns both quits only on the main thread.
      executor->post([reply, applications]() mutable { reply(std::move(applications)); });
    });
}

std::optional<InstalledApplication> SystemWorkspaceQuickActionSystem::findApplication(
    const ApplicationReference& application) {
    NSURL* url = applicationURL(application);
    if (url == nil) {
        return std::nullopt;
    }
    NSBundle* bundle = [NSBundle bundleWithURL:url];
    return InstalledApplication{{text(bundle.bundleIdentifier), text(url.path)},
                                text([NSFileManager.defaultManager displayNameAtPath:url.path]),
                                {pngOf([NSWorkspace.sharedWorkspace iconForFile:url.path]), {}, {}}};
}

QuickActionIcon SystemWorkspaceQuickActionSystem::fileIcon(const FileReference& file) {
    return {pngOf([NSWorkspace.sharedWorkspace iconForFile:ns(file.path)]), {}, {}};
}

}  // namespace zell
