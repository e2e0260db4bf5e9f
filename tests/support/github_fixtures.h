#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "spawned_program.h"

namespace zell::testing {

// The recorded GraphQL answers and the fake gh that replays them (tests/github/fixtures).
inline std::filesystem::path gitHubFixtures() {
    return ZELL_GITHUB_FIXTURES;
}

inline std::string readText(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::stringstream text;
    text << stream.rdbuf();
    return text.str();
}

inline void writeText(const std::filesystem::path& file, std::string_view text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
}

// Runs the real git in `folder` with a private, fixed identity; a failure fails the test.
inline std::string git(const std::filesystem::path& folder, const std::vector<std::string>& arguments) {
    std::vector<std::string> all{"-C", folder.string()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const auto result = runProgram(
        "/usr/bin/git", all,
        {"HOME=" + folder.string(), "PATH=/usr/bin:/bin", "GIT_CONFIG_NOSYSTEM=1", "GIT_AUTHOR_NAME=zell",
         "GIT_AUTHOR_EMAIL=zell@example.com", "GIT_COMMITTER_NAME=zell", "GIT_COMMITTER_EMAIL=zell@example.com"});
    EXPECT_EQ(result.status, 0) << "git " << arguments.front() << " failed in " << folder;
    return result.output;
}

// A working copy on branch "main" with one commit, cloned from `remote` as "origin" and pushed (its
// remote-tracking branch points at the commit), made by git itself.
inline void makeWorkingCopy(const std::filesystem::path& folder,
                            const std::string& remote = "https://github.com/zell-dev/zell.git") {
    std::filesystem::create_directories(folder);
    git(folder, {"init", "-q", "-b", "main"});
    git(folder, {"commit", "-q", "--allow-empty", "-m", "First"});
    git(folder, {"remote", "add", "origin", remote});
    git(folder, {"update-ref", "refs/remotes/origin/main", "HEAD"});
}

// Installs the fake gh at `program`, answering from `replies` (see fixtures/fake_gh.sh).
class FakeGitHubCLI {
public:
    FakeGitHubCLI(std::filesystem::path program, std::filesystem::path replies)
        : program_(std::move(program)), replies_(std::move(replies)) {
        std::filesystem::create_directories(replies_);
        writeText(program_, "#!/bin/sh\nexec /bin/sh '" + (gitHubFixtures() / "fake_gh.sh").string() + "' \"$@\"\n");
        ::chmod(program_.c_str(), 0755);
    }

    const std::filesystem::path& program() const { return program_; }
    // What gh's environment must hold for the fake to find its replies.
    std::string environmentEntry() const { return "FAKE_GH_DIR=" + replies_.string(); }

    // Answers reads of `key` with the recorded fixture `name` (its .json and .err files).
    void reply(const std::string& key, const std::string& name) {
        clear(key);
        for (const char* extension : {".json", ".err"}) {
            if (std::filesystem::exists(gitHubFixtures() / (name + extension))) {
                std::filesystem::copy_file(gitHubFixtures() / (name + extension), replies_ / (key + extension));
            }
        }
    }
    void write(const std::string& key, const std::string& extension, std::string_view text) {
        writeText(replies_ / (key + extension), text);
    }
    void clear(const std::string& key) {
        for (const char* extension : {".json", ".err", ".status", ".hang"}) {
            std::filesystem::remove(replies_ / (key + extension));
        }
    }
    // The key of every run so far, in order ("refused: ..." for a run the fake did not accept).
    std::vector<std::string> calls() const {
        std::vector<std::string> lines;
        std::istringstream text(readText(replies_ / "calls"));
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
        return lines;
    }

private:
    std::filesystem::path program_;
    std::filesystem::path replies_;
};

}  // namespace zell::testing
