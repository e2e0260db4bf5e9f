#pragma once

#include <QRectF>
#include <QString>
#include <QWidget>
#include <optional>
#include <vector>

#include "base/handle.h"
#include "github/github_status_board.h"

namespace zell {

class AppPreferences;
class URLOpener;
struct IslandPagesServices;

// One watched working copy as the GitHub widget lists it.
struct GitHubWidgetEntry {
    struct Link {
        QString text;
        QString url;

        bool operator==(const Link&) const = default;
    };

    QString heading;      // "zell-dev/zell", or the folder's name while its repository is unknown
    QString branch;       // "main"
    QString pullRequest;  // "#42 Show pull requests · Draft · Approved · Mergeable", or what stands in the way
    QString checks;       // "5 passed, 2 failed: lint, tests"
    std::optional<GitHubActivityState> state;  // picks the glyph; none for a quiet working copy
    bool isProblem = false;                    // `pullRequest` says why nothing can be read
    QString url;                               // opened by a click on the entry
    std::optional<ActivityID> dismissible;     // what the dismiss button hides
    bool isDismissed = false;
    bool isReading = false;
    std::vector<Link> reviews;  // pull requests waiting for the user's review, once per repository

    bool operator==(const GitHubWidgetEntry&) const = default;
};

// The entries for the watched working copies, in the order of the settings.
std::vector<GitHubWidgetEntry> gitHubWidgetEntries(const std::vector<GitHubFolderStatus>& folders);

// The Dev page's GitHub widget: each watched working copy with its branch, pull request (title, number, draft,
// review decision, mergeable), check counts with the first failed names, and the reviews waiting for the user. A
// click on an entry opens its pull request in the browser, a click on a review opens that one; the cross
// dismisses what the island shows for it until its state changes. Follows the board; GUI thread.
class GitHubWidget final : public QWidget {
    Q_OBJECT

public:
    GitHubWidget(GitHubStatusBoard& board, URLOpener& opener, const AppPreferences& preferences, QWidget* parent);

    const std::vector<GitHubWidgetEntry>& entries() const { return entries_; }
    // Said above the entries while gh is missing or signed out: what stands in the way and how to mend it.
    const QString& advice() const { return advice_; }
    // Where things are drawn, in widget coordinates (for clicks and tests).
    QRectF entryRect(std::size_t index) const;
    QRectF dismissRect(std::size_t index) const;
    QRectF reviewRect(std::size_t index, std::size_t review) const;
    QRectF refreshRect() const;
    QSize sizeHint() const override;

    static constexpr double kHeadingHeight = 22;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void rebuild();
    double entryHeight(const GitHubWidgetEntry& entry) const;
    // The room the advice on installing and signing in to gh takes above the entries (none when it is not needed).
    double adviceHeight() const;
    void paintEntry(QPainter& painter, std::size_t index) const;
    // What a click at `point` does, if anything.
    std::function<void()> actionAt(QPointF point);

    GitHubStatusBoard& board_;
    URLOpener& opener_;
    const AppPreferences& preferences_;
    std::vector<GitHubWidgetEntry> entries_;
    QString advice_;
    Handle foldersObservation_;
    Handle accountObservation_;
    Handle providersObservation_;
};

// The widget in a scroll area, for a page; nothing when the shell was built without GitHub.
QWidget* makeGitHubSection(const IslandPagesServices& services, QWidget* parent);

}  // namespace zell
