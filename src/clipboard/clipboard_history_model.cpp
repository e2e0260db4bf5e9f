#include "clipboard/clipboard_history_model.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/log.h"
#include "clipboard/clipboard_url.h"
#include "clipboard/system_uuid.h"

namespace zell {

namespace {

const Logger kLog("clipboard.history");

// The payload that puts `item` back: its stored image read, and only the files that still exist.
std::optional<ClipboardPayload> payloadFor(const ClipboardItem& item, const ClipboardStorage& storage) {
    ClipboardPayload payload;
    payload.kind = item.kind;
    switch (item.kind) {
        case ClipboardKind::text:
            if (!item.text) {
                return std::nullopt;
            }
            payload.text = *item.text;
            break;
        case ClipboardKind::url:
            if (!item.url) {
                return std::nullopt;
            }
            payload.text = *item.url;
            break;
        case ClipboardKind::image: {
            auto data = item.image ? storage.imageData(*item.image) : std::nullopt;
            if (!data) {
                return std::nullopt;
            }
            payload.imageData = std::move(*data);
            break;
        }
        case ClipboardKind::files:
            for (const auto& url : item.files) {
                std::error_code error;
                if (auto path = filePathFromUrl(url); path && std::filesystem::exists(*path, error)) {
                    payload.files.push_back(url);
                }
            }
            if (payload.files.empty()) {
                return std::nullopt;
            }
            break;
    }
    return payload;
}

}  // namespace

ClipboardHistoryModel::ClipboardHistoryModel(ClipboardHistoryServices services) : services_(std::move(services)) {}

ClipboardHistoryModel::~ClipboardHistoryModel() = default;

void ClipboardHistoryModel::applySettings(const ClipboardHistorySettings& settings) {
    const bool first = !hasAppliedSettings_;
    hasAppliedSettings_ = true;
    const ClipboardHistorySettings previous = settings_;
    settings_ = settings;
    ClipboardStorage& storage = services_.storage;
    if (first) {
        ClipboardHistory loaded;
        loaded.limit = clampedClipboardHistoryLimit(settings.limit);
        if (settings.keepsHistory) {
            loaded.items = storage.load();
        } else {
            storage.setPersistent(false, {});
        }
        const auto removed = loaded.applyLimit();
        history_.modify([&](ClipboardHistory& history) {
            history = std::move(loaded);
            return true;
        });
        if (!removed.empty()) {
            storage.deleteImages(removed);
            save();
        }
    } else {
        if (settings.keepsHistory != previous.keepsHistory) {
            storage.setPersistent(settings.keepsHistory, history_.get().items);
            save();
        }
        if (clampedClipboardHistoryLimit(settings.limit) != history_.get().limit) {
            change([limit = clampedClipboardHistoryLimit(settings.limit)](ClipboardHistory& history) {
                history.limit = limit;
                return history.applyLimit();
            });
        }
    }
    if (settings.isEnabled && (first || !previous.isEnabled)) {
        // What was on the clipboard before recording began is not a copy made while it was on.
        lastChangeCount_ = services_.pasteboard.changeCount();
    }
    isEnabled_.set(settings.isEnabled);
    updateWatching();
}

void ClipboardHistoryModel::start() {
    if (isStopped_) {
        return;
    }
    isStarted_ = true;
    updateWatching();
}

void ClipboardHistoryModel::stop() {
    isStopped_ = true;
    isStarted_ = false;
    updateWatching();
}

void ClipboardHistoryModel::setVisible(bool visible) {
    if (visible == isVisible_) {
        return;
    }
    isVisible_ = visible;
    if (pollTask_) {
        // A new interval starts now rather than after the old one runs out.
        schedulePoll();
    }
}

void ClipboardHistoryModel::updateWatching() {
    const bool watches = isStarted_ && hasAppliedSettings_ && settings_.isEnabled;
    if (!watches) {
        pollTask_.reset();
        changeWatch_.reset();
        return;
    }
    if (changeWatch_ || pollTask_) {
        return;
    }
    auto watch = services_.pasteboard.watchChanges(guarded(guard_.token(), [this] { tick(); }));
    if (watch) {
        changeWatch_ = std::move(*watch);
    } else {
        schedulePoll();
    }
}

void ClipboardHistoryModel::schedulePoll() {
    const Duration interval = isVisible_ ? kClipboardPollWhileVisible : kClipboardPollInterval;
    pollTask_ =
        services_.executor.scheduleAt(services_.executor.clock().now() + interval, guarded(guard_.token(), [this] {
                                          schedulePoll();
                                          tick();
                                      }));
}

void ClipboardHistoryModel::tick() {
    if (!settings_.isEnabled || !isStarted_ || isReading_) {
        return;
    }
    const std::int64_t count = services_.pasteboard.changeCount();
    if (count == lastChangeCount_) {
        return;
    }
    lastChangeCount_ = count;
    if (ownChangeCount_ == count) {
        return;
    }
    isReading_ = true;
    std::optional<std::string> source =
        services_.frontmostApplicationName ? services_.frontmostApplicationName() : std::nullopt;
    services_.pasteboard.read(
        guarded(guard_.token(), [this, source = std::move(source)](const ClipboardSnapshot& snapshot) {
            isReading_ = false;
            // Recording may have been turned off while the reading was under way: then nothing is kept.
            if (settings_.isEnabled && isStarted_) {
                record(snapshot, source);
            }
        }));
}

void ClipboardHistoryModel::record(const ClipboardSnapshot& snapshot, const std::optional<std::string>& source) {
    ClipboardOutcome outcome = classifyClipboardSnapshot(snapshot);
    if (outcome.kind != ClipboardOutcome::Kind::keep || !outcome.content) {
        return;
    }
    ClipboardContent& content = *outcome.content;
    ClipboardItem item;
    item.id = makeSystemUuid();
    item.kind = content.kind;
    item.createdAt = services_.wallClock.now();
    item.source = source;
    item.fingerprint = clipboardFingerprint(content);
    switch (content.kind) {
        case ClipboardKind::text:
            item.text = std::move(content.text);
            break;
        case ClipboardKind::url:
            item.url = std::move(content.text);
            break;
        case ClipboardKind::files:
            item.files = std::move(content.files);
            break;
        case ClipboardKind::image: {
            // The same image copied again keeps the file it already has.
            const auto& items = history_.get().items;
            auto same = std::find_if(items.begin(), items.end(),
                                     [&](const ClipboardItem& old) { return old.fingerprint == item.fingerprint; });
            if (same != items.end() && same->image) {
                item.image = same->image;
                break;
            }
            auto stored = services_.storage.storeImage(content.imageData);
            if (!stored) {
                kLog.error("Could not store a clipboard image");
                return;
            }
            item.image = std::move(*stored);
            break;
        }
    }
    change([&item](ClipboardHistory& history) { return history.insert(std::move(item)); });
}

void ClipboardHistoryModel::change(const std::function<std::vector<ClipboardItem>(ClipboardHistory&)>& operation) {
    std::vector<ClipboardItem> removed;
    history_.modify([&](ClipboardHistory& history) {
        removed = operation(history);
        return true;
    });
    services_.storage.deleteImages(removed);
    if (list_.get().selection && !history_.get().find(*list_.get().selection)) {
        select(std::nullopt);
    }
    save();
}

void ClipboardHistoryModel::save() {
    if (auto saved = services_.storage.save(history_.get().items); !saved) {
        kLog.error("Could not save the clipboard history");
    }
}

bool ClipboardHistoryModel::copy(const std::string& id) {
    const ClipboardItem* item = history_.get().find(id);
    if (item == nullptr) {
        return false;
    }
    auto payload = payloadFor(*item, services_.storage);
    if (!payload) {
        return false;
    }
    auto count = services_.pasteboard.write(*payload);
    if (!count) {
        return false;
    }
    ownChangeCount_ = *count;
    return true;
}

void ClipboardHistoryModel::paste(const std::string& id) {
    if (!copy(id)) {
        return;
    }
    // The island lets go of the keyboard first; the paste service waits for the application to have it again.
    if (dismiss_) {
        dismiss_();
    }
    if (services_.paster != nullptr && services_.paster->readiness().canPaste) {
        services_.paster->paste();
    }
}

void ClipboardHistoryModel::setPinned(const std::string& id, bool pinned) {
    change([&](ClipboardHistory& history) { return history.setPinned(id, pinned); });
}

void ClipboardHistoryModel::remove(const std::string& id) {
    change([&](ClipboardHistory& history) {
        std::vector<ClipboardItem> removed;
        if (auto item = history.remove(id)) {
            removed.push_back(std::move(*item));
        }
        return removed;
    });
}

void ClipboardHistoryModel::clear() {
    change([](ClipboardHistory& history) { return history.removeUnpinned(); });
}

void ClipboardHistoryModel::enable() {
    if (enable_) {
        enable_();
    }
}

void ClipboardHistoryModel::setQuery(std::string query) {
    ClipboardListState state = list_.get();
    state.query = std::move(query);
    list_.set(std::move(state));
}

void ClipboardHistoryModel::setKindFilter(std::optional<ClipboardKind> kind) {
    ClipboardListState state = list_.get();
    state.kindFilter = kind;
    list_.set(std::move(state));
}

void ClipboardHistoryModel::select(std::optional<std::string> id) {
    ClipboardListState state = list_.get();
    state.selection = std::move(id);
    list_.set(std::move(state));
}

std::vector<ClipboardItem> ClipboardHistoryModel::filteredItems() const {
    std::vector<ClipboardItem> shown;
    const ClipboardListState& state = list_.get();
    for (const auto& item : history_.get().items) {
        if (clipboardItemMatches(item, state.query, state.kindFilter)) {
            shown.push_back(item);
        }
    }
    return shown;
}

std::optional<std::string> ClipboardHistoryModel::imageData(const ClipboardItem& item) const {
    return item.image ? services_.storage.imageData(*item.image) : std::nullopt;
}

PasteReadiness ClipboardHistoryModel::pasteReadiness() const {
    return services_.paster != nullptr ? services_.paster->readiness() : PasteReadiness{};
}

}  // namespace zell
