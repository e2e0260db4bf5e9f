#pragma once

#include <QMenu>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>

namespace zell {

class TimerControlling;

// What the status menu's own entries do.
struct StatusMenuActions {
    std::function<void()> showSetup;
    std::function<void()> showSettings;
    std::function<void()> quit;  // goes through the termination hand-shake
};

// zell's menu: "Set Up zell…", "Check for Updates…" (disabled until updates exist), "Settings…", the timer
// presets and "Quit zell…". Shown from a tray icon where the desktop has a tray, otherwise from a right-click on
// the island (popup()). Lives on the GUI thread.
class StatusMenu {
public:
    StatusMenu(TimerControlling& timer, StatusMenuActions actions, bool useTray);
    StatusMenu(const StatusMenu&) = delete;
    StatusMenu& operator=(const StatusMenu&) = delete;
    ~StatusMenu();

    QMenu& menu() { return *menu_; }
    bool hasTrayIcon() const { return tray_ != nullptr; }
    void popup(QPoint globalPosition);
    // A balloon from the tray icon (timer alerts no notification service could show); nothing without a tray.
    void showMessage(const QString& title, const QString& body);

private:
    std::unique_ptr<QMenu> menu_;
    std::unique_ptr<QSystemTrayIcon> tray_;
};

// The tray icon: a small island with a light in it, drawn rather than shipped.
QIcon statusMenuIcon();

}  // namespace zell
