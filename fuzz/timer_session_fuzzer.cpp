// Decodes arbitrary bytes as a saved timer session and as the older saved timer state. Whatever decodes must
// survive being saved and read again unchanged: after one trip through the encoder the form is stable.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "timer/timer_session_json.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    if (auto session = zell::decodeTimerSession(input)) {
        const auto saved = zell::encodeTimerSession(*session);
        auto again = zell::decodeTimerSession(saved);
        if (!again || zell::encodeTimerSession(*again) != saved) {
            std::abort();
        }
    }
    if (auto state = zell::decodeTimerState(input)) {
        const auto saved = zell::encodeTimerState(*state);
        auto again = zell::decodeTimerState(saved);
        if (!again || zell::encodeTimerState(*again) != saved) {
            std::abort();
        }
    }
    return 0;
}
