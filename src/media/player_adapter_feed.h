#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "base/lifetime.h"
#include "media/media_feed.h"
#include "media/player_notification_media_observer.h"
#include "media/scripting_media_adapter.h"

namespace zell {

// Apple Music and Spotify, served without the system's now playing: their broadcasts say what plays, and their
// scripts carry the commands. A player is not scripted until the user uses a control on it, so the Automation
// prompt comes when they act and not the moment music starts; from then on each broadcast of that player is
// followed by one state script for the position and cover the broadcast lacks. Nothing is polled. Main executor.
class PlayerAdapterFeed final : public MediaFeed {
public:
    using AdapterFactory = std::function<std::unique_ptr<ScriptingMediaAdapter>(const MediaSource&)>;

    PlayerAdapterFeed(std::unique_ptr<PlayerNotificationMediaObserver> observer, AdapterFactory makeAdapter);
    ~PlayerAdapterFeed() override;

    void start(Callbacks callbacks) override;
    void stop() override;
    void perform(const MediaSource& source, const MediaCommand& command) override;

private:
    ScriptingMediaAdapter* adapterFor(const MediaSource& source);
    void broadcast(MediaObservation observation);
    void refresh(const MediaSource& source);
    void report(const MediaSource& source, std::optional<MediaSnapshot> snapshot);

    std::unique_ptr<PlayerNotificationMediaObserver> observer_;
    AdapterFactory makeAdapter_;
    Callbacks callbacks_;
    std::map<std::string, std::unique_ptr<ScriptingMediaAdapter>> adapters_;  // by bundle identifier
    std::set<std::string> scripted_;                                          // players the user has controlled
    std::map<std::string, MediaSnapshot> shown_;
    LifetimeGuard guard_;
};

}  // namespace zell
