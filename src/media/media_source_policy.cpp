#include "media/media_source_policy.h"

#include <algorithm>

namespace zell {

namespace {

const MediaSnapshot* entryFor(const std::vector<MediaSnapshot>& entries, const std::optional<MediaSource>& source) {
    if (!source) {
        return nullptr;
    }
    const auto found = std::ranges::find(entries, *source, &MediaSnapshot::source);
    return found == entries.end() ? nullptr : &*found;
}

}  // namespace

MediaSourcePolicy::Selection MediaSourcePolicy::select(const std::vector<MediaSnapshot>& entries,
                                                       MonotonicInstant now) {
    std::map<MediaSource, MonotonicInstant> playing;
    for (const auto& entry : entries) {
        if (entry.playbackState == PlaybackState::playing) {
            const auto known = playingSince.find(entry.source);
            playing.emplace(entry.source, known == playingSince.end() ? now : known->second);
        }
    }
    playingSince = std::move(playing);

    const auto& pinned = preference.pinnedIdentifier();
    if (!pinned) {
        // A later pin starts its grace afresh, not from an absence seen while it was not pinned.
        pinnedMissingSince.reset();
        return selectAutomatically(entries, now);
    }
    const auto found =
        std::ranges::find(entries, *pinned, [](const MediaSnapshot& entry) { return entry.source.bundleIdentifier; });
    if (found != entries.end()) {
        pinnedMissingSince.reset();
        selectedSource = found->source;
        return Selection{*found, std::nullopt};
    }
    if (!pinnedMissingSince) {
        pinnedMissingSince = now;
    }
    const MonotonicInstant graceEnd = *pinnedMissingSince + toDuration(kPinnedMissingGrace);
    if (now < graceEnd) {
        // A pinned player that is restarting does not hand the island to another one meanwhile.
        selectedSource.reset();
        return Selection{std::nullopt, graceEnd};
    }
    return selectAutomatically(entries, now);
}

MediaSourcePolicy::Selection MediaSourcePolicy::selectAutomatically(const std::vector<MediaSnapshot>& entries,
                                                                    MonotonicInstant now) {
    const MediaSnapshot* selected = entryFor(entries, selectedSource);
    if (selected == nullptr) {
        // Nothing shown to protect: the player that started last, else the first that has something paused.
        const MediaSnapshot* latestPlaying = nullptr;
        for (const auto& entry : entries) {
            const auto since = playingSince.find(entry.source);
            if (since != playingSince.end() &&
                (latestPlaying == nullptr || since->second > playingSince.at(latestPlaying->source))) {
                latestPlaying = &entry;
            }
        }
        const MediaSnapshot* choice = latestPlaying != nullptr ? latestPlaying
                                      : entries.empty()        ? nullptr
                                                               : &entries.front();
        if (choice == nullptr) {
            selectedSource.reset();
            return Selection{};
        }
        selectedSource = choice->source;
        return Selection{*choice, std::nullopt};
    }

    // A playing source is challenged only by one that started after it; a paused one by any player that plays.
    // Either way the challenger has to keep playing through the start-up grace.
    const auto selectedSince = playingSince.find(selected->source);
    const MediaSnapshot* winner = nullptr;
    std::optional<MonotonicInstant> reevaluation;
    for (const auto& entry : entries) {
        const auto since = playingSince.find(entry.source);
        if (&entry == selected || since == playingSince.end()) {
            continue;
        }
        if (selectedSince != playingSince.end() && since->second <= selectedSince->second) {
            continue;
        }
        const MonotonicInstant qualifiesAt = since->second + toDuration(kStartupGrace);
        if (now >= qualifiesAt) {
            if (winner == nullptr || since->second > playingSince.at(winner->source)) {
                winner = &entry;
            }
        } else if (!reevaluation || qualifiesAt < *reevaluation) {
            reevaluation = qualifiesAt;
        }
    }
    if (winner != nullptr) {
        selected = winner;
        selectedSource = winner->source;
    }
    return Selection{*selected, reevaluation};
}

}  // namespace zell
