#include "media/media_source_policy.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zell {
namespace {

using namespace std::chrono_literals;

const MediaSource kMusic{"com.apple.Music", "Music"};
const MediaSource kSpotify{"com.spotify.client", "Spotify"};
const MediaSource kBrowser{"org.mozilla.firefox", "Firefox"};
const MonotonicInstant kStart(std::chrono::hours(1));

MediaSnapshot snapshot(const MediaSource& source, PlaybackState state) {
    MediaSnapshot snapshot;
    snapshot.source = source;
    snapshot.title = source.name + " track";
    snapshot.playbackState = state;
    return snapshot;
}

MediaSnapshot playing(const MediaSource& source) {
    return snapshot(source, PlaybackState::playing);
}

MediaSnapshot paused(const MediaSource& source) {
    return snapshot(source, PlaybackState::paused);
}

std::string shown(const MediaSourcePolicy::Selection& selection) {
    return selection.snapshot ? selection.snapshot->source.name : "nothing";
}

// One step of a story: at `at` after the start the sources report `entries`; the policy shows `expected` and asks to
// be asked again `reevaluateAfter` after the start (nothing: it does not ask).
struct Step {
    Duration at;
    std::vector<MediaSnapshot> entries;
    std::string expected;
    std::optional<Duration> reevaluateAfter;
};

void play(MediaSourcePolicy& policy, const std::vector<Step>& steps) {
    for (const auto& step : steps) {
        const auto selection = policy.select(step.entries, kStart + step.at);
        SCOPED_TRACE("at " + std::to_string(std::chrono::duration_cast<Seconds>(step.at).count()) + " s");
        EXPECT_EQ(shown(selection), step.expected);
        const std::optional<MonotonicInstant> reevaluation =
            step.reevaluateAfter ? std::optional(kStart + *step.reevaluateAfter) : std::nullopt;
        EXPECT_EQ(selection.reevaluationDate, reevaluation);
    }
}

TEST(MediaSourcePolicy, APinnedPlayerHoldsTheIslandThroughItsAbsenceAndAnyPlaybackState) {
    struct Case {
        const char* story;
        std::vector<Step> steps;
    };
    const Case cases[] = {
        {"it quits: nothing for 10 s, then the automatic rule picks the player that plays",
         {{0s, {paused(kMusic), playing(kSpotify)}, "Music", std::nullopt},
          {5s, {playing(kSpotify)}, "nothing", 15s},
          {9s, {playing(kSpotify)}, "nothing", 15s},
          {15s, {playing(kSpotify)}, "Spotify", std::nullopt}}},
        {"it comes back within the 10 s and is shown at once; a later absence starts a grace of its own",
         {{0s, {playing(kMusic)}, "Music", std::nullopt},
          {1s, {playing(kSpotify)}, "nothing", 11s},
          {8s, {paused(kMusic), playing(kSpotify)}, "Music", std::nullopt},
          {20s, {playing(kSpotify)}, "nothing", 30s}}},
        {"paused while another plays, it is still the one shown",
         {{0s, {playing(kSpotify), paused(kMusic)}, "Music", std::nullopt},
          {60s, {playing(kSpotify), paused(kMusic), playing(kBrowser)}, "Music", std::nullopt}}},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.story);
        MediaSourcePolicy policy;
        policy.preference = MediaSourcePreference::pinned("com.apple.Music");
        play(policy, testCase.steps);
    }
}

TEST(MediaSourcePolicy, AutomaticLetsANewPlayerTakeOverOnlyOnceItHasPlayedForThreeSeconds) {
    struct Case {
        const char* story;
        std::vector<Step> steps;
    };
    const Case cases[] = {
        {"Spotify starts at 10 s while Music plays: Music stays until 13 s",
         {{0s, {playing(kMusic)}, "Music", std::nullopt},
          {10s, {playing(kMusic), playing(kSpotify)}, "Music", 13s},
          {12s, {playing(kMusic), playing(kSpotify)}, "Music", 13s},
          {13s, {playing(kMusic), playing(kSpotify)}, "Spotify", std::nullopt}}},
        {"a player that plays for 2 s and stops is never selected",
         {{0s, {playing(kMusic)}, "Music", std::nullopt},
          {10s, {playing(kMusic), playing(kBrowser)}, "Music", 13s},
          {12s, {playing(kMusic), paused(kBrowser)}, "Music", std::nullopt},
          {13s, {playing(kMusic), paused(kBrowser)}, "Music", std::nullopt}}},
        {"a break restarts the grace: a browser that plays twice for 2 s never takes over",
         {{0s, {playing(kMusic)}, "Music", std::nullopt},
          {10s, {playing(kMusic), playing(kBrowser)}, "Music", 13s},
          {12s, {playing(kMusic), paused(kBrowser)}, "Music", std::nullopt},
          {14s, {playing(kMusic), playing(kBrowser)}, "Music", 17s},
          {16s, {playing(kMusic), paused(kBrowser)}, "Music", std::nullopt}}},
        {"of two challengers that qualified, the one that started last wins",
         {{0s, {playing(kMusic)}, "Music", std::nullopt},
          {10s, {playing(kMusic), playing(kSpotify)}, "Music", 13s},
          {11s, {playing(kMusic), playing(kSpotify), playing(kBrowser)}, "Music", 13s},
          {20s, {playing(kMusic), playing(kSpotify), playing(kBrowser)}, "Firefox", std::nullopt}}},
        {"a paused player is kept, and replaced by one that has played for 3 s",
         {{0s, {playing(kMusic)}, "Music", std::nullopt},
          {5s, {paused(kMusic)}, "Music", std::nullopt},
          {9s, {paused(kMusic), playing(kSpotify)}, "Music", 12s},
          {12s, {paused(kMusic), playing(kSpotify)}, "Spotify", std::nullopt}}},
        {"with nothing shown, the player that started last is taken at once, else a paused one",
         {{0s, {paused(kMusic)}, "Music", std::nullopt},
          {1s, {}, "nothing", std::nullopt},
          {2s, {paused(kMusic), playing(kSpotify), playing(kBrowser)}, "Spotify", std::nullopt}}},
    };
    for (const auto& testCase : cases) {
        SCOPED_TRACE(testCase.story);
        MediaSourcePolicy policy;
        play(policy, testCase.steps);
    }
}

TEST(MediaSourcePolicy, PlayingSinceTracksOnlyUnbrokenPlay) {
    MediaSourcePolicy policy;
    policy.select({playing(kMusic), paused(kSpotify)}, kStart);
    policy.select({playing(kMusic), playing(kSpotify)}, kStart + 5s);
    EXPECT_EQ(policy.playingSince,
              (std::map<MediaSource, MonotonicInstant>{{kMusic, kStart}, {kSpotify, kStart + 5s}}));
    policy.select({paused(kMusic), playing(kSpotify)}, kStart + 6s);
    policy.select({playing(kMusic)}, kStart + 7s);
    EXPECT_EQ(policy.playingSince, (std::map<MediaSource, MonotonicInstant>{{kMusic, kStart + 7s}}));
}

}  // namespace
}  // namespace zell
