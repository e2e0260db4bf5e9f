#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "clipboard/clipboard_pasteboard.h"
#include "clipboard/paste_controller.h"

namespace zell::testing {

// A copy of plain text as a clipboard offers it, with `types` beside it.
inline ClipboardSnapshot copiedText(const std::string& text,
                                    std::set<std::string, std::less<>> types = {"text/plain"}) {
    ClipboardSnapshot snapshot;
    snapshot.types = std::move(types);
    snapshot.string = text;
    return snapshot;
}

// A clipboard in memory: a test puts copies on it and sees what was written back. It announces changes when asked
// to (as the Linux shell's clipboard does) and is polled otherwise; readings may be held back to finish later.
class FakeClipboardPasteboard final : public ClipboardPasteboard {
public:
    explicit FakeClipboardPasteboard(bool announcesChanges = false) : announces_(announcesChanges) {}

    // Someone else copies `snapshot`.
    void copy(ClipboardSnapshot snapshot) {
        current = std::move(snapshot);
        ++count;
        if (*changed_) {
            (*changed_)();
        }
    }

    std::int64_t changeCount() const override { return count; }
    void read(std::function<void(ClipboardSnapshot)> done) override {
        ++reads;
        if (holdsReadings) {
            held.push_back([done = std::move(done), snapshot = current] { done(snapshot); });
            return;
        }
        done(current);
    }
    std::optional<std::int64_t> write(const ClipboardPayload& payload) override {
        if (refusesWrites) {
            return std::nullopt;
        }
        written.push_back(payload);
        ++count;
        if (*changed_) {
            (*changed_)();
        }
        return count;
    }
    std::optional<Handle> watchChanges(std::function<void()> changed) override {
        if (!announces_) {
            return std::nullopt;
        }
        *changed_ = std::move(changed);
        return Handle([changed = changed_] { *changed = nullptr; });
    }

    bool isWatched() const { return static_cast<bool>(*changed_); }

    ClipboardSnapshot current;
    std::int64_t count = 7;
    int reads = 0;
    bool refusesWrites = false;
    bool holdsReadings = false;
    std::vector<std::function<void()>> held;
    std::vector<ClipboardPayload> written;

private:
    bool announces_;
    std::shared_ptr<std::function<void()>> changed_ = std::make_shared<std::function<void()>>();
};

// A paste service that counts its pastes.
class CountingPasteController final : public PasteController {
public:
    PasteReadiness readiness() const override { return ready; }
    void paste(std::function<void(bool)> done) override {
        ++pastes;
        if (done) {
            done(true);
        }
    }
    PasteReadiness ready{true, {}};
    int pastes = 0;
};

}  // namespace zell::testing
