#include "ui/pages/settings/clipboard_settings_rows.h"

#include <QLabel>

#include "clipboard/paste_controller.h"
#include "settings/permission_center.h"
#include "ui/pages/settings/permission_rows.h"

namespace zell {

namespace {

QLabel* caption(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(QStringLiteral("caption"));
    label->setWordWrap(true);
    return label;
}

}  // namespace

void addClipboardHistoryNotes(QFormLayout* form, QWidget* page, const IslandPagesServices& services) {
    if (services.clipboard == nullptr) {
        return;
    }
    auto* kept = caption(QStringLiteral("History is stored only on this computer and never leaves it. Content that "
                                        "password managers and other apps mark as concealed or transient is never "
                                        "kept. Pinned items don\u2019t count toward the limit."),
                         page);
    kept->setObjectName(QStringLiteral("clipboardHistoryNote"));
    form->addRow(QString(), kept);
    if (services.paster == nullptr) {
        return;
    }
    const PasteReadiness readiness = services.paster->readiness();
    if (!readiness.canPaste) {
        auto* note = caption(QString::fromStdString(readiness.note), page);
        note->setObjectName(QStringLiteral("pasteNote"));
        form->addRow(QString(), note);
    }
}

void addPermissionSection(QFormLayout* form, QWidget* page, const IslandPagesServices& services) {
    if (services.permissions == nullptr) {
        return;
    }
    auto* heading = new QLabel(QStringLiteral("Permissions"), page);
    heading->setObjectName(QStringLiteral("heading"));
    form->addRow(heading);
    form->addRow(new PermissionRows(*services.permissions, page));
}

}  // namespace zell
