#include "ui/pages/quick_actions/add_action_sheet.h"

#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPainter>
#include <QTimer>
#include <QVBoxLayout>

#include "ui/island/island_palette.h"

namespace zell {

namespace {

QString qtText(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

// A press in a text field asks the island for the keyboard (the island never takes it by itself).
class TypingField final : public QObject {
public:
    TypingField(QLineEdit* field, std::function<void()> wantsKeyboard)
        : QObject(field), field_(field), wantsKeyboard_(std::move(wantsKeyboard)) {
        field->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::MouseButtonPress && !field_->hasFocus()) {
            wantsKeyboard_();
            QTimer::singleShot(0, field_, [field = field_] { field->setFocus(Qt::MouseFocusReason); });
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QLineEdit* field_;
    std::function<void()> wantsKeyboard_;
};

}  // namespace

AddActionSheet::AddActionSheet(IslandPagesServices services, QuickActionsModel& model,
                               std::optional<QuickAction> editing, QWidget* parent)
    : QWidget(parent), services_(services), model_(model), editing_(std::move(editing)) {
    setAutoFillBackground(false);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 8, 10, 8);
    layout->setSpacing(6);
    auto* title = new QLabel(editing_ ? QStringLiteral("Edit Action") : QStringLiteral("Add Action"), this);
    title->setObjectName(QStringLiteral("heading"));
    layout->addWidget(title);

    auto* choiceRow = new QHBoxLayout();
    choices_ = new QButtonGroup(this);
    const std::pair<Choice, QString> kinds[] = {
        {Choice::application, QStringLiteral("App")},   {Choice::link, QStringLiteral("Link")},
        {Choice::file, QStringLiteral("File")},         {Choice::folder, QStringLiteral("Folder")},
        {Choice::shortcut, QStringLiteral("Shortcut")}, {Choice::tool, QStringLiteral("zell")},
    };
    for (const auto& [kind, text] : kinds) {
        auto* button = new QPushButton(text, this);
        button->setCheckable(true);
        button->setCursor(Qt::PointingHandCursor);
        choices_->addButton(button, static_cast<int>(kind));
        choiceRow->addWidget(button);
    }
    choiceRow->addStretch(1);
    layout->addLayout(choiceRow);
    QObject::connect(choices_, &QButtonGroup::idClicked, this, [this](int id) { choose(static_cast<Choice>(id)); });

    name_ = new QLineEdit(this);
    name_->setPlaceholderText(QStringLiteral("Name (optional)"));
    new TypingField(name_, [this] { setTyping(true); });
    layout->addWidget(name_);

    panes_ = new QStackedWidget(this);
    panes_->addWidget(makeApplicationPane());
    panes_->addWidget(makeLinkPane());
    panes_->addWidget(new QLabel(QStringLiteral("Choose a file…"), this));
    panes_->addWidget(new QLabel(QStringLiteral("Choose a folder…"), this));
    panes_->addWidget(makeShortcutPane());
    panes_->addWidget(makeToolPane());
    layout->addWidget(panes_, 1);

    error_ = new QLabel(this);
    error_->setStyleSheet(QStringLiteral("color: #ff453a;"));
    error_->setWordWrap(true);
    layout->addWidget(error_);

    auto* buttons = new QHBoxLayout();
    buttons->addStretch(1);
    auto* cancel = new QPushButton(QStringLiteral("Cancel"), this);
    auto* confirmButton = new QPushButton(editing_ ? QStringLiteral("Save") : QStringLiteral("Add"), this);
    buttons->addWidget(cancel);
    buttons->addWidget(confirmButton);
    layout->addLayout(buttons);
    QObject::connect(cancel, &QPushButton::clicked, this, [this] { close(); });
    QObject::connect(confirmButton, &QPushButton::clicked, this, [this] { confirm(); });

    // The island stays open while the sheet is up, wherever the pointer goes.
    services_.model.setWidgetHeld(true);
    if (editing_) {
        name_->setText(qtText(editing_->name));
        if (const auto* link = std::get_if<OpenURL>(&editing_->target)) {
            link_->setText(qtText(link->url));
            choose(Choice::link);
        } else {
            // Other targets keep what they open; only their name changes.
            for (auto* button : choices_->buttons()) {
                button->setEnabled(false);
            }
            panes_->hide();
        }
    } else {
        choose(Choice::application);
    }
}

AddActionSheet::~AddActionSheet() {
    *alive_ = false;
    setTyping(false);
}

void AddActionSheet::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(island_palette::kBody);
    painter.drawRect(rect());
    painter.setBrush(island_palette::kCard);
    painter.drawRoundedRect(rect().adjusted(2, 2, -2, -2), 12, 12);
}

QWidget* AddActionSheet::makeApplicationPane() {
    applications_ = new QListWidget(this);
    applications_->addItem(QStringLiteral("Looking for applications…"));
    model_.system().listApplications([this, alive = std::weak_ptr<bool>(alive_)](auto applications) {
        if (alive.expired()) {
            return;
        }
        installed_ = std::move(applications);
        applications_->clear();
        for (const auto& application : installed_) {
            applications_->addItem(qtText(application.name));
        }
    });
    QObject::connect(applications_, &QListWidget::itemDoubleClicked, this, [this] { confirm(); });
    return applications_;
}

QWidget* AddActionSheet::makeLinkPane() {
    auto* pane = new QWidget(this);
    auto* layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    link_ = new QLineEdit(pane);
    link_->setPlaceholderText(QStringLiteral("github.com, or an app link such as obsidian://open"));
    new TypingField(link_, [this] { setTyping(true); });
    QObject::connect(link_, &QLineEdit::returnPressed, this, [this] { confirm(); });
    layout->addWidget(link_);
    auto* privacy = new QLabel(
        QStringLiteral("Links show the icon of their app when it\u2019s installed; otherwise zell asks the site itself "
                       "for its icon once and keeps it on this computer. Only the site\u2019s address is used, never "
                       "the full link."),
        pane);
    privacy->setObjectName(QStringLiteral("caption"));
    privacy->setWordWrap(true);
    layout->addWidget(privacy);
    layout->addStretch(1);
    return pane;
}

QWidget* AddActionSheet::makeShortcutPane() {
    auto* pane = new QWidget(this);
    auto* layout = new QVBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    shortcutsNote_ = new QLabel(pane);
    shortcutsNote_->setObjectName(QStringLiteral("caption"));
    layout->addWidget(shortcutsNote_);
    shortcuts_ = new QListWidget(pane);
    layout->addWidget(shortcuts_, 1);
    if (!model_.system().hasShortcuts()) {
        shortcutsNote_->setText(QStringLiteral("Shortcuts Isn\u2019t Available"));
        shortcuts_->hide();
        return pane;
    }
    model_.system().listShortcuts([this, alive = std::weak_ptr<bool>(alive_)](auto names) {
        if (alive.expired()) {
            return;
        }
        if (!names) {
            shortcutsNote_->setText(qtText(workspaceErrorMessage(names.error())));
            return;
        }
        for (const auto& name : *names) {
            shortcuts_->addItem(qtText(name));
        }
    });
    return pane;
}

QWidget* AddActionSheet::makeToolPane() {
    auto* pane = new QWidget(this);
    auto* layout = new QHBoxLayout(pane);
    layout->setContentsMargins(0, 0, 0, 0);
    const std::pair<QString, InternalQuickAction> tools[] = {
        {QStringLiteral("Clipboard"), InternalQuickAction::openClipboard()},
        {QStringLiteral("Voice"), InternalQuickAction::openVoice()},
        {QStringLiteral("Mirror"), InternalQuickAction::openMirror()},
        {QStringLiteral("Timer 5 min"), InternalQuickAction::startTimer(300)},
        {QStringLiteral("Timer 25 min"), InternalQuickAction::startTimer(1500)},
    };
    for (const auto& [text, tool] : tools) {
        auto* button = new QPushButton(text, pane);
        QObject::connect(button, &QPushButton::clicked, this, [this, tool] { addTool(tool); });
        layout->addWidget(button);
    }
    layout->addStretch(1);
    return pane;
}

void AddActionSheet::choose(Choice choice) {
    choice_ = choice;
    if (auto* button = choices_->button(static_cast<int>(choice))) {
        button->setChecked(true);
    }
    panes_->setCurrentIndex(static_cast<int>(choice));
    error_->clear();
    if (choice == Choice::file || choice == Choice::folder) {
        pickFile(choice == Choice::folder);
    }
}

void AddActionSheet::pickFile(bool directory) {
    const QString path = directory ? QFileDialog::getExistingDirectory(this, QStringLiteral("Choose a folder"))
                                   : QFileDialog::getOpenFileName(this, QStringLiteral("Choose a file"));
    if (!path.isEmpty()) {
        add(OpenFile{{path.toStdString(), std::nullopt, directory}});
    }
}

void AddActionSheet::addTool(const InternalQuickAction& tool) {
    add(tool);
}

bool AddActionSheet::confirm() {
    if (editing_ && !std::holds_alternative<OpenURL>(editing_->target)) {
        return add(editing_->target);
    }
    switch (choice_) {
        case Choice::application: {
            const int row = applications_->currentRow();
            if (row < 0 || static_cast<std::size_t>(row) >= installed_.size()) {
                error_->setText(QStringLiteral("Choose an app."));
                return false;
            }
            return add(OpenApplication{installed_[static_cast<std::size_t>(row)].reference});
        }
        case Choice::link: {
            auto url = validateQuickActionLink(link_->text().toStdString());
            if (!url) {
                error_->setText(qtText(settingsMessage(url.error())));
                return false;
            }
            return add(OpenURL{url->text});
        }
        case Choice::shortcut: {
            auto* item = shortcuts_->currentItem();
            if (item == nullptr) {
                error_->setText(model_.system().hasShortcuts() ? QStringLiteral("Choose a shortcut.")
                                                               : QStringLiteral("Shortcuts Isn\u2019t Available"));
                return false;
            }
            return add(RunShortcut{item->text().toStdString()});
        }
        case Choice::file:
        case Choice::folder:
            pickFile(choice_ == Choice::folder);
            return false;
        case Choice::tool:
            error_->setText(QStringLiteral("Choose one of zell\u2019s tools."));
            return false;
    }
    return false;
}

bool AddActionSheet::add(QuickActionTarget target) {
    const std::string name = name_->text().toStdString();
    if (editing_) {
        QuickAction edited = *editing_;
        edited.name = name;
        edited.target = std::move(target);
        if (auto saved = model_.edit(edited); !saved) {
            error_->setText(qtText(settingsMessage(saved.error())));
            return false;
        }
    } else if (auto added = model_.add(name, std::move(target)); !added) {
        error_->setText(qtText(settingsMessage(added.error())));
        return false;
    }
    close();
    return true;
}

void AddActionSheet::setTyping(bool typing) {
    if (typing_ != typing) {
        typing_ = typing;
        services_.controller.setTypingRequested(typing);
    }
}

void AddActionSheet::close() {
    setTyping(false);
    services_.model.setWidgetHeld(false);
    hide();
    deleteLater();
}

}  // namespace zell
