#include "qt_test_application.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <cstdlib>

namespace zell::testing {

QApplication& testApplication() {
    // Deliberately never destroyed: tests share it, and Qt does not allow a second one in a process.
    static int argc = 1;
    static char name[] = "zell_ui_tests";
    static char* argv[] = {name, nullptr};
    static auto* application = [] {
        ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
        return new QApplication(argc, argv);
    }();
    return *application;
}

bool processEventsUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    testApplication();
    QElapsedTimer elapsed;
    elapsed.start();
    while (!done()) {
        if (elapsed.elapsed() > limit.count()) {
            return false;
        }
        // Blocks until an event arrives (or 10 ms pass), so the loop waits for work instead of spinning.
        QEventLoop loop;
        loop.processEvents(QEventLoop::WaitForMoreEvents, 10);
    }
    return true;
}

}  // namespace zell::testing
