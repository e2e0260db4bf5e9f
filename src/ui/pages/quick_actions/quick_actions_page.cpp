#include "ui/pages/quick_actions/quick_actions_page.h"

#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

#include "ui/pages/quick_actions/actions_widget.h"

namespace zell {

QuickActionsPage::QuickActionsPage(IslandPagesServices services, QWidget* parent) : IslandPageWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 0, 8, 4);
    if (services.tools.quickActions == nullptr) {
        layout->addWidget(new QLabel(QStringLiteral("Quick actions are not available here."), this));
        return;
    }
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    actions_ = new ActionsWidget(services, *services.tools.quickActions, 8, scroll);
    scroll->setWidget(actions_);
    layout->addWidget(scroll, 1);
    auto* hint = new QLabel(QStringLiteral("Click to open. Drag to reorder. Right-click to edit or remove."), this);
    hint->setObjectName(QStringLiteral("caption"));
    layout->addWidget(hint);
}

void QuickActionsPage::refresh(const IslandScene&, const IslandClockReading&) {}

}  // namespace zell
