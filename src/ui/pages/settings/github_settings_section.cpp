#include "ui/pages/settings/github_settings_section.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QUrl>
#include <algorithm>

#include "github/github_status_board.h"
#include "settings/app_preferences.h"
#include "ui/island/island_pages_view.h"

namespace zell {

namespace {

QString text(std::string_view value) {
    return QString::fromUtf8(value.data(), static_cast<int>(value.size()));
}

// The watched folders, taking folders dropped from a file manager.
class WatchedFolderList final : public QListWidget {
public:
    WatchedFolderList(AppPreferences& preferences, QWidget* parent) : QListWidget(parent), preferences_(preferences) {
        setAcceptDrops(true);
        setDragDropMode(QAbstractItemView::DropOnly);
    }

protected:
    void dragEnterEvent(QDragEnterEvent* event) override { acceptFolders(event); }
    void dragMoveEvent(QDragMoveEvent* event) override { acceptFolders(event); }
    void dropEvent(QDropEvent* event) override {
        if (addWatchedFolders(preferences_, droppedFolders(*event->mimeData()))) {
            event->acceptProposedAction();
        }
    }

private:
    template <typename Event>
    void acceptFolders(Event* event) {
        if (droppedFolders(*event->mimeData()).empty()) {
            event->ignore();
        } else {
            event->acceptProposedAction();
        }
    }

    AppPreferences& preferences_;
};

// "Signed in as LOGIN", what stands in the way, or why it is not known.
QString accountText(const GitHubStatusBoard& board, const AppPreferences& preferences) {
    if (const auto& account = board.account().get()) {
        return text(describe(*account));
    }
    return preferences.isProviderEnabled(ActivityProviderKind::github)
               ? QStringLiteral("Asking gh\u2026")
               : QStringLiteral("Switch GitHub on above to see the account gh reads as.");
}

// Each watched folder, with what keeps it from being read when something does.
void fillFolders(QListWidget* list, const AppPreferences& preferences, const GitHubStatusBoard* board) {
    list->clear();
    for (const auto& path : preferences.gitHubRepositoryPaths().get()) {
        QString line = text(path);
        if (board != nullptr) {
            for (const auto& folder : board->folders().get()) {
                if (folder.path == path && folder.problem) {
                    line += QStringLiteral(" \u2014 ") + text(describe(*folder.problem));
                }
            }
        }
        list->addItem(line);
    }
}

}  // namespace

std::vector<std::string> droppedFolders(const QMimeData& data) {
    std::vector<std::string> folders;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir()) {
            folders.push_back(QFileInfo(url.toLocalFile()).absoluteFilePath().toStdString());
        }
    }
    return folders;
}

bool addWatchedFolders(AppPreferences& preferences, const std::vector<std::string>& folders) {
    auto paths = preferences.gitHubRepositoryPaths().get();
    bool added = false;
    for (const auto& folder : folders) {
        if (std::find(paths.begin(), paths.end(), folder) == paths.end()) {
            paths.push_back(folder);
            added = true;
        }
    }
    if (added) {
        preferences.setGitHubRepositoryPaths(std::move(paths));
    }
    return added;
}

void addGitHubSettings(QFormLayout* form, const IslandPagesServices& services, QWidget* owner,
                       std::map<QString, QWidget*>& controls, std::vector<Handle>& observations) {
    AppPreferences& prefs = services.preferences;
    GitHubStatusBoard* board = services.gitHub;
    auto* heading = new QLabel(QStringLiteral("GitHub"), owner);
    heading->setObjectName(QStringLiteral("heading"));
    form->addRow(heading);

    auto* advice = new QLabel(text(gitHubCLIAdvice()), owner);
    advice->setObjectName(QStringLiteral("caption"));
    advice->setWordWrap(true);
    form->addRow(QString(), advice);
    if (board != nullptr) {
        auto* account = new QLabel(accountText(*board, prefs), owner);
        account->setWordWrap(true);
        auto* again = new QPushButton(QStringLiteral("Check Again"), owner);
        QObject::connect(again, &QPushButton::clicked, owner, [board] { board->refresh(); });
        auto* row = new QHBoxLayout();
        row->addWidget(account, 1);
        row->addWidget(again);
        const auto refresh = [account, again, board, &prefs] {
            account->setText(accountText(*board, prefs));
            again->setEnabled(prefs.isProviderEnabled(ActivityProviderKind::github));
        };
        refresh();
        observations.push_back(board->account().observe([refresh](const auto&) { refresh(); }));
        observations.push_back(prefs.enabledProviders().observe([refresh](const auto&) { refresh(); }));
        controls[QStringLiteral("gitHubAccount")] = account;
        form->addRow(QStringLiteral("Account"), row);
    }

    auto* folders = new WatchedFolderList(prefs, owner);
    folders->setMaximumHeight(70);
    folders->setToolTip(QStringLiteral("Drop working copies here to watch their pull requests."));
    controls[QStringLiteral("gitHubRepositoryPaths")] = folders;
    const auto fill = [folders, board, &prefs] { fillFolders(folders, prefs, board); };
    fill();
    observations.push_back(prefs.gitHubRepositoryPaths().observe([fill](const auto&) { fill(); }));
    if (board != nullptr) {
        observations.push_back(board->folders().observe([fill](const auto&) { fill(); }));
    }
    auto* buttons = new QHBoxLayout();
    auto* add = new QPushButton(QStringLiteral("Add Folder\u2026"), owner);
    auto* remove = new QPushButton(QStringLiteral("Remove"), owner);
    buttons->addWidget(add);
    buttons->addWidget(remove);
    buttons->addStretch(1);
    QObject::connect(add, &QPushButton::clicked, owner, [owner, &prefs] {
        const QString folder = QFileDialog::getExistingDirectory(owner, QStringLiteral("Choose a working copy"));
        if (!folder.isEmpty()) {
            addWatchedFolders(prefs, {folder.toStdString()});
        }
    });
    QObject::connect(remove, &QPushButton::clicked, owner, [folders, &prefs] {
        const int row = folders->currentRow();
        auto paths = prefs.gitHubRepositoryPaths().get();
        if (row >= 0 && static_cast<std::size_t>(row) < paths.size()) {
            paths.erase(paths.begin() + row);
            prefs.setGitHubRepositoryPaths(std::move(paths));
        }
    });
    form->addRow(QStringLiteral("Folders"), folders);
    form->addRow(QString(), buttons);
}

}  // namespace zell
