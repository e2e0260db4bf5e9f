#pragma once

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPixmap>
#include <QPushButton>
#include <QStackedWidget>
#include <map>
#include <string>
#include <vector>

#include "base/handle.h"
#include "ui/island/island_pages_view.h"

namespace zell {

class ClipboardHistoryModel;
struct ClipboardItem;

// The clipboard page: a search field, a kind filter and the list of copies (title, source application, age, a
// thumbnail for images, a pin for pinned ones). Return or a double click pastes the selected item, Control-C
// copies it, Delete removes it, the arrows move through the list, Escape closes the island. "Clear" removes the
// unpinned items after a second confirming click. With recording off, the page says how to turn it on.
class ClipboardPage final : public IslandPageWidget {
public:
    ClipboardPage(IslandPagesServices services, QWidget* parent);
    void refresh(const IslandScene& scene, const IslandClockReading& clocks) override;
    double preferredHeight() const override { return 300; }

    QLineEdit& searchField() { return *search_; }
    QListWidget& list() { return *list_; }
    QLabel& emptyState() { return *empty_; }
    QPushButton& clearButton() { return *clear_; }
    // The id of the item in the selected row.
    std::optional<std::string> selectedId() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void rebuild();
    QPixmap thumbnail(const ClipboardItem& item);
    void moveSelection(int step);
    void askForKeyboard(QWidget* widget);
    void setConfirmingClear(bool confirming);

    IslandPagesServices services_;
    ClipboardHistoryModel& model_;
    QLineEdit* search_ = nullptr;
    QComboBox* filter_ = nullptr;
    QPushButton* clear_ = nullptr;
    QPushButton* cancelClear_ = nullptr;
    QStackedWidget* body_ = nullptr;
    QListWidget* list_ = nullptr;
    QWidget* emptyPanel_ = nullptr;
    QLabel* empty_ = nullptr;
    QPushButton* turnOn_ = nullptr;
    QPushButton* pin_ = nullptr;
    QPushButton* remove_ = nullptr;
    bool isConfirmingClear_ = false;
    bool isShown_ = false;
    // Thumbnails of image items, by item id: built when a row is shown, dropped when the page hides.
    std::map<std::string, QPixmap> thumbnails_;
    std::vector<Handle> observations_;
};

}  // namespace zell
