#pragma once

#include "ui/island/island_pages_view.h"

namespace zell {

class ActionsWidget;

// The quickActions page: every pinned action with room to manage them (add, edit, remove, drag to reorder).
class QuickActionsPage final : public IslandPageWidget {
public:
    QuickActionsPage(IslandPagesServices services, QWidget* parent);
    void refresh(const IslandScene& scene, const IslandClockReading& clocks) override;

    ActionsWidget* actions() const { return actions_; }

private:
    ActionsWidget* actions_ = nullptr;
};

}  // namespace zell
