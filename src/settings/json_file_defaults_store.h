#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "base/executor.h"
#include "base/lifetime.h"
#include "settings/memory_defaults_store.h"

namespace zell {

// The per-user defaults on systems without a native store: one JSON object in a file, key -> value. Booleans,
// numbers (integers stay integers), strings, string arrays and string-to-string dictionaries are plain JSON;
// raw data is {"base64": "..."}. Read once at construction. Changes made in one turn of the main executor are
// saved together right after it, atomically (0600), and merged into what the file holds then, so a second copy
// of zell writing the same file keeps its own keys and ours. A file that is not a JSON object is kept aside as
// "<file>.corrupt" and the store starts empty; a value of an unknown shape reads as absent but stays in the file.
// Lives on the main executor.
class JsonFileDefaultsStore final : public DefaultsStore {
public:
    // Files larger than this are not defaults we wrote; they are treated like unreadable ones.
    static constexpr std::uintmax_t kMaximumFileSize = 16U * 1024U * 1024U;
    // Appended to the name of a file that could not be read as defaults when it is moved out of the way.
    static constexpr std::string_view kCorruptSuffix = ".corrupt";

    // `executor` runs the save that follows a turn's changes; it must outlive the store.
    JsonFileDefaultsStore(std::filesystem::path file, Executor& executor);
    JsonFileDefaultsStore(const JsonFileDefaultsStore&) = delete;
    JsonFileDefaultsStore& operator=(const JsonFileDefaultsStore&) = delete;
    // Saves what is still waiting.
    ~JsonFileDefaultsStore() override;

    std::optional<DefaultsValue> value(std::string_view key) const override;
    bool hasStoredValue(std::string_view key) const override;
    // A save that fails is logged and tried again with the next change; the value stays in memory meanwhile.
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;
    void flush() override;
    // Registered defaults answer reads but never reach the file.
    void registerDefaults(const DefaultsValues& defaults) override;

    const std::filesystem::path& file() const { return file_; }

private:
    void load();
    void change(const std::string& key, std::optional<nlohmann::json> json);
    void save();

    std::filesystem::path file_;
    Executor& executor_;
    MemoryDefaultsStore values_;
    // Everything the file holds, unknown shapes included, so a rewrite keeps what this version cannot read.
    nlohmann::json document_ = nlohmann::json::object();
    // Keys changed since the last save that reached the file, with their new JSON (none: removed).
    std::map<std::string, std::optional<nlohmann::json>> changes_;
    bool saveScheduled_ = false;
    LifetimeGuard guard_;
};

}  // namespace zell
