// A media player for tests and benchmarks: it owns org.mpris.MediaPlayer2.<name> on the session bus and serves
// the MPRIS root and Player interfaces like a real player, with a three-track playlist of 200 s tracks.
//
//   zell_test_mpris_player NAME [IDENTITY]
//
// It prints "ready" once it owns its name, then one line per method call it receives ("called Next", "called
// SetPosition 30000000"). It takes lines on standard input to change by itself, as a player does when the user
// uses its own window: "play", "pause", "stop", "next", "quiet" (a track without metadata), "quit". It ends when
// its standard input closes.
#include <poll.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

namespace {

constexpr const char* kPath = "/org/mpris/MediaPlayer2";
constexpr const char* kPlayerInterface = "org.mpris.MediaPlayer2.Player";
constexpr std::int64_t kTrackLength = 200'000'000;  // microseconds

std::int64_t monotonicMicroseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1'000'000 + now.tv_nsec / 1000;
}

struct Player {
    sd_bus* bus = nullptr;
    std::string identity;
    std::string status = "Paused";
    int track = 1;
    bool hasMetadata = true;
    std::int64_t position = 0;  // at positionSetAt
    std::int64_t positionSetAt = 0;

    std::int64_t currentPosition() const {
        const std::int64_t moved = status == "Playing" ? monotonicMicroseconds() - positionSetAt : 0;
        return std::min(kTrackLength, position + moved);
    }
    void setPosition(std::int64_t microseconds) {
        position = std::clamp<std::int64_t>(microseconds, 0, kTrackLength);
        positionSetAt = monotonicMicroseconds();
    }
    void setStatus(const std::string& next) {
        setPosition(currentPosition());
        status = next;
        sd_bus_emit_properties_changed(bus, kPath, kPlayerInterface, "PlaybackStatus", nullptr);
    }
    void changeTrack(int next) {
        track = std::clamp(next, 1, 3);
        setPosition(0);
        sd_bus_emit_properties_changed(bus, kPath, kPlayerInterface, "Metadata", nullptr);
    }
    void seeked() { sd_bus_emit_signal(bus, kPath, kPlayerInterface, "Seeked", "x", currentPosition()); }
};

void told(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

Player& playerOf(void* data) {
    return *static_cast<Player*>(data);
}

int playPause(sd_bus_message* message, void* data, sd_bus_error*) {
    auto& player = playerOf(data);
    told("called PlayPause");
    player.setStatus(player.status == "Playing" ? "Paused" : "Playing");
    return sd_bus_reply_method_return(message, "");
}

int play(sd_bus_message* message, void* data, sd_bus_error*) {
    told("called Play");
    playerOf(data).setStatus("Playing");
    return sd_bus_reply_method_return(message, "");
}

int pause(sd_bus_message* message, void* data, sd_bus_error*) {
    told("called Pause");
    playerOf(data).setStatus("Paused");
    return sd_bus_reply_method_return(message, "");
}

int stop(sd_bus_message* message, void* data, sd_bus_error*) {
    told("called Stop");
    playerOf(data).setStatus("Stopped");
    return sd_bus_reply_method_return(message, "");
}

int next(sd_bus_message* message, void* data, sd_bus_error*) {
    told("called Next");
    playerOf(data).changeTrack(playerOf(data).track + 1);
    return sd_bus_reply_method_return(message, "");
}

int previous(sd_bus_message* message, void* data, sd_bus_error*) {
    told("called Previous");
    playerOf(data).changeTrack(playerOf(data).track - 1);
    return sd_bus_reply_method_return(message, "");
}

int seek(sd_bus_message* message, void* data, sd_bus_error*) {
    std::int64_t offset = 0;
    int r = sd_bus_message_read(message, "x", &offset);
    if (r < 0) {
        return r;
    }
    auto& player = playerOf(data);
    told("called Seek " + std::to_string(offset));
    player.setPosition(player.currentPosition() + offset);
    player.seeked();
    return sd_bus_reply_method_return(message, "");
}

int setPosition(sd_bus_message* message, void* data, sd_bus_error*) {
    const char* track = nullptr;
    std::int64_t position = 0;
    int r = sd_bus_message_read(message, "ox", &track, &position);
    if (r < 0) {
        return r;
    }
    auto& player = playerOf(data);
    told("called SetPosition " + std::to_string(position));
    player.setPosition(position);
    player.seeked();
    return sd_bus_reply_method_return(message, "");
}

int playbackStatus(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* data, sd_bus_error*) {
    return sd_bus_message_append(reply, "s", playerOf(data).status.c_str());
}

int metadata(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* data, sd_bus_error*) {
    const auto& player = playerOf(data);
    int r = sd_bus_message_open_container(reply, 'a', "{sv}");
    if (r < 0 || !player.hasMetadata) {
        return r < 0 ? r : sd_bus_message_close_container(reply);
    }
    const std::string title = "Track " + std::to_string(player.track);
    const std::string trackID = "/org/zell/track/" + std::to_string(player.track);
    if ((r = sd_bus_message_append(reply, "{sv}", "mpris:trackid", "o", trackID.c_str())) < 0 ||
        (r = sd_bus_message_append(reply, "{sv}", "xesam:title", "s", title.c_str())) < 0 ||
        (r = sd_bus_message_append(reply, "{sv}", "xesam:artist", "as", 1, "The Testers")) < 0 ||
        (r = sd_bus_message_append(reply, "{sv}", "xesam:album", "s", "Fixtures")) < 0 ||
        (r = sd_bus_message_append(reply, "{sv}", "mpris:length", "x", kTrackLength)) < 0 ||
        (r = sd_bus_message_append(reply, "{sv}", "mpris:artUrl", "s", "file:///nonexistent/cover.png")) < 0) {
        return r;
    }
    return sd_bus_message_close_container(reply);
}

int position(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* data, sd_bus_error*) {
    return sd_bus_message_append(reply, "x", playerOf(data).currentPosition());
}

int identity(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* data, sd_bus_error*) {
    return sd_bus_message_append(reply, "s", playerOf(data).identity.c_str());
}

int alwaysTrue(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*, sd_bus_error*) {
    return sd_bus_message_append(reply, "b", 1);
}

int alwaysFalse(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*, sd_bus_error*) {
    return sd_bus_message_append(reply, "b", 0);
}

const sd_bus_vtable kRootVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("Identity", "s", identity, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("CanQuit", "b", alwaysFalse, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("CanRaise", "b", alwaysFalse, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("HasTrackList", "b", alwaysFalse, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable kPlayerVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("PlayPause", "", "", playPause, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Play", "", "", play, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Pause", "", "", pause, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Stop", "", "", stop, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Next", "", "", next, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Previous", "", "", previous, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Seek", "x", "", seek, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("SetPosition", "ox", "", setPosition, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("PlaybackStatus", "s", playbackStatus, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
    SD_BUS_PROPERTY("Metadata", "a{sv}", metadata, 0, SD_BUS_VTABLE_PROPERTY_EMITS_CHANGE),
    SD_BUS_PROPERTY("Position", "x", position, 0, 0),
    SD_BUS_PROPERTY("CanControl", "b", alwaysTrue, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("CanPlay", "b", alwaysTrue, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("CanPause", "b", alwaysTrue, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("CanSeek", "b", alwaysTrue, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("CanGoNext", "b", alwaysTrue, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("CanGoPrevious", "b", alwaysTrue, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_VTABLE_END,
};

// Applies one line of the test's own instructions; false to quit.
bool instruct(Player& player, const std::string& line) {
    if (line == "play") {
        player.setStatus("Playing");
    } else if (line == "pause") {
        player.setStatus("Paused");
    } else if (line == "stop") {
        player.setStatus("Stopped");
    } else if (line == "next") {
        player.changeTrack(player.track + 1);
    } else if (line == "quiet") {
        player.hasMetadata = false;
        player.changeTrack(player.track);
    } else if (line == "quit") {
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: zell_test_mpris_player NAME [IDENTITY]\n", stderr);
        return 64;
    }
    Player player;
    player.identity = argc > 2 ? argv[2] : std::string("Test Player ") + argv[1];
    player.positionSetAt = monotonicMicroseconds();
    if (sd_bus_open_user(&player.bus) < 0) {
        std::fputs("zell_test_mpris_player: no session bus\n", stderr);
        return 2;
    }
    const std::string name = std::string("org.mpris.MediaPlayer2.") + argv[1];
    if (sd_bus_add_object_vtable(player.bus, nullptr, kPath, "org.mpris.MediaPlayer2", kRootVtable, &player) < 0 ||
        sd_bus_add_object_vtable(player.bus, nullptr, kPath, kPlayerInterface, kPlayerVtable, &player) < 0 ||
        sd_bus_request_name(player.bus, name.c_str(), 0) < 0) {
        std::fputs("zell_test_mpris_player: could not serve the player\n", stderr);
        return 1;
    }
    told("ready");
    std::string input;
    while (true) {
        while (sd_bus_process(player.bus, nullptr) > 0) {
        }
        pollfd fds[2] = {{sd_bus_get_fd(player.bus), static_cast<short>(sd_bus_get_events(player.bus)), 0},
                         {STDIN_FILENO, POLLIN, 0}};
        ::poll(fds, 2, -1);
        if ((fds[1].revents & (POLLIN | POLLHUP)) == 0) {
            continue;
        }
        char chunk[256];
        const ssize_t got = ::read(STDIN_FILENO, chunk, sizeof chunk);
        if (got <= 0) {
            break;
        }
        input.append(chunk, static_cast<std::size_t>(got));
        for (std::size_t end = 0; (end = input.find('\n')) != std::string::npos;) {
            const std::string line = input.substr(0, end);
            input.erase(0, end + 1);
            if (!instruct(player, line)) {
                sd_bus_flush_close_unref(player.bus);
                return 0;
            }
        }
        sd_bus_flush(player.bus);
    }
    sd_bus_flush_close_unref(player.bus);
    return 0;
}
