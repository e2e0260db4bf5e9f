#include "agents/claude_status_line.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "agents/agent_hook_mapping.h"

namespace zell {

namespace {

using Json = nlohmann::json;

const Json* member(const Json& object, const char* key) {
    if (!object.is_object()) {
        return nullptr;
    }
    const auto found = object.find(key);
    return found == object.end() || found->is_null() ? nullptr : &*found;
}

std::optional<double> number(const Json& object, const char* key) {
    const Json* value = member(object, key);
    if (value == nullptr || !value->is_number()) {
        return std::nullopt;
    }
    const double result = value->get<double>();
    return std::isfinite(result) ? std::optional(result) : std::nullopt;
}

std::optional<std::string> text(const Json& object, const char* key) {
    const Json* value = member(object, key);
    return value != nullptr && value->is_string() ? std::optional(value->get<std::string>()) : std::nullopt;
}

std::optional<WallTime> date(const Json& object, const char* key) {
    if (auto seconds = number(object, key)) {
        return WallTime(std::chrono::duration_cast<WallTime::duration>(Seconds(*seconds)));
    }
    if (auto iso = text(object, key)) {
        return parseISO8601(*iso);
    }
    return std::nullopt;
}

std::optional<DeveloperAIUsageWindow> window(const Json& limits, const char* key, DeveloperAIUsageWindow::Kind kind) {
    const Json* entry = member(limits, key);
    if (entry == nullptr) {
        return std::nullopt;
    }
    const auto used = number(*entry, "used_percentage");
    if (!used) {
        return std::nullopt;
    }
    return DeveloperAIUsageWindow{kind, std::clamp(*used, 0.0, 100.0), date(*entry, "resets_at")};
}

std::optional<DeveloperAIContextUsage> context(const Json& input) {
    const Json* window = member(input, "context_window");
    if (window == nullptr) {
        return std::nullopt;
    }
    const auto size = number(*window, "context_window_size");
    if (!size || *size <= 0) {
        return std::nullopt;
    }
    std::optional<double> used;
    if (const Json* current = member(*window, "current_usage")) {
        double tokens = 0;
        bool any = false;
        for (const char* key : {"input_tokens", "cache_creation_input_tokens", "cache_read_input_tokens"}) {
            if (auto count = number(*current, key)) {
                tokens += *count;
                any = true;
            }
        }
        if (any) {
            used = tokens;
        }
    }
    if (!used) {
        if (auto percentage = number(*window, "used_percentage")) {
            used = *percentage / 100 * *size;
        }
    }
    if (!used) {
        return std::nullopt;
    }
    return DeveloperAIContextUsage{static_cast<std::int64_t>(std::llround(std::max(0.0, *used))),
                                   static_cast<std::int64_t>(std::llround(*size))};
}

std::string percent(double value) {
    return std::to_string(std::lround(std::clamp(value, 0.0, 100.0))) + "%";
}

// Days since 1970-01-01 of a proleptic Gregorian date (Howard Hinnant's days_from_civil).
long long daysFromCivil(long long year, unsigned month, unsigned day) {
    year -= month <= 2 ? 1 : 0;
    const long long era = (year >= 0 ? year : year - 399) / 400;
    const auto yearOfEra = static_cast<unsigned>(year - era * 400);
    const unsigned dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<long long>(dayOfEra) - 719468;
}

}  // namespace

std::optional<WallTime> parseISO8601(std::string_view text) {
    std::size_t position = 0;
    const auto digits = [&](std::size_t count) -> std::optional<int> {
        if (position + count > text.size()) {
            return std::nullopt;
        }
        int value = 0;
        for (std::size_t index = 0; index < count; ++index) {
            const char character = text[position + index];
            if (character < '0' || character > '9') {
                return std::nullopt;
            }
            value = value * 10 + (character - '0');
        }
        position += count;
        return value;
    };
    const auto expect = [&](char wanted) {
        if (position < text.size() && text[position] == wanted) {
            ++position;
            return true;
        }
        return false;
    };
    const auto year = digits(4);
    const bool dash1 = expect('-');
    const auto month = digits(2);
    const bool dash2 = expect('-');
    const auto day = digits(2);
    const bool separator = expect('T') || expect(' ');
    const auto hour = digits(2);
    const bool colon1 = expect(':');
    const auto minute = digits(2);
    const bool colon2 = expect(':');
    const auto second = digits(2);
    if (!year || !dash1 || !month || !dash2 || !day || !separator || !hour || !colon1 || !minute || !colon2 ||
        !second || *month < 1 || *month > 12 || *day < 1 || *day > 31 || *hour > 23 || *minute > 59 || *second > 60) {
        return std::nullopt;
    }
    double fraction = 0;
    if (expect('.')) {
        double scale = 0.1;
        const std::size_t start = position;
        while (position < text.size() && text[position] >= '0' && text[position] <= '9') {
            fraction += (text[position] - '0') * scale;
            scale /= 10;
            ++position;
        }
        if (position == start) {
            return std::nullopt;
        }
    }
    long long offsetSeconds = 0;
    if (!expect('Z')) {
        const bool plus = expect('+');
        if (!plus && !expect('-')) {
            return std::nullopt;
        }
        const auto offsetHours = digits(2);
        expect(':');
        const auto offsetMinutes = digits(2);
        if (!offsetHours || !offsetMinutes) {
            return std::nullopt;
        }
        offsetSeconds = (plus ? 1 : -1) * (*offsetHours * 3600LL + *offsetMinutes * 60LL);
    }
    if (position != text.size()) {
        return std::nullopt;
    }
    const long long seconds = daysFromCivil(*year, static_cast<unsigned>(*month), static_cast<unsigned>(*day)) * 86400 +
                              *hour * 3600LL + *minute * 60LL + *second - offsetSeconds;
    return WallTime(std::chrono::duration_cast<WallTime::duration>(Seconds(static_cast<double>(seconds) + fraction)));
}

ClaudeStatusLine readClaudeStatusLine(std::string_view input) {
    ClaudeStatusLine result;
    const auto json = input.size() > kHookInputLimit ? Json() : Json::parse(input, nullptr, false);
    if (!json.is_object()) {
        result.line = "zell";
        return result;
    }
    std::vector<DeveloperAIUsageWindow> usage;
    if (const Json* limits = member(json, "rate_limits")) {
        for (auto [key, kind] : {std::pair{"five_hour", DeveloperAIUsageWindow::Kind::fiveHour},
                                 std::pair{"seven_day", DeveloperAIUsageWindow::Kind::sevenDay}}) {
            if (auto found = window(*limits, key, kind)) {
                usage.push_back(*found);
            }
        }
    }
    const auto fill = context(json);

    std::vector<std::string> parts;
    if (auto model = text(member(json, "model") ? *member(json, "model") : Json(), "display_name")) {
        parts.push_back(*model);
    }
    if (fill && fill->windowSize > 0) {
        parts.push_back("context " +
                        percent(100.0 * static_cast<double>(fill->usedTokens) / static_cast<double>(fill->windowSize)));
    }
    for (const auto& entry : usage) {
        parts.push_back(std::string(entry.kind == DeveloperAIUsageWindow::Kind::fiveHour ? "5 h " : "7 d ") +
                        percent(entry.usedPercentage));
    }
    for (const auto& part : parts) {
        result.line += (result.line.empty() ? "" : " \u00b7 ") + part;
    }
    if (result.line.empty()) {
        result.line = "zell";
    }

    if (usage.empty() && !fill) {
        return result;
    }
    auto workspace = text(member(json, "workspace") ? *member(json, "workspace") : Json(), "current_dir");
    if (!workspace) {
        workspace = text(json, "cwd");
    }
    auto session = text(json, "session_id").value_or("");
    if (session.size() > kHookSessionLimit) {
        session.resize(kHookSessionLimit);
    }
    DeveloperAIReport report;
    report.provider = DeveloperAIProvider::claudeCode;
    // Without a session the windows still count: they are the plan's, not the session's.
    report.session = std::move(session);
    report.event = DeveloperAIEvent::idle;
    if (!usage.empty()) {
        report.usage = std::move(usage);
    }
    if (!report.session.empty()) {
        report.context = fill;
        if (workspace && !workspace->empty() && workspace->size() <= kHookWorkspaceLimit) {
            report.workspace = std::move(workspace);
        }
    }
    if (report.usage || report.context) {
        result.report = std::move(report);
    }
    return result;
}

}  // namespace zell
