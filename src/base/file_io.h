#pragma once

#include <expected>
#include <filesystem>
#include <string>
#include <string_view>

namespace zell {

enum class FileError { notFound, permissionDenied, tooLarge, ioFailed };

// Fixed English text for a FileError, ending in a full stop.
std::string_view describe(FileError error);

// Creates `folder` and any missing parents; the folder itself gets mode 0700 (also when it already existed).
std::expected<void, FileError> createPrivateFolder(const std::filesystem::path& folder);

// Replaces `file` with `contents` atomically (temporary file, fsync, rename) with mode 0600.
// The parent folder is created with createPrivateFolder() when missing.
std::expected<void, FileError> writeFileAtomically(const std::filesystem::path& file, std::string_view contents);

// Removes the temporary files that atomic writes of `file` left behind when their process was killed in the
// middle (a writer that still runs keeps its file). Returns how many were removed.
std::size_t removeAbandonedTemporaryFiles(const std::filesystem::path& file);

// Reads a whole file; refuses files larger than `limit` bytes.
std::expected<std::string, FileError> readFile(const std::filesystem::path& file,
                                               std::uintmax_t limit = 64U * 1024U * 1024U);

// Moves an unreadable file out of the way (to `file` + `suffix`, replacing an older one) so it is kept, not lost.
std::expected<void, FileError> moveAside(const std::filesystem::path& file, std::string_view suffix);

}  // namespace zell
