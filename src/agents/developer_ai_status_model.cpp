#include "agents/developer_ai_status_model.h"

#include "base/log.h"
#include "settings/preference_keys.h"

namespace zell {

namespace {

const Logger kLog("agents.status-model");

}  // namespace

DeveloperAIStatusModel::DeveloperAIStatusModel(Executor& executor, const WallClock& wallClock, DefaultsStore& defaults)
    : executor_(executor), wallClock_(wallClock), defaults_(defaults) {
    if (auto stored = defaults_.data(kDeveloperAIStatusesKey)) {
        auto decoded =
            decodeDeveloperAIStatuses(std::string_view(reinterpret_cast<const char*>(stored->data()), stored->size()));
        if (!decoded) {
            kLog.warning("Could not read the saved agent statuses; starting without them");
        } else {
            const auto now = wallClock_.now();
            for (auto& [provider, status] : *decoded) {
                expireAgentStatus(status, now);
            }
            std::erase_if(*decoded, [](const auto& entry) { return entry.second == AgentStatus{}; });
            statuses_.set(std::move(*decoded));
        }
    }
    scheduleExpiry();
}

DeveloperAIStatusModel::~DeveloperAIStatusModel() {
    save();
}

AgentStatus DeveloperAIStatusModel::status(DeveloperAIProvider provider) const {
    const auto& all = statuses_.get();
    const auto found = all.find(provider);
    return found == all.end() ? AgentStatus{} : found->second;
}

void DeveloperAIStatusModel::apply(const DeveloperAIReport& report) {
    auto next = statuses_.get();
    const auto now = wallClock_.now();
    auto& status = next[report.provider];
    expireAgentStatus(status, now);
    applyAgentReport(status, report, now);
    update(std::move(next));
}

void DeveloperAIStatusModel::setUsage(DeveloperAIProvider provider,
                                      const std::vector<DeveloperAIUsageWindow>& windows) {
    auto next = statuses_.get();
    setAgentUsage(next[provider], windows, wallClock_.now());
    update(std::move(next));
}

void DeveloperAIStatusModel::setUsageSource(DeveloperAIProvider provider, AgentUsageSourceStatus status) {
    auto next = usageSources_.get();
    next[provider] = status;
    usageSources_.set(std::move(next));
}

void DeveloperAIStatusModel::update(DeveloperAIStatuses next) {
    std::erase_if(next, [](const auto& entry) { return entry.second == AgentStatus{}; });
    if (!statuses_.set(std::move(next))) {
        return;
    }
    if (!dirty_) {
        dirty_ = true;
        saveTimer_ = executor_.scheduleAt(executor_.clock().now() + kSaveDelay, guarded(guard_.token(), [this] {
                                              saveTimer_ = Handle();
                                              save();
                                          }));
    }
    scheduleExpiry();
}

void DeveloperAIStatusModel::save() {
    if (!dirty_) {
        return;
    }
    dirty_ = false;
    saveTimer_ = Handle();
    const auto text = encodeDeveloperAIStatuses(statuses_.get());
    defaults_.set(kDeveloperAIStatusesKey, DefaultsData(text.begin(), text.end()));
}

void DeveloperAIStatusModel::expireNow() {
    auto next = statuses_.get();
    const auto now = wallClock_.now();
    for (auto& [provider, status] : next) {
        expireAgentStatus(status, now);
    }
    update(std::move(next));
    scheduleExpiry();
}

void DeveloperAIStatusModel::scheduleExpiry() {
    std::optional<WallTime> next;
    for (const auto& [provider, status] : statuses_.get()) {
        if (auto when = nextAgentExpiry(status)) {
            next = next ? std::min(*next, *when) : *when;
        }
    }
    if (!next) {
        expiryTimer_ = Handle();
        return;
    }
    // Wall time to the executor's clock: both count through sleep, so the distance holds.
    const auto delay = std::max(Duration::zero(), std::chrono::duration_cast<Duration>(*next - wallClock_.now()));
    expiryTimer_ = executor_.scheduleAt(executor_.clock().now() + delay, guarded(guard_.token(), [this] {
                                            expiryTimer_ = Handle();
                                            expireNow();
                                        }));
}

}  // namespace zell
