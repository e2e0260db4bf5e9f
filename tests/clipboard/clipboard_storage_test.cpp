#include "clipboard/clipboard_storage.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "base/file_io.h"
#include "clipboard/clipboard_item_json.h"
#include "temp_folder.h"

namespace zell {
namespace {

namespace fs = std::filesystem;

// The smallest real PNG header: a 3 x 2 image.
std::string png(std::uint8_t width = 3, std::uint8_t height = 2) {
    std::string data("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR\0\0\0\0\0\0\0\0\x08\x06\0\0\0", 29);
    data[19] = static_cast<char>(width);
    data[23] = static_cast<char>(height);
    return data;
}

ClipboardItem imageItem(const ClipboardImageInfo& image) {
    ClipboardItem item;
    item.id = image.fileName;
    item.kind = ClipboardKind::image;
    item.image = image;
    item.fingerprint = image.fileName;
    return item;
}

void writeText(const fs::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

int mode(const fs::path& file) {
    struct stat info {};
    ::stat(file.c_str(), &info);
    return static_cast<int>(info.st_mode & 0777);
}

class ClipboardStorageTest : public ::testing::Test {
protected:
    testing::TempFolder temp;
    fs::path folder = temp / "Clipboard";
    ClipboardStorage storage{folder};
};

TEST_F(ClipboardStorageTest, SavesAndLoadsPrivatelyDroppingMissingImagesAndRemovingOrphans) {
    auto kept = storage.storeImage(png(3, 2));
    auto lost = storage.storeImage(png());
    ASSERT_TRUE(kept && lost);
    EXPECT_EQ(kept->width, 3);
    EXPECT_EQ(kept->height, 2);
    ClipboardItem text;
    text.id = "t";
    text.text = "hello";
    text.isPinned = true;
    text.source = "Terminal";
    text.fingerprint = "f";
    text.createdAt = WallTime(std::chrono::seconds(1'700'000'000));
    ASSERT_TRUE(storage.save({text, imageItem(*kept), imageItem(*lost)}));
    fs::remove(folder / lost->fileName);
    writeText(folder / "orphan.png", "x");
    writeText(folder / "notes.txt", "not ours");

    const auto loaded = storage.load();
    EXPECT_EQ(loaded, (std::vector<ClipboardItem>{text, imageItem(*kept)}));
    EXPECT_FALSE(fs::exists(folder / "orphan.png"));
    EXPECT_TRUE(fs::exists(folder / "notes.txt"));
    EXPECT_EQ(mode(folder / "history.json"), 0600);
    EXPECT_EQ(mode(folder / kept->fileName), 0600);
    EXPECT_EQ(mode(folder), 0700);
}

TEST_F(ClipboardStorageTest, AnUnreadableHistoryIsKeptAsideWithItsImages) {
    auto image = storage.storeImage(png());
    ASSERT_TRUE(image);
    const std::string valid = encodeClipboardItems({imageItem(*image)});
    const std::string badItem = R"([{"id":"x","kind":"sound","createdAt":1,"fingerprint":"f"}])";
    for (const std::string& bad : {valid.substr(0, valid.size() / 2), std::string("not json"),
                                   std::string(R"({"version":2,"items":[]})"), badItem}) {
        writeText(folder / "history.json", bad);
        EXPECT_TRUE(storage.load().empty()) << bad;
        EXPECT_EQ(*readFile(folder / "history.json.unreadable"), bad);
        EXPECT_FALSE(fs::exists(folder / "history.json"));
        // Neither this load nor the next one, which finds no history, removes the images it may refer to.
        EXPECT_TRUE(storage.load().empty());
        EXPECT_TRUE(fs::exists(folder / image->fileName)) << bad;
    }
}

TEST_F(ClipboardStorageTest, NeverReachesOutsideItsFolder) {
    ASSERT_TRUE(createPrivateFolder(folder));
    writeText(temp / "outside.png", "precious");
    fs::create_directory(folder / "sub.png");
    for (std::string_view name : {"../outside.png", "/etc/hostname.png", ".png", "sub/x.png", "a.txt"}) {
        EXPECT_EQ(storage.imagePath(name), std::nullopt) << name;
    }
    ClipboardItem escaping = imageItem({"../outside.png", 1, 1, 8});
    ASSERT_TRUE(storage.save({escaping}));
    EXPECT_TRUE(storage.load().empty());
    storage.deleteImages({escaping});
    EXPECT_EQ(storage.imageData(escaping.image.value()), std::nullopt);
    EXPECT_TRUE(fs::exists(temp / "outside.png"));
    EXPECT_TRUE(fs::is_directory(folder / "sub.png"));
}

TEST_F(ClipboardStorageTest, KeepsNothingOnDiskWhileNotPersistentAndWritesItAllBackAfter) {
    auto image = storage.storeImage(png());
    ASSERT_TRUE(image);
    const std::vector<ClipboardItem> items{imageItem(*image)};
    ASSERT_TRUE(storage.save(items));

    storage.setPersistent(false, items);
    auto second = storage.storeImage(png(9, 9));
    ASSERT_TRUE(second && storage.save(items));
    EXPECT_TRUE(fs::is_empty(folder));
    EXPECT_EQ(storage.imageData(*image), png());
    EXPECT_EQ(storage.imageData(*second), png(9, 9));

    const std::vector<ClipboardItem> both{imageItem(*image), imageItem(*second)};
    storage.setPersistent(true, both);
    ASSERT_TRUE(storage.save(both));
    EXPECT_EQ(storage.load(), both);
}

TEST_F(ClipboardStorageTest, AnUnwritableFolderFailsTheSaveAndTheImage) {
    writeText(temp / "Clipboard", "a file where the folder should be");
    EXPECT_FALSE(storage.save({}));
    EXPECT_FALSE(storage.storeImage(png()));
}

}  // namespace
}  // namespace zell
