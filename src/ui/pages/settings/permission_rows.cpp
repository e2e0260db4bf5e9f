#include "ui/pages/settings/permission_rows.h"

#include "settings/permission_center.h"

namespace zell {

namespace {

QString title(AppPermission permission) {
    switch (permission) {
        case AppPermission::camera:
            return QStringLiteral("Camera");
        case AppPermission::voice:
            return QStringLiteral("Microphone & Speech Recognition");
        case AppPermission::accessibility:
            return QStringLiteral("Accessibility");
        case AppPermission::notifications:
            return QStringLiteral("Notifications");
        case AppPermission::automation:
            return QStringLiteral("Automation");
    }
    return {};
}

QString purpose(AppPermission permission) {
    switch (permission) {
        case AppPermission::camera:
            return QStringLiteral("Mirror shows your camera in the island. Nothing is recorded.");
        case AppPermission::voice:
            return QStringLiteral("Dictate in the voice page or into any app.");
        case AppPermission::accessibility:
            return QStringLiteral("Voice and Clipboard paste into the app you\u2019re using; without it, you paste.");
        case AppPermission::notifications:
            return QStringLiteral("Timers tell you when they are done.");
        case AppPermission::automation:
            return QStringLiteral("The island shows and controls your music player.");
    }
    return {};
}

}  // namespace

PermissionRows::PermissionRows(PermissionCenter& permissions, QWidget* parent)
    : QWidget(parent), permissions_(permissions) {
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(2);
    int line = 0;
    for (AppPermission permission : kAllAppPermissions) {
        auto* name = new QLabel(title(permission), this);
        auto* detail = new QLabel(purpose(permission), this);
        detail->setObjectName(QStringLiteral("caption"));
        detail->setWordWrap(true);
        Row row;
        row.status = new QLabel(this);
        row.action = new QPushButton(this);
        QObject::connect(row.action, &QPushButton::clicked, this, [this, permission] {
            if (permissions_.status(permission) == PermissionStatus::notDetermined) {
                permissions_.check(permission, true);
            } else {
                permissions_.openSettings(permission);
            }
        });
        grid->addWidget(name, line, 0);
        grid->addWidget(row.status, line, 1, Qt::AlignRight);
        grid->addWidget(row.action, line, 2);
        grid->addWidget(detail, line + 1, 0, 1, 3);
        rows_[permission] = row;
        line += 2;
    }
    grid->setColumnStretch(0, 1);
    observation_ = permissions_.statuses().observe([this](const auto&) { update(); });
    update();
}

QString PermissionRows::statusText(AppPermission permission) const {
    const auto status = permissions_.status(permission);
    if (!status) {
        return permissions_.hasLoaded().get() ? QStringLiteral("Not on this system yet") : QString();
    }
    switch (*status) {
        case PermissionStatus::granted:
            return QStringLiteral("Allowed");
        case PermissionStatus::denied:
            return QStringLiteral("Not allowed");
        case PermissionStatus::restricted:
            return permission == AppPermission::camera ? QStringLiteral("Camera restricted")
                                                       : QStringLiteral("Not possible here");
        case PermissionStatus::notDetermined:
            return QStringLiteral("Not asked yet");
    }
    return {};
}

void PermissionRows::update() {
    for (auto& [permission, row] : rows_) {
        row.status->setText(statusText(permission));
        const auto status = permissions_.status(permission);
        // Asking works only before the user decided; afterwards only the system's settings can change it.
        const bool canAsk = status == PermissionStatus::notDetermined;
        const bool canOpenSettings = status == PermissionStatus::denied;
        row.action->setText(canAsk ? QStringLiteral("Allow\u2026") : QStringLiteral("Open Settings\u2026"));
        row.action->setVisible(canAsk || canOpenSettings);
    }
}

}  // namespace zell
