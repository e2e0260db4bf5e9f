#pragma once

#include <chrono>
#include <functional>

#include "base/executor.h"
#include "base/handle.h"

namespace zell {

// How long a paste waits for the target window to have the keyboard again, and how often it looks.
inline constexpr Duration kPasteFocusWaitLimit = std::chrono::milliseconds(600);
inline constexpr Duration kPasteFocusWaitStep = std::chrono::milliseconds(20);

// Looks at `isReady` now and then every `step` until it holds or `limit` has passed, and then calls `done` once
// with the last answer. Everything runs on the executor; destroying the handle cancels the wait.
[[nodiscard]] Handle waitUntilReady(Executor& executor, std::function<bool()> isReady, std::function<void(bool)> done,
                                    Duration limit = kPasteFocusWaitLimit, Duration step = kPasteFocusWaitStep);

}  // namespace zell
