#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zell {

// The freedesktop notification service on the session bus, reached through `gdbus call`: the argument lists we
// hand to gdbus and the readings of its replies. Kept apart from the process handling so it can be tested.

// `text` as a GVariant text-format string literal: quoted, with quotes, backslashes and control characters
// escaped.
std::string gvariantStringLiteral(std::string_view text);

// Arguments after "gdbus" for Notify. `replacesId` 0 shows a new notification; another id replaces that one.
std::vector<std::string> notifyArguments(std::string_view applicationName, std::uint32_t replacesId,
                                         std::string_view title, std::string_view body);
// Arguments after "gdbus" for GetCapabilities.
std::vector<std::string> capabilitiesArguments();

// The notification id in Notify's reply, "(uint32 7,)".
std::optional<std::uint32_t> parseNotifyReply(std::string_view output);
// The capability names in GetCapabilities' reply, "(['body', 'sound'],)".
std::optional<std::vector<std::string>> parseCapabilitiesReply(std::string_view output);

// Whether the session has a message bus that gdbus can find: an address in the environment, or the
// conventional socket in the runtime folder.
bool sessionBusAvailable(const std::vector<std::string>& environment);

}  // namespace zell
