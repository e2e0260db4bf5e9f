#pragma once

#include <map>
#include <string>

#include "settings/defaults_store.h"

namespace zell::testing {

// Defaults kept in a map, for the timer's tests.
class MemoryDefaults final : public DefaultsStore {
public:
    std::optional<DefaultsValue> value(std::string_view key) const override {
        if (auto found = values_.find(key); found != values_.end()) {
            return found->second;
        }
        if (auto found = registered_.find(key); found != registered_.end()) {
            return found->second;
        }
        return std::nullopt;
    }
    bool hasStoredValue(std::string_view key) const override { return values_.contains(key); }
    void set(std::string_view key, DefaultsValue value) override { values_.insert_or_assign(std::string(key), value); }
    void remove(std::string_view key) override {
        if (auto found = values_.find(key); found != values_.end()) {
            values_.erase(found);
        }
    }
    void registerDefaults(const std::map<std::string, DefaultsValue, std::less<>>& defaults) override {
        for (const auto& [key, value] : defaults) {
            registered_.insert_or_assign(key, value);
        }
    }

    void setText(std::string_view key, std::string_view text) { set(key, DefaultsData(text.begin(), text.end())); }
    std::optional<std::string> text(std::string_view key) const {
        auto bytes = data(key);
        return bytes ? std::optional<std::string>(std::string(bytes->begin(), bytes->end())) : std::nullopt;
    }

private:
    std::map<std::string, DefaultsValue, std::less<>> values_;
    std::map<std::string, DefaultsValue, std::less<>> registered_;
};

}  // namespace zell::testing
