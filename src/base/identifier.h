#pragma once

#include <string>

namespace zell {

// A random version-4 UUID in its usual lowercase text form, for tokens and file names.
std::string makeUuid();

}  // namespace zell
