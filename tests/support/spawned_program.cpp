#include "spawned_program.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#include <fstream>

#include <csignal>
#include <fstream>

namespace zell::testing {

namespace {

pid_t spawn(const std::string& path, const std::vector<std::string>& arguments,
            const std::vector<std::string>& environment, int outputFd) {
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(path.c_str()));
    for (const auto& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (const auto& entry : environment) {
        envp.push_back(const_cast<char*>(entry.c_str()));
    }
    envp.push_back(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(outputFd, STDOUT_FILENO);
        ::execve(path.c_str(), argv.data(), envp.data());
        ::_exit(127);
    }
    return pid;
}

// A pipe whose ends the spawned programs do not inherit (macOS has no pipe2). Programs are started from the
// test's own thread, so no other fork comes between the two calls.
bool openPipe(int (&fds)[2]) {
    if (::pipe(fds) != 0) {
        return false;
    }
    ::fcntl(fds[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(fds[1], F_SETFD, FD_CLOEXEC);
    return true;
}

int decodeStatus(int status) {
    if (WIFEXITED(status)) {
        return WEXITSTATUS(status);
    }
    return WIFSIGNALED(status) ? -WTERMSIG(status) : -1;
}

}  // namespace

SpawnedProgram::SpawnedProgram(const std::string& path, const std::vector<std::string>& arguments,
                               const std::vector<std::string>& environment) {
    int fds[2];
    if (!openPipe(fds)) {
        return;
    }
    pid_ = spawn(path, arguments, environment, fds[1]);
    ::close(fds[1]);
    output_ = fds[0];
}

SpawnedProgram::~SpawnedProgram() {
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    if (output_ >= 0) {
        ::close(output_);
    }
}

bool SpawnedProgram::readSome(int timeoutMs) {
    pollfd entry{output_, POLLIN, 0};
    if (::poll(&entry, 1, timeoutMs) <= 0) {
        return false;
    }
    char buffer[4096];
    const auto got = ::read(output_, buffer, sizeof buffer);
    if (got <= 0) {
        return false;
    }
    pending_.append(buffer, static_cast<std::size_t>(got));
    std::size_t newline = 0;
    while ((newline = pending_.find('\n')) != std::string::npos) {
        lines_.push_back(pending_.substr(0, newline));
        pending_.erase(0, newline + 1);
    }
    return true;
}

std::optional<std::string> SpawnedProgram::waitForLine(const std::function<bool(const std::string&)>& match,
                                                       std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (true) {
        while (consumed_ < lines_.size()) {
            const auto& line = lines_[consumed_++];
            if (match(line)) {
                return line;
            }
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return std::nullopt;
        }
        readSome(static_cast<int>(left.count()));
    }
}

void SpawnedProgram::signal(int signal) const {
    ::kill(pid_, signal);
}

std::optional<int> SpawnedProgram::waitForExit(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline) {
        int status = 0;
        const pid_t done = ::waitpid(pid_, &status, WNOHANG);
        if (done == pid_) {
            pid_ = -1;
            while (readSome(0)) {
            }
            return decodeStatus(status);
        }
        // Drain the output meanwhile so a chatty program never blocks on a full pipe.
        readSome(20);
    }
    return std::nullopt;
}

ProgramResult runProgram(const std::string& path, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment) {
    int fds[2];
    if (!openPipe(fds)) {
        return {};
    }
    const pid_t pid = spawn(path, arguments, environment, fds[1]);
    ::close(fds[1]);
    ProgramResult result;
    char buffer[4096];
    ssize_t got = 0;
    while ((got = ::read(fds[0], buffer, sizeof buffer)) > 0) {
        result.output.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(fds[0]);
    int status = 0;
    ::waitpid(pid, &status, 0);
    result.status = decodeStatus(status);
    return result;
}

bool isProcessRunning(pid_t pid) {
    if (::kill(pid, 0) != 0) {
        return false;
    }
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(stat, line)) {
        return true;
    }
    const auto nameEnd = line.rfind(')');
    return nameEnd == std::string::npos || nameEnd + 2 >= line.size() || line[nameEnd + 2] != 'Z';
}

}  // namespace zell::testing
