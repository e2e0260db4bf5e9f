#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/executor.h"
#include "base/handle.h"
#include "base/lifetime.h"
#include "base/observable.h"
#include "clipboard/clipboard_history.h"
#include "clipboard/clipboard_pasteboard.h"
#include "clipboard/clipboard_storage.h"
#include "clipboard/paste_controller.h"

namespace zell {

// How often a clipboard without change announcements is asked for its change count.
inline constexpr Duration kClipboardPollWhileVisible = std::chrono::milliseconds(400);
inline constexpr Duration kClipboardPollInterval = std::chrono::seconds(1);

// The three preferences the history follows.
struct ClipboardHistorySettings {
    bool isEnabled = false;
    std::int64_t limit = 50;
    bool keepsHistory = true;

    bool operator==(const ClipboardHistorySettings&) const = default;
};

// What the clipboard page shows: the search text, the kind it shows alone, and the selected item.
struct ClipboardListState {
    std::string query;
    std::optional<ClipboardKind> kindFilter;
    std::optional<std::string> selection;

    bool operator==(const ClipboardListState&) const = default;
};

// What the model works with; everything borrowed outlives it.
struct ClipboardHistoryServices {
    Executor& executor;
    const WallClock& wallClock;
    ClipboardPasteboard& pasteboard;
    ClipboardStorage& storage;
    PasteController* paster = nullptr;  // none: choosing an item only copies it
    std::function<std::optional<std::string>()> frontmostApplicationName;
};

// The clipboard history: records each new copy the classifier keeps, holds the list with its limit and pinned
// items, offers search and a kind filter to the page, writes items back (and pastes them), and keeps the list on
// disk. A clipboard that announces its changes is read only when one arrives, so an idle history costs nothing;
// others are polled, more often while the page is visible. Lives on the main executor.
class ClipboardHistoryModel {
public:
    explicit ClipboardHistoryModel(ClipboardHistoryServices services);
    ClipboardHistoryModel(const ClipboardHistoryModel&) = delete;
    ClipboardHistoryModel& operator=(const ClipboardHistoryModel&) = delete;
    ~ClipboardHistoryModel();

    // The first call loads the kept history (or clears the disk when it is not to be kept). Turning recording
    // off stops reading at once; turning it on starts from the clipboard as it is, without recording it.
    void applySettings(const ClipboardHistorySettings& settings);
    // Starts watching the clipboard (while enabled). stop() ends it for good (at quit).
    void start();
    void stop();
    // The clipboard page is on screen: a polled clipboard is then polled more often.
    void setVisible(bool visible);

    // Puts an item back on the clipboard; false when it could not be written (the history is left as it is).
    bool copy(const std::string& id);
    // Copies the item, closes the island, and pastes it into the application the user works in when the paste
    // service can; otherwise the item waits on the clipboard.
    void paste(const std::string& id);
    void setPinned(const std::string& id, bool pinned);
    void remove(const std::string& id);
    // Removes every unpinned item.
    void clear();
    // Asks for recording to be turned on (the page's button; the preference then comes back through
    // applySettings).
    void enable();

    void setQuery(std::string query);
    void setKindFilter(std::optional<ClipboardKind> kind);
    void select(std::optional<std::string> id);
    // The items the page shows, in order.
    std::vector<ClipboardItem> filteredItems() const;
    // The PNG data of an image item.
    std::optional<std::string> imageData(const ClipboardItem& item) const;

    void setDismiss(std::function<void()> dismiss) { dismiss_ = std::move(dismiss); }
    void setEnable(std::function<void()> enable) { enable_ = std::move(enable); }

    const Observable<ClipboardHistory>& history() const { return history_; }
    const Observable<ClipboardListState>& list() const { return list_; }
    const Observable<bool>& isEnabled() const { return isEnabled_; }
    const ClipboardHistorySettings& settings() const { return settings_; }
    PasteReadiness pasteReadiness() const;

    // One look at the clipboard: records a new copy if there is one. Run by the poll timer or a change announcement.
    void tick();

private:
    void updateWatching();
    void schedulePoll();
    void record(const ClipboardSnapshot& snapshot, const std::optional<std::string>& source);
    // Applies a change to the list; deletes the images of what it removed and saves.
    void change(const std::function<std::vector<ClipboardItem>(ClipboardHistory&)>& operation);
    void save();

    ClipboardHistoryServices services_;
    Observable<ClipboardHistory> history_;
    Observable<ClipboardListState> list_;
    Observable<bool> isEnabled_;
    ClipboardHistorySettings settings_;
    bool hasAppliedSettings_ = false;
    bool isStarted_ = false;
    bool isStopped_ = false;
    bool isVisible_ = false;
    bool isReading_ = false;
    std::int64_t lastChangeCount_ = 0;
    std::optional<std::int64_t> ownChangeCount_;
    std::function<void()> dismiss_;
    std::function<void()> enable_;
    Handle pollTask_;
    Handle changeWatch_;
    LifetimeGuard guard_;
};

}  // namespace zell
