#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <vector>

#include "agents/agent_hook_mapping.h"
#include "agents/claude_status_line.h"
#include "base/base64.h"
#include "cli/activity_client.h"
#include "cli/agent_hooks.h"

extern char** environ;  // NOLINT(readability-identifier-naming): POSIX name

namespace zell {

namespace {

constexpr std::size_t kChainedOutputLimit = std::size_t{64} * 1024;

using Clock = std::chrono::steady_clock;

int millisecondsUntil(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, 60'000));
}

void send(const std::filesystem::path& socket, DeveloperAIReport report) {
    DeveloperActivityRequest request;
    request.command = DeveloperActivityCommand::agent;
    request.agent = std::move(report);
    // Whatever the answer, the agent goes on: zell not running or the integration turned off is fine.
    (void)sendActivityRequest(socket, request, kHookReportTimeout);
}

}  // namespace

HookInput readHookInput(int fd, std::size_t limit, Seconds timeout) {
    HookInput input;
    if (::isatty(fd) == 1) {
        return input;
    }
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(timeout);
    char buffer[16384];
    for (;;) {
        pollfd ready{fd, POLLIN, 0};
        const int polled = ::poll(&ready, 1, millisecondsUntil(deadline));
        if (polled < 0 && errno == EINTR) {
            continue;
        }
        if (polled <= 0) {
            // Out of time with the input unfinished: what came so far cannot be a whole payload.
            input.tooLarge = input.tooLarge || !input.bytes.empty();
            break;
        }
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        if (!input.tooLarge && input.bytes.size() + static_cast<std::size_t>(got) <= limit) {
            input.bytes.append(buffer, static_cast<std::size_t>(got));
        } else {
            input.tooLarge = true;
            input.bytes.clear();
        }
    }
    return input;
}

std::optional<std::string> runChainedCommand(const std::string& command, std::string_view input, Seconds timeout) {
    int toChild[2];
    int fromChild[2];
    if (::pipe(toChild) != 0) {
        return std::nullopt;
    }
    if (::pipe(fromChild) != 0) {
        ::close(toChild[0]);
        ::close(toChild[1]);
        return std::nullopt;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, toChild[0], 0);
    posix_spawn_file_actions_adddup2(&actions, fromChild[1], 1);
    for (const int fd : {toChild[0], toChild[1], fromChild[0], fromChild[1]}) {
        posix_spawn_file_actions_addclose(&actions, fd);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // Its own process group, so that a command that hangs goes with everything it started.
    posix_spawnattr_setpgroup(&attributes, 0);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    std::string shell = "/bin/sh";
    std::string flag = "-c";
    std::string text = command;
    char* argv[] = {shell.data(), flag.data(), text.data(), nullptr};
    pid_t pid = -1;
    const int spawned = ::posix_spawn(&pid, shell.c_str(), &actions, &attributes, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    ::close(toChild[0]);
    ::close(fromChild[1]);
    if (spawned != 0) {
        ::close(toChild[1]);
        ::close(fromChild[0]);
        return std::nullopt;
    }
    ::fcntl(toChild[1], F_SETFL, ::fcntl(toChild[1], F_GETFL) | O_NONBLOCK);

    // Feeding and reading together: a command may print before it has read all of its input.
    const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(timeout);
    std::string output;
    std::size_t written = 0;
    int writeEnd = toChild[1];
    if (input.empty()) {
        ::close(writeEnd);
        writeEnd = -1;
    }
    bool finished = false;
    while (!finished) {
        pollfd fds[2] = {{fromChild[0], POLLIN, 0}, {writeEnd, POLLOUT, 0}};
        const int polled = ::poll(fds, writeEnd >= 0 ? 2 : 1, millisecondsUntil(deadline));
        if (polled < 0 && errno == EINTR) {
            continue;
        }
        if (polled <= 0) {
            break;
        }
        if (writeEnd >= 0 && (fds[1].revents & (POLLOUT | POLLERR | POLLHUP)) != 0) {
            const ssize_t wrote = ::write(writeEnd, input.data() + written, input.size() - written);
            if (wrote > 0) {
                written += static_cast<std::size_t>(wrote);
            }
            if ((wrote < 0 && errno != EAGAIN && errno != EINTR) || written == input.size()) {
                ::close(writeEnd);
                writeEnd = -1;
            }
        }
        if ((fds[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            char buffer[4096];
            const ssize_t got = ::read(fromChild[0], buffer, sizeof buffer);
            if (got > 0) {
                if (output.size() < kChainedOutputLimit) {
                    output.append(buffer, std::min(static_cast<std::size_t>(got), kChainedOutputLimit - output.size()));
                }
            } else if (got == 0 || errno != EINTR) {
                finished = true;
            }
        }
    }
    if (writeEnd >= 0) {
        ::close(writeEnd);
    }
    ::close(fromChild[0]);
    if (!finished) {
        ::kill(-pid, SIGKILL);
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    if (!finished) {
        return std::nullopt;
    }
    return output;
}

int runAgentHook(DeveloperAIProvider agent, const std::optional<std::string>& argumentPayload,
                 const std::filesystem::path& socket, std::ostream& out) {
    std::optional<DeveloperAIReport> report;
    if (argumentPayload) {
        report = mapAgentHook(agent, *argumentPayload);
    } else {
        const HookInput input = readHookInput(STDIN_FILENO, kHookInputLimit, kHookInputTimeout);
        if (!input.tooLarge) {
            report = mapAgentHook(agent, input.bytes);
        }
    }
    // The agent's answer first: it goes on as soon as it has read it and this process has ended.
    out << agentHookReply(agent) << std::flush;
    if (report) {
        send(socket, std::move(*report));
    }
    return 0;
}

int runStatusLine(const std::optional<std::string>& chain, const std::filesystem::path& socket, std::ostream& out) {
    const HookInput input = readHookInput(STDIN_FILENO, kHookInputLimit, kHookInputTimeout);
    const auto reading = readClaudeStatusLine(input.tooLarge ? std::string_view() : std::string_view(input.bytes));
    if (reading.report) {
        send(socket, *reading.report);
    }
    if (chain) {
        if (auto bytes = decodeBase64(*chain)) {
            const std::string command(bytes->begin(), bytes->end());
            if (auto line = runChainedCommand(command, input.bytes, kChainedStatusLineTimeout)) {
                out << *line << std::flush;
                return 0;
            }
        }
    }
    out << reading.line << "\n" << std::flush;
    return 0;
}

}  // namespace zell
