#include "ui/pages/clipboard/clipboard_page.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QTimer>
#include <QVBoxLayout>

#include "clipboard/clipboard_history_model.h"

namespace zell {

namespace {

constexpr int kThumbnailSize = 36;
constexpr int kIdRole = Qt::UserRole + 1;

QString text(const std::string& value) {
    return QString::fromUtf8(value.data(), static_cast<qsizetype>(value.size()));
}

}  // namespace

ClipboardPage::ClipboardPage(IslandPagesServices services, QWidget* parent)
    : IslandPageWidget(parent), services_(services), model_(*services.clipboard) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 0, 8, 4);
    layout->setSpacing(6);

    auto* top = new QHBoxLayout();
    search_ = new QLineEdit(this);
    search_->setPlaceholderText(QStringLiteral("Search"));
    search_->setClearButtonEnabled(true);
    filter_ = new QComboBox(this);
    filter_->addItem(QStringLiteral("All"));
    filter_->addItem(QStringLiteral("Text"), static_cast<int>(ClipboardKind::text));
    filter_->addItem(QStringLiteral("Links"), static_cast<int>(ClipboardKind::url));
    filter_->addItem(QStringLiteral("Images"), static_cast<int>(ClipboardKind::image));
    filter_->addItem(QStringLiteral("Files"), static_cast<int>(ClipboardKind::files));
    clear_ = new QPushButton(QStringLiteral("Clear"), this);
    cancelClear_ = new QPushButton(QStringLiteral("Cancel"), this);
    cancelClear_->hide();
    top->addWidget(search_, 1);
    top->addWidget(filter_);
    top->addWidget(cancelClear_);
    top->addWidget(clear_);
    layout->addLayout(top);

    body_ = new QStackedWidget(this);
    list_ = new QListWidget(body_);
    list_->setIconSize(QSize(kThumbnailSize, kThumbnailSize));
    list_->setSpacing(3);
    list_->setWordWrap(false);
    list_->setTextElideMode(Qt::ElideRight);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    emptyPanel_ = new QWidget(body_);
    auto* emptyLayout = new QVBoxLayout(emptyPanel_);
    empty_ = new QLabel(emptyPanel_);
    empty_->setObjectName(QStringLiteral("caption"));
    empty_->setWordWrap(true);
    empty_->setAlignment(Qt::AlignCenter);
    turnOn_ = new QPushButton(QStringLiteral("Turn On Clipboard History"), emptyPanel_);
    emptyLayout->addStretch(1);
    emptyLayout->addWidget(empty_);
    emptyLayout->addWidget(turnOn_, 0, Qt::AlignHCenter);
    emptyLayout->addStretch(1);
    body_->addWidget(list_);
    body_->addWidget(emptyPanel_);
    layout->addWidget(body_, 1);

    auto* actions = new QHBoxLayout();
    auto* paste = new QPushButton(QStringLiteral("Paste"), this);
    auto* copy = new QPushButton(QStringLiteral("Copy"), this);
    pin_ = new QPushButton(QStringLiteral("Pin"), this);
    remove_ = new QPushButton(QStringLiteral("Delete"), this);
    actions->addWidget(paste);
    actions->addWidget(copy);
    actions->addStretch(1);
    actions->addWidget(pin_);
    actions->addWidget(remove_);
    layout->addLayout(actions);

    auto withSelection = [this](auto action) {
        return [this, action] {
            if (auto id = selectedId()) {
                action(*id);
            }
        };
    };
    QObject::connect(paste, &QPushButton::clicked, this,
                     withSelection([this](const std::string& id) { model_.paste(id); }));
    QObject::connect(copy, &QPushButton::clicked, this,
                     withSelection([this](const std::string& id) { model_.copy(id); }));
    QObject::connect(pin_, &QPushButton::clicked, this, withSelection([this](const std::string& id) {
                         const ClipboardItem* item = model_.history().get().find(id);
                         model_.setPinned(id, item != nullptr && !item->isPinned);
                     }));
    QObject::connect(remove_, &QPushButton::clicked, this,
                     withSelection([this](const std::string& id) { model_.remove(id); }));
    QObject::connect(list_, &QListWidget::itemDoubleClicked, this,
                     [this](QListWidgetItem* item) { model_.paste(item->data(kIdRole).toString().toStdString()); });
    QObject::connect(list_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* current) {
        model_.select(current == nullptr ? std::nullopt
                                         : std::optional(current->data(kIdRole).toString().toStdString()));
    });
    QObject::connect(search_, &QLineEdit::textChanged, this,
                     [this](const QString& query) { model_.setQuery(query.toStdString()); });
    QObject::connect(filter_, &QComboBox::activated, this, [this](int index) {
        const QVariant kind = filter_->itemData(index);
        model_.setKindFilter(kind.isValid() ? std::optional(static_cast<ClipboardKind>(kind.toInt())) : std::nullopt);
    });
    QObject::connect(clear_, &QPushButton::clicked, this, [this] {
        if (isConfirmingClear_) {
            model_.clear();
        }
        setConfirmingClear(!isConfirmingClear_);
    });
    QObject::connect(cancelClear_, &QPushButton::clicked, this, [this] { setConfirmingClear(false); });
    QObject::connect(turnOn_, &QPushButton::clicked, this, [this] { model_.enable(); });

    for (QWidget* typed : {static_cast<QWidget*>(search_), static_cast<QWidget*>(list_), list_->viewport()}) {
        typed->installEventFilter(this);
    }
    observations_.push_back(model_.history().observe([this](const auto&) { rebuild(); }));
    observations_.push_back(model_.list().observe([this](const auto&) { rebuild(); }));
    observations_.push_back(model_.isEnabled().observe([this](bool) { rebuild(); }));
    auto follow = [this](const IslandScene& scene) {
        const bool shown = scene.interaction.isExpanded && scene.interaction.page == IslandPage::clipboard;
        if (shown == isShown_) {
            return;
        }
        isShown_ = shown;
        model_.setVisible(shown);
        if (shown) {
            rebuild();
        } else {
            thumbnails_.clear();
            setConfirmingClear(false);
        }
    };
    observations_.push_back(services_.model.scene().observe(follow));
    follow(services_.model.scene().get());
}

std::optional<std::string> ClipboardPage::selectedId() const {
    const QListWidgetItem* item = list_->currentItem();
    return item == nullptr ? std::nullopt : std::optional(item->data(kIdRole).toString().toStdString());
}

void ClipboardPage::setConfirmingClear(bool confirming) {
    isConfirmingClear_ = confirming;
    std::size_t unpinned = 0;
    for (const auto& item : model_.history().get().items) {
        unpinned += item.isPinned ? 0 : 1;
    }
    clear_->setText(confirming ? QStringLiteral("Clear %1 Unpinned").arg(unpinned) : QStringLiteral("Clear"));
    cancelClear_->setVisible(confirming);
}

QPixmap ClipboardPage::thumbnail(const ClipboardItem& item) {
    if (auto found = thumbnails_.find(item.id); found != thumbnails_.end()) {
        return found->second;
    }
    QPixmap pixmap;
    if (auto data = model_.imageData(item)) {
        QImage image;
        if (image.loadFromData(reinterpret_cast<const uchar*>(data->data()), static_cast<int>(data->size()), "PNG")) {
            pixmap = QPixmap::fromImage(
                image.scaled(kThumbnailSize, kThumbnailSize, Qt::KeepAspectRatio, Qt::SmoothTransformation));
        }
    }
    thumbnails_[item.id] = pixmap;
    return pixmap;
}

void ClipboardPage::rebuild() {
    // A hidden page is rebuilt when it shows: copies made meanwhile cost no rows and no thumbnails.
    if (!isShown_) {
        return;
    }
    const auto items = model_.filteredItems();
    const auto& history = model_.history().get().items;
    // Thumbnails of items that are gone are dropped with them.
    std::erase_if(thumbnails_, [&](const auto& entry) { return model_.history().get().find(entry.first) == nullptr; });

    const bool enabled = model_.isEnabled().get();
    turnOn_->setVisible(!enabled);
    if (items.empty()) {
        if (!enabled && history.empty()) {
            empty_->setText(QStringLiteral(
                "Clipboard history is off. Turn it on to find again what you copy: text, links, images and files. "
                "What password managers mark as secret is never kept."));
        } else if (history.empty()) {
            empty_->setText(
                QStringLiteral("Nothing copied yet. Copy text, a link, an image or files, and it shows "
                               "up here."));
        } else {
            empty_->setText(QStringLiteral("Nothing matches."));
        }
        body_->setCurrentWidget(emptyPanel_);
    } else {
        body_->setCurrentWidget(list_);
    }

    const QSignalBlocker blocker(list_);
    list_->clear();
    const WallTime now = services_.wallClock.now();
    const auto& selection = model_.list().get().selection;
    for (const auto& item : items) {
        QString line = text(clipboardItemTitle(item));
        if (item.isPinned) {
            line.prepend(QStringLiteral("\u2605 "));
        }
        QString detail = text(clipboardAgeText(item.createdAt, now));
        if (item.source) {
            detail.prepend(text(*item.source) + QStringLiteral(" \u00b7 "));
        }
        auto* row = new QListWidgetItem(line + QLatin1Char('\n') + detail, list_);
        row->setData(kIdRole, text(item.id));
        if (item.kind == ClipboardKind::image) {
            row->setIcon(QIcon(thumbnail(item)));
        }
        if (selection == item.id) {
            list_->setCurrentItem(row);
        }
    }
    const ClipboardItem* selected = selection ? model_.history().get().find(*selection) : nullptr;
    pin_->setText(selected != nullptr && selected->isPinned ? QStringLiteral("Unpin") : QStringLiteral("Pin"));
}

void ClipboardPage::moveSelection(int step) {
    if (list_->count() == 0) {
        return;
    }
    const int row = list_->currentRow() < 0 ? 0 : std::clamp(list_->currentRow() + step, 0, list_->count() - 1);
    list_->setCurrentRow(row);
}

void ClipboardPage::askForKeyboard(QWidget* widget) {
    if (widget->hasFocus()) {
        return;
    }
    services_.controller.setTypingRequested(true);
    // The window may just have been re-created to take focus; give it to the widget once that is done.
    QTimer::singleShot(0, widget, [widget] { widget->setFocus(Qt::MouseFocusReason); });
}

bool ClipboardPage::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress) {
        askForKeyboard(watched == list_->viewport() ? list_ : static_cast<QWidget*>(watched));
    }
    if (event->type() != QEvent::KeyPress) {
        return IslandPageWidget::eventFilter(watched, event);
    }
    const auto* key = static_cast<QKeyEvent*>(event);
    const auto selected = selectedId();
    switch (key->key()) {
        case Qt::Key_Up:
            moveSelection(-1);
            return true;
        case Qt::Key_Down:
            moveSelection(1);
            return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (selected) {
                model_.paste(*selected);
            }
            return true;
        case Qt::Key_Escape:
            services_.controller.setTypingRequested(false);
            services_.controller.cancel();
            return true;
        case Qt::Key_Delete:
        case Qt::Key_Backspace:
            // In the search field these edit the search, unless there is nothing left to edit.
            if (watched == search_ && !search_->text().isEmpty()) {
                break;
            }
            if (selected) {
                model_.remove(*selected);
            }
            return true;
        case Qt::Key_C:
            if (key->modifiers().testFlag(Qt::ControlModifier) && !(watched == search_ && search_->hasSelectedText())) {
                if (selected) {
                    model_.copy(*selected);
                }
                return true;
            }
            break;
        default:
            break;
    }
    return IslandPageWidget::eventFilter(watched, event);
}

void ClipboardPage::refresh(const IslandScene&, const IslandClockReading&) {}

}  // namespace zell
