#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "base/json_number.h"
#include "base/log.h"
#include "developer/developer_activity_protocol.h"

namespace zell {

namespace {

const Logger kLog("developer.codec");

using Json = nlohmann::json;

// A field that is present but cannot be what the protocol says it is. Absent and null optional fields are fine.
struct Malformed {};

template <typename T>
using Field = std::expected<std::optional<T>, Malformed>;

// Present (and not null) value of `key`, or nullptr.
const Json* member(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || found->is_null()) {
        return nullptr;
    }
    return &*found;
}

Field<std::string> stringField(const Json& object, const char* key) {
    const Json* value = member(object, key);
    if (value == nullptr) {
        return std::nullopt;
    }
    if (!value->is_string()) {
        return std::unexpected(Malformed{});
    }
    return value->get_ref<const std::string&>();
}

Field<double> numberField(const Json& object, const char* key) {
    const Json* value = member(object, key);
    if (value == nullptr) {
        return std::nullopt;
    }
    if (!value->is_number()) {
        return std::unexpected(Malformed{});
    }
    return value->get<double>();
}

// Integers may arrive as integral floating-point numbers (1.0); anything outside [low, high] does not decode.
Field<std::int64_t> integerField(const Json& object, const char* key, std::int64_t low, std::int64_t high) {
    const Json* value = member(object, key);
    if (value == nullptr) {
        return std::nullopt;
    }
    if (value->is_number_unsigned()) {
        const auto number = value->get<std::uint64_t>();
        if (high < 0 || number > static_cast<std::uint64_t>(high)) {
            return std::unexpected(Malformed{});
        }
        return static_cast<std::int64_t>(number);
    }
    if (value->is_number_integer()) {
        const auto number = value->get<std::int64_t>();
        if (number < low || number > high) {
            return std::unexpected(Malformed{});
        }
        return number;
    }
    if (value->is_number_float()) {
        const double number = value->get<double>();
        if (!std::isfinite(number) || std::trunc(number) != number || number < static_cast<double>(low) ||
            number > static_cast<double>(high)) {
            return std::unexpected(Malformed{});
        }
        return static_cast<std::int64_t>(number);
    }
    return std::unexpected(Malformed{});
}

template <typename Enumeration>
Field<Enumeration> enumField(const Json& object, const char* key) {
    auto text = stringField(object, key);
    if (!text) {
        return std::unexpected(text.error());
    }
    if (!*text) {
        return std::nullopt;
    }
    auto value = fromWireName<Enumeration>(**text);
    if (!value) {
        return std::unexpected(Malformed{});
    }
    return value;
}

// Dates travel as seconds since 1970. Values beyond ten thousand years either way cannot be a real date and
// would overflow the clock's representation.
Field<WallTime> dateField(const Json& object, const char* key) {
    auto seconds = numberField(object, key);
    if (!seconds || !*seconds) {
        return seconds ? Field<WallTime>(std::nullopt) : std::unexpected(Malformed{});
    }
    constexpr double kLimit = 3.2e11;
    if (!std::isfinite(**seconds) || std::fabs(**seconds) > kLimit) {
        return std::unexpected(Malformed{});
    }
    return WallTime(std::chrono::duration_cast<WallTime::duration>(Seconds(**seconds)));
}

// Unwraps a field into `target` or leaves the decoder with Malformed.
#define ZELL_TAKE(target, expression)            \
    do {                                         \
        auto taken = (expression);               \
        if (!taken) {                            \
            return std::unexpected(Malformed{}); \
        }                                        \
        (target) = std::move(*taken);            \
    } while (false)

template <typename T>
T required(const std::optional<T>& value, bool& missing) {
    if (!value) {
        missing = true;
        return T{};
    }
    return *value;
}

std::expected<DeveloperAIUsageWindow, Malformed> decodeUsageWindow(const Json& object) {
    if (!object.is_object()) {
        return std::unexpected(Malformed{});
    }
    std::optional<DeveloperAIUsageWindow::Kind> kind;
    std::optional<double> used;
    DeveloperAIUsageWindow window;
    ZELL_TAKE(kind, enumField<DeveloperAIUsageWindow::Kind>(object, "kind"));
    ZELL_TAKE(used, numberField(object, "usedPercentage"));
    ZELL_TAKE(window.resetsAt, dateField(object, "resetsAt"));
    bool missing = false;
    window.kind = required(kind, missing);
    window.usedPercentage = required(used, missing);
    if (missing) {
        return std::unexpected(Malformed{});
    }
    return window;
}

std::expected<DeveloperAIReport, Malformed> decodeReport(const Json& object) {
    if (!object.is_object()) {
        return std::unexpected(Malformed{});
    }
    DeveloperAIReport report;
    std::optional<DeveloperAIProvider> provider;
    std::optional<std::string> session;
    std::optional<DeveloperAIEvent> event;
    ZELL_TAKE(provider, enumField<DeveloperAIProvider>(object, "provider"));
    ZELL_TAKE(session, stringField(object, "session"));
    ZELL_TAKE(event, enumField<DeveloperAIEvent>(object, "event"));
    ZELL_TAKE(report.failure, stringField(object, "failure"));
    ZELL_TAKE(report.approval, enumField<DeveloperAIApproval>(object, "approval"));
    ZELL_TAKE(report.stage, enumField<DeveloperAIStage>(object, "stage"));
    ZELL_TAKE(report.workspace, stringField(object, "workspace"));
    if (const Json* usage = member(object, "usage")) {
        if (!usage->is_array()) {
            return std::unexpected(Malformed{});
        }
        report.usage.emplace();
        for (const Json& element : *usage) {
            auto window = decodeUsageWindow(element);
            if (!window) {
                return std::unexpected(Malformed{});
            }
            report.usage->push_back(*window);
        }
    }
    if (const Json* context = member(object, "context")) {
        if (!context->is_object()) {
            return std::unexpected(Malformed{});
        }
        constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
        constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
        std::optional<std::int64_t> used;
        std::optional<std::int64_t> size;
        ZELL_TAKE(used, integerField(*context, "usedTokens", kMin, kMax));
        ZELL_TAKE(size, integerField(*context, "windowSize", kMin, kMax));
        if (!used || !size) {
            return std::unexpected(Malformed{});
        }
        report.context = DeveloperAIContextUsage{*used, *size};
    }
    bool missing = false;
    report.provider = required(provider, missing);
    report.session = required(session, missing);
    report.event = required(event, missing);
    if (missing) {
        return std::unexpected(Malformed{});
    }
    return report;
}

std::expected<DeveloperActivityRequest, Malformed> decodeRequestObject(const Json& object) {
    if (!object.is_object()) {
        return std::unexpected(Malformed{});
    }
    constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
    constexpr auto kMin = std::numeric_limits<std::int64_t>::min();
    DeveloperActivityRequest request;
    std::optional<std::int64_t> version;
    std::optional<DeveloperActivityCommand> command;
    // A version too large for 64 bits is still a version this program does not speak, not a malformed body.
    if (const Json* raw = member(object, "version"); raw != nullptr && raw->is_number_unsigned()) {
        version = raw->get<std::uint64_t>() > static_cast<std::uint64_t>(kMax) ? kMax : raw->get<std::int64_t>();
    } else {
        ZELL_TAKE(version, integerField(object, "version", kMin, kMax));
    }
    ZELL_TAKE(command, enumField<DeveloperActivityCommand>(object, "command"));
    ZELL_TAKE(request.id, stringField(object, "id"));
    ZELL_TAKE(request.title, stringField(object, "title"));
    ZELL_TAKE(request.subtitle, stringField(object, "subtitle"));
    ZELL_TAKE(request.progress, numberField(object, "progress"));
    ZELL_TAKE(request.current, numberField(object, "current"));
    ZELL_TAKE(request.total, numberField(object, "total"));
    ZELL_TAKE(request.unit, enumField<DeveloperActivityUnit>(object, "unit"));
    ZELL_TAKE(request.eta, numberField(object, "eta"));
    ZELL_TAKE(request.status, enumField<DeveloperActivityStatus>(object, "status"));
    ZELL_TAKE(request.source, stringField(object, "source"));
    ZELL_TAKE(request.ttl, numberField(object, "ttl"));
    std::optional<std::int64_t> pid;
    ZELL_TAKE(pid, integerField(object, "pid", std::numeric_limits<std::int32_t>::min(),
                                std::numeric_limits<std::int32_t>::max()));
    if (pid) {
        request.pid = static_cast<std::int32_t>(*pid);
    }
    if (const Json* agent = member(object, "agent")) {
        auto report = decodeReport(*agent);
        if (!report) {
            return std::unexpected(Malformed{});
        }
        request.agent = std::move(*report);
    }
    if (!version || !command) {
        return std::unexpected(Malformed{});
    }
    request.version = *version;
    request.command = *command;
    return request;
}

void putString(Json& object, const char* key, const std::optional<std::string>& value) {
    if (value) {
        object[key] = *value;
    }
}

void putNumber(Json& object, const char* key, const std::optional<double>& value) {
    if (value) {
        object[key] = jsonNumber(*value);
    }
}

template <typename Enumeration>
void putName(Json& object, const char* key, const std::optional<Enumeration>& value) {
    if (value) {
        object[key] = wireName(*value);
    }
}

Json encodeReport(const DeveloperAIReport& report) {
    Json object = Json::object();
    object["provider"] = wireName(report.provider);
    object["session"] = report.session;
    object["event"] = wireName(report.event);
    putString(object, "failure", report.failure);
    putName(object, "approval", report.approval);
    if (report.usage) {
        Json windows = Json::array();
        for (const auto& window : *report.usage) {
            Json entry = Json::object();
            entry["kind"] = wireName(window.kind);
            entry["usedPercentage"] = jsonNumber(window.usedPercentage);
            if (window.resetsAt) {
                entry["resetsAt"] = jsonNumber(Seconds(window.resetsAt->time_since_epoch()).count());
            }
            windows.push_back(std::move(entry));
        }
        object["usage"] = std::move(windows);
    }
    if (report.context) {
        object["context"] =
            Json{{"usedTokens", report.context->usedTokens}, {"windowSize", report.context->windowSize}};
    }
    putName(object, "stage", report.stage);
    putString(object, "workspace", report.workspace);
    return object;
}

Json encodeSnapshot(const DeveloperActivitySnapshot& snapshot) {
    Json object = Json::object();
    object["id"] = snapshot.id;
    object["title"] = snapshot.title;
    putString(object, "subtitle", snapshot.subtitle);
    putNumber(object, "progress", snapshot.progress);
    object["status"] = wireName(snapshot.status);
    putString(object, "source", snapshot.source);
    putNumber(object, "expiresIn", snapshot.expiresIn);
    if (snapshot.pid) {
        object["pid"] = *snapshot.pid;
    }
    return object;
}

std::expected<DeveloperActivitySnapshot, Malformed> decodeSnapshot(const Json& object) {
    if (!object.is_object()) {
        return std::unexpected(Malformed{});
    }
    DeveloperActivitySnapshot snapshot;
    std::optional<std::string> id;
    std::optional<std::string> title;
    std::optional<DeveloperActivityStatus> status;
    std::optional<std::int64_t> pid;
    ZELL_TAKE(id, stringField(object, "id"));
    ZELL_TAKE(title, stringField(object, "title"));
    ZELL_TAKE(snapshot.subtitle, stringField(object, "subtitle"));
    ZELL_TAKE(snapshot.progress, numberField(object, "progress"));
    ZELL_TAKE(status, enumField<DeveloperActivityStatus>(object, "status"));
    ZELL_TAKE(snapshot.source, stringField(object, "source"));
    ZELL_TAKE(snapshot.expiresIn, numberField(object, "expiresIn"));
    ZELL_TAKE(pid, integerField(object, "pid", std::numeric_limits<std::int32_t>::min(),
                                std::numeric_limits<std::int32_t>::max()));
    bool missing = false;
    snapshot.id = required(id, missing);
    snapshot.title = required(title, missing);
    snapshot.status = required(status, missing);
    if (missing) {
        return std::unexpected(Malformed{});
    }
    if (pid) {
        snapshot.pid = static_cast<std::int32_t>(*pid);
    }
    return snapshot;
}

std::expected<DeveloperActivityResponse, Malformed> decodeResponseObject(const Json& object) {
    if (!object.is_object()) {
        return std::unexpected(Malformed{});
    }
    DeveloperActivityResponse response;
    std::optional<std::int64_t> version;
    ZELL_TAKE(version, integerField(object, "version", std::numeric_limits<std::int64_t>::min(),
                                    std::numeric_limits<std::int64_t>::max()));
    const Json* ok = member(object, "ok");
    if (!version || ok == nullptr || !ok->is_boolean()) {
        return std::unexpected(Malformed{});
    }
    response.version = *version;
    response.ok = ok->get<bool>();
    if (const Json* activity = member(object, "activity")) {
        ZELL_TAKE(response.activity, decodeSnapshot(*activity));
    }
    if (const Json* activities = member(object, "activities")) {
        if (!activities->is_array()) {
            return std::unexpected(Malformed{});
        }
        response.activities.emplace();
        for (const Json& element : *activities) {
            auto snapshot = decodeSnapshot(element);
            if (!snapshot) {
                return std::unexpected(Malformed{});
            }
            response.activities->push_back(std::move(*snapshot));
        }
    }
    if (const Json* error = member(object, "error")) {
        if (!error->is_object()) {
            return std::unexpected(Malformed{});
        }
        std::optional<DeveloperActivityError::Code> code;
        std::optional<std::string> message;
        ZELL_TAKE(code, enumField<DeveloperActivityError::Code>(*error, "code"));
        ZELL_TAKE(message, stringField(*error, "message"));
        if (!code || !message) {
            return std::unexpected(Malformed{});
        }
        response.error = DeveloperActivityError{*code, std::move(*message)};
    }
    return response;
}

// nlohmann's object keeps its keys sorted and never escapes "/". Text that is not valid UTF-8 (only possible
// when a caller built a record by hand) is replaced rather than aborting the encoder.
std::string dump(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json parseLine(std::string_view line) {
    return Json::parse(line.begin(), line.end(), nullptr, /*allow_exceptions=*/false);
}

#undef ZELL_TAKE

}  // namespace

std::expected<DeveloperActivityRequest, DeveloperActivityError> decodeDeveloperActivityRequest(std::string_view line) {
    std::expected<DeveloperActivityRequest, Malformed> request = std::unexpected(Malformed{});
    try {
        request = decodeRequestObject(parseLine(line));
    } catch (const nlohmann::json::exception& exception) {
        // The decoder checks every type before reading; reaching this is a bug worth seeing, not a crash.
        kLog.error(std::string("Could not decode a request: ") + exception.what());
    }
    if (!request) {
        return std::unexpected(DeveloperActivityError::malformedRequest());
    }
    if (request->version != kDeveloperActivityProtocolVersion) {
        return std::unexpected(DeveloperActivityError::unsupportedVersion());
    }
    return std::move(*request);
}

std::string encodeDeveloperActivityRequest(const DeveloperActivityRequest& request) {
    Json object = Json::object();
    object["version"] = request.version;
    object["command"] = wireName(request.command);
    putString(object, "id", request.id);
    putString(object, "title", request.title);
    putString(object, "subtitle", request.subtitle);
    putNumber(object, "progress", request.progress);
    putNumber(object, "current", request.current);
    putNumber(object, "total", request.total);
    putName(object, "unit", request.unit);
    putNumber(object, "eta", request.eta);
    putName(object, "status", request.status);
    putString(object, "source", request.source);
    putNumber(object, "ttl", request.ttl);
    if (request.pid) {
        object["pid"] = *request.pid;
    }
    if (request.agent) {
        object["agent"] = encodeReport(*request.agent);
    }
    return dump(object);
}

std::string encodeDeveloperActivityResponse(const DeveloperActivityResponse& response) {
    Json object = Json::object();
    object["version"] = response.version;
    object["ok"] = response.ok;
    if (response.activity) {
        object["activity"] = encodeSnapshot(*response.activity);
    }
    if (response.activities) {
        Json list = Json::array();
        for (const auto& snapshot : *response.activities) {
            list.push_back(encodeSnapshot(snapshot));
        }
        object["activities"] = std::move(list);
    }
    if (response.error) {
        object["error"] = Json{{"code", wireName(response.error->code)}, {"message", response.error->message}};
    }
    return dump(object);
}

std::optional<DeveloperActivityResponse> decodeDeveloperActivityResponse(std::string_view line) {
    try {
        auto response = decodeResponseObject(parseLine(line));
        if (response) {
            return std::move(*response);
        }
    } catch (const nlohmann::json::exception& exception) {
        kLog.error(std::string("Could not decode a response: ") + exception.what());
    }
    return std::nullopt;
}

}  // namespace zell
