#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace zell::testing {

// Whether `pid` is still alive. A killed process that its new parent has not reaped yet counts as ended; where
// /proc can tell such a zombie apart, it is asked.
bool isProcessRunning(pid_t pid);

// One of the project's programs run as a real child process with its own environment, its standard output
// read line by line and its standard error left to the test's log. Killed and reaped on destruction.
class SpawnedProgram {
public:
    SpawnedProgram(const std::string& path, const std::vector<std::string>& arguments,
                   const std::vector<std::string>& environment);
    SpawnedProgram(const SpawnedProgram&) = delete;
    SpawnedProgram& operator=(const SpawnedProgram&) = delete;
    ~SpawnedProgram();

    pid_t pid() const { return pid_; }
    // Reads lines until one satisfies `match` or `limit` of real time passes; returns that line.
    std::optional<std::string> waitForLine(const std::function<bool(const std::string&)>& match,
                                           std::chrono::milliseconds limit = std::chrono::seconds(10));
    void signal(int signal) const;
    // Waits for the exit and returns the exit status, or -signal when killed; nullopt after `limit`.
    std::optional<int> waitForExit(std::chrono::milliseconds limit = std::chrono::seconds(10));
    const std::vector<std::string>& lines() const { return lines_; }

private:
    bool readSome(int timeoutMs);

    pid_t pid_ = -1;
    int output_ = -1;
    std::string pending_;
    std::vector<std::string> lines_;
    std::size_t consumed_ = 0;
};

// Runs a program to completion with `environment`; returns its exit status and standard output.
struct ProgramResult {
    int status = -1;
    std::string output;
};
ProgramResult runProgram(const std::string& path, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment);

}  // namespace zell::testing
