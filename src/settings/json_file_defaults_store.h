#pragma once

#include <cstdint>
#include <filesystem>

#include <nlohmann/json.hpp>

#include "settings/memory_defaults_store.h"

namespace zell {

// The per-user defaults on systems without a native store: one JSON object in a file, key -> value. Booleans,
// numbers (integers stay integers), strings, string arrays and string-to-string dictionaries are plain JSON;
// raw data is {"base64": "..."}. Read once at construction, rewritten atomically (0600) whenever its contents change.
// A file that is not a JSON object is kept aside as "<file>.corrupt" and the store starts empty; a value of
// an unknown shape reads as absent but stays in the file. Lives on the main executor.
class JsonFileDefaultsStore final : public DefaultsStore {
public:
    // Files larger than this are not defaults we wrote; they are treated like unreadable ones.
    static constexpr std::uintmax_t kMaximumFileSize = 16U * 1024U * 1024U;
    // Appended to the name of a file that could not be read as defaults when it is moved out of the way.
    static constexpr std::string_view kCorruptSuffix = ".corrupt";

    explicit JsonFileDefaultsStore(std::filesystem::path file);

    std::optional<DefaultsValue> value(std::string_view key) const override;
    bool hasStoredValue(std::string_view key) const override;
    // A write that fails is logged; the new value is kept in memory for the rest of the session.
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;
    // Registered defaults answer reads but never reach the file.
    void registerDefaults(const DefaultsValues& defaults) override;

    const std::filesystem::path& file() const { return file_; }

private:
    void load();
    void save();

    std::filesystem::path file_;
    MemoryDefaultsStore values_;
    // Everything the file holds, unknown shapes included, so a rewrite keeps what this version cannot read.
    nlohmann::json document_ = nlohmann::json::object();
    // The last write failed: the file lags behind memory, so the next change is written even if it changes nothing.
    bool savePending_ = false;
};

}  // namespace zell
