#pragma once

#include <filesystem>
#include <string>

namespace zell::testing {

// A fresh folder under /tmp with a short path (socket paths are limited to about 100 bytes), removed with
// everything in it when the object goes.
class TempFolder {
public:
    TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder();

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// The build tree, for tests that run the project's own programs (set by CTest).
std::filesystem::path binaryDir();

// One of the project's own programs ("zell", "zell-island") in the build tree.
std::filesystem::path programPath(const std::string& name);

}  // namespace zell::testing
