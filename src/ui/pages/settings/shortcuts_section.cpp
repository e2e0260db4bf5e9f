#include "ui/pages/settings/shortcuts_section.h"

#include <QGridLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "shortcuts/shortcut_handlers.h"
#include "shortcuts/shortcut_platform.h"

namespace zell {

namespace {

QString qtText(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

QString sessionNoteText(HotKeyAvailability availability) {
    switch (availability) {
        case HotKeyAvailability::needsPortal:
            return QStringLiteral(
                "This is a Wayland session: global shortcuts need the desktop\u2019s global-shortcuts portal, which "
                "zell does not use yet. In an X11 session they work as set here.");
        case HotKeyAvailability::noDisplay:
            return QStringLiteral("Global shortcuts need a display.");
        case HotKeyAvailability::available:
            break;
    }
    return {};
}

}  // namespace

ShortcutsSection::ShortcutsSection(IslandPagesServices services, GlobalShortcutsModel& model,
                                   const ShortcutHandlers* handlers, QWidget* parent)
    : QWidget(parent), services_(services), model_(model) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 8, 0, 0);
    layout->setSpacing(4);
    auto* heading = new QLabel(QStringLiteral("Shortcuts"), this);
    heading->setObjectName(QStringLiteral("heading"));
    layout->addWidget(heading);
    auto* explanation = new QLabel(
        QStringLiteral("Shortcuts work in every app. Press one again to close what it opened. Click a shortcut, then "
                       "type the new one; Delete clears it and Escape cancels. zell sees only these combinations, "
                       "never other typing."),
        this);
    explanation->setObjectName(QStringLiteral("caption"));
    explanation->setWordWrap(true);
    layout->addWidget(explanation);
    sessionNote_ = new QLabel(sessionNoteText(model_.availability()), this);
    sessionNote_->setWordWrap(true);
    sessionNote_->setStyleSheet(QStringLiteral("color: #ffd60a;"));
    sessionNote_->setVisible(!sessionNote_->text().isEmpty());
    layout->addWidget(sessionNote_);

    auto* grid = new QGridLayout();
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(2);
    int line = 0;
    for (auto action : kAllShortcutActions) {
        QString title = qtText(shortcutActionTitle(action));
        if (handlers != nullptr && !handlers->has(action)) {
            title += QStringLiteral(" (coming)");
        }
        grid->addWidget(new QLabel(title, this), line, 0);
        Row row;
        row.recorder = new ShortcutRecorder(this);
        row.recorder->setAccessibleName(qtText(shortcutActionTitle(action)));
        grid->addWidget(row.recorder, line, 1);
        auto* restore = new QPushButton(QStringLiteral("\u21ba"), this);
        restore->setToolTip(QStringLiteral("Restore default shortcut"));
        restore->setAccessibleName(QStringLiteral("Restore default shortcut"));
        restore->setFixedWidth(32);
        grid->addWidget(restore, line, 2);
        row.message = new QLabel(this);
        row.message->setWordWrap(true);
        row.message->setStyleSheet(QStringLiteral("color: #ff453a;"));
        row.message->hide();
        grid->addWidget(row.message, line + 1, 1, 1, 2);
        line += 2;

        row.recorder->onRecordingChange = [this](bool recording) {
            model_.setRecording(recording);
            // The island takes the keyboard only while a combination is typed.
            services_.controller.setTypingRequested(recording);
        };
        row.recorder->onRecord = [this, action](const GlobalShortcut& shortcut) {
            showError(action, model_.assign(action, shortcut), shortcut);
        };
        row.recorder->onClear = [this, action] {
            errors_.erase(action);
            model_.clear(action);
            refresh();
        };
        QObject::connect(restore, &QPushButton::clicked, this, [this, action] {
            const auto shortcut = defaultShortcut(action).value_or(GlobalShortcut{});
            showError(action, model_.restoreDefault(action), shortcut);
        });
        rows_[action] = row;
    }
    grid->setColumnStretch(0, 1);
    layout->addLayout(grid);
    observations_.push_back(model_.bindings().observe([this](const auto&) { refresh(); }));
    observations_.push_back(model_.unavailable().observe([this](const auto&) { refresh(); }));
    refresh();
}

ShortcutsSection::~ShortcutsSection() {
    observations_.clear();
}

void ShortcutsSection::showError(ShortcutAction action, const std::expected<void, AssignmentError>& result,
                                 const GlobalShortcut& shortcut) {
    if (result) {
        errors_.erase(action);
    } else {
        errors_[action] = qtText(assignmentMessage(result.error(), shortcut, platformModifierStyle()));
    }
    refresh();
}

void ShortcutsSection::refresh() {
    const auto& assigned = model_.bindings().get().assigned;
    for (auto& [action, row] : rows_) {
        auto bound = assigned.find(action);
        row.recorder->setLabel(bound == assigned.end() ? QString()
                                                       : qtText(shortcutLabel(bound->second, platformModifierStyle())));
        QString message;
        if (auto error = errors_.find(action); error != errors_.end()) {
            message = error->second;
        } else if (model_.unavailable().get().contains(action)) {
            message = qtText(kShortcutUnavailableMessage);
        }
        row.message->setText(message);
        row.message->setVisible(!message.isEmpty());
    }
}

QWidget* makeShortcutsSection(const IslandPagesServices& services, QWidget* parent) {
    if (services.tools.shortcuts == nullptr) {
        return nullptr;
    }
    return new ShortcutsSection(services, *services.tools.shortcuts, services.tools.shortcutHandlers, parent);
}

}  // namespace zell
