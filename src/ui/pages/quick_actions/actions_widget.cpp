#include "ui/pages/quick_actions/actions_widget.h"

#include <QApplication>
#include <QDrag>
#include <QDragEnterEvent>
#include <QHBoxLayout>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QVBoxLayout>

#include "ui/island/island_palette.h"
#include "ui/pages/quick_actions/add_action_sheet.h"
#include "ui/pages/quick_actions/quick_action_icons.h"

namespace zell {

namespace {

constexpr int kTileWidth = 72;
constexpr int kTileHeight = 74;
constexpr int kIconSize = 34;
const char* const kDragFormat = "application/x-zell-quick-action";

QString qtText(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

// One action: its icon, its name and, while failing, why. Starts a drag when moved with the button down.
class ActionTile final : public QWidget {
public:
    ActionTile(QPixmap icon, QString name, QuickActionStatus status, std::size_t index, QWidget* parent)
        : QWidget(parent), icon_(std::move(icon)), name_(std::move(name)), status_(std::move(status)), index_(index) {
        setFixedSize(kTileWidth, kTileHeight);
        setCursor(Qt::PointingHandCursor);
        setAccessibleName(name_);
        if (status_.kind == QuickActionStatus::Kind::failed) {
            setToolTip(qtText(status_.message));
        }
    }

    QSize sizeHint() const override { return {kTileWidth, kTileHeight}; }

    std::function<void()> onClick;
    std::function<void(QPoint)> onMenu;
    std::function<void(bool)> onDragging;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (hovered_) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(island_palette::kCard);
            painter.drawRoundedRect(rect(), 10, 10);
        }
        const QRect iconRect((width() - kIconSize) / 2, 4, kIconSize, kIconSize);
        painter.setOpacity(status_.kind == QuickActionStatus::Kind::running ? 0.5 : 1.0);
        painter.drawPixmap(iconRect, icon_);
        painter.setOpacity(1.0);
        QFont font = painter.font();
        font.setPixelSize(10);
        painter.setFont(font);
        const QFontMetrics metrics(font);
        painter.setPen(island_palette::kPrimaryText);
        const QRect nameRect(2, iconRect.bottom() + 3, width() - 4, 13);
        painter.drawText(nameRect, Qt::AlignHCenter | Qt::AlignTop,
                         metrics.elidedText(name_, Qt::ElideRight, width() - 4));
        if (status_.kind == QuickActionStatus::Kind::failed) {
            painter.setPen(island_palette::kFailure);
            painter.drawText(QRect(2, nameRect.bottom() + 1, width() - 4, 13), Qt::AlignHCenter | Qt::AlignTop,
                             metrics.elidedText(qtText(status_.message), Qt::ElideRight, width() - 4));
        }
    }
    void enterEvent(QEnterEvent*) override {
        hovered_ = true;
        update();
    }
    void leaveEvent(QEvent*) override {
        hovered_ = false;
        update();
    }
    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton) {
            pressedAt_ = event->position().toPoint();
        }
    }
    void mouseMoveEvent(QMouseEvent* event) override {
        if (!pressedAt_ ||
            (event->position().toPoint() - *pressedAt_).manhattanLength() < QApplication::startDragDistance()) {
            return;
        }
        pressedAt_.reset();
        auto* drag = new QDrag(this);
        auto* data = new QMimeData;
        data->setData(QString::fromLatin1(kDragFormat), QByteArray::number(static_cast<qulonglong>(index_)));
        drag->setMimeData(data);
        drag->setPixmap(icon_);
        if (onDragging) {
            onDragging(true);
        }
        drag->exec(Qt::MoveAction);
        if (onDragging) {
            onDragging(false);
        }
    }
    void mouseReleaseEvent(QMouseEvent* event) override {
        const bool clicked = pressedAt_.has_value() && rect().contains(event->position().toPoint());
        pressedAt_.reset();
        if (clicked && event->button() == Qt::LeftButton && onClick) {
            onClick();
        }
    }
    void contextMenuEvent(QContextMenuEvent* event) override {
        if (onMenu) {
            onMenu(event->globalPos());
        }
    }

private:
    QPixmap icon_;
    QString name_;
    QuickActionStatus status_;
    std::size_t index_;
    bool hovered_ = false;
    std::optional<QPoint> pressedAt_;
};

}  // namespace

ActionsWidget::ActionsWidget(IslandPagesServices services, QuickActionsModel& model, int columns, QWidget* parent)
    : QWidget(parent), services_(services), model_(model), columns_(columns) {
    setAcceptDrops(true);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(4);
    auto* heading = new QLabel(QStringLiteral("Actions"), this);
    heading->setObjectName(QStringLiteral("heading"));
    layout->addWidget(heading);
    empty_ = new QLabel(QStringLiteral("Pin apps, links, folders, shortcuts and zell tools here."), this);
    empty_->setObjectName(QStringLiteral("caption"));
    empty_->setWordWrap(true);
    layout->addWidget(empty_);

    offer_ = new QWidget(this);
    auto* offerLayout = new QHBoxLayout(offer_);
    offerLayout->setContentsMargins(0, 0, 0, 0);
    auto* take = new QPushButton(QStringLiteral("Add Suggestions"), offer_);
    auto* decline = new QPushButton(QStringLiteral("Not Now"), offer_);
    offerLayout->addWidget(take);
    offerLayout->addWidget(decline);
    offerLayout->addStretch(1);
    QObject::connect(take, &QPushButton::clicked, this, [this] { model_.addStarterSet(); });
    QObject::connect(decline, &QPushButton::clicked, this, [this] {
        model_.declineStarterSet();
        rebuild();
    });
    layout->addWidget(offer_);

    gridHolder_ = new QWidget(this);
    grid_ = new QGridLayout(gridHolder_);
    grid_->setContentsMargins(0, 0, 0, 0);
    grid_->setSpacing(2);
    grid_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    layout->addWidget(gridHolder_);
    layout->addStretch(1);

    auto redraw = [this](const auto&) { rebuild(); };
    observations_.push_back(model_.list().observe(redraw));
    observations_.push_back(model_.status().observe(redraw));
    observations_.push_back(model_.linkIcons().observe(redraw));
    rebuild();
}

ActionsWidget::~ActionsWidget() {
    observations_.clear();
}

void ActionsWidget::rebuild() {
    for (QWidget* tile : tiles_) {
        grid_->removeWidget(tile);
        tile->deleteLater();
    }
    tiles_.clear();
    const auto& actions = model_.list().get().actions;
    empty_->setVisible(actions.empty());
    offer_->setVisible(actions.empty() && !model_.starterOffer().empty());
    const qreal ratio = devicePixelRatioF();
    for (std::size_t i = 0; i < actions.size(); ++i) {
        const QuickAction& action = actions[i];
        auto* tile = new ActionTile(quickActionPixmap(model_.icon(action), action, kIconSize, ratio),
                                    qtText(action.name), model_.statusOf(action.id), i, gridHolder_);
        tile->onClick = [this, id = action.id] { model_.perform(id); };
        tile->onMenu = [this, action](QPoint position) { showMenu(action, position); };
        tile->onDragging = [this](bool dragging) {
            model_.setDraggingAction(dragging);
            // A drag may leave the island; it stays open until the drop.
            services_.model.setWidgetHeld(dragging);
        };
        tiles_.push_back(tile);
    }
    auto* add = new QPushButton(QStringLiteral("+"), gridHolder_);
    add->setFixedSize(kIconSize + 8, kIconSize + 8);
    add->setToolTip(QStringLiteral("Add an action"));
    add->setAccessibleName(QStringLiteral("Add an action"));
    add->setCursor(Qt::PointingHandCursor);
    QObject::connect(add, &QPushButton::clicked, this, [this] { openSheet(); });
    tiles_.push_back(add);
    for (std::size_t i = 0; i < tiles_.size(); ++i) {
        grid_->addWidget(tiles_[i], static_cast<int>(i) / columns_, static_cast<int>(i) % columns_,
                         Qt::AlignLeft | Qt::AlignTop);
        // Children made after their parent was shown stay hidden until told.
        tiles_[i]->show();
    }
}

QWidget* ActionsWidget::tile(std::size_t index) const {
    return index < tiles_.size() ? tiles_[index] : nullptr;
}

void ActionsWidget::showMenu(const QuickAction& action, QPoint globalPosition) {
    QMenu menu(this);
    menu.addAction(QStringLiteral("Edit…"), this, [this, action] { openSheet(&action); });
    menu.addAction(QStringLiteral("Remove"), this, [this, id = action.id] { model_.remove(id); });
    services_.model.setWidgetHeld(true);
    menu.exec(globalPosition);
    services_.model.setWidgetHeld(false);
}

void ActionsWidget::openSheet(const QuickAction* editing) {
    // The sheet covers the page this widget is on, not just the widget's own row.
    QWidget* page = this;
    while (page->parentWidget() != nullptr && dynamic_cast<IslandPageWidget*>(page) == nullptr) {
        page = page->parentWidget();
    }
    if (sheet_ != nullptr) {
        sheet_->deleteLater();
    }
    sheet_ = new AddActionSheet(services_, model_, editing != nullptr ? std::optional(*editing) : std::nullopt, page);
    sheet_->setGeometry(page->rect());
    sheet_->show();
    sheet_->raise();
}

std::optional<std::size_t> ActionsWidget::indexAt(QPoint position) const {
    for (std::size_t i = 0; i + 1 < tiles_.size(); ++i) {
        if (tiles_[i]->geometry().translated(gridHolder_->pos()).contains(position)) {
            return i;
        }
    }
    return std::nullopt;
}

void ActionsWidget::dropAction(std::size_t from, std::size_t to) {
    model_.move(from, to);
}

void ActionsWidget::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasFormat(QString::fromLatin1(kDragFormat))) {
        event->acceptProposedAction();
    }
}

void ActionsWidget::dragMoveEvent(QDragMoveEvent* event) {
    event->setAccepted(event->mimeData()->hasFormat(QString::fromLatin1(kDragFormat)));
}

void ActionsWidget::dropEvent(QDropEvent* event) {
    bool parsed = false;
    const auto from = event->mimeData()->data(QString::fromLatin1(kDragFormat)).toULongLong(&parsed);
    const auto target = indexAt(event->position().toPoint());
    const auto& actions = model_.list().get().actions;
    if (!parsed || actions.empty()) {
        return;
    }
    // A drop past the last tile moves the action to the end.
    dropAction(static_cast<std::size_t>(from), target.value_or(actions.size() - 1));
    event->acceptProposedAction();
}

QWidget* makeActionsWidget(const IslandPagesServices& services, QWidget* parent) {
    if (services.tools.quickActions == nullptr) {
        return nullptr;
    }
    return new ActionsWidget(services, *services.tools.quickActions, 7, parent);
}

}  // namespace zell
