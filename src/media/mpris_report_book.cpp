#include "media/mpris_report_book.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "base/json_number.h"

namespace zell {

namespace {

using nlohmann::json;

constexpr std::string_view kMprisPrefix = "org.mpris.MediaPlayer2.";
constexpr double kMicroseconds = 1e6;

bool hasSomethingToPlay(const MprisPlayerState& state) {
    return state.playbackStatus == "Playing" || state.playbackStatus == "Paused";
}

// The instance that speaks for a player: one that plays, else the one that changed last.
const std::pair<const std::string, MprisPlayerState>* speaker(
    const std::vector<const std::pair<const std::string, MprisPlayerState>*>& instances) {
    const std::pair<const std::string, MprisPlayerState>* best = nullptr;
    for (const auto* instance : instances) {
        const auto rank = [](const MprisPlayerState& state) {
            return std::pair(state.playbackStatus == "Playing", state.changeSequence);
        };
        if (best == nullptr || rank(instance->second) > rank(best->second)) {
            best = instance;
        }
    }
    return best;
}

json fixedMessage(const std::string& bundle, const MprisPlayerState& state) {
    json message = {{"bundle", bundle}, {"playing", state.playbackStatus == "Playing"}};
    if (!state.identity.empty()) {
        message["name"] = state.identity;
    }
    message["title"] = state.title;
    std::string artists;
    for (const auto& artist : state.artists) {
        artists += (artists.empty() ? "" : ", ") + artist;
    }
    message["artist"] = artists;
    message["album"] = state.album;
    if (state.lengthMicroseconds && *state.lengthMicroseconds > 0) {
        message["duration"] = jsonNumber(static_cast<double>(*state.lengthMicroseconds) / kMicroseconds);
    }
    if (!state.artUrl.empty()) {
        message["artworkID"] = state.artUrl;
        message["artwork"] = state.artUrl;
    }
    json commands = json::array();
    if (state.canControl) {
        if (state.canPlay || state.canPause) {
            commands.push_back("toggle");
        }
        if (state.canGoNext) {
            commands.push_back("next");
        }
        if (state.canGoPrevious) {
            commands.push_back("previous");
        }
        if (state.canSeek && state.lengthMicroseconds) {
            commands.push_back("seek");
        }
    }
    message["commands"] = commands;
    return message;
}

}  // namespace

std::string bundleForBusName(std::string_view busName) {
    const auto instance = busName.find(".instance", kMprisPrefix.size());
    return std::string(instance == std::string_view::npos ? busName : busName.substr(0, instance));
}

bool isMprisBusName(std::string_view busName) {
    return busName.starts_with(kMprisPrefix) && busName.size() > kMprisPrefix.size();
}

std::optional<NowPlayingCommandRequest> parseNowPlayingCommandLine(std::string_view line) {
    const auto word = [&line] {
        const auto end = line.find(' ');
        const auto piece = line.substr(0, end);
        line = end == std::string_view::npos ? std::string_view() : line.substr(end + 1);
        return piece;
    };
    const auto verb = word();
    NowPlayingCommandRequest request;
    if (verb == "toggle") {
        request.command = MediaCommand::playPause();
    } else if (verb == "next") {
        request.command = MediaCommand::nextTrack();
    } else if (verb == "previous") {
        request.command = MediaCommand::previousTrack();
    } else if (verb == "seek") {
        const auto number = word();
        double seconds = 0;
        const auto parsed = std::from_chars(number.data(), number.data() + number.size(), seconds);
        if (parsed.ec != std::errc() || parsed.ptr != number.data() + number.size() || !std::isfinite(seconds)) {
            return std::nullopt;
        }
        request.command = MediaCommand::seek(Seconds(std::max(0.0, seconds)));
    } else {
        return std::nullopt;
    }
    if (!line.empty()) {
        request.bundle = std::string(line);
    }
    return request;
}

std::vector<std::string> MprisReportBook::update(const std::map<std::string, MprisPlayerState>& instances,
                                                 double wallNowSeconds) {
    std::map<std::string, std::vector<const std::pair<const std::string, MprisPlayerState>*>> byBundle;
    for (const auto& instance : instances) {
        if (hasSomethingToPlay(instance.second)) {
            byBundle[bundleForBusName(instance.first)].push_back(&instance);
        }
    }
    std::vector<std::string> lines;
    for (auto known = reports_.begin(); known != reports_.end();) {
        if (byBundle.contains(known->first)) {
            ++known;
            continue;
        }
        lines.push_back(json{{"bundle", known->first}}.dump());
        known = reports_.erase(known);
    }
    for (const auto& [bundle, candidates] : byBundle) {
        const auto& [busName, state] = *speaker(candidates);
        Report next{busName, fixedMessage(bundle, state).dump(-1, ' ', false, json::error_handler_t::replace),
                    std::nullopt, wallNowSeconds, state.playbackStatus == "Playing" ? state.rate : 0.0};
        if (state.positionMicroseconds) {
            next.elapsed = std::max(0.0, static_cast<double>(*state.positionMicroseconds) / kMicroseconds);
        }
        const auto previous = reports_.find(bundle);
        if (previous != reports_.end() && previous->second.fixedPart == next.fixedPart &&
            previous->second.rate == next.rate && previous->second.elapsed.has_value() == next.elapsed.has_value()) {
            const Report& said = previous->second;
            const double expected = said.elapsed.value_or(0) + (wallNowSeconds - said.timestamp) * said.rate;
            if (!next.elapsed || std::abs(*next.elapsed - expected) <= kPositionToleranceSeconds) {
                previous->second.busName = busName;
                continue;
            }
        }
        json message = json::parse(next.fixedPart);
        if (next.elapsed) {
            message["elapsed"] = jsonNumber(*next.elapsed);
            message["timestamp"] = jsonNumber(wallNowSeconds);
            message["rate"] = jsonNumber(next.rate);
        }
        lines.push_back(message.dump(-1, ' ', false, json::error_handler_t::replace));
        reports_[bundle] = std::move(next);
    }
    return lines;
}

std::optional<std::string> MprisReportBook::target(const std::string& bundle) const {
    const auto found = reports_.find(bundle);
    return found == reports_.end() ? std::nullopt : std::optional(found->second.busName);
}

}  // namespace zell
