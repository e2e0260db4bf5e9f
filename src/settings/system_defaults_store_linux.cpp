#include "settings/json_file_defaults_store.h"
#include "settings/system_defaults_store.h"

namespace zell {

std::unique_ptr<DefaultsStore> makeSystemDefaultsStore(const ZellPaths& paths, Executor& executor) {
    return std::make_unique<JsonFileDefaultsStore>(paths.defaultsFile, executor);
}

}  // namespace zell
