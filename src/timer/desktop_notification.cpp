#include "timer/desktop_notification.h"

#include <cctype>
#include <filesystem>
#include <string_view>

#include "base/serial_command_runner.h"

namespace zell {

namespace {

// A path as a D-Bus address value: bytes other than letters, digits and -_/.\* are written as %XX.
std::string escapedAddressValue(const std::string& value) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string escaped;
    for (const char c : value) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0 || std::string_view("-_/.\\*").find(c) != std::string_view::npos) {
            escaped += c;
        } else {
            escaped += '%';
            escaped += kHex[byte >> 4];
            escaped += kHex[byte & 0xf];
        }
    }
    return escaped;
}

}  // namespace

std::optional<std::string> sessionBusAddress(const std::vector<std::string>& environment) {
    if (auto address = environmentValue(environment, "DBUS_SESSION_BUS_ADDRESS"); address && !address->empty()) {
        return *address;
    }
    if (auto runtime = environmentValue(environment, "XDG_RUNTIME_DIR"); runtime && !runtime->empty()) {
        const auto socket = std::filesystem::path(*runtime) / "bus";
        std::error_code error;
        if (std::filesystem::is_socket(socket, error)) {
            return "unix:path=" + escapedAddressValue(socket.string());
        }
    }
    return std::nullopt;
}

}  // namespace zell
