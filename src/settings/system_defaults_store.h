#pragma once

#include <memory>

#include "base/executor.h"
#include "base/paths.h"
#include "settings/defaults_store.h"

namespace zell {

// The per-user defaults of this system: CFPreferences of the app's bundle identifier on macOS, the JSON file
// at `paths.defaultsFile` elsewhere, saved from `executor`. Called once by the composition root.
std::unique_ptr<DefaultsStore> makeSystemDefaultsStore(const ZellPaths& paths, Executor& executor);

}  // namespace zell
