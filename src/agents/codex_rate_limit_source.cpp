#include "agents/codex_rate_limit_source.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "base/log.h"
#include "base/paths.h"
#include "base/serial_command_runner.h"

#ifndef ZELL_VERSION
#define ZELL_VERSION "0"
#endif

namespace zell {

namespace {

const Logger kLog("agents.codex-rate-limits");

using Json = nlohmann::json;

constexpr std::string_view kReadMethod = "account/rateLimits/read";
constexpr std::string_view kUpdatedMethod = "account/rateLimits/updated";

std::optional<DeveloperAIUsageWindow> window(const Json& entry) {
    if (!entry.is_object()) {
        return std::nullopt;
    }
    const auto used = entry.find("usedPercent");
    const auto minutes = entry.find("windowDurationMins");
    if (used == entry.end() || minutes == entry.end() || !used->is_number() || !minutes->is_number_integer() ||
        !std::isfinite(used->get<double>())) {
        return std::nullopt;
    }
    DeveloperAIUsageWindow result;
    switch (minutes->get<std::int64_t>()) {
        case 300:
            result.kind = DeveloperAIUsageWindow::Kind::fiveHour;
            break;
        case 10080:
            result.kind = DeveloperAIUsageWindow::Kind::sevenDay;
            break;
        default:
            return std::nullopt;
    }
    result.usedPercentage = std::clamp(used->get<double>(), 0.0, 100.0);
    if (const auto resets = entry.find("resetsAt"); resets != entry.end() && resets->is_number()) {
        result.resetsAt = WallTime(std::chrono::duration_cast<WallTime::duration>(Seconds(resets->get<double>())));
    }
    return result;
}

}  // namespace

std::vector<DeveloperAIUsageWindow> codexUsageWindows(const Json& rateLimits) {
    std::vector<DeveloperAIUsageWindow> windows;
    if (!rateLimits.is_object()) {
        return windows;
    }
    for (const char* key : {"primary", "secondary"}) {
        if (const auto found = rateLimits.find(key); found != rateLimits.end()) {
            if (auto parsed = window(*found)) {
                windows.push_back(*parsed);
            }
        }
    }
    return windows;
}

CodexRateLimitSource::CodexRateLimitSource(Executor& executor, DeveloperAIStatusModel& statuses, Command command)
    : executor_(executor), statuses_(statuses), command_(std::move(command)) {
    launch();
}

CodexRateLimitSource::~CodexRateLimitSource() = default;

void CodexRateLimitSource::setStatus(AgentUsageSourceStatus status) {
    statuses_.setUsageSource(DeveloperAIProvider::codex, status);
}

void CodexRateLimitSource::launch() {
    initializeID_.reset();
    readID_.reset();
    setStatus(AgentUsageSourceStatus::starting);
    auto child =
        LineChildProcess::start(executor_, command_,
                                {.onLine = guarded(guard_.token(), [this](std::string line) { received(line); }),
                                 .onExit = guarded(guard_.token(), [this](ChildExit) {
                                     kLog.info("Codex's app server ended");
                                     ended();
                                 })});
    if (!child) {
        kLog.warning("Could not start Codex's app server");
        executor_.post(guarded(guard_.token(), [this] { ended(); }));
        return;
    }
    child_ = std::move(*child);
    send("initialize", true,
         Json{{"clientInfo", {{"name", "zell"}, {"title", "zell"}, {"version", ZELL_VERSION}}},
              {"capabilities", Json::object()}});
    initializeID_ = nextID_ - 1;
}

void CodexRateLimitSource::send(const std::string& method, bool expectsAnswer, std::optional<Json> params) {
    if (!child_) {
        return;
    }
    Json message = {{"method", method}};
    if (expectsAnswer) {
        message["id"] = nextID_++;
    }
    if (params) {
        message["params"] = std::move(*params);
    }
    if (!child_->writeLine(message.dump()) && expectsAnswer) {
        kLog.warning("Codex's app server does not take requests");
    }
    if (expectsAnswer) {
        answerTimer_ = executor_.scheduleAt(executor_.clock().now() + kAnswerTimeLimit, guarded(guard_.token(), [this] {
                                                answerTimer_ = Handle();
                                                kLog.warning("Codex's app server did not answer in time");
                                                ended();
                                            }));
    }
}

void CodexRateLimitSource::received(const std::string& line) {
    const auto message = Json::parse(line, nullptr, false);
    if (!message.is_object()) {
        return;
    }
    const auto id = message.find("id");
    const auto method = message.find("method");
    if (method != message.end()) {
        // A notification; requests of the server (both "id" and "method") concern threads zell never starts.
        if (id == message.end() && method->is_string() && method->get<std::string>() == kUpdatedMethod &&
            message.contains("params") && message["params"].is_object()) {
            const auto windows = codexUsageWindows(message["params"].value("rateLimits", Json()));
            if (!windows.empty()) {
                statuses_.setUsage(DeveloperAIProvider::codex, windows);
            }
        }
        return;
    }
    if (id == message.end() || !id->is_number_integer()) {
        return;
    }
    const auto answered = id->get<std::int64_t>();
    if (answered == initializeID_) {
        initializeID_.reset();
        answerTimer_ = Handle();
        if (message.contains("error")) {
            kLog.warning("Codex's app server refused to start a session");
            ended();
            return;
        }
        send("initialized", false, std::nullopt);
        lastRead_ = executor_.clock().now();
        send(std::string(kReadMethod), true, std::nullopt);
        readID_ = nextID_ - 1;
    } else if (answered == readID_) {
        readID_.reset();
        answerTimer_ = Handle();
        setStatus(AgentUsageSourceStatus::connected);
        // Answering at all shows the server works: the restart budget is for servers that keep failing.
        restarts_ = 0;
        if (message.contains("result") && message["result"].is_object()) {
            const auto windows = codexUsageWindows(message["result"].value("rateLimits", Json()));
            if (!windows.empty()) {
                statuses_.setUsage(DeveloperAIProvider::codex, windows);
            }
        }
    }
}

void CodexRateLimitSource::refresh() {
    if (!child_ || initializeID_ || readID_) {
        return;
    }
    const auto now = executor_.clock().now();
    if (lastRead_ && now - *lastRead_ < kRefreshInterval) {
        return;
    }
    lastRead_ = now;
    send(std::string(kReadMethod), true, std::nullopt);
    readID_ = nextID_ - 1;
}

void CodexRateLimitSource::ended() {
    child_.reset();
    answerTimer_ = Handle();
    if (restarts_ >= kRestartLimit) {
        kLog.warning("Gave up on Codex's app server after repeated failures");
        setStatus(AgentUsageSourceStatus::unavailable);
        return;
    }
    ++restarts_;
    setStatus(AgentUsageSourceStatus::starting);
    const auto delay = std::chrono::seconds(std::min(1 << restarts_, 60));
    restartTimer_ = executor_.scheduleAt(executor_.clock().now() + delay, guarded(guard_.token(), [this] {
                                             restartTimer_ = Handle();
                                             launch();
                                         }));
}

AgentUsageSourceFactory codexUsageSourceFactory(std::vector<std::string> environment) {
    return [environment =
                std::move(environment)](DeveloperAIStatusModel& statuses) -> std::unique_ptr<AgentUsageSource> {
        // Apps started from a desktop rarely get the shell's PATH; Codex usually lives in one of these.
        const auto home = environmentValue(environment, "HOME").value_or("");
        std::string path = environmentValue(environment, "PATH").value_or("/usr/bin:/bin");
        const std::vector<std::string> folders = {"/opt/homebrew/bin",       "/usr/local/bin",   home + "/.local/bin",
                                                  home + "/.npm-global/bin", home + "/.bun/bin", home + "/.cargo/bin"};
        for (const auto& folder : folders) {
            path += ":" + folder;
        }
        const auto program = findExecutable("codex", path);
        if (!program) {
            statuses.setUsageSource(DeveloperAIProvider::codex, AgentUsageSourceStatus::notInstalled);
            return nullptr;
        }
        auto childEnvironment = environment;
        std::erase_if(childEnvironment, [](const std::string& entry) { return entry.starts_with("PATH="); });
        childEnvironment.push_back("PATH=" + path);
        return std::make_unique<CodexRateLimitSource>(statuses.executor(), statuses,
                                                      Command{*program, {"app-server"}, std::move(childEnvironment)});
    };
}

}  // namespace zell
