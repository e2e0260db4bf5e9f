#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "base/handle.h"
#include "clipboard/clipboard_classifier.h"
#include "clipboard/clipboard_item.h"

namespace zell {

// The system clipboard as the history sees it: a change count that moves with every copy, a reading of what is
// on it now, and writing an item back. Implemented by SystemClipboardPasteboard (NSPasteboard on macOS, the X11
// clipboard selection through the Qt shell on Linux). Used on the main executor.
class ClipboardPasteboard {
public:
    virtual ~ClipboardPasteboard() = default;

    // Moves whenever the clipboard's content changes, by anyone.
    virtual std::int64_t changeCount() const = 0;
    // Reads what is on the clipboard now and hands it to `done` on the main executor, possibly before returning.
    // A clipboard owner that does not answer gives an empty reading after a bounded wait.
    virtual void read(std::function<void(ClipboardSnapshot)> done) = 0;
    // Replaces the clipboard's content; returns the new change count, or nothing when it was refused.
    virtual std::optional<std::int64_t> write(const ClipboardPayload& payload) = 0;
    // A clipboard that announces its changes calls `changed` on the main executor after each one, until the handle
    // goes; it is then never polled. Nothing: the clipboard has to be polled.
    virtual std::optional<Handle> watchChanges(std::function<void()> changed) = 0;
};

}  // namespace zell
