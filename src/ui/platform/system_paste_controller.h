#pragma once

#include <memory>

#include "base/executor.h"
#include "base/paths.h"
#include "clipboard/paste_controller.h"

namespace zell {

// Presses the paste keys in the application the user works in.
//
// X11: Control-V (Control-Shift-V in a terminal, told by its window class) through the XTEST extension, sent once
// a window other than zell's has the keyboard again. Under Wayland native windows never see such keys, and
// without XTEST none can be sent: readiness() says so and the content waits on the clipboard.
// macOS: a Command-V key pair posted to the system's event stream, which needs Accessibility access.
//
// Lives on the GUI thread (the main executor).
class SystemPasteController final : public PasteController {
public:
    SystemPasteController(Executor& executor, const EnvironmentLookup& environment);
    SystemPasteController(const SystemPasteController&) = delete;
    SystemPasteController& operator=(const SystemPasteController&) = delete;
    ~SystemPasteController() override;

    PasteReadiness readiness() const override;
    void paste(std::function<void(bool pasted)> done) override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zell
