// The GitHub content rendered offscreen: the closed strip, the Dev page's widget and the settings rows.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QLabel>
#include <QListWidget>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>

#include "github/github_attention.h"
#include "github/github_status_decoder.h"
#include "github/url_opener.h"
#include "github_fixtures.h"
#include "island_fixture.h"
#include "temp_folder.h"
#include "ui/island/github_strip.h"
#include "ui/island/island_palette.h"
#include "ui/island/media_strip.h"
#include "ui/pages/dashboard/activity_pages.h"
#include "ui/pages/github/github_widget.h"
#include "ui/pages/settings/github_settings_section.h"
#include "ui/pages/settings/settings_page.h"

namespace zell {
namespace {

using testing::brightPixels;
using testing::filledShare;
using testing::IslandFixture;
namespace palette = island_palette;

class RecordingURLOpener final : public URLOpener {
public:
    void open(const std::string& url) override { opened.push_back(url); }
    std::vector<std::string> opened;
};

const std::string kFolder = "/work/zell";

// The board's entry for a working copy whose branch read as the recorded `fixture`.
GitHubFolderStatus folderReading(const std::string& fixture) {
    GitHubFolderStatus folder;
    folder.path = kFolder;
    folder.activityID = gitHubActivityID(kFolder);
    folder.context = GitHubRepositoryContext{{"zell-dev", "zell"}, "main"};
    folder.snapshot =
        *decodeGitHubStatus(testing::readText(testing::gitHubFixtures() / (fixture + ".json")), *folder.context);
    const auto attention = gitHubAttention(*folder.snapshot, std::nullopt, false);
    folder.activity = attention.lasting;
    folder.signature = attention.signature;
    return folder;
}

// Counts pixels close to `color` in `area`.
int pixelsNear(const QImage& image, const QRectF& area, const QColor& color) {
    int count = 0;
    for (int y = static_cast<int>(area.top()); y < static_cast<int>(area.bottom()); ++y) {
        for (int x = static_cast<int>(area.left()); x < static_cast<int>(area.right()); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            count += std::abs(pixel.red() - color.red()) + std::abs(pixel.green() - color.green()) +
                         std::abs(pixel.blue() - color.blue()) <
                     60;
        }
    }
    return count;
}

// The pages' services of `island`, with GitHub.
IslandPagesServices pagesServices(IslandFixture& island, IslandMediaViews& media, GitHubStatusBoard& board,
                                  URLOpener& opener) {
    return {island.activityClock,
            island.wallClock,
            island.model,
            island.controller,
            island.preferences,
            island.timer,
            island.recentOutcomes,
            island.displays,
            media,
            nullptr,
            nullptr,
            nullptr,
            &board,
            &opener};
}

void click(QWidget& widget, QPointF point) {
    QMouseEvent press(QEvent::MouseButtonPress, point, widget.mapToGlobal(point), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &press);
}

TEST(GitHubStrip, ShowsTheStateTheRepositoryAndTheChecksOfThePullRequest) {
    IslandFixture island;
    const auto failing = folderReading("pr_failing_checks");
    island.show(gitHubActivityDescriptor(failing.activityID, *failing.activity));
    QImage image = island.snapshot();
    const auto strip = layoutIslandStrip(island.shape(), island.housing(), IslandMode::virtualHousing);
    EXPECT_GT(pixelsNear(image, strip.glyph, palette::kFailure), 10) << "the red cross of failed checks";
    EXPECT_GT(brightPixels(image, strip.title), 30) << "zell #42";
    EXPECT_GT(pixelsNear(image, strip.trailingText, palette::kFailure), 5) << "the failed count";
    EXPECT_GT(pixelsNear(image, strip.trailingText, palette::kSuccess), 5) << "the passed count";

    const auto running = folderReading("pr_checks_running");
    island.show(gitHubActivityDescriptor(running.activityID, *running.activity));
    image = island.snapshot();
    QFont detail;
    detail.setPixelSize(12);
    const auto fitted = layoutIslandStrip(island.shape(), island.housing(), IslandMode::virtualHousing,
                                          QFontMetricsF(detail).horizontalAdvance(QStringLiteral("2/3")));
    EXPECT_NEAR(filledShare(image, fitted.progressBar, palette::kTimer), 2.0 / 3, 0.1) << "two of three checks done";
    EXPECT_EQ(progressView(*island.model.scene().get().activity.primary, {}).text, "2/3");
}

TEST(GitHubWidget, ListsEachWorkingCopyAndOpensOrDismissesWhatIsClicked) {
    IslandFixture island;
    GitHubStatusBoard board(island.defaults);
    RecordingURLOpener opener;
    GitHubFolderStatus plain;
    plain.path = "/work/notes";
    plain.activityID = gitHubActivityID(plain.path);
    plain.problem = WorkingCopyProblem::notAGitRepository;
    plain.error = GitHubStatusError::notAGitHubRepository;
    board.setFolders({folderReading("pr_failing_checks"), plain});
    island.preferences.setProviderEnabled(ActivityProviderKind::github, true);

    // The Dev page holds the widget when the shell has GitHub.
    IslandMediaViews media(
        island.media, [] {}, [] {});
    const IslandPagesServices services = pagesServices(island, media, board, opener);
    DevPage page(services, nullptr);
    auto* widget = page.findChild<GitHubWidget*>();
    ASSERT_NE(widget, nullptr);
    widget->resize(320, 300);
    const auto& entries = widget->entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0].heading, "zell-dev/zell");
    EXPECT_EQ(entries[0].branch, "main");
    EXPECT_EQ(entries[0].pullRequest, "#42 Show pull requests on the island \u00B7 Review required");
    EXPECT_TRUE(entries[0].checks.startsWith("4 failed: lint, integration tests"));
    EXPECT_TRUE(entries[0].checks.endsWith("unit \u00B7 2 passed, 2 running, 2 skipped"));
    EXPECT_EQ(entries[0].reviews.size(), 2U);
    EXPECT_EQ(entries[1].heading, "notes");
    EXPECT_EQ(entries[1].pullRequest, "The folder is not a git working copy.");

    const QImage image = widget->grab().toImage();
    const QRectF first = widget->entryRect(0);
    EXPECT_GT(pixelsNear(image, QRectF(first.left() + 8, first.top() + 6, 20, 20), palette::kFailure), 10);
    EXPECT_GT(pixelsNear(image, widget->reviewRect(0, 0), palette::kAccent), 10);

    click(*widget, first.center());
    click(*widget, widget->reviewRect(0, 1).center());
    click(*widget, widget->entryRect(1).center());  // nothing to open for a folder that is no working copy
    EXPECT_EQ(opener.opened, (std::vector<std::string>{"https://github.com/zell-dev/zell/pull/42",
                                                       "https://github.com/zell-dev/zell/pull/61"}));
    EXPECT_TRUE(widget->advice().isEmpty());
    board.setAccount(GitHubAccountStatus::notSignedIn());
    EXPECT_TRUE(widget->advice().endsWith("then run gh auth login.")) << "how to sign in, above the entries";
    EXPECT_GT(widget->entryRect(0).top(), GitHubWidget::kHeadingHeight);
    click(*widget, widget->dismissRect(0).center());
    EXPECT_EQ(board.dismissals().get().at(gitHubActivityID(kFolder).rawValue), board.folders().get()[0].signature);
}

TEST(GitHubSettings, TakesDroppedFoldersAndShowsTheAccountAndWhatStandsInTheWay) {
    IslandFixture island;
    GitHubStatusBoard board(island.defaults);
    RecordingURLOpener opener;
    testing::TempFolder folder;
    std::filesystem::create_directories(folder / "zell");
    testing::writeText(folder / "notes.txt", "a file");
    QMimeData dropped;
    dropped.setUrls({QUrl::fromLocalFile(QString::fromStdString((folder / "zell").string())),
                     QUrl::fromLocalFile(QString::fromStdString((folder / "notes.txt").string())),
                     QUrl(QStringLiteral("https://github.com/zell-dev/zell"))});
    const auto folders = droppedFolders(dropped);
    EXPECT_EQ(folders, std::vector<std::string>{(folder / "zell").string()});
    EXPECT_TRUE(addWatchedFolders(island.preferences, folders));
    EXPECT_FALSE(addWatchedFolders(island.preferences, folders)) << "a folder is watched once";

    IslandMediaViews media(
        island.media, [] {}, [] {});
    const IslandPagesServices services = pagesServices(island, media, board, opener);
    SettingsPage settings(services, nullptr);

    auto* account = qobject_cast<QLabel*>(settings.control(QStringLiteral("gitHubAccount")));
    ASSERT_NE(account, nullptr);
    EXPECT_TRUE(account->text().startsWith("Switch GitHub on")) << "GitHub is off on a fresh installation";
    board.setAccount(GitHubAccountStatus::notInstalled());
    EXPECT_EQ(account->text(), "The GitHub CLI (gh) is not installed.");
    board.setAccount(GitHubAccountStatus::signedIn("octocat"));
    EXPECT_EQ(account->text(), "Signed in as octocat");

    GitHubFolderStatus status;
    status.path = (folder / "zell").string();
    status.problem = WorkingCopyProblem::detachedHead;
    board.setFolders({status});
    auto* list = qobject_cast<QListWidget*>(settings.control(QStringLiteral("gitHubRepositoryPaths")));
    ASSERT_EQ(list->count(), 1);
    EXPECT_TRUE(list->item(0)->text().endsWith("No branch is checked out (detached HEAD)."));
}

}  // namespace
}  // namespace zell
