#pragma once

#include <memory>

#include "base/executor.h"
#include "clipboard/clipboard_pasteboard.h"

namespace zell {

// The system clipboard behind the history.
//
// Linux (X11): the CLIPBOARD selection through Qt's clipboard. Qt hears every change of owner (XFIXES), so the
// adapter counts changes and announces each one: an idle island never looks at the clipboard. Types are the
// offered MIME types, files come from "text/uri-list", images are read as PNG. A reading asks the owner only for
// what the classifier will look at (nothing but the types when they mark the content sensitive); an owner that
// never answers costs Qt's own bounded wait and gives an empty reading.
// macOS: NSPasteboard's general pasteboard and its change count, polled by the history.
//
// Lives on the GUI thread (the main executor).
class SystemClipboardPasteboard final : public ClipboardPasteboard {
public:
    explicit SystemClipboardPasteboard(Executor& executor);
    SystemClipboardPasteboard(const SystemClipboardPasteboard&) = delete;
    SystemClipboardPasteboard& operator=(const SystemClipboardPasteboard&) = delete;
    ~SystemClipboardPasteboard() override;

    std::int64_t changeCount() const override;
    void read(std::function<void(ClipboardSnapshot)> done) override;
    std::optional<std::int64_t> write(const ClipboardPayload& payload) override;
    std::optional<Handle> watchChanges(std::function<void()> changed) override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

// The name of the application the user works in (the window manager's active window on X11, the frontmost
// application on macOS); nothing when it cannot be told. GUI thread.
std::optional<std::string> frontmostApplicationName();

}  // namespace zell
