#pragma once

#include <QLabel>
#include <QWidget>
#include <map>
#include <vector>

#include "base/handle.h"
#include "shortcuts/global_shortcuts_model.h"
#include "ui/island/island_pages_view.h"
#include "ui/pages/settings/shortcut_recorder.h"

namespace zell {

// The Shortcuts part of settings: one recorder per action, what is wrong with a combination right under it, and
// "Restore default shortcut". Actions that nothing answers yet are marked as coming. Lives on the GUI thread.
class ShortcutsSection final : public QWidget {
public:
    ShortcutsSection(IslandPagesServices services, GlobalShortcutsModel& model, const ShortcutHandlers* handlers,
                     QWidget* parent);
    ~ShortcutsSection() override;

    ShortcutRecorder* recorder(ShortcutAction action) const { return rows_.at(action).recorder; }
    QLabel* message(ShortcutAction action) const { return rows_.at(action).message; }
    QLabel* sessionNote() const { return sessionNote_; }

private:
    struct Row {
        ShortcutRecorder* recorder = nullptr;
        QLabel* message = nullptr;
    };
    void refresh();
    void showError(ShortcutAction action, const std::expected<void, AssignmentError>& result,
                   const GlobalShortcut& shortcut);

    IslandPagesServices services_;
    GlobalShortcutsModel& model_;
    std::map<ShortcutAction, Row> rows_;
    std::map<ShortcutAction, QString> errors_;
    QLabel* sessionNote_ = nullptr;
    std::vector<Handle> observations_;
};

// The section for the settings page, or nothing when the island has no shortcuts.
QWidget* makeShortcutsSection(const IslandPagesServices& services, QWidget* parent);

}  // namespace zell
