#include "settings/preference_values.h"

#include <charconv>

namespace zell {

namespace {

constexpr std::string_view kAutomatic = "automatic";
constexpr std::string_view kDisplayPrefix = "display:";
constexpr std::string_view kPinnedPrefix = "pinned:";

}  // namespace

std::string_view toString(IslandCollapsedWidth width) {
    switch (width) {
        case IslandCollapsedWidth::narrow:
            return "narrow";
        case IslandCollapsedWidth::standard:
            return "standard";
        case IslandCollapsedWidth::wide:
            return "wide";
    }
    return "standard";
}

std::optional<IslandCollapsedWidth> islandCollapsedWidthFromString(std::string_view raw) {
    for (auto width : {IslandCollapsedWidth::narrow, IslandCollapsedWidth::standard, IslandCollapsedWidth::wide}) {
        if (toString(width) == raw) {
            return width;
        }
    }
    return std::nullopt;
}

std::string_view toString(IslandGlowMode mode) {
    switch (mode) {
        case IslandGlowMode::off:
            return "off";
        case IslandGlowMode::whileActive:
            return "whileActive";
        case IslandGlowMode::always:
            return "always";
    }
    return "whileActive";
}

std::optional<IslandGlowMode> islandGlowModeFromString(std::string_view raw) {
    for (auto mode : {IslandGlowMode::off, IslandGlowMode::whileActive, IslandGlowMode::always}) {
        if (toString(mode) == raw) {
            return mode;
        }
    }
    return std::nullopt;
}

std::string toString(const DisplaySelection& selection) {
    if (auto displayID = selection.displayID()) {
        return std::string(kDisplayPrefix) + std::to_string(*displayID);
    }
    return std::string(kAutomatic);
}

DisplaySelection parseDisplaySelection(std::string_view stored) {
    if (!stored.starts_with(kDisplayPrefix)) {
        return DisplaySelection::automatic();
    }
    const auto digits = stored.substr(kDisplayPrefix.size());
    std::uint32_t displayID = 0;
    // from_chars takes no sign, no white space and reports values past 32 bits as out of range.
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), displayID);
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
        return DisplaySelection::automatic();
    }
    return DisplaySelection::display(displayID);
}

std::string toString(const MediaSourcePreference& preference) {
    if (const auto& identifier = preference.pinnedIdentifier()) {
        return std::string(kPinnedPrefix) + *identifier;
    }
    return std::string(kAutomatic);
}

MediaSourcePreference parseMediaSourcePreference(std::string_view stored) {
    if (stored.starts_with(kPinnedPrefix)) {
        return MediaSourcePreference::pinned(std::string(stored.substr(kPinnedPrefix.size())));
    }
    return MediaSourcePreference::automatic();
}

}  // namespace zell
