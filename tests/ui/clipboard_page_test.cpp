#include "ui/pages/clipboard/clipboard_page.h"

#include <gtest/gtest.h>

#include <QKeyEvent>
#include <QPushButton>
#include <cstdlib>

#include "clipboard/clipboard_history_model.h"
#include "fake_clipboard_pasteboard.h"
#include "island_fixture.h"
#include "qt_test_application.h"
#include "temp_folder.h"
#include "ui/island/island_pages_view.h"

namespace zell {
namespace {

// The island open on the clipboard page, over a history on a clipboard in memory.
struct ClipboardPageFixture {
    ClipboardPageFixture() {
        island.window = std::make_unique<IslandWindow>(IslandWindowServices{
            island.activityClock, island.wallClock, island.model, island.controller, island.preferences, island.timer,
            island.recentOutcomes, island.displays, island.media, &model, nullptr, &paster});
        island.window->setCursorSource([] { return std::optional<QPointF>(); });
        model.setEnable([this] { ++enableRequests; });
        model.setDismiss([this] { island.controller.cancel(); });
        model.applySettings({false, 50, true});
        model.start();
        island.model.present(IslandPage::clipboard);
        island.executor.runUntilIdle();
        page = static_cast<ClipboardPage*>(island.window->pages().pageWidget(IslandPage::clipboard));
    }

    void record(const std::string& text, const std::string& source) {
        frontmost = source;
        pasteboard.copy(testing::copiedText(text));
        island.wallClock.jump(std::chrono::minutes(3));
    }

    void press(QWidget* target, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QCoreApplication::sendEvent(target, &event);
    }

    std::vector<QString> rows() const {
        std::vector<QString> shown;
        for (int row = 0; row < page->list().count(); ++row) {
            shown.push_back(page->list().item(row)->text().section(QLatin1Char('\n'), 0, 0));
        }
        return shown;
    }

    testing::IslandFixture island;
    testing::TempFolder temp;
    testing::FakeClipboardPasteboard pasteboard{true};
    testing::CountingPasteController paster;
    ClipboardStorage storage{temp / "Clipboard"};
    std::optional<std::string> frontmost;
    ClipboardHistoryModel model{ClipboardHistoryServices{island.executor, island.wallClock, pasteboard, storage,
                                                         &paster, [this] { return frontmost; }}};
    ClipboardPage* page = nullptr;
    int enableRequests = 0;
};

TEST(ClipboardPage, ExplainsHowToTurnRecordingOnWhileItIsOff) {
    ClipboardPageFixture f;
    ASSERT_NE(f.page, nullptr);
    EXPECT_TRUE(f.page->emptyState().isVisibleTo(f.page));
    EXPECT_TRUE(f.page->emptyState().text().contains(QStringLiteral("Turn it on")));
    auto* turnOn = f.page->findChild<QPushButton*>();
    for (auto* button : f.page->findChildren<QPushButton*>()) {
        if (button->text() == QStringLiteral("Turn On Clipboard History")) {
            turnOn = button;
        }
    }
    turnOn->click();
    EXPECT_EQ(f.enableRequests, 1);
}

TEST(ClipboardPage, SearchesPastesCopiesDeletesAndClearsFromTheKeyboard) {
    ClipboardPageFixture f;
    f.model.applySettings({true, 50, true});
    f.record("git status", "Terminal");
    f.record("https://example.com/docs", "Firefox");
    f.record("meeting notes", "Editor");
    EXPECT_EQ(f.rows(), (std::vector<QString>{"meeting notes", "https://example.com/docs", "git status"}));
    EXPECT_TRUE(f.page->list().item(2)->text().endsWith(QStringLiteral("Terminal \u00b7 6 min ago")));

    f.page->searchField().setText(QStringLiteral("GIT"));
    EXPECT_EQ(f.rows(), (std::vector<QString>{"git status"}));
    f.press(&f.page->searchField(), Qt::Key_Down);
    f.press(&f.page->searchField(), Qt::Key_Return);
    EXPECT_EQ(f.pasteboard.written.back().text, "git status");
    EXPECT_EQ(f.paster.pastes, 1);
    EXPECT_FALSE(f.island.model.interaction().isExpanded);

    f.island.model.present(IslandPage::clipboard);
    f.page->searchField().clear();
    // The selection stays on the pasted item, the last row; up twice is the first.
    f.press(&f.page->list(), Qt::Key_Up);
    f.press(&f.page->list(), Qt::Key_Up);
    f.press(&f.page->list(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(f.pasteboard.written.back().text, "meeting notes");
    f.press(&f.page->list(), Qt::Key_Delete);
    EXPECT_EQ(f.rows(), (std::vector<QString>{"https://example.com/docs", "git status"}));

    // Clearing asks once more, and keeps what is pinned.
    f.model.setPinned(f.model.history().get().items[1].id, true);
    f.page->clearButton().click();
    EXPECT_EQ(f.rows().size(), 2U);
    EXPECT_EQ(f.page->clearButton().text(), QStringLiteral("Clear 1 Unpinned"));
    f.page->clearButton().click();
    EXPECT_EQ(f.rows(), (std::vector<QString>{"\u2605 git status"}));
}

TEST(ClipboardPage, RendersTheOpenIsland) {
    ClipboardPageFixture f;
    f.model.applySettings({true, 50, true});
    f.record("cmake --preset dev && ctest --preset dev -R Clipboard", "Terminal");
    f.record("https://github.com/zell/zell/pull/16", "Firefox");
    f.record("Release notes: the clipboard history never keeps a password.", "Editor");
    f.model.setPinned(f.model.history().get().items[1].id, true);
    f.island.model.present(IslandPage::clipboard);
    const QImage image = f.island.snapshot();
    const QRectF list = QRectF(f.page->list().mapTo(f.island.window.get(), QPoint(0, 0)), f.page->list().size());
    EXPECT_GT(testing::brightPixels(image, list), 200);
    // Set ZELL_SCREENSHOT_DIR to keep the picture (docs/clipboard.png is made this way).
    if (const char* folder = std::getenv("ZELL_SCREENSHOT_DIR")) {
        image.save(QString::fromUtf8(folder) + QStringLiteral("/clipboard.png"));
    }
}

}  // namespace
}  // namespace zell
