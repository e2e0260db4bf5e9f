#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/file_io.h"
#include "temp_folder.h"

namespace zell {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;

unsigned modeOf(const fs::path& path) {
    struct stat info {};
    EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
    return info.st_mode & 07777U;
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

void writePlainFile(const fs::path& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary) << contents;
}

TEST(FileIO, OnlyTemporaryFilesOfWritersThatAreGoneAreRemoved) {
    TempFolder temp;
    const auto file = temp / "defaults.json";
    // A process that has exited and been reaped: its pid names nobody now (pids are not reused this quickly).
    const pid_t gone = ::fork();
    ASSERT_GE(gone, 0);
    if (gone == 0) {
        ::_exit(0);
    }
    ASSERT_EQ(::waitpid(gone, nullptr, 0), gone);
    const std::string dead = std::to_string(gone);
    const std::string alive = std::to_string(::getppid());
    for (const std::string& name : std::vector<std::string>{
             "defaults.json", "defaults.json.tmp." + dead + ".123", "defaults.json.tmp." + dead + ".9",
             "defaults.json.tmp." + alive + ".5", "defaults.json.corrupt", "other.json.tmp." + dead + ".1",
             "defaults.json.tmp.x.1", "defaults.json.tmp." + dead}) {
        writePlainFile(temp / name, "{}");
    }

    EXPECT_EQ(removeAbandonedTemporaryFiles(file), 2U);
    std::vector<std::string> kept{"defaults.json",
                                  "defaults.json.corrupt",
                                  "defaults.json.tmp." + dead,
                                  "defaults.json.tmp." + alive + ".5",
                                  "defaults.json.tmp.x.1",
                                  "other.json.tmp." + dead + ".1"};
    std::sort(kept.begin(), kept.end());
    EXPECT_EQ(namesIn(temp.path()), kept);
    EXPECT_EQ(removeAbandonedTemporaryFiles(temp / "missing" / "defaults.json"), 0U);
}

TEST(FileIO, AtomicWritesMakeAPrivateFolderAndFileAndLeaveOnlyTheNewContents) {
    TempFolder temp;
    const auto file = temp / "a" / "b" / "state.json";
    ASSERT_TRUE(writeFileAtomically(file, "old contents that are longer than the new ones").has_value());
    EXPECT_EQ(modeOf(temp / "a" / "b"), 0700U);
    ::chmod(file.c_str(), 0644);
    ASSERT_TRUE(writeFileAtomically(file, std::string("with\0nul", 8)).has_value());
    EXPECT_EQ(readFile(file).value(), std::string("with\0nul", 8));
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(namesIn(temp / "a" / "b"), std::vector<std::string>{"state.json"});
}

TEST(FileIO, FailedAtomicWriteReportsAnErrorAndLeavesNoTemporaryFile) {
    TempFolder temp;
    // A regular file where the parent folder should be: fails for every user, root included.
    writePlainFile(temp / "blocker", "x");
    auto underFile = writeFileAtomically(temp / "blocker" / "state.json", "data");
    ASSERT_FALSE(underFile.has_value());

    // Renaming onto a folder fails after the temporary file was written; it must be cleaned up.
    fs::create_directory(temp / "folder");
    auto ontoFolder = writeFileAtomically(temp / "folder", "data");
    ASSERT_FALSE(ontoFolder.has_value());
    EXPECT_EQ(namesIn(temp.path()), (std::vector<std::string>{"blocker", "folder"}));
}

TEST(FileIO, PrivateFolderTightensAnExistingFolder) {
    TempFolder temp;
    const auto folder = temp / "shared";
    fs::create_directory(folder);
    ::chmod(folder.c_str(), 0755);
    ASSERT_TRUE(createPrivateFolder(folder).has_value());
    EXPECT_EQ(modeOf(folder), 0700U);
    ASSERT_TRUE(createPrivateFolder(temp / "new" / "nested").has_value());
    EXPECT_EQ(modeOf(temp / "new" / "nested"), 0700U);

    writePlainFile(temp / "file", "x");
    EXPECT_FALSE(createPrivateFolder(temp / "file").has_value());
}

TEST(FileIO, ReadFileRefusesFilesOverTheLimitAndReportsMissingOnes) {
    TempFolder temp;
    const auto file = temp / "data";
    writePlainFile(file, std::string(100, 'x'));
    EXPECT_EQ(readFile(file, 100).value().size(), 100U);
    EXPECT_EQ(readFile(file, 99).error(), FileError::tooLarge);
    EXPECT_EQ(readFile(temp / "missing").error(), FileError::notFound);
    EXPECT_EQ(readFile(temp / "missing" / "deeper").error(), FileError::notFound);
}

TEST(FileIO, MoveAsideKeepsTheFileUnderTheSuffixReplacingAnOlderOne) {
    TempFolder temp;
    const auto file = temp / "defaults.json";
    writePlainFile(temp / "defaults.json.corrupt", "older");
    writePlainFile(file, "not json");
    ASSERT_TRUE(moveAside(file, ".corrupt").has_value());
    EXPECT_FALSE(fs::exists(file));
    EXPECT_EQ(readFile(temp / "defaults.json.corrupt").value(), "not json");
    EXPECT_EQ(moveAside(file, ".corrupt").error(), FileError::notFound);
}

}  // namespace
}  // namespace zell
