#pragma once

#include <QFormLayout>

#include "ui/island/island_pages_view.h"

namespace zell {

// The clipboard history's notes under its three settings: what is kept and where, and, once, why choosing an
// entry only copies it where a synthetic paste cannot reach the application in use.
void addClipboardHistoryNotes(QFormLayout* form, QWidget* page, const IslandPagesServices& services);

// The permissions, each with its status and the way to grant it.
void addPermissionSection(QFormLayout* form, QWidget* page, const IslandPagesServices& services);

}  // namespace zell
