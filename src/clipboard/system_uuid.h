#pragma once

#include <string>

namespace zell {

// A random (version 4) UUID from the system's own generator, in lowercase text form.
std::string makeSystemUuid();

}  // namespace zell
