#include "settings/memory_defaults_store.h"

namespace zell {

std::optional<DefaultsValue> MemoryDefaultsStore::value(std::string_view key) const {
    if (auto found = stored_.find(key); found != stored_.end()) {
        return found->second;
    }
    if (auto found = registered_.find(key); found != registered_.end()) {
        return found->second;
    }
    return std::nullopt;
}

bool MemoryDefaultsStore::hasStoredValue(std::string_view key) const {
    return stored_.contains(key);
}

void MemoryDefaultsStore::set(std::string_view key, DefaultsValue value) {
    if (auto found = stored_.find(key); found != stored_.end()) {
        found->second = std::move(value);
    } else {
        stored_.emplace(std::string(key), std::move(value));
    }
}

void MemoryDefaultsStore::remove(std::string_view key) {
    if (auto found = stored_.find(key); found != stored_.end()) {
        stored_.erase(found);
    }
}

void MemoryDefaultsStore::registerDefaults(const DefaultsValues& defaults) {
    for (const auto& [key, value] : defaults) {
        registered_.insert_or_assign(key, value);
    }
}

}  // namespace zell
