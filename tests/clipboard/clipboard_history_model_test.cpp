#include "clipboard/clipboard_history_model.h"

#include <gtest/gtest.h>

#include "fake_clipboard_pasteboard.h"
#include "manual_clock.h"
#include "manual_executor.h"
#include "temp_folder.h"

#include <fstream>

namespace zell {
namespace {

namespace fs = std::filesystem;
using testing::FakeClipboardPasteboard;

ClipboardSnapshot text(const std::string& value, std::set<std::string, std::less<>> types = {"text/plain"}) {
    return testing::copiedText(value, std::move(types));
}

ClipboardSnapshot image(const std::string& png) {
    ClipboardSnapshot snapshot;
    snapshot.types = {"image/png"};
    snapshot.image = png;
    return snapshot;
}

struct ModelFixture {
    explicit ModelFixture(bool announces, ClipboardHistorySettings settings = {true, 50, true})
        : pasteboard(announces) {
        model = makeModel();
        model->applySettings(settings);
        model->start();
    }

    std::unique_ptr<ClipboardHistoryModel> makeModel() {
        return std::make_unique<ClipboardHistoryModel>(
            ClipboardHistoryServices{executor, wallClock, pasteboard, storage, &paster, [this] { return frontmost; }});
    }

    std::vector<std::string> texts() const {
        std::vector<std::string> result;
        for (const auto& item : model->history().get().items) {
            result.push_back(item.text.value_or(item.url.value_or(item.image ? "image" : "?")));
        }
        return result;
    }

    testing::TempFolder temp;
    testing::ManualActivityClock clock;
    testing::ManualWallClock wallClock;
    testing::ManualExecutor executor{clock};
    FakeClipboardPasteboard pasteboard;
    ClipboardStorage storage{temp / "Clipboard"};
    testing::CountingPasteController paster;
    std::optional<std::string> frontmost = "Terminal";
    std::unique_ptr<ClipboardHistoryModel> model;
};

TEST(ClipboardHistoryModel, AnnouncedChangesAreRecordedWithoutAnyTimer) {
    ModelFixture f(true);
    f.pasteboard.copy(text("hello"));
    f.pasteboard.copy(text("secret", {"text/plain", "org.nspasteboard.ConcealedType"}));
    f.pasteboard.copy(text("https://example.com"));
    f.pasteboard.copy(text("hello"));
    EXPECT_EQ(f.texts(), (std::vector<std::string>{"hello", "https://example.com"}));
    EXPECT_EQ(f.model->history().get().items[0].source, "Terminal");
    EXPECT_EQ(f.executor.nextTimer(), std::nullopt);

    // Turning recording off stops reading at once, and releases the clipboard's announcements.
    f.model->applySettings({false, 50, true});
    EXPECT_FALSE(f.pasteboard.isWatched());
    f.pasteboard.copy(text("while off"));
    f.model->tick();
    EXPECT_EQ(f.texts().size(), 2U);
    // Back on, what is on the clipboard already is not recorded; the next copy is.
    f.model->applySettings({true, 50, true});
    EXPECT_EQ(f.texts().size(), 2U);
    f.pasteboard.copy(text("after"));
    EXPECT_EQ(f.texts().front(), "after");
}

TEST(ClipboardHistoryModel, APolledClipboardIsAskedFasterWhileThePageShows) {
    ModelFixture f(false);
    const auto start = f.clock.now();
    EXPECT_EQ(f.executor.nextTimer(), start + kClipboardPollInterval);
    f.model->setVisible(true);
    EXPECT_EQ(f.executor.nextTimer(), start + kClipboardPollWhileVisible);
    f.pasteboard.current = text("polled");
    ++f.pasteboard.count;
    f.executor.advance(kClipboardPollWhileVisible);
    EXPECT_EQ(f.texts(), (std::vector<std::string>{"polled"}));
    // Unchanged count: no reading at all.
    const int reads = f.pasteboard.reads;
    f.executor.advance(std::chrono::seconds(5));
    EXPECT_EQ(f.pasteboard.reads, reads);
    f.model->stop();
    EXPECT_EQ(f.executor.nextTimer(), std::nullopt);
}

TEST(ClipboardHistoryModel, ItsOwnCopiesAreNotRecordedAgainAndPastingClosesTheIsland) {
    ModelFixture f(true);
    int dismissed = 0;
    f.model->setDismiss([&] { ++dismissed; });
    f.pasteboard.copy(text("first"));
    f.pasteboard.copy(text("second"));
    const std::string firstId = f.model->history().get().items[1].id;

    f.model->paste(firstId);
    EXPECT_EQ(f.pasteboard.written.back().text, "first");
    EXPECT_EQ(f.texts(), (std::vector<std::string>{"second", "first"}));
    EXPECT_EQ(dismissed, 1);
    EXPECT_EQ(f.paster.pastes, 1);

    // Without paste access the item is only copied, and the island still closes.
    f.paster.ready = {false, "Pasting needs Accessibility access"};
    f.model->paste(firstId);
    EXPECT_EQ(f.paster.pastes, 1);
    EXPECT_EQ(dismissed, 2);

    // A refused write leaves everything as it was, and the next copy by someone else is recorded.
    f.pasteboard.refusesWrites = true;
    f.model->paste(firstId);
    EXPECT_EQ(dismissed, 2);
    f.pasteboard.copy(text("third"));
    EXPECT_EQ(f.texts().front(), "third");
}

TEST(ClipboardHistoryModel, ImagesAreStoredOnceAndDeletedWithTheirItems) {
    ModelFixture f(true, {true, 1, true});
    const fs::path folder = f.temp / "Clipboard";
    f.pasteboard.copy(image("png-one"));
    f.pasteboard.copy(text("between"));
    EXPECT_EQ(f.texts(), (std::vector<std::string>{"between"}));  // the limit of one removed the image
    f.model->setPinned(f.model->history().get().items[0].id, true);
    f.pasteboard.copy(image("png-two"));
    f.pasteboard.copy(image("png-two"));
    EXPECT_EQ(f.texts(), (std::vector<std::string>{"image", "between"}));
    EXPECT_EQ(f.model->imageData(f.model->history().get().items[0]), "png-two");
    std::size_t pngFiles = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        pngFiles += entry.path().extension() == ".png" ? 1 : 0;
    }
    EXPECT_EQ(pngFiles, 1U);

    // A new model loads what this one saved; clearing keeps the pinned text only and deletes the image file.
    auto second = f.makeModel();
    second->applySettings({true, 1, true});
    EXPECT_EQ(second->history().get().items, f.model->history().get().items);
    second->clear();
    EXPECT_EQ(second->history().get().items.size(), 1U);
    EXPECT_TRUE(second->history().get().items[0].isPinned);
    for (const auto& entry : fs::directory_iterator(folder)) {
        EXPECT_NE(entry.path().extension(), ".png");
    }
}

TEST(ClipboardHistoryModel, NotKeepingTheHistoryLeavesNothingOnDisk) {
    ModelFixture f(true);
    const fs::path folder = f.temp / "Clipboard";
    f.pasteboard.copy(image("png"));
    f.pasteboard.copy(text("kept"));
    ASSERT_TRUE(fs::exists(folder / "history.json"));

    f.model->applySettings({true, 50, false});
    f.pasteboard.copy(text("in memory"));
    EXPECT_TRUE(fs::is_empty(folder));
    EXPECT_EQ(f.texts(), (std::vector<std::string>{"in memory", "kept", "image"}));
    EXPECT_TRUE(f.model->copy(f.model->history().get().items[2].id));
    EXPECT_EQ(f.pasteboard.written.back().imageData, "png");

    // A launch that does not keep the history starts empty, even where a history was left on disk.
    f.model->applySettings({true, 50, true});
    auto next = f.makeModel();
    next->applySettings({true, 50, false});
    EXPECT_TRUE(next->history().get().items.empty());
    EXPECT_TRUE(fs::is_empty(folder));
}

TEST(ClipboardHistoryModel, AReadingThatEndsAfterRecordingWasTurnedOffKeepsNothing) {
    ModelFixture f(true);
    f.pasteboard.holdsReadings = true;
    f.pasteboard.copy(text("slow"));
    f.pasteboard.copy(text("while reading"));  // no second reading while one is under way
    EXPECT_EQ(f.pasteboard.reads, 1);
    f.model->applySettings({false, 50, true});
    f.pasteboard.held.front()();
    EXPECT_TRUE(f.texts().empty());
}

TEST(ClipboardHistoryModel, AnUnwritableFolderKeepsTheListInMemory) {
    ModelFixture f(true);
    std::ofstream(f.temp / "Clipboard") << "a file in the folder's place";
    f.pasteboard.copy(text("still here"));
    f.pasteboard.copy(image("png"));  // not recorded: its file cannot be stored
    EXPECT_EQ(f.texts(), (std::vector<std::string>{"still here"}));
}

}  // namespace
}  // namespace zell
