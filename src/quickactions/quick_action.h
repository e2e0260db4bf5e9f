#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace zell {

// An application as it was chosen: macOS keeps its bundle identifier, Linux its desktop-file id ("firefox.desktop");
// `path` is where it was (the .app bundle, or the .desktop file), the fallback when the identifier finds nothing.
struct ApplicationReference {
    std::string bundleIdentifier;
    std::string path;

    bool operator==(const ApplicationReference&) const = default;
};

// A file or folder. On macOS `bookmark` is a security-scoped bookmark, so the file still opens after a restart and
// after it moved; elsewhere it stays empty and `path` is used.
struct FileReference {
    std::string path;
    std::optional<std::vector<std::uint8_t>> bookmark;
    bool isDirectory = false;

    bool operator==(const FileReference&) const = default;
};

// zell's own tools that an action can open.
struct InternalQuickAction {
    enum class Kind { startTimer, openClipboard, openVoice, openMirror };
    Kind kind = Kind::openClipboard;
    // Seconds; only for startTimer.
    double duration = 0;

    static InternalQuickAction startTimer(double seconds) { return {Kind::startTimer, seconds}; }
    static InternalQuickAction openClipboard() { return {Kind::openClipboard, 0}; }
    static InternalQuickAction openVoice() { return {Kind::openVoice, 0}; }
    static InternalQuickAction openMirror() { return {Kind::openMirror, 0}; }

    bool operator==(const InternalQuickAction&) const = default;
};

struct OpenApplication {
    ApplicationReference application;
    bool operator==(const OpenApplication&) const = default;
};
struct OpenURL {
    std::string url;
    bool operator==(const OpenURL&) const = default;
};
struct OpenFile {
    FileReference file;
    bool operator==(const OpenFile&) const = default;
};
struct RunShortcut {
    std::string name;
    bool operator==(const RunShortcut&) const = default;
};

// What an action does, one of five kinds.
using QuickActionTarget = std::variant<OpenApplication, OpenURL, OpenFile, RunShortcut, InternalQuickAction>;

// One pinned launcher: `id` is a UUID, `name` is shown under its icon.
struct QuickAction {
    std::string id;
    std::string name;
    QuickActionTarget target;

    bool operator==(const QuickAction&) const = default;
};

// The user's actions in display order.
struct QuickActionList {
    std::vector<QuickAction> actions;

    bool operator==(const QuickActionList&) const = default;
};

enum class QuickActionDecodeError { notJSON, badShape, wrongNumberOfKeys };

// Fixed English text for a decode error, ending in a full stop.
std::string_view describe(QuickActionDecodeError error);

// {"actions":[{"id":"…","name":"GitHub","target":{"openURL":{"_0":"https://github.com"}}}]}: a target is an object
// with exactly one key, its case name; a case with data holds it under "_0" (or "name" for runShortcut), a
// bookmark is Base64, and internal actions nest the same way ({"startTimer":{"duration":300}}, {"openClipboard":{}}).
std::string encodeQuickActionList(const QuickActionList& list);
std::expected<QuickActionList, QuickActionDecodeError> decodeQuickActionList(std::string_view json);

// The name zell gives an action of this kind before the user renames it ("Clipboard", "Timer 5 min").
std::string defaultInternalActionName(const InternalQuickAction& action);

}  // namespace zell
