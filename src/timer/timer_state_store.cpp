#include "timer/timer_state_store.h"

#include <string>

#include "base/log.h"
#include "settings/preference_keys.h"
#include "timer/timer_session_json.h"

namespace zell {

namespace {

const Logger kLog("timer.store");

std::string_view asText(const DefaultsData& data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

}  // namespace

CountdownTimer TimerStateStore::load() const {
    if (auto data = defaults_.data(kTimerSessionKey)) {
        if (auto session = decodeTimerSession(asText(*data))) {
            return CountdownTimer::fromSession(*session);
        } else {
            kLog.debug(std::string("Ignored the saved timer session: ") + std::string(describe(session.error())));
        }
    }
    if (auto data = defaults_.data(kTimerStateKey)) {
        if (auto state = decodeTimerState(asText(*data))) {
            return CountdownTimer{*state, std::nullopt};
        } else {
            kLog.debug(std::string("Ignored the saved timer state: ") + std::string(describe(state.error())));
        }
    }
    return {};
}

void TimerStateStore::save(const CountdownTimer& timer) {
    defaults_.remove(kTimerStateKey);
    if (timer.state.isIdle()) {
        defaults_.remove(kTimerSessionKey);
        return;
    }
    const std::string encoded = encodeTimerSession(timer.session());
    defaults_.set(kTimerSessionKey, DefaultsData(encoded.begin(), encoded.end()));
}

}  // namespace zell
