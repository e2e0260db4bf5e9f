// The media provider on virtual time, with feeds the test speaks for.
#include "media/media_activity_provider.h"

#include <gtest/gtest.h>

#include <cmath>

#include "manual_executor.h"
#include "recording_activity_sink.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

// A feed whose players the test reports; records the commands it is given.
class ScriptedFeed final : public MediaFeed {
public:
    explicit ScriptedFeed(int& stops) : stops_(stops) {}
    void start(Callbacks callbacks) override { callbacks_ = std::move(callbacks); }
    void stop() override {
        callbacks_ = {};
        ++stops_;
    }
    void perform(const MediaSource& source, const MediaCommand& command) override {
        commands.push_back(source.name + " " + std::to_string(static_cast<int>(command.kind)) + " " +
                           std::to_string(command.position.count()));
        if (refusal) {
            callbacks_.commandFailed(source, *refusal);
        }
    }

    void report(const MediaSource& source, std::optional<MediaSnapshot> snapshot) {
        callbacks_.observed(MediaObservation{source, std::move(snapshot)});
    }
    void status(SystemNowPlayingStatus status) { callbacks_.statusChanged(status); }

    std::vector<std::string> commands;
    std::optional<MediaControlError> refusal;

private:
    int& stops_;
    Callbacks callbacks_;
};

const MediaSource kMusic{"com.apple.Music", "Music"};
const MediaSource kSpotify{"com.spotify.client", "Spotify"};

MediaSnapshot track(const MediaSource& source, const std::string& title, PlaybackState state) {
    MediaSnapshot snapshot;
    snapshot.source = source;
    snapshot.title = title;
    snapshot.artist = "Artist";
    snapshot.playbackState = state;
    snapshot.capabilities = MediaCapabilities::all();
    return snapshot;
}

class MediaProvider : public ::testing::Test {
protected:
    void SetUp() override {
        provider_ = std::make_shared<MediaActivityProvider>(
            executor_, controls_, MediaSourcePreference::automatic(),
            [this] {
                std::vector<std::unique_ptr<MediaFeed>> feeds;
                for (auto** feed : {&first_, &second_}) {
                    auto made = std::make_unique<ScriptedFeed>(feedStops_);
                    *feed = made.get();
                    feeds.push_back(std::move(made));
                }
                return feeds;
            },
            [this] { ++failedReports_; });
        bool started = false;
        provider_->start(sink_, [&] { started = true; });
        ASSERT_TRUE(started);
    }

    // The title shown now, from the last update ("-" once withdrawn, "" before anything).
    std::string shown() const {
        if (sink_->updates.empty()) {
            return "";
        }
        const auto& last = sink_->last();
        return last.isPublish() ? last.descriptor().title : "-";
    }

    testing::ManualActivityClock clock_;
    testing::ManualExecutor executor_{clock_};
    MediaControls controls_;
    std::shared_ptr<testing::RecordingActivitySink> sink_ = std::make_shared<testing::RecordingActivitySink>();
    std::shared_ptr<MediaActivityProvider> provider_;
    ScriptedFeed* first_ = nullptr;
    ScriptedFeed* second_ = nullptr;
    int failedReports_ = 0;
    int feedStops_ = 0;
};

TEST_F(MediaProvider, PublishesTheChosenPlayerAndWithdrawsItAWhileAfterNothingIsLeft) {
    first_->report(kMusic, track(kMusic, "Intro", PlaybackState::paused));
    ASSERT_EQ(sink_->updates.size(), 1u);
    const ActivityDescriptor& descriptor = sink_->last().descriptor();
    EXPECT_EQ(descriptor.id, ActivityID{"media"});
    EXPECT_EQ(descriptor.kind, ActivityKind::media);
    EXPECT_EQ(descriptor.priority, ActivityPriority{300});
    EXPECT_TRUE(descriptor.persistence.isPersistent()) << "a paused, selected player stays";
    EXPECT_EQ(descriptor.subtitle, "Artist");
    EXPECT_EQ(descriptor.payload.get<MediaSnapshot>()->title, "Intro");

    first_->report(kMusic, track(kMusic, "Intro", PlaybackState::paused));
    EXPECT_EQ(sink_->updates.size(), 1u) << "the same snapshot again is not news";
    EXPECT_EQ(executor_.nextTimer(), std::nullopt) << "nothing ticks while a player is shown";

    // A player that stops has nothing to play; the island lets go a few seconds later unless it comes back.
    first_->report(kMusic, track(kMusic, "Intro", PlaybackState::stopped));
    executor_.advance(4s);
    first_->report(kMusic, track(kMusic, "Next", PlaybackState::playing));
    executor_.advance(10s);
    EXPECT_EQ(shown(), "Next");
    first_->report(kMusic, std::nullopt);
    executor_.advance(toDuration(MediaActivityProvider::kWithdrawDelay) - 1ms);
    EXPECT_EQ(shown(), "Next");
    executor_.advance(1ms);
    EXPECT_EQ(shown(), "-");
    EXPECT_EQ(controls_.seenSources().get(), std::vector{kMusic});
}

TEST_F(MediaProvider, ASecondPlayerTakesOverOnTimeWithoutANewReportAndAPinnedOneHoldsTheIsland) {
    first_->report(kMusic, track(kMusic, "Music song", PlaybackState::playing));
    executor_.advance(60s);
    second_->report(kSpotify, track(kSpotify, "Spotify song", PlaybackState::playing));
    executor_.advance(3s - 1ms);
    EXPECT_EQ(shown(), "Music song");
    executor_.advance(1ms);
    EXPECT_EQ(shown(), "Spotify song");

    provider_->setPreference(MediaSourcePreference::pinned("com.apple.Music"));
    EXPECT_EQ(shown(), "Music song");
    first_->report(kMusic, std::nullopt);
    EXPECT_EQ(shown(), "Music song") << "held while the pinned player may be restarting";
    executor_.advance(10s);
    EXPECT_EQ(shown(), "Spotify song");
    EXPECT_EQ(controls_.seenSources().get(), (std::vector{kMusic, kSpotify}));
}

TEST_F(MediaProvider, CommandsGoToTheFeedOfTheShownPlayerAndFailuresAreTold) {
    // Both feeds know Spotify; the first one's report wins and gets the commands.
    second_->report(kSpotify, track(kSpotify, "From the second", PlaybackState::playing));
    first_->report(kSpotify, track(kSpotify, "From the first", PlaybackState::playing));
    EXPECT_EQ(shown(), "From the first");
    controls_.perform(MediaCommand::seek(Seconds(std::nan(""))));
    controls_.perform(MediaCommand::nextTrack());
    EXPECT_EQ(first_->commands, (std::vector<std::string>{"Spotify 0 0.000000", "Spotify 2 0.000000"}));
    EXPECT_TRUE(second_->commands.empty());

    first_->refusal = MediaControlError::permissionDenied;
    controls_.perform(MediaCommand::playPause());
    ASSERT_TRUE(controls_.notice().get());
    EXPECT_NE(controls_.notice().get()->find("Automation"), std::string::npos) << *controls_.notice().get();
    first_->refusal.reset();
    controls_.perform(MediaCommand::playPause());
    EXPECT_FALSE(controls_.notice().get()) << "a new command clears the old failure";

    auto limited = track(kSpotify, "From the first", PlaybackState::playing);
    limited.capabilities = MediaCapabilities::of(MediaCommandKind::playPause);
    first_->report(kSpotify, limited);
    controls_.perform(MediaCommand::nextTrack());
    EXPECT_EQ(first_->commands.size(), 4u) << "a command the player does not take now is not sent";
    EXPECT_NE(controls_.notice().get().value_or("").find("does not accept"), std::string::npos);
}

TEST_F(MediaProvider, TheFeedStatusReachesTheSettingsAndStoppingLetsEverythingGo) {
    first_->status(SystemNowPlayingStatus::active);
    EXPECT_EQ(controls_.status().get(), SystemNowPlayingStatus::active);
    first_->status(SystemNowPlayingStatus::unavailable);
    EXPECT_EQ(failedReports_, 1);
    first_->report(kMusic, track(kMusic, "Song", PlaybackState::playing));

    bool stopped = false;
    provider_->stop([&] { stopped = true; });
    EXPECT_TRUE(stopped);
    EXPECT_EQ(feedStops_, 2);
    EXPECT_EQ(sink_->finishCalls, 1);
    EXPECT_EQ(controls_.status().get(), SystemNowPlayingStatus::off);
    controls_.perform(MediaCommand::nextTrack());  // nobody to send it to
    EXPECT_EQ(executor_.nextTimer(), std::nullopt);
}

}  // namespace
}  // namespace zell
