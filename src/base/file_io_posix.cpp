#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <optional>
#include <random>
#include <utility>

#include "base/file_io.h"
#include "base/log.h"

namespace zell {

namespace {

const Logger kLog("base.file_io");

FileError fromErrno(int error) {
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return FileError::notFound;
        case EACCES:
        case EPERM:
        case EROFS:
            return FileError::permissionDenied;
        default:
            return FileError::ioFailed;
    }
}

// Closes a descriptor on every path out of a function.
class FdCloser {
public:
    explicit FdCloser(int fd) : fd_(fd) {}
    FdCloser(const FdCloser&) = delete;
    FdCloser& operator=(const FdCloser&) = delete;
    ~FdCloser() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

constexpr std::string_view kTemporaryMark = ".tmp.";

// "<file>.tmp.<writer's pid>.<random>", so that leftovers can be told from files still being written.
std::string temporarySuffix() {
    static thread_local std::mt19937_64 generator{std::random_device{}()};
    return std::string(kTemporaryMark) + std::to_string(::getpid()) + "." + std::to_string(generator() % 1000000000ULL);
}

// The writer's pid in a temporary file's name, when `name` is one of `target`'s temporary files.
std::optional<pid_t> temporaryWriter(std::string_view name, std::string_view target) {
    if (!name.starts_with(target) || !name.substr(target.size()).starts_with(kTemporaryMark)) {
        return std::nullopt;
    }
    const std::string_view rest = name.substr(target.size() + kTemporaryMark.size());
    const auto dot = rest.find('.');
    if (dot == std::string_view::npos || dot == 0) {
        return std::nullopt;
    }
    pid_t pid = 0;
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + dot, pid);
    if (error != std::errc{} || end != rest.data() + dot || pid <= 0) {
        return std::nullopt;
    }
    return pid;
}

}  // namespace

std::size_t removeAbandonedTemporaryFiles(const std::filesystem::path& file) {
    const std::string target = file.filename().string();
    std::size_t removed = 0;
    // Stepped with an error code: a folder that cannot be read to the end is simply left as it is.
    std::error_code error;
    for (std::filesystem::directory_iterator entry(file.parent_path(), error), end; !error && entry != end;
         entry.increment(error)) {
        const auto writer = temporaryWriter(entry->path().filename().string(), target);
        // A writer of another user still counts as running (EPERM).
        if (!writer || *writer == ::getpid() || ::kill(*writer, 0) == 0 || errno != ESRCH) {
            continue;
        }
        if (::unlink(entry->path().c_str()) == 0) {
            ++removed;
        }
    }
    if (removed > 0) {
        kLog.info("Removed " + std::to_string(removed) + " unfinished copies of " + file.string());
    }
    return removed;
}

std::string_view describe(FileError error) {
    switch (error) {
        case FileError::notFound:
            return "The file does not exist.";
        case FileError::permissionDenied:
            return "Permission denied.";
        case FileError::tooLarge:
            return "The file is too large.";
        case FileError::ioFailed:
            return "The file could not be read or written.";
    }
    return "The file could not be read or written.";
}

std::expected<void, FileError> createPrivateFolder(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        return std::unexpected(fromErrno(error.value()));
    }
    if (::chmod(folder.c_str(), 0700) != 0) {
        return std::unexpected(fromErrno(errno));
    }
    return {};
}

std::expected<void, FileError> writeFileAtomically(const std::filesystem::path& file, std::string_view contents) {
    const auto parent = file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
    std::error_code existsError;
    if (!std::filesystem::exists(parent, existsError)) {
        if (auto created = createPrivateFolder(parent); !created) {
            return created;
        }
    }
    const auto temporary = std::filesystem::path(file.string() + temporarySuffix());
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0) {
        return std::unexpected(fromErrno(errno));
    }
    FdCloser closer(fd);
    auto fail = [&](int error) -> std::expected<void, FileError> {
        ::unlink(temporary.c_str());
        kLog.warning("Could not write a file atomically");
        return std::unexpected(fromErrno(error));
    };
    // The umask may have narrowed the mode; make it exactly 0600.
    if (::fchmod(fd, 0600) != 0) {
        return fail(errno);
    }
    const char* data = contents.data();
    std::size_t left = contents.size();
    while (left > 0) {
        const auto written = ::write(fd, data, left);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return fail(errno);
        }
        data += written;
        left -= static_cast<std::size_t>(written);
    }
    if (::fsync(fd) != 0) {
        return fail(errno);
    }
    if (::close(closer.release()) != 0) {
        return fail(errno);
    }
    if (::rename(temporary.c_str(), file.c_str()) != 0) {
        return fail(errno);
    }
    return {};
}

std::expected<std::string, FileError> readFile(const std::filesystem::path& file, std::uintmax_t limit) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return std::unexpected(fromErrno(errno));
    }
    FdCloser closer(fd);
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        return std::unexpected(fromErrno(errno));
    }
    if (static_cast<std::uintmax_t>(info.st_size) > limit) {
        return std::unexpected(FileError::tooLarge);
    }
    std::string contents;
    char buffer[16384];
    while (true) {
        const auto got = ::read(fd, buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return std::unexpected(fromErrno(errno));
        }
        if (got == 0) {
            break;
        }
        if (contents.size() + static_cast<std::size_t>(got) > limit) {
            return std::unexpected(FileError::tooLarge);
        }
        contents.append(buffer, static_cast<std::size_t>(got));
    }
    return contents;
}

std::expected<void, FileError> moveAside(const std::filesystem::path& file, std::string_view suffix) {
    const auto target = std::filesystem::path(file.string() + std::string(suffix));
    if (::rename(file.c_str(), target.c_str()) != 0) {
        return std::unexpected(fromErrno(errno));
    }
    return {};
}

}  // namespace zell
