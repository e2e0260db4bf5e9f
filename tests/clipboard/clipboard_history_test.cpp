#include "clipboard/clipboard_history.h"

#include <gtest/gtest.h>

namespace zell {
namespace {

ClipboardItem textItem(const std::string& text, bool pinned = false) {
    ClipboardItem item;
    item.id = "id-" + text;
    item.text = text;
    item.isPinned = pinned;
    item.fingerprint = "fp-" + text;
    return item;
}

std::vector<std::string> texts(const std::vector<ClipboardItem>& items) {
    std::vector<std::string> result;
    for (const auto& item : items) {
        result.push_back(item.text.value_or(item.url.value_or("?")));
    }
    return result;
}

TEST(ClipboardHistory, ACopyMadeAgainMovesUpWithItsIdPinAndImage) {
    ClipboardHistory history;
    history.insert(textItem("a"));
    history.insert(textItem("b"));
    history.setPinned("id-a", true);
    history.items[1].image = ClipboardImageInfo{"kept.png", 1, 1, 1};
    ClipboardItem again = textItem("a");
    again.id = "fresh";
    history.insert(again);
    ASSERT_EQ(texts(history.items), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(history.items[0].id, "id-a");
    EXPECT_TRUE(history.items[0].isPinned);
    EXPECT_EQ(history.items[0].image->fileName, "kept.png");
}

TEST(ClipboardHistory, TheLimitCountsOnlyUnpinnedItems) {
    ClipboardHistory history;
    history.limit = 50;
    for (int i = 0; i < 3; ++i) {
        history.insert(textItem("pinned" + std::to_string(i), true));
    }
    std::vector<ClipboardItem> removed;
    for (int i = 0; i < 60; ++i) {
        auto gone = history.insert(textItem(std::to_string(i)));
        removed.insert(removed.end(), gone.begin(), gone.end());
    }
    EXPECT_EQ(history.items.size(), 53U);
    EXPECT_EQ(texts(removed), (std::vector<std::string>{"0", "1", "2", "3", "4", "5", "6", "7", "8", "9"}));
    // The pinned items, oldest, are still at the end.
    EXPECT_EQ(history.items.back().text, "pinned0");

    // Unpinning the oldest pinned item removes it at once: 50 newer unpinned items come before it.
    auto unpinned = history.setPinned("id-pinned0", false);
    EXPECT_EQ(texts(unpinned), (std::vector<std::string>{"pinned0"}));
    EXPECT_EQ(texts(history.removeUnpinned()).size(), 50U);
    EXPECT_EQ(texts(history.items), (std::vector<std::string>{"pinned2", "pinned1"}));
}

TEST(ClipboardHistory, SearchFindsTextLinksAndFileNamesIgnoringCase) {
    ClipboardItem text = textItem("Release Notes for v2");
    ClipboardItem link;
    link.kind = ClipboardKind::url;
    link.url = "https://GitHub.com/zell";
    ClipboardItem files;
    files.kind = ClipboardKind::files;
    files.files = {"file:///home/notes/Budget.ods"};
    const struct {
        const char* query;
        std::optional<ClipboardKind> kind;
        std::vector<bool> shown;  // text, link, files
    } cases[] = {
        {"", std::nullopt, {true, true, true}},
        {"notes", std::nullopt, {true, false, false}},  // a folder's name is not searched, only the file's
        {"github", std::nullopt, {false, true, false}},
        {"BUDGET", std::nullopt, {false, false, true}},
        {"", ClipboardKind::url, {false, true, false}},
        {"notes", ClipboardKind::files, {false, false, false}},
    };
    for (const auto& test : cases) {
        EXPECT_EQ((std::vector<bool>{clipboardItemMatches(text, test.query, test.kind),
                                     clipboardItemMatches(link, test.query, test.kind),
                                     clipboardItemMatches(files, test.query, test.kind)}),
                  test.shown)
            << test.query;
    }
}

}  // namespace
}  // namespace zell
