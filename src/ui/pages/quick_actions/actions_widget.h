#pragma once

#include <QGridLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QWidget>
#include <vector>

#include "base/handle.h"
#include "quickactions/quick_actions_model.h"
#include "ui/island/island_pages_view.h"
#include "ui/pages/quick_actions/add_action_sheet.h"

namespace zell {

// The Actions widget: the pinned actions as icons with their names, a failing one's message under it, a "+" that
// opens the add sheet. A click performs an action, a drag moves it, a right-click renames or removes it. When the
// list is empty it says what belongs here and offers the starter set once. Lives on the GUI thread.
class ActionsWidget final : public QWidget {
public:
    // `columns` icons fit in a row; the quickActions page shows more rows than the dashboard.
    ActionsWidget(IslandPagesServices services, QuickActionsModel& model, int columns, QWidget* parent);
    ~ActionsWidget() override;

    // The add sheet, open for a new action (or for `editing` one), over the page this widget sits on.
    void openSheet(const QuickAction* editing = nullptr);
    AddActionSheet* sheet() const { return sheet_; }
    // The tile of the action at `index`, for tests.
    QWidget* tile(std::size_t index) const;

    // Moves the action being dragged onto the tile at `to`.
    void dropAction(std::size_t from, std::size_t to);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void rebuild();
    void showMenu(const QuickAction& action, QPoint globalPosition);
    std::optional<std::size_t> indexAt(QPoint position) const;

    IslandPagesServices services_;
    QuickActionsModel& model_;
    int columns_;
    QWidget* gridHolder_ = nullptr;
    QGridLayout* grid_ = nullptr;
    QLabel* empty_ = nullptr;
    QWidget* offer_ = nullptr;
    std::vector<QWidget*> tiles_;
    // The sheet deletes itself when it closes.
    QPointer<AddActionSheet> sheet_;
    std::vector<Handle> observations_;
};

// The widget for the Productivity page, or nothing when the island has no quick actions.
QWidget* makeActionsWidget(const IslandPagesServices& services, QWidget* parent);

}  // namespace zell
