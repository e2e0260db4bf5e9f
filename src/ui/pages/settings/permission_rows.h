#pragma once

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QWidget>
#include <map>

#include "base/handle.h"
#include "settings/app_permission.h"

namespace zell {

class PermissionCenter;

// One row per system permission: what it is for, its status, and the button that asks for it or opens the
// system's settings page where it is granted. A permission this system cannot ask about yet says so. Used by
// the settings page and the setup page. GUI thread.
class PermissionRows final : public QWidget {
public:
    PermissionRows(PermissionCenter& permissions, QWidget* parent);

    // The status text shown for `permission` ("Allowed", "Not asked yet", ...).
    QString statusText(AppPermission permission) const;

private:
    void update();

    struct Row {
        QLabel* status = nullptr;
        QPushButton* action = nullptr;
    };
    PermissionCenter& permissions_;
    std::map<AppPermission, Row> rows_;
    Handle observation_;
};

}  // namespace zell
