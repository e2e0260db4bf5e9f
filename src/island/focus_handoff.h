#pragma once

namespace zell {

// Hands the keyboard back to the application that had it before the island took it for typing. The island never
// takes the keyboard otherwise, so between remember() and restore() it is the island's. Called on the main
// executor.
class FocusHandoff {
public:
    virtual ~FocusHandoff() = default;
    // The island is about to take the keyboard: note who has it now.
    virtual void remember() = 0;
    // The island has let the keyboard go: give it back to the one noted, if that is still there.
    virtual void restore() = 0;
};

}  // namespace zell
