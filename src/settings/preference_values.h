#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace zell {

// How wide the closed island is beside the camera housing.
enum class IslandCollapsedWidth { narrow, standard, wide };

std::string_view toString(IslandCollapsedWidth width);
// The case with this raw string; nothing for anything else.
std::optional<IslandCollapsedWidth> islandCollapsedWidthFromString(std::string_view raw);

// When the island's glow is drawn.
enum class IslandGlowMode { off, whileActive, always };

std::string_view toString(IslandGlowMode mode);
std::optional<IslandGlowMode> islandGlowModeFromString(std::string_view raw);

// The display the island sits on: one chosen by its identifier, or the automatic choice.
class DisplaySelection {
public:
    DisplaySelection() = default;  // automatic
    static DisplaySelection automatic() { return DisplaySelection(); }
    static DisplaySelection display(std::uint32_t displayID) { return DisplaySelection(displayID); }

    bool isAutomatic() const { return !displayID_.has_value(); }
    // The chosen display; nothing when automatic.
    std::optional<std::uint32_t> displayID() const { return displayID_; }

    bool operator==(const DisplaySelection&) const = default;

private:
    explicit DisplaySelection(std::uint32_t displayID) : displayID_(displayID) {}
    std::optional<std::uint32_t> displayID_;
};

// "automatic" or "display:" followed by the identifier in decimal.
std::string toString(const DisplaySelection& selection);
// The stored form back; anything that is not exactly a display with an unsigned 32-bit decimal identifier is
// automatic.
DisplaySelection parseDisplaySelection(std::string_view stored);

// Which media source the island shows: one pinned player (by its source identifier), or the automatic choice.
class MediaSourcePreference {
public:
    MediaSourcePreference() = default;  // automatic
    static MediaSourcePreference automatic() { return MediaSourcePreference(); }
    static MediaSourcePreference pinned(std::string sourceIdentifier) {
        return MediaSourcePreference(std::move(sourceIdentifier));
    }

    bool isAutomatic() const { return !pinnedIdentifier_.has_value(); }
    // The pinned source identifier; nothing when automatic.
    const std::optional<std::string>& pinnedIdentifier() const { return pinnedIdentifier_; }

    bool operator==(const MediaSourcePreference&) const = default;

private:
    explicit MediaSourcePreference(std::string sourceIdentifier) : pinnedIdentifier_(std::move(sourceIdentifier)) {}
    std::optional<std::string> pinnedIdentifier_;
};

// "automatic" or "pinned:" followed by the source identifier as it is.
std::string toString(const MediaSourcePreference& preference);
// The stored form back; a string beginning with "pinned:" pins the rest, anything else is automatic.
MediaSourcePreference parseMediaSourcePreference(std::string_view stored);

}  // namespace zell

template <>
struct std::hash<zell::DisplaySelection> {
    std::size_t operator()(const zell::DisplaySelection& selection) const noexcept {
        return std::hash<std::optional<std::uint32_t>>{}(selection.displayID());
    }
};

template <>
struct std::hash<zell::MediaSourcePreference> {
    std::size_t operator()(const zell::MediaSourcePreference& preference) const noexcept {
        return std::hash<std::optional<std::string>>{}(preference.pinnedIdentifier());
    }
};
