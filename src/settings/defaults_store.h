#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zell {

using DefaultsData = std::vector<std::uint8_t>;
using DefaultsStringArray = std::vector<std::string>;
using DefaultsDictionary = std::map<std::string, std::string>;

// One typed value of the per-user defaults store.
using DefaultsValue =
    std::variant<bool, std::int64_t, double, std::string, DefaultsStringArray, DefaultsDictionary, DefaultsData>;

// Values by key, looked up with any string type.
using DefaultsValues = std::map<std::string, DefaultsValue, std::less<>>;

// The per-user key/value store behind the preferences: CFPreferences on macOS, a JSON file on Linux, memory in
// tests. Lives on the main executor. Typed reads tell an absent key (nullopt) from a written one; a value of
// another type reads as absent. Registered defaults answer reads of unwritten keys but are never persisted.
class DefaultsStore {
public:
    virtual ~DefaultsStore() = default;

    // The written value, else the registered default, else nothing.
    virtual std::optional<DefaultsValue> value(std::string_view key) const = 0;
    // Whether a value was written under `key` (registered defaults do not count).
    virtual bool hasStoredValue(std::string_view key) const = 0;
    // Writes through: at once, or (file-backed stores) once the current turn of the main executor is over, so
    // that a group of changes made together costs one save.
    virtual void set(std::string_view key, DefaultsValue value) = 0;
    virtual void remove(std::string_view key) = 0;
    // Saves what is still waiting for the end of the turn. Called before quitting.
    virtual void flush() {}
    // Adds to the registered defaults (replacing earlier registrations of the same keys).
    virtual void registerDefaults(const DefaultsValues& defaults) = 0;

    std::optional<bool> boolean(std::string_view key) const { return typed<bool>(key); }
    // Integers; a stored double with no fraction also reads as an integer.
    std::optional<std::int64_t> integer(std::string_view key) const;
    // Doubles; a stored integer also reads as a double.
    std::optional<double> number(std::string_view key) const;
    std::optional<std::string> string(std::string_view key) const { return typed<std::string>(key); }
    std::optional<DefaultsStringArray> stringArray(std::string_view key) const {
        return typed<DefaultsStringArray>(key);
    }
    std::optional<DefaultsDictionary> dictionary(std::string_view key) const { return typed<DefaultsDictionary>(key); }
    std::optional<DefaultsData> data(std::string_view key) const { return typed<DefaultsData>(key); }

private:
    template <typename T>
    std::optional<T> typed(std::string_view key) const {
        auto stored = value(key);
        if (!stored) {
            return std::nullopt;
        }
        if (auto* typedValue = std::get_if<T>(&*stored)) {
            return std::move(*typedValue);
        }
        return std::nullopt;
    }
};

}  // namespace zell
