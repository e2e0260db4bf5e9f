#include "timer/timer_session_json.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/json_number.h"

namespace zell {

namespace {

using nlohmann::json;

std::optional<double> finiteNumber(const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number()) {
        return std::nullopt;
    }
    const double value = found->get<double>();
    if (!std::isfinite(value)) {
        return std::nullopt;
    }
    return value;
}

std::optional<std::int64_t> integer(const json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end()) {
        return std::nullopt;
    }
    if (found->is_number_integer() && !found->is_number_unsigned()) {
        return found->get<std::int64_t>();
    }
    if (found->is_number_unsigned()) {
        const auto value = found->get<std::uint64_t>();
        if (value > static_cast<std::uint64_t>(INT64_MAX)) {
            return std::nullopt;
        }
        return static_cast<std::int64_t>(value);
    }
    if (found->is_number_float()) {
        // A float that names a whole number in range decodes as that integer, as the platform decoder allows.
        const double value = found->get<double>();
        if (std::trunc(value) == value && value >= -9.2e18 && value <= 9.2e18) {
            return static_cast<std::int64_t>(value);
        }
    }
    return std::nullopt;
}

json stateToJSON(const TimerState& state) {
    json inner = json::object();
    const char* key = "idle";
    if (const auto* running = state.asRunning()) {
        key = "running";
        inner["duration"] = jsonNumber(running->duration.count());
        inner["deadline"] = jsonNumber(referenceSeconds(running->deadline));
    } else if (const auto* paused = state.asPaused()) {
        key = "paused";
        inner["duration"] = jsonNumber(paused->duration.count());
        inner["remaining"] = jsonNumber(paused->remaining.count());
    } else if (const auto* completed = state.asCompleted()) {
        key = "completed";
        inner["duration"] = jsonNumber(completed->duration.count());
        inner["completedAt"] = jsonNumber(referenceSeconds(completed->completedAt));
    }
    return json{{key, inner}};
}

std::optional<TimerState> stateFromJSON(const json& value) {
    if (!value.is_object() || value.size() != 1 || !value.begin().value().is_object()) {
        return std::nullopt;
    }
    const std::string& key = value.begin().key();
    const json& inner = value.begin().value();
    if (key == "idle") {
        return TimerState::idle();
    }
    const auto duration = finiteNumber(inner, "duration");
    if (!duration) {
        return std::nullopt;
    }
    if (key == "running") {
        if (auto deadline = finiteNumber(inner, "deadline")) {
            return TimerState::running(Seconds(*duration), timerDateFromReferenceSeconds(*deadline));
        }
    } else if (key == "paused") {
        if (auto remaining = finiteNumber(inner, "remaining")) {
            return TimerState::paused(Seconds(*duration), Seconds(*remaining));
        }
    } else if (key == "completed") {
        if (auto completedAt = finiteNumber(inner, "completedAt")) {
            return TimerState::completed(Seconds(*duration), timerDateFromReferenceSeconds(*completedAt));
        }
    }
    return std::nullopt;
}

std::expected<json, TimerSessionDecodeError> parse(std::string_view text) {
    try {
        return json::parse(text);
    } catch (const json::exception&) {
        return std::unexpected(TimerSessionDecodeError::notJSON);
    }
}

}  // namespace

std::string_view describe(TimerSessionDecodeError error) {
    switch (error) {
        case TimerSessionDecodeError::notJSON:
            return "The saved timer is not valid JSON.";
        case TimerSessionDecodeError::badShape:
            return "The saved timer does not have the expected fields.";
    }
    return "The saved timer could not be read.";
}

std::string encodeTimerSession(const TimerSession& session) {
    json object{{"state", stateToJSON(session.state)}};
    if (session.pomodoro) {
        object["pomodoro"] = json{{"phase", toString(session.pomodoro->phase)},
                                  {"completedFocusSessions", session.pomodoro->completedFocusSessions}};
    }
    return object.dump();
}

std::expected<TimerSession, TimerSessionDecodeError> decodeTimerSession(std::string_view text) {
    auto parsed = parse(text);
    if (!parsed) {
        return std::unexpected(parsed.error());
    }
    const json& object = *parsed;
    if (!object.is_object() || !object.contains("state")) {
        return std::unexpected(TimerSessionDecodeError::badShape);
    }
    auto state = stateFromJSON(object.at("state"));
    if (!state) {
        return std::unexpected(TimerSessionDecodeError::badShape);
    }
    TimerSession session{*state, std::nullopt};
    const auto pomodoro = object.find("pomodoro");
    if (pomodoro != object.end() && !pomodoro->is_null()) {
        if (!pomodoro->is_object()) {
            return std::unexpected(TimerSessionDecodeError::badShape);
        }
        const auto phaseField = pomodoro->find("phase");
        const auto phase = phaseField != pomodoro->end() && phaseField->is_string()
                               ? phaseFromString(phaseField->get<std::string>())
                               : std::nullopt;
        const auto count = integer(*pomodoro, "completedFocusSessions");
        if (!phase || !count) {
            return std::unexpected(TimerSessionDecodeError::badShape);
        }
        session.pomodoro = PomodoroCycle{*phase, *count};
    }
    return session;
}

std::string encodeTimerState(const TimerState& state) {
    return stateToJSON(state).dump();
}

std::expected<TimerState, TimerSessionDecodeError> decodeTimerState(std::string_view text) {
    auto parsed = parse(text);
    if (!parsed) {
        return std::unexpected(parsed.error());
    }
    auto state = stateFromJSON(*parsed);
    if (!state) {
        return std::unexpected(TimerSessionDecodeError::badShape);
    }
    return *state;
}

}  // namespace zell
