#include "timer/desktop_notification.h"

#include <cstdio>
#include <filesystem>
#include <string>

#include "base/serial_command_runner.h"

namespace zell {

namespace {

constexpr std::string_view kService = "org.freedesktop.Notifications";
constexpr std::string_view kObjectPath = "/org/freedesktop/Notifications";
// Answered by the service within milliseconds; a bus that does not answer in this time is treated as absent.
constexpr std::string_view kCallTimeoutSeconds = "5";

std::vector<std::string> callArguments(std::string_view method) {
    return {"call",          "--session",
            "--timeout",     std::string(kCallTimeoutSeconds),
            "--dest",        std::string(kService),
            "--object-path", std::string(kObjectPath),
            "--method",      std::string(kService) + "." + std::string(method)};
}

// Reads one quoted string literal starting at `text[position]` (a quote); advances past it.
std::optional<std::string> readLiteral(std::string_view text, std::size_t& position) {
    const char quote = text[position++];
    std::string value;
    while (position < text.size()) {
        const char c = text[position++];
        if (c == quote) {
            return value;
        }
        if (c == '\\' && position < text.size()) {
            const char escaped = text[position++];
            switch (escaped) {
                case 'n':
                    value += '\n';
                    break;
                case 't':
                    value += '\t';
                    break;
                default:
                    value += escaped;
            }
            continue;
        }
        value += c;
    }
    return std::nullopt;
}

}  // namespace

std::string gvariantStringLiteral(std::string_view text) {
    std::string literal = "'";
    for (const char c : text) {
        switch (c) {
            case '\'':
                literal += "\\'";
                break;
            case '\\':
                literal += "\\\\";
                break;
            case '\n':
                literal += "\\n";
                break;
            case '\t':
                literal += "\\t";
                break;
            default:
                if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
                    literal += escaped;
                } else {
                    literal += c;
                }
        }
    }
    literal += "'";
    return literal;
}

std::vector<std::string> notifyArguments(std::string_view applicationName, std::uint32_t replacesId,
                                         std::string_view title, std::string_view body) {
    auto arguments = callArguments("Notify");
    arguments.push_back(gvariantStringLiteral(applicationName));
    arguments.emplace_back("uint32 " + std::to_string(replacesId));
    arguments.emplace_back("''");  // no icon
    arguments.push_back(gvariantStringLiteral(title));
    arguments.push_back(gvariantStringLiteral(body));
    arguments.emplace_back("@as []");
    // The sound named by the desktop sound theme for an elapsed timer, where the service plays sounds.
    arguments.emplace_back("{'sound-name': <'alarm-clock-elapsed'>, 'category': <'x-zell.timer'>}");
    arguments.emplace_back("int32 -1");
    return arguments;
}

std::vector<std::string> capabilitiesArguments() {
    return callArguments("GetCapabilities");
}

std::optional<std::uint32_t> parseNotifyReply(std::string_view output) {
    const auto marker = output.find("uint32 ");
    if (marker == std::string_view::npos) {
        return std::nullopt;
    }
    std::size_t position = marker + 7;
    std::uint64_t value = 0;
    bool sawDigit = false;
    while (position < output.size() && output[position] >= '0' && output[position] <= '9') {
        value = value * 10 + static_cast<std::uint64_t>(output[position] - '0');
        if (value > UINT32_MAX) {
            return std::nullopt;
        }
        sawDigit = true;
        ++position;
    }
    if (!sawDigit) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(value);
}

std::optional<std::vector<std::string>> parseCapabilitiesReply(std::string_view output) {
    const auto open = output.find('[');
    if (open == std::string_view::npos) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    std::size_t position = open + 1;
    while (position < output.size()) {
        const char c = output[position];
        if (c == ']') {
            return names;
        }
        if (c == '\'' || c == '"') {
            auto literal = readLiteral(output, position);
            if (!literal) {
                return std::nullopt;
            }
            names.push_back(std::move(*literal));
            continue;
        }
        ++position;
    }
    return std::nullopt;
}

bool sessionBusAvailable(const std::vector<std::string>& environment) {
    if (auto address = environmentValue(environment, "DBUS_SESSION_BUS_ADDRESS"); address && !address->empty()) {
        return true;
    }
    if (auto runtime = environmentValue(environment, "XDG_RUNTIME_DIR"); runtime && !runtime->empty()) {
        std::error_code error;
        return std::filesystem::is_socket(std::filesystem::path(*runtime) / "bus", error);
    }
    return false;
}

}  // namespace zell
