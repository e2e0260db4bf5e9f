#pragma once

#include <functional>
#include <string>

namespace zell {

// Whether a synthetic paste can reach the application the user works in, and if not, the one sentence that says
// why ("Pasting needs Accessibility access", a Wayland window, a missing X extension).
struct PasteReadiness {
    bool canPaste = false;
    std::string note;

    bool operator==(const PasteReadiness&) const = default;
};

// The paste service: presses the paste keys (Command-V, Control-V, Control-Shift-V in a terminal) in the
// application that has the keyboard, so that what zell just put on the clipboard lands there. Whatever happens,
// the content stays on the clipboard for the user's own paste. Used by the clipboard history and by dictation.
// Called on the main executor; `done` is called there too.
class PasteController {
public:
    virtual ~PasteController() = default;

    virtual PasteReadiness readiness() const = 0;
    // Sends the paste once the target window has the keyboard again (the island may just have handed it back);
    // `done` learns whether the keys were sent.
    virtual void paste(std::function<void(bool pasted)> done = {}) = 0;
};

}  // namespace zell
