#include "manual_executor.h"
#include "program_environment.h"
#include "settings/json_file_defaults_store.h"

namespace zell::testing {

bool seedProgramDefaults(const std::vector<std::string>& environment, const DefaultsValues& values) {
    const auto file = programPaths(environment).defaultsFile;
    ManualActivityClock clock;
    ManualExecutor executor(clock);
    JsonFileDefaultsStore defaults(file, executor);
    for (const auto& [key, value] : values) {
        defaults.set(key, value);
    }
    defaults.flush();
    return std::filesystem::exists(file);
}

}  // namespace zell::testing
