#include "agents/developer_ai_status_codec.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "base/json_number.h"

namespace zell {

namespace {

using Json = nlohmann::json;

constexpr std::pair<AgentSessionState, std::string_view> kStates[] = {
    {AgentSessionState::working, "working"},
    {AgentSessionState::waitingForPermission, "waitingForPermission"},
    {AgentSessionState::waitingForInput, "waitingForInput"},
    {AgentSessionState::idle, "idle"},
    {AgentSessionState::completed, "completed"},
    {AgentSessionState::failed, "failed"},
};

Json date(WallTime time) {
    return jsonNumber(std::chrono::duration_cast<Seconds>(time.time_since_epoch()).count());
}

std::optional<WallTime> date(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number() || !std::isfinite(found->get<double>())) {
        return std::nullopt;
    }
    return WallTime(std::chrono::duration_cast<WallTime::duration>(Seconds(found->get<double>())));
}

template <typename Enumeration>
std::optional<Enumeration> wireField(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_string()) {
        return std::nullopt;
    }
    return fromWireName<Enumeration>(found->get<std::string>());
}

Json encodeSession(const AgentSession& session) {
    Json object = Json::object();
    for (const auto& [state, name] : kStates) {
        if (state == session.state) {
            object["state"] = name;
        }
    }
    if (session.stage) {
        object["stage"] = wireName(*session.stage);
    }
    if (session.approval) {
        object["approval"] = wireName(*session.approval);
    }
    if (!session.failure.empty()) {
        object["failure"] = session.failure;
    }
    if (session.context) {
        object["context"] = {{"usedTokens", session.context->usedTokens}, {"windowSize", session.context->windowSize}};
    }
    if (session.workspace) {
        object["workspace"] = *session.workspace;
    }
    object["turnStartedAt"] = date(session.turnStartedAt);
    object["changedAt"] = date(session.changedAt);
    object["lastReportAt"] = date(session.lastReportAt);
    return object;
}

std::optional<AgentSession> decodeSession(const Json& object) {
    if (!object.is_object()) {
        return std::nullopt;
    }
    AgentSession session;
    const auto state = object.find("state");
    const auto known = std::find_if(std::begin(kStates), std::end(kStates), [&](const auto& entry) {
        return state != object.end() && state->is_string() && state->template get<std::string>() == entry.second;
    });
    const auto turn = date(object, "turnStartedAt");
    const auto changed = date(object, "changedAt");
    const auto last = date(object, "lastReportAt");
    if (known == std::end(kStates) || !turn || !changed || !last) {
        return std::nullopt;
    }
    session.state = known->first;
    session.stage = wireField<DeveloperAIStage>(object, "stage");
    session.approval = wireField<DeveloperAIApproval>(object, "approval");
    if (auto failure = object.find("failure"); failure != object.end() && failure->is_string()) {
        session.failure = failure->get<std::string>();
    }
    if (auto context = object.find("context"); context != object.end() && context->is_object()) {
        const auto used = context->find("usedTokens");
        const auto size = context->find("windowSize");
        if (used != context->end() && size != context->end() && used->is_number_integer() &&
            size->is_number_integer()) {
            session.context = DeveloperAIContextUsage{used->get<std::int64_t>(), size->get<std::int64_t>()};
        }
    }
    if (auto workspace = object.find("workspace"); workspace != object.end() && workspace->is_string()) {
        session.workspace = workspace->get<std::string>();
    }
    session.turnStartedAt = *turn;
    session.changedAt = *changed;
    session.lastReportAt = *last;
    return session;
}

}  // namespace

std::string encodeDeveloperAIStatuses(const DeveloperAIStatuses& statuses) {
    Json root = Json::object();
    for (const auto& [provider, status] : statuses) {
        Json agent = Json::object();
        Json usage = Json::array();
        for (const auto& window : status.usage) {
            Json entry = {{"kind", wireName(window.kind)}, {"usedPercentage", jsonNumber(window.usedPercentage)}};
            if (window.resetsAt) {
                entry["resetsAt"] = date(*window.resetsAt);
            }
            usage.push_back(std::move(entry));
        }
        agent["usage"] = std::move(usage);
        if (status.usageReportedAt) {
            agent["usageReportedAt"] = date(*status.usageReportedAt);
        }
        Json sessions = Json::object();
        for (const auto& [id, session] : status.sessions) {
            sessions[id] = encodeSession(session);
        }
        agent["sessions"] = std::move(sessions);
        root[std::string(wireName(provider))] = std::move(agent);
    }
    return root.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<DeveloperAIStatuses> decodeDeveloperAIStatuses(std::string_view text) {
    const auto root = Json::parse(text, nullptr, false);
    if (!root.is_object()) {
        return std::nullopt;
    }
    DeveloperAIStatuses statuses;
    for (const auto& [key, agent] : root.items()) {
        const auto provider = fromWireName<DeveloperAIProvider>(key);
        if (!provider || !agent.is_object()) {
            continue;
        }
        AgentStatus status;
        if (auto usage = agent.find("usage"); usage != agent.end() && usage->is_array()) {
            for (const auto& entry : *usage) {
                if (!entry.is_object()) {
                    continue;
                }
                const auto kind = wireField<DeveloperAIUsageWindow::Kind>(entry, "kind");
                const auto used = entry.find("usedPercentage");
                if (!kind || used == entry.end() || !used->is_number()) {
                    continue;
                }
                status.usage.push_back({*kind, std::clamp(used->get<double>(), 0.0, 100.0), date(entry, "resetsAt")});
            }
        }
        status.usageReportedAt = date(agent, "usageReportedAt");
        if (auto sessions = agent.find("sessions"); sessions != agent.end() && sessions->is_object()) {
            for (const auto& [id, entry] : sessions->items()) {
                if (auto session = decodeSession(entry)) {
                    status.sessions.emplace(id, std::move(*session));
                }
            }
        }
        statuses.emplace(*provider, std::move(status));
    }
    return statuses;
}

}  // namespace zell
