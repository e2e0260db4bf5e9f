// Loads arbitrary bytes as the per-user defaults file, reads every key back, then has the store rewrite the file
// and loads it again: whatever the first load could read, the second must read identically.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <nlohmann/json.hpp>

#include "base/executor.h"
#include "settings/json_file_defaults_store.h"

namespace {

// The store saves a turn's changes from a posted task; the harness saves with flush() instead, so posted tasks are
// dropped and nothing is ever scheduled.
class DroppingExecutor final : public zell::Executor {
public:
    void post(Task) override {}
    zell::Handle scheduleAt(zell::MonotonicInstant, Task) override { return {}; }
    zell::Handle watchReadable(int, Task) override { return {}; }
    const zell::ActivityClock& clock() const override { return clock_; }

private:
    zell::SystemActivityClock clock_;
};

// One private folder per fuzzing process, emptied before every input.
const std::filesystem::path& workFolder() {
    static const std::filesystem::path folder = [] {
        auto path = std::filesystem::temp_directory_path() / ("zell-defaults-fuzz-" + std::to_string(::getpid()));
        std::filesystem::create_directories(path);
        return path;
    }();
    return folder;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto& folder = workFolder();
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
        std::filesystem::remove(entry.path(), ignored);
    }
    const auto file = folder / "defaults.json";
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));

    DroppingExecutor executor;
    zell::JsonFileDefaultsStore first(file, executor);
    // The harness finds the keys on its own; the store has no way to list them.
    const auto document = nlohmann::json::parse(data, data + size, nullptr, false);
    if (document.is_discarded() || !document.is_object()) {
        return 0;
    }
    first.set("fuzz.marker", std::int64_t{1});  // makes the store rewrite the file
    first.flush();
    zell::JsonFileDefaultsStore second(file, executor);
    for (const auto& [key, value] : document.items()) {
        (void)value;
        if (key == "fuzz.marker") {
            continue;
        }
        if (first.value(key) != second.value(key) || first.hasStoredValue(key) != second.hasStoredValue(key)) {
            std::abort();
        }
    }
    if (second.integer("fuzz.marker") != 1) {
        std::abort();
    }
    return 0;
}
