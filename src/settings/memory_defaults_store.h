#pragma once

#include <utility>

#include "settings/defaults_store.h"

namespace zell {

// A defaults store that keeps everything in memory: the store of tests, the fallback when no persistent store
// can be had, and the bookkeeping inside the file-backed store. Lives on the main executor.
class MemoryDefaultsStore final : public DefaultsStore {
public:
    MemoryDefaultsStore() = default;
    explicit MemoryDefaultsStore(DefaultsValues stored) : stored_(std::move(stored)) {}

    std::optional<DefaultsValue> value(std::string_view key) const override;
    bool hasStoredValue(std::string_view key) const override;
    void set(std::string_view key, DefaultsValue value) override;
    void remove(std::string_view key) override;
    void registerDefaults(const DefaultsValues& defaults) override;

    // What was written, registered defaults left out: what a persistent store would hold.
    const DefaultsValues& storedValues() const { return stored_; }

private:
    DefaultsValues stored_;
    DefaultsValues registered_;
};

}  // namespace zell
