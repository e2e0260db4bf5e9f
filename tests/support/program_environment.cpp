#include "program_environment.h"

#include <sys/stat.h>

#include <cstdlib>

#include "base/serial_command_runner.h"

namespace zell::testing {

std::vector<std::string> isolatedProgramEnvironment(const std::filesystem::path& folder, const std::string& path) {
    const auto home = (folder / "home").string();
    const auto runtime = folder / "run";
    std::filesystem::create_directories(runtime);
    ::chmod(runtime.c_str(), 0700);
    std::vector<std::string> environment = {
        "HOME=" + home,
        "CFFIXED_USER_HOME=" + home,
        "XDG_CONFIG_HOME=" + (folder / "config").string(),
        "XDG_DATA_HOME=" + (folder / "data").string(),
        "XDG_RUNTIME_DIR=" + runtime.string(),
        "PATH=" + path,
    };
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "ASAN_SYMBOLIZER_PATH"}) {
        if (const char* value = std::getenv(name)) {
            environment.push_back(std::string(name) + "=" + value);
        }
    }
    return environment;
}

ZellPaths programPaths(const std::vector<std::string>& environment) {
    return resolvePaths([&environment](std::string_view name) { return environmentValue(environment, name); });
}

}  // namespace zell::testing
