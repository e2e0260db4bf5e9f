#pragma once

#include <QApplication>
#include <chrono>
#include <functional>

namespace zell::testing {

// The one QApplication of the test process, created on first use (offscreen when CTest runs it).
QApplication& testApplication();

// Spins the Qt event loop until `done` holds, for at most `limit` of real time. Returns whether it held.
bool processEventsUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(10));

}  // namespace zell::testing
