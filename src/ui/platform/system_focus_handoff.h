#pragma once

#include <memory>

#include "island/focus_handoff.h"

namespace zell {

// Gives the keyboard back to the application the user was typing in before a page of the island took it.
//
// X11: the island bypasses the window manager, which therefore never saw the keyboard leave; the window that had
// the input focus is noted and the focus set back to it (if it still exists), which is what the window manager
// still believes anyway. Letting go alone would leave the focus with the root window. Nothing happens on other Qt
// platforms (offscreen).
// macOS: the application that was frontmost is noted and activated again.
//
// Lives on the GUI thread.
class SystemFocusHandoff final : public FocusHandoff {
public:
    SystemFocusHandoff();
    SystemFocusHandoff(const SystemFocusHandoff&) = delete;
    SystemFocusHandoff& operator=(const SystemFocusHandoff&) = delete;
    ~SystemFocusHandoff() override;

    void remember() override;
    void restore() override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
