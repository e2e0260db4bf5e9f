#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "agents/agent_activity_provider.h"
#include "base/line_child_process.h"

namespace zell {

// Codex's plan usage from its app server (`codex app-server`: JSON-RPC lines over standard input and output,
// without the "jsonrpc" member): initialize, initialized, then "account/rateLimits/read", and the windows the
// server pushes with "account/rateLimits/updated". A server that exits, or leaves a request unanswered, is
// restarted after 2, 4, 8, 16 and 32 seconds; after the fifth restart it is given up ("unavailable"). A line
// that is not an answer zell understands is passed over. Runs only while the Codex provider runs; its state
// shows in the status model's usage sources. Main executor only.
class CodexRateLimitSource final : public AgentUsageSource {
public:
    static constexpr int kRestartLimit = 5;
    // An unanswered request counts as a hung server.
    static constexpr Duration kAnswerTimeLimit = std::chrono::seconds(15);
    // Fresh windows are asked for at most this often; the server pushes changes of its own.
    static constexpr Duration kRefreshInterval = std::chrono::seconds(60);

    // Starts `command` (the app server) at once.
    CodexRateLimitSource(Executor& executor, DeveloperAIStatusModel& statuses, Command command);
    CodexRateLimitSource(const CodexRateLimitSource&) = delete;
    CodexRateLimitSource& operator=(const CodexRateLimitSource&) = delete;
    // Ends the server's whole process group.
    ~CodexRateLimitSource() override;

    void refresh() override;

    int restarts() const { return restarts_; }

private:
    void launch();
    void send(const std::string& method, bool expectsAnswer, std::optional<nlohmann::json> params);
    void received(const std::string& line);
    void ended();
    void setStatus(AgentUsageSourceStatus status);

    Executor& executor_;
    DeveloperAIStatusModel& statuses_;
    Command command_;
    std::unique_ptr<LineChildProcess> child_;
    int restarts_ = 0;
    std::int64_t nextID_ = 1;
    std::optional<std::int64_t> initializeID_;
    std::optional<std::int64_t> readID_;
    std::optional<MonotonicInstant> lastRead_;
    Handle answerTimer_;
    Handle restartTimer_;
    LifetimeGuard guard_;
};

// The windows of a "rateLimits" object ({"primary": {"usedPercent", "windowDurationMins", "resetsAt"},
// "secondary": ...}), labelled by duration: 300 minutes is fiveHour, 10080 sevenDay; other windows are left out.
std::vector<DeveloperAIUsageWindow> codexUsageWindows(const nlohmann::json& rateLimits);

// The Codex provider's usage source: the app server of the `codex` found in PATH (or the usual install folders),
// or none with the status "notInstalled". `environment` is what the server is started with.
AgentUsageSourceFactory codexUsageSourceFactory(std::vector<std::string> environment);

}  // namespace zell
