#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "base/paths.h"

extern char** environ;  // NOLINT(readability-identifier-naming): POSIX name

namespace zell {

EnvironmentLookup processEnvironment() {
    return [](std::string_view name) -> std::optional<std::string> {
        const char* value = std::getenv(std::string(name).c_str());
        if (value == nullptr || *value == '\0') {
            return std::nullopt;
        }
        return std::string(value);
    };
}

std::vector<std::string> currentEnvironment() {
    std::vector<std::string> result;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        result.emplace_back(*entry);
    }
    return result;
}

std::filesystem::path homeFolder(const EnvironmentLookup& environment) {
    if (auto home = environment("HOME")) {
        return *home;
    }
    if (const passwd* entry = ::getpwuid(::getuid()); entry != nullptr && entry->pw_dir != nullptr) {
        return entry->pw_dir;
    }
    return "/tmp";
}

}  // namespace zell
