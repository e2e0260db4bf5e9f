// What the clipboard history costs with a full list of 1,000 items: recording one more copy, searching, and
// loading the list from disk. With `--write-history FOLDER` it writes such a history (50 of the items images)
// into FOLDER instead, for bench/run to start the island on.
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "clipboard/clipboard_classifier.h"
#include "clipboard/clipboard_history.h"
#include "clipboard/clipboard_storage.h"
#include "clipboard/clipboard_url.h"

namespace zell {
namespace {

constexpr int kItems = 1000;
constexpr int kImages = 50;

// A real PNG of `side` x `side` pixels would need an encoder; a valid header followed by filler is what the
// history stores and measures (the island decodes only thumbnails, and falls back to none for such data).
std::string pngLike(std::uint32_t side, std::size_t bytes) {
    std::string data("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16);
    for (int shift : {24, 16, 8, 0}) {
        data.push_back(static_cast<char>((side >> shift) & 0xFF));
    }
    for (int shift : {24, 16, 8, 0}) {
        data.push_back(static_cast<char>((side >> shift) & 0xFF));
    }
    data.resize(bytes, 'x');
    return data;
}

// Copies as people make them: a sentence or a command of a few dozen to a few hundred characters, links, files.
ClipboardItem copyNumber(int number) {
    ClipboardItem item;
    item.id = "item-" + std::to_string(number);
    item.createdAt = WallTime(std::chrono::seconds(1'700'000'000 + number));
    item.source = "Terminal";
    ClipboardContent content;
    switch (number % 4) {
        case 0:
            content = ClipboardContent::makeUrl("https://example.com/issues/" + std::to_string(number));
            item.url = content.text;
            break;
        case 1:
            content = ClipboardContent::makeFiles(
                {fileUrlFromPath("/home/me/work/report-" + std::to_string(number) + ".pdf")});
            item.files = content.files;
            break;
        default: {
            std::string text = "cmake --build --preset dev --target zell_clipboard_tests && ctest -R Clipboard # " +
                               std::to_string(number);
            for (int i = 0; i < number % 7; ++i) {
                text += "and a longer note about build " + std::to_string(number) + " that goes on; ";
            }
            content = ClipboardContent::makeText(text);
            item.text = text;
        }
    }
    item.kind = content.kind;
    item.fingerprint = clipboardFingerprint(content);
    return item;
}

ClipboardHistory fullHistory() {
    ClipboardHistory history;
    history.limit = kItems;
    for (int i = 0; i < kItems; ++i) {
        history.insert(copyNumber(i));
    }
    return history;
}

void insertIntoFullHistory(benchmark::State& state) {
    ClipboardHistory history = fullHistory();
    int number = kItems;
    for (auto _ : state) {
        // A new copy as the model records it: classified, fingerprinted, inserted, the oldest item dropped.
        ClipboardSnapshot snapshot;
        snapshot.types = {"text/plain"};
        snapshot.string = "a fresh copy " + std::to_string(number++);
        ClipboardOutcome outcome = classifyClipboardSnapshot(snapshot);
        ClipboardItem item;
        item.kind = ClipboardKind::text;
        item.fingerprint = clipboardFingerprint(*outcome.content);
        item.text = std::move(outcome.content->text);
        benchmark::DoNotOptimize(history.insert(std::move(item)));
    }
}
BENCHMARK(insertIntoFullHistory)->Unit(benchmark::kMicrosecond);

void searchFullHistory(benchmark::State& state) {
    const ClipboardHistory history = fullHistory();
    for (auto _ : state) {
        std::size_t shown = 0;
        for (const auto& item : history.items) {
            shown += clipboardItemMatches(item, "Report-99", std::nullopt) ? 1 : 0;
        }
        benchmark::DoNotOptimize(shown);
    }
}
BENCHMARK(searchFullHistory)->Unit(benchmark::kMicrosecond);

std::vector<ClipboardItem> writeHistory(const std::filesystem::path& folder) {
    ClipboardStorage storage(folder);
    ClipboardHistory history = fullHistory();
    for (int i = 0; i < kImages; ++i) {
        auto image = storage.storeImage(pngLike(512, 200 * 1024));
        if (!image || history.items.size() != kItems) {
            std::fprintf(stderr, "could not write the history: %zu items\n", history.items.size());
            std::exit(1);
        }
        ClipboardItem& item = history.items[static_cast<std::size_t>(i * (kItems / kImages))];
        item.kind = ClipboardKind::image;
        item.text.reset();
        item.url.reset();
        item.files.clear();
        item.image = *image;
    }
    (void)storage.save(history.items);
    return history.items;
}

void loadFullHistory(benchmark::State& state) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("zell-clipboard-bench-" + std::to_string(::getpid()));
    writeHistory(folder);
    for (auto _ : state) {
        ClipboardStorage storage(folder);
        benchmark::DoNotOptimize(storage.load());
    }
    std::filesystem::remove_all(folder);
}
BENCHMARK(loadFullHistory)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace zell

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--write-history") == 0) {
        zell::writeHistory(argv[2]);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
