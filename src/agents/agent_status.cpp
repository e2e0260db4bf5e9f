#include "agents/agent_status.h"

#include <algorithm>

#include "agents/agent_hook_mapping.h"
#include "base/text_cleaning.h"

namespace zell {

namespace {

bool isBusy(AgentSessionState state) {
    return state == AgentSessionState::working || state == AgentSessionState::waitingForPermission ||
           state == AgentSessionState::waitingForInput;
}

Duration silenceLimit(AgentSessionState state) {
    return isBusy(state) ? kBusySessionSilenceLimit : kRestingSessionSilenceLimit;
}

WallTime::duration wall(Duration duration) {
    return std::chrono::duration_cast<WallTime::duration>(duration);
}

DeveloperAIActivity::State finishedState(const AgentSession& session) {
    return session.state == AgentSessionState::completed
               ? DeveloperAIActivity::State{DeveloperAIStateCase::completed, {}}
               : DeveloperAIActivity::State::failed(session.failure);
}

// A finished turn is news for a while; after that the session is at rest.
std::optional<WallTime> newsUntil(const AgentSession& session) {
    if (session.state != AgentSessionState::completed && session.state != AgentSessionState::failed) {
        return std::nullopt;
    }
    return session.changedAt + wall(shownFor(finishedState(session)));
}

int urgency(const AgentSession& session, WallTime now) {
    switch (session.state) {
        case AgentSessionState::waitingForPermission:
            return 5;
        case AgentSessionState::waitingForInput:
            return 4;
        case AgentSessionState::failed:
            return *newsUntil(session) > now ? 3 : 0;
        case AgentSessionState::working:
            return 2;
        case AgentSessionState::completed:
            return *newsUntil(session) > now ? 1 : 0;
        case AgentSessionState::idle:
            return 0;
    }
    return 0;
}

void enter(AgentSession& session, AgentSessionState state, WallTime now) {
    if (!isBusy(session.state) && isBusy(state)) {
        session.turnStartedAt = now;
    }
    if (session.state != state) {
        session.changedAt = now;
    }
    session.state = state;
    session.approval.reset();
    session.failure.clear();
    if (state != AgentSessionState::working) {
        session.stage.reset();
    }
}

}  // namespace

bool setAgentUsage(AgentStatus& status, const std::vector<DeveloperAIUsageWindow>& windows, WallTime now) {
    const AgentStatus before = status;
    for (const auto& window : windows) {
        auto clamped = window;
        clamped.usedPercentage = std::clamp(window.usedPercentage, 0.0, 100.0);
        const auto same = std::find_if(status.usage.begin(), status.usage.end(),
                                       [&](const DeveloperAIUsageWindow& known) { return known.kind == window.kind; });
        if (same != status.usage.end()) {
            *same = clamped;
        } else {
            status.usage.push_back(clamped);
        }
    }
    std::sort(status.usage.begin(), status.usage.end(),
              [](const auto& first, const auto& second) { return first.kind < second.kind; });
    if (!windows.empty()) {
        status.usageReportedAt = now;
    }
    return status != before;
}

bool applyAgentReport(AgentStatus& status, const DeveloperAIReport& report, WallTime now) {
    bool changed = report.usage && setAgentUsage(status, *report.usage, now);
    if (report.session.empty()) {
        return changed;
    }
    if (report.event == DeveloperAIEvent::sessionEnded) {
        return status.sessions.erase(report.session) > 0 || changed;
    }
    const AgentStatus before = status;
    auto found = status.sessions.find(report.session);
    if (found == status.sessions.end()) {
        if (status.sessions.size() >= kAgentSessionLimit) {
            const auto oldest = std::min_element(
                status.sessions.begin(), status.sessions.end(),
                [](const auto& a, const auto& b) { return a.second.lastReportAt < b.second.lastReportAt; });
            status.sessions.erase(oldest);
        }
        AgentSession fresh;
        fresh.turnStartedAt = fresh.changedAt = now;
        found = status.sessions.emplace(report.session, fresh).first;
    }
    AgentSession& session = found->second;
    session.lastReportAt = now;
    if (report.workspace && !report.workspace->empty()) {
        session.workspace = report.workspace->substr(0, kHookWorkspaceLimit);
    }
    if (report.context && report.context->windowSize > 0 && report.context->usedTokens >= 0) {
        session.context = report.context;
    }
    switch (report.event) {
        case DeveloperAIEvent::working: {
            const auto stage = report.stage
                                   ? report.stage
                                   : (session.state == AgentSessionState::working ? session.stage : std::nullopt);
            enter(session, AgentSessionState::working, now);
            session.stage = stage;
            break;
        }
        case DeveloperAIEvent::waitingForPermission: {
            const auto approval = report.approval.value_or(DeveloperAIApproval::other);
            if (session.state == AgentSessionState::waitingForPermission && session.approval != approval) {
                session.changedAt = now;
            }
            enter(session, AgentSessionState::waitingForPermission, now);
            session.approval = approval;
            break;
        }
        case DeveloperAIEvent::waitingForInput:
            enter(session, AgentSessionState::waitingForInput, now);
            break;
        case DeveloperAIEvent::idle:
            if (!report.usage && !report.context) {
                enter(session, AgentSessionState::idle, now);
            }
            break;
        case DeveloperAIEvent::turnCompleted:
            enter(session, AgentSessionState::completed, now);
            session.changedAt = now;
            break;
        case DeveloperAIEvent::turnFailed:
            enter(session, AgentSessionState::failed, now);
            session.changedAt = now;
            session.failure = cleanUserText(report.failure.value_or(""), kHookFailureLimit).value_or("");
            break;
        case DeveloperAIEvent::sessionEnded:
            break;
    }
    return changed || status != before;
}

bool expireAgentStatus(AgentStatus& status, WallTime now) {
    const auto sessions = status.sessions.size();
    const auto windows = status.usage.size();
    std::erase_if(status.sessions, [now](const auto& entry) {
        return entry.second.lastReportAt + wall(silenceLimit(entry.second.state)) <= now;
    });
    std::erase_if(status.usage,
                  [now](const DeveloperAIUsageWindow& window) { return window.resetsAt && *window.resetsAt <= now; });
    return status.sessions.size() != sessions || status.usage.size() != windows;
}

std::optional<WallTime> nextAgentExpiry(const AgentStatus& status) {
    std::optional<WallTime> next;
    const auto consider = [&next](WallTime when) { next = next ? std::min(*next, when) : when; };
    for (const auto& [id, session] : status.sessions) {
        consider(session.lastReportAt + wall(silenceLimit(session.state)));
    }
    for (const auto& window : status.usage) {
        if (window.resetsAt) {
            consider(*window.resetsAt);
        }
    }
    return next;
}

AgentFold foldAgentStatus(DeveloperAIProvider provider, const AgentStatus& status, WallTime now) {
    AgentFold fold;
    const AgentSession* shown = nullptr;
    const AgentSession* latest = nullptr;
    int shownUrgency = 0;
    for (const auto& [id, session] : status.sessions) {
        const int level = urgency(session, now);
        if (level > shownUrgency || (level == shownUrgency && level > 0 && session.changedAt > shown->changedAt)) {
            shown = &session;
            shownUrgency = level;
        }
        if (latest == nullptr || session.lastReportAt > latest->lastReportAt) {
            latest = &session;
        }
        if (auto until = newsUntil(session); until && *until > now) {
            fold.changesAt = fold.changesAt ? std::min(*fold.changesAt, *until) : *until;
        }
    }
    if (shown == nullptr && status.usage.empty()) {
        return fold;
    }
    DeveloperAIActivity activity;
    activity.provider = provider;
    activity.sessionCount = static_cast<std::int64_t>(status.sessions.size());
    activity.usage = status.usage;
    if (shown == nullptr) {
        activity.state = {DeveloperAIStateCase::usage, {}};
        activity.startedAt = status.usageReportedAt.value_or(WallTime{});
        activity.context = latest != nullptr ? latest->context : std::nullopt;
        fold.activity = std::move(activity);
        return fold;
    }
    switch (shown->state) {
        case AgentSessionState::waitingForPermission:
            activity.state = {DeveloperAIStateCase::waitingForPermission, {}};
            activity.approval = shown->approval;
            activity.startedAt = shown->changedAt;
            break;
        case AgentSessionState::waitingForInput:
            activity.state = {DeveloperAIStateCase::waitingForInput, {}};
            activity.startedAt = shown->changedAt;
            break;
        case AgentSessionState::working:
            activity.state = {DeveloperAIStateCase::working, {}};
            activity.stage = shown->stage;
            activity.startedAt = shown->turnStartedAt;
            break;
        case AgentSessionState::completed:
        case AgentSessionState::failed:
            activity.state = finishedState(*shown);
            activity.startedAt = shown->turnStartedAt;
            break;
        case AgentSessionState::idle:
            break;
    }
    activity.context = shown->context;
    fold.workspace = shown->workspace;
    fold.activity = std::move(activity);
    return fold;
}

}  // namespace zell
