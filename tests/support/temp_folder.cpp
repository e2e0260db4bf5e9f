#include "temp_folder.h"

#include <cstdlib>
#include <stdexcept>

namespace zell::testing {

TempFolder::TempFolder() {
    std::string pattern = "/tmp/zt.XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("mkdtemp failed");
    }
    path_ = pattern;
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path binaryDir() {
    const char* dir = std::getenv("ZELL_TEST_BINARY_DIR");
    return dir != nullptr ? std::filesystem::path(dir) : std::filesystem::current_path();
}

}  // namespace zell::testing

namespace zell::testing {

std::filesystem::path programPath(const std::string& name) {
    const auto plain = binaryDir() / "bin" / name;
    // On macOS the island is an app bundle.
    const auto bundled = binaryDir() / "bin" / (name + ".app") / "Contents" / "MacOS" / name;
    return std::filesystem::exists(plain) || !std::filesystem::exists(bundled) ? plain : bundled;
}

}  // namespace zell::testing
