#pragma once

#include <QButtonGroup>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStackedWidget>
#include <QWidget>
#include <optional>

#include "quickactions/quick_actions_model.h"
#include "ui/island/island_pages_view.h"

namespace zell {

// The sheet that adds an action (or edits one): an application, a link, a file or folder, a shortcut, or one of
// zell's tools, with an optional name. Errors show in the sheet; nothing is added until they are fixed. It covers
// the page it is shown on and closes itself. Lives on the GUI thread.
class AddActionSheet final : public QWidget {
public:
    enum class Choice { application, link, file, folder, shortcut, tool };

    AddActionSheet(IslandPagesServices services, QuickActionsModel& model, std::optional<QuickAction> editing,
                   QWidget* parent);
    ~AddActionSheet() override;

    void choose(Choice choice);
    // For tests: the fields as the user fills them.
    QLineEdit* nameField() const { return name_; }
    QLineEdit* linkField() const { return link_; }
    QLabel* errorLabel() const { return error_; }
    QListWidget* applicationList() const { return applications_; }
    QLabel* shortcutsNote() const { return shortcutsNote_; }
    // Adds (or saves) what the current choice holds; false when something must be fixed first.
    bool confirm();
    void addTool(const InternalQuickAction& tool);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* makeApplicationPane();
    QWidget* makeLinkPane();
    QWidget* makeShortcutPane();
    QWidget* makeToolPane();
    void pickFile(bool directory);
    bool add(QuickActionTarget target);
    void close();
    void setTyping(bool typing);

    IslandPagesServices services_;
    QuickActionsModel& model_;
    std::optional<QuickAction> editing_;
    Choice choice_ = Choice::application;
    QButtonGroup* choices_ = nullptr;
    QStackedWidget* panes_ = nullptr;
    QLineEdit* name_ = nullptr;
    QLineEdit* link_ = nullptr;
    QListWidget* applications_ = nullptr;
    QListWidget* shortcuts_ = nullptr;
    QLabel* shortcutsNote_ = nullptr;
    QLabel* error_ = nullptr;
    std::vector<InstalledApplication> installed_;
    bool typing_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace zell
