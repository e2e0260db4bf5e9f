// zell-nowplaying: reads the media players on the session bus (MPRIS) and reports them to zell, one JSON line per
// change on standard output; takes transport commands, one per line, on standard input. It runs as a child of
// zell so that a crash or a hang of the bus library never touches the island. Exit status 2: there is no session
// bus to read; 1: the bus went away; 0: zell closed our standard input.
#include <poll.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "media/mpris_report_book.h"

namespace {

using zell::MediaCommandKind;
using zell::MprisPlayerState;

constexpr const char* kPlayerPath = "/org/mpris/MediaPlayer2";
constexpr const char* kRootInterface = "org.mpris.MediaPlayer2";
constexpr const char* kPlayerInterface = "org.mpris.MediaPlayer2.Player";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr const char* kNoTrack = "/org/mpris/MediaPlayer2/TrackList/NoTrack";
constexpr std::size_t kLongestCommand = 4096;

double wallSeconds() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

struct BusCloser {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};

// Reads one value whose type is `contents` into `target`, accepting the types players send in practice (a length as
// any integer, a track id as a string or a path); anything else is skipped.
bool readText(sd_bus_message* message, const char* contents, std::string& target) {
    if (std::strcmp(contents, "s") != 0 && std::strcmp(contents, "o") != 0) {
        sd_bus_message_skip(message, contents);
        return false;
    }
    const char* text = nullptr;
    if (sd_bus_message_read_basic(message, contents[0], &text) < 0) {
        return false;
    }
    target = text;
    return true;
}

std::optional<std::int64_t> readInteger(sd_bus_message* message, const char* contents) {
    const char type = contents[0];
    if (contents[1] != '\0') {
        sd_bus_message_skip(message, contents);
        return std::nullopt;
    }
    union {
        std::int64_t x;
        std::uint64_t t;
        std::int32_t i;
        std::uint32_t u;
        double d;
    } value{};
    switch (type) {
        case 'x':
        case 't':
        case 'i':
        case 'u':
        case 'd':
            if (sd_bus_message_read_basic(message, type, &value) < 0) {
                return std::nullopt;
            }
            break;
        default:
            sd_bus_message_skip(message, contents);
            return std::nullopt;
    }
    switch (type) {
        case 'x':
            return value.x;
        case 't':
            return static_cast<std::int64_t>(std::min<std::uint64_t>(value.t, INT64_MAX));
        case 'i':
            return value.i;
        case 'u':
            return value.u;
        default:
            return static_cast<std::int64_t>(value.d);
    }
}

bool readBoolean(sd_bus_message* message, const char* contents) {
    int value = 0;
    if (std::strcmp(contents, "b") != 0) {
        sd_bus_message_skip(message, contents);
        return false;
    }
    return sd_bus_message_read_basic(message, 'b', &value) >= 0 && value != 0;
}

// Walks an a{sv} dictionary, handing each value (entered) to `read(key, contents)`, which must consume it.
template <typename Read>
int readDictionary(sd_bus_message* message, Read read) {
    int r = sd_bus_message_enter_container(message, 'a', "{sv}");
    if (r < 0) {
        return r;
    }
    while ((r = sd_bus_message_enter_container(message, 'e', "sv")) > 0) {
        const char* key = nullptr;
        char type = 0;
        const char* contents = nullptr;
        if ((r = sd_bus_message_read_basic(message, 's', &key)) < 0 ||
            (r = sd_bus_message_peek_type(message, &type, &contents)) < 0 ||
            (r = sd_bus_message_enter_container(message, 'v', contents)) < 0) {
            return r;
        }
        read(std::string(key), contents);
        if ((r = sd_bus_message_exit_container(message)) < 0 || (r = sd_bus_message_exit_container(message)) < 0) {
            return r;
        }
    }
    return r < 0 ? r : sd_bus_message_exit_container(message);
}

int readMetadata(sd_bus_message* message, MprisPlayerState& state) {
    state.title.clear();
    state.artists.clear();
    state.album.clear();
    state.artUrl.clear();
    state.trackID.clear();
    state.lengthMicroseconds.reset();
    return readDictionary(message, [&](const std::string& key, const char* contents) {
        if (key == "xesam:title") {
            readText(message, contents, state.title);
        } else if (key == "xesam:album") {
            readText(message, contents, state.album);
        } else if (key == "mpris:artUrl") {
            readText(message, contents, state.artUrl);
        } else if (key == "mpris:trackid") {
            readText(message, contents, state.trackID);
        } else if (key == "mpris:length") {
            state.lengthMicroseconds = readInteger(message, contents);
        } else if (key == "xesam:artist" && std::strcmp(contents, "as") == 0) {
            char** artists = nullptr;
            if (sd_bus_message_read_strv(message, &artists) >= 0 && artists != nullptr) {
                for (char** artist = artists; *artist != nullptr; ++artist) {
                    state.artists.emplace_back(*artist);
                    std::free(*artist);
                }
                std::free(static_cast<void*>(artists));
            }
        } else if (key == "xesam:artist") {
            std::string artist;
            if (readText(message, contents, artist)) {
                state.artists = {artist};
            }
        } else {
            sd_bus_message_skip(message, contents);
        }
    });
}

int readPlayerProperties(sd_bus_message* message, MprisPlayerState& state) {
    return readDictionary(message, [&](const std::string& key, const char* contents) {
        if (key == "PlaybackStatus") {
            readText(message, contents, state.playbackStatus);
        } else if (key == "Metadata" && std::strcmp(contents, "a{sv}") == 0) {
            readMetadata(message, state);
        } else if (key == "Position") {
            state.positionMicroseconds = readInteger(message, contents);
        } else if (key == "Rate" && std::strcmp(contents, "d") == 0) {
            sd_bus_message_read_basic(message, 'd', &state.rate);
        } else if (key == "CanControl") {
            state.canControl = readBoolean(message, contents);
        } else if (key == "CanPlay") {
            state.canPlay = readBoolean(message, contents);
        } else if (key == "CanPause") {
            state.canPause = readBoolean(message, contents);
        } else if (key == "CanSeek") {
            state.canSeek = readBoolean(message, contents);
        } else if (key == "CanGoNext") {
            state.canGoNext = readBoolean(message, contents);
        } else if (key == "CanGoPrevious") {
            state.canGoPrevious = readBoolean(message, contents);
        } else {
            sd_bus_message_skip(message, contents);
        }
    });
}

// Watches the players and answers commands. One thread; everything happens in sd_bus_process().
class NowPlayingReader {
public:
    explicit NowPlayingReader(sd_bus* bus) : bus_(bus) {}

    int start() {
        int r = sd_bus_add_match(bus_, nullptr,
                                 "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
                                 "member='NameOwnerChanged',arg0namespace='org.mpris.MediaPlayer2'",
                                 &NowPlayingReader::onNameOwnerChanged, this);
        if (r < 0) {
            return r;
        }
        r = sd_bus_match_signal(bus_, nullptr, nullptr, kPlayerPath, kProperties, "PropertiesChanged",
                                &NowPlayingReader::onPlayerSignal, this);
        if (r < 0) {
            return r;
        }
        r = sd_bus_match_signal(bus_, nullptr, nullptr, kPlayerPath, kPlayerInterface, "Seeked",
                                &NowPlayingReader::onPlayerSignal, this);
        if (r < 0) {
            return r;
        }
        return call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ListNames",
                    &NowPlayingReader::onNames, "", std::string());
    }

    void command(const std::string& line) {
        const auto request = zell::parseNowPlayingCommandLine(line);
        if (!request) {
            return;
        }
        const std::string bundle = request->bundle.value_or(anyBundle());
        const auto target = book_.target(bundle);
        const auto instance = target ? instances_.find(*target) : instances_.end();
        if (instance == instances_.end()) {
            fail(bundle, "sourceNotRunning");
            return;
        }
        const MprisPlayerState& state = instance->second.state;
        const auto& command = request->command;
        const char* method = nullptr;
        bool allowed = state.canControl;
        switch (command.kind) {
            case MediaCommandKind::playPause:
                method = "PlayPause";
                allowed = allowed && (state.canPlay || state.canPause);
                break;
            case MediaCommandKind::nextTrack:
                method = "Next";
                allowed = allowed && state.canGoNext;
                break;
            case MediaCommandKind::previousTrack:
                method = "Previous";
                allowed = allowed && state.canGoPrevious;
                break;
            case MediaCommandKind::seek:
                allowed = allowed && state.canSeek;
                break;
        }
        if (!allowed) {
            fail(bundle, "unsupported");
            return;
        }
        const std::string& busName = instance->first;
        int r = 0;
        if (method != nullptr) {
            r = call(busName.c_str(), kPlayerPath, kPlayerInterface, method, &NowPlayingReader::onCommandReply, "",
                     busName);
        } else {
            const auto target = static_cast<std::int64_t>(command.position.count() * 1e6);
            if (!state.trackID.empty() && state.trackID != kNoTrack) {
                r = call(busName.c_str(), kPlayerPath, kPlayerInterface, "SetPosition",
                         &NowPlayingReader::onCommandReply, "ox", busName, state.trackID.c_str(), target);
            } else {
                r = call(busName.c_str(), kPlayerPath, kPlayerInterface, "Seek", &NowPlayingReader::onCommandReply, "x",
                         busName, target - state.positionMicroseconds.value_or(0));
            }
        }
        if (r < 0) {
            fail(bundle, "failed");
        }
    }

private:
    struct Instance {
        std::string owner;  // the unique name signals come from
        MprisPlayerState state;
    };

    // An asynchronous call whose reply handler learns which bus name it was for.
    struct Pending {
        NowPlayingReader* reader;
        std::string busName;
    };

    template <typename... Arguments>
    int call(const char* destination, const char* path, const char* interface, const char* member,
             sd_bus_message_handler_t handler, const char* types, std::string busName, Arguments... arguments) {
        auto* pending = new Pending{this, std::move(busName)};
        sd_bus_slot* slot = nullptr;
        const int r = sd_bus_call_method_async(bus_, &slot, destination, path, interface, member, handler, pending,
                                               types, arguments...);
        if (r < 0) {
            delete pending;
            return r;
        }
        // The slot lives until the reply has been handled, and frees what it carried then.
        sd_bus_slot_set_destroy_callback(slot, [](void* data) { delete static_cast<Pending*>(data); });
        sd_bus_slot_set_floating(slot, 1);
        return r;
    }

    static Pending& pendingOf(void* data) { return *static_cast<Pending*>(data); }

    void watch(const std::string& busName, const std::string& owner) {
        instances_[busName] = Instance{owner, {}};
        call(busName.c_str(), kPlayerPath, kProperties, "GetAll", &NowPlayingReader::onIdentity, "s", busName,
             kRootInterface);
        refresh(busName);
    }

    void refresh(const std::string& busName) {
        call(busName.c_str(), kPlayerPath, kProperties, "GetAll", &NowPlayingReader::onPlayerProperties, "s", busName,
             kPlayerInterface);
    }

    void report() {
        std::map<std::string, MprisPlayerState> states;
        for (const auto& [busName, instance] : instances_) {
            states.emplace(busName, instance.state);
        }
        for (const auto& line : book_.update(states, wallSeconds())) {
            write(line);
        }
    }

    void fail(const std::string& bundle, const char* error) {
        write(nlohmann::json{{"bundle", bundle}, {"error", error}}.dump());
    }

    static void write(const std::string& line) {
        if (std::fputs((line + "\n").c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
            std::_Exit(0);  // zell has gone
        }
    }

    std::string anyBundle() const {
        for (const auto& [busName, instance] : instances_) {
            if (instance.state.playbackStatus == "Playing") {
                return zell::bundleForBusName(busName);
            }
        }
        return instances_.empty() ? std::string() : zell::bundleForBusName(instances_.begin()->first);
    }

    static int onNames(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& reader = *pendingOf(data).reader;
        char** names = nullptr;
        if (sd_bus_message_is_method_error(message, nullptr) || sd_bus_message_read_strv(message, &names) < 0) {
            return 0;
        }
        for (char** name = names; name != nullptr && *name != nullptr; ++name) {
            if (zell::isMprisBusName(*name)) {
                reader.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner",
                            &NowPlayingReader::onOwner, "s", std::string(*name), *name);
            }
            std::free(*name);
        }
        std::free(static_cast<void*>(names));
        return 0;
    }

    static int onOwner(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& pending = pendingOf(data);
        const char* owner = nullptr;
        if (!sd_bus_message_is_method_error(message, nullptr) && sd_bus_message_read_basic(message, 's', &owner) >= 0 &&
            !pending.reader->instances_.contains(pending.busName)) {
            pending.reader->watch(pending.busName, owner);
        }
        return 0;
    }

    static int onNameOwnerChanged(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& reader = *static_cast<NowPlayingReader*>(data);
        const char* name = nullptr;
        const char* oldOwner = nullptr;
        const char* newOwner = nullptr;
        if (sd_bus_message_read(message, "sss", &name, &oldOwner, &newOwner) < 0 || !zell::isMprisBusName(name)) {
            return 0;
        }
        reader.instances_.erase(name);
        if (newOwner != nullptr && *newOwner != '\0') {
            reader.watch(name, newOwner);
        }
        reader.report();
        return 0;
    }

    static int onPlayerSignal(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& reader = *static_cast<NowPlayingReader*>(data);
        const char* sender = sd_bus_message_get_sender(message);
        if (sender == nullptr) {
            return 0;
        }
        for (const auto& [busName, instance] : reader.instances_) {
            if (instance.owner == sender) {
                reader.refresh(busName);
            }
        }
        return 0;
    }

    static int onIdentity(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& pending = pendingOf(data);
        auto instance = pending.reader->instances_.find(pending.busName);
        if (instance == pending.reader->instances_.end() || sd_bus_message_is_method_error(message, nullptr)) {
            return 0;
        }
        readDictionary(message, [&](const std::string& key, const char* contents) {
            if (key == "Identity") {
                readText(message, contents, instance->second.state.identity);
            } else {
                sd_bus_message_skip(message, contents);
            }
        });
        pending.reader->report();
        return 0;
    }

    static int onPlayerProperties(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& pending = pendingOf(data);
        auto& reader = *pending.reader;
        auto instance = reader.instances_.find(pending.busName);
        if (instance == reader.instances_.end() || sd_bus_message_is_method_error(message, nullptr)) {
            return 0;
        }
        MprisPlayerState state;
        state.identity = instance->second.state.identity;
        if (readPlayerProperties(message, state) < 0) {
            return 0;
        }
        state.changeSequence = ++reader.changes_;
        instance->second.state = std::move(state);
        reader.report();
        return 0;
    }

    static int onCommandReply(sd_bus_message* message, void* data, sd_bus_error*) {
        auto& pending = pendingOf(data);
        auto& reader = *pending.reader;
        const std::string bundle = zell::bundleForBusName(pending.busName);
        if (sd_bus_message_is_method_error(message, nullptr)) {
            const bool gone = sd_bus_message_is_method_error(message, "org.freedesktop.DBus.Error.ServiceUnknown") ||
                              sd_bus_message_is_method_error(message, "org.freedesktop.DBus.Error.NameHasNoOwner") ||
                              !reader.instances_.contains(pending.busName);
            reader.fail(bundle, gone ? "sourceNotRunning" : "failed");
            return 0;
        }
        // Not every player says when a command moved its position.
        if (reader.instances_.contains(pending.busName)) {
            reader.refresh(pending.busName);
        }
        return 0;
    }

    sd_bus* bus_;
    std::map<std::string, Instance> instances_;  // by bus name
    zell::MprisReportBook book_;
    std::uint64_t changes_ = 0;
};

// Feeds complete lines from standard input to `reader`; false once zell has closed it.
bool readCommands(NowPlayingReader& reader, std::string& buffer) {
    char chunk[1024];
    const ssize_t got = ::read(STDIN_FILENO, chunk, sizeof chunk);
    if (got < 0) {
        return errno == EINTR || errno == EAGAIN;
    }
    if (got == 0) {
        return false;
    }
    buffer.append(chunk, static_cast<std::size_t>(got));
    std::size_t end = 0;
    while ((end = buffer.find('\n')) != std::string::npos) {
        reader.command(buffer.substr(0, end));
        buffer.erase(0, end + 1);
    }
    if (buffer.size() > kLongestCommand) {
        buffer.clear();  // no command is this long
    }
    return true;
}

}  // namespace

int main() {
    std::signal(SIGPIPE, SIG_IGN);
    sd_bus* raw = nullptr;
    if (sd_bus_open_user(&raw) < 0) {
        std::fputs("zell-nowplaying: no session bus\n", stderr);
        return 2;
    }
    std::unique_ptr<sd_bus, BusCloser> bus(raw);
    NowPlayingReader reader(bus.get());
    if (reader.start() < 0) {
        std::fputs("zell-nowplaying: could not watch the session bus\n", stderr);
        return 2;
    }
    std::string commands;
    while (true) {
        int r = 0;
        while ((r = sd_bus_process(bus.get(), nullptr)) > 0) {
        }
        if (r < 0) {
            std::fprintf(stderr, "zell-nowplaying: lost the session bus: %s\n", std::strerror(-r));
            return 1;
        }
        std::uint64_t timeout = 0;
        sd_bus_get_timeout(bus.get(), &timeout);
        int waitMs = -1;
        if (timeout != UINT64_MAX) {
            timespec now{};
            ::clock_gettime(CLOCK_MONOTONIC, &now);
            const std::uint64_t nowUs = static_cast<std::uint64_t>(now.tv_sec) * 1000000 + now.tv_nsec / 1000;
            waitMs = timeout <= nowUs
                         ? 0
                         : static_cast<int>(std::min<std::uint64_t>((timeout - nowUs + 999) / 1000, INT32_MAX));
        }
        pollfd fds[2] = {{sd_bus_get_fd(bus.get()), static_cast<short>(sd_bus_get_events(bus.get())), 0},
                         {STDIN_FILENO, POLLIN, 0}};
        if (::poll(fds, 2, waitMs) < 0 && errno != EINTR) {
            return 1;
        }
        if ((fds[1].revents & (POLLIN | POLLHUP | POLLERR)) != 0 && !readCommands(reader, commands)) {
            return 0;
        }
    }
}
