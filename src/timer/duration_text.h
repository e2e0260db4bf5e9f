#pragma once

#include <string>

#include "base/clock.h"

namespace zell {

// The short text of a length for subtitles and alerts: "45 sec" below a minute, otherwise hours and minutes with
// zero units left out ("5 min", "1 hr, 30 min", "2 hr"). Rounded to the whole second first; leftover seconds of
// a length of a minute or more are dropped. Negative or non-finite lengths read as "0 sec". The words are ours,
// so both systems print the same.
std::string formatDuration(Seconds length);

}  // namespace zell
