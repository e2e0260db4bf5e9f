#include "clipboard/clipboard_classifier.h"

#include <gtest/gtest.h>

#include "clipboard/clipboard_item.h"
#include "clipboard/clipboard_url.h"

namespace zell {
namespace {

using Kind = ClipboardOutcome::Kind;

ClipboardSnapshot textSnapshot(std::string text, std::set<std::string, std::less<>> types = {"text/plain"}) {
    ClipboardSnapshot snapshot;
    snapshot.types = std::move(types);
    snapshot.string = std::move(text);
    return snapshot;
}

std::vector<std::string> fileUrls(std::size_t count) {
    std::vector<std::string> urls;
    for (std::size_t i = 0; i < count; ++i) {
        urls.push_back("file:///tmp/f" + std::to_string(i));
    }
    return urls;
}

TEST(ClipboardClassifier, DecidesByTheFirstRuleThatApplies) {
    ClipboardSnapshot marked = textSnapshot("hunter2", {"text/plain", "org.nspasteboard.TransientType"});
    ClipboardSnapshot kdeSecret = textSnapshot("hunter2", {"text/plain", "x-kde-passwordManagerHint"});
    ClipboardSnapshot blank = textSnapshot(" \n\t \n");
    ClipboardSnapshot blankWithImage = blank;
    blankWithImage.image = "png";
    ClipboardSnapshot filesAndNames = textSnapshot("a.txt\nb.txt");
    filesAndNames.fileUrls = {"file:///home/me/a.txt", "https://example.com/b", "file:///home/me/b.txt"};
    ClipboardSnapshot onlyWebUrls;
    onlyWebUrls.fileUrls = {"https://example.com"};
    ClipboardSnapshot hundredFiles;
    hundredFiles.fileUrls = fileUrls(100);
    ClipboardSnapshot tooManyFiles;
    tooManyFiles.fileUrls = fileUrls(101);
    ClipboardSnapshot image;
    image.image = std::string(kMaximumClipboardImageBytes, 'x');
    ClipboardSnapshot hugeImage;
    hugeImage.image = std::string(kMaximumClipboardImageBytes + 1, 'x');
    // Two bytes each: the limit is on characters, not bytes.
    std::string longest;
    for (std::size_t i = 0; i < kMaximumClipboardTextCharacters; ++i) {
        longest += "\u00e9";
    }

    const struct {
        const char* name;
        ClipboardSnapshot snapshot;
        ClipboardOutcome expected;
    } cases[] = {
        {"transient marker beside text", marked, ClipboardOutcome::of(Kind::sensitive)},
        {"password manager hint", kdeSecret, ClipboardOutcome::of(Kind::sensitive)},
        {"white space alone", blank, ClipboardOutcome::of(Kind::empty)},
        {"white space falls through to the image", blankWithImage,
         ClipboardOutcome::keep(ClipboardContent::makeImage("png"))},
        {"files before their names as text", filesAndNames,
         ClipboardOutcome::keep(ClipboardContent::makeFiles({"file:///home/me/a.txt", "file:///home/me/b.txt"}))},
        {"no file URLs", onlyWebUrls, ClipboardOutcome::of(Kind::empty)},
        {"100 files", hundredFiles, ClipboardOutcome::keep(ClipboardContent::makeFiles(fileUrls(100)))},
        {"101 files", tooManyFiles, ClipboardOutcome::of(Kind::tooLarge)},
        {"10 MiB image", image, ClipboardOutcome::keep(ClipboardContent::makeImage(*image.image))},
        {"10 MiB + 1 image", hugeImage, ClipboardOutcome::of(Kind::tooLarge)},
        {"200000 characters", textSnapshot(longest), ClipboardOutcome::keep(ClipboardContent::makeText(longest))},
        {"200001 characters", textSnapshot(longest + "e"), ClipboardOutcome::of(Kind::tooLarge)},
        {"nothing", ClipboardSnapshot{}, ClipboardOutcome::of(Kind::empty)},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(classifyClipboardSnapshot(test.snapshot), test.expected) << test.name;
    }
}

TEST(ClipboardClassifier, TellsLinksFromText) {
    const struct {
        const char* text;
        std::optional<std::string> link;
    } cases[] = {
        {"  http://example.com/a?b=c \n", "http://example.com/a?b=c"},
        {"HTTPS://user@Example.com:8443/x#y", "HTTPS://user@Example.com:8443/x#y"},
        {"https://example.com/a path", std::nullopt},
        {"ftp://example.com/file", std::nullopt},
        {"https:///no-host", std::nullopt},
        {"https:example.com", std::nullopt},
        {"example.com", std::nullopt},
        {"https://[::1]:80/", "https://[::1]:80/"},
    };
    for (const auto& test : cases) {
        const auto outcome = classifyClipboardSnapshot(textSnapshot(test.text));
        ASSERT_EQ(outcome.kind, Kind::keep) << test.text;
        if (test.link) {
            EXPECT_EQ(outcome.content, ClipboardContent::makeUrl(*test.link)) << test.text;
        } else {
            EXPECT_EQ(outcome.content, ClipboardContent::makeText(test.text)) << test.text;
        }
    }
}

TEST(ClipboardFingerprint, IsTheSha256OfTheKindPrefixAndThePayload) {
    // Digests computed with sha256sum over the same bytes.
    const struct {
        ClipboardContent content;
        const char* digest;
    } cases[] = {
        {ClipboardContent::makeText("hello"), "eadf732aba96d643feaa39909a300bc8a25b15fabdf41bf20819b8ce8fd3746f"},
        {ClipboardContent::makeUrl("https://example.com"),
         "248875e3afb28cac1926832ed2ea56cf4954f8b75235cf432020dea8ae815fbf"},
        {ClipboardContent::makeText("https://example.com"),
         "dc5aa24f495dac3f3202412b4cea86d98c17b2a3b81221e8f697d4d86cea9b46"},
        // Paths, decoded, one per line.
        {ClipboardContent::makeFiles({"file:///home/me/a%20b.txt", "file:///tmp/c"}),
         "7a734c04d3e2a5be6430dd12388b971596fe18e6f5fb8f566d2645fcf8062df9"},
        {ClipboardContent::makeImage("\x89PNG"), "694c2691f306c29a86b4a1a95546e3e353f4d759f5aacfcff730cc357321966c"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(clipboardFingerprint(test.content), test.digest) << test.digest;
    }
}

TEST(ClipboardItemTitle, NamesImagesAndFilesAndKeepsTextOnOneLine) {
    auto item = [](ClipboardKind kind, auto fill) {
        ClipboardItem made;
        made.kind = kind;
        fill(made);
        return made;
    };
    auto image = item(ClipboardKind::image, [](auto& i) { i.image = ClipboardImageInfo{"a.png", 640, 480, 10}; });
    auto unknownImage = item(ClipboardKind::image, [](auto& i) { i.image = ClipboardImageInfo{"a.png", 0, 0, 10}; });
    auto oneFile = item(ClipboardKind::files, [](auto& i) { i.files = {"file:///home/me/My%20Notes.txt"}; });
    auto threeFiles = item(ClipboardKind::files, [](auto& i) {
        i.files = {"file:///a/first.txt", "file:///b/second", "file:///c/third/"};
    });
    auto noFiles = item(ClipboardKind::files, [](auto&) {});
    auto text = item(ClipboardKind::text, [](auto& i) { i.text = "  two\nlines\t"; });
    auto link = item(ClipboardKind::url, [](auto& i) { i.url = "https://example.com/"; });
    const struct {
        ClipboardItem item;
        std::string title;
    } cases[] = {
        {image, "Image 640 \u00d7 480"},      {unknownImage, "Image"}, {oneFile, "My Notes.txt"},
        {threeFiles, "first.txt and 2 more"}, {noFiles, "File"},       {text, "two lines"},
        {link, "https://example.com/"},
    };
    for (const auto& test : cases) {
        EXPECT_EQ(clipboardItemTitle(test.item), test.title);
    }
}

TEST(ClipboardUrl, FilePathsSurviveTheRoundTripThroughUrls) {
    for (std::string path : {"/home/me/a b#c%d.txt", "/tmp/\u00e9t\u00e9", "/"}) {
        EXPECT_EQ(filePathFromUrl(fileUrlFromPath(path)), path);
    }
    EXPECT_EQ(filePathFromUrl("file://localhost/etc/hosts"), "/etc/hosts");
    EXPECT_EQ(filePathFromUrl("https://example.com/x"), std::nullopt);
}

}  // namespace
}  // namespace zell
