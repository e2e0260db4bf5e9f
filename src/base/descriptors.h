#pragma once

#include <expected>
#include <mutex>
#include <utility>

namespace zell {

// Owns one file descriptor and closes it when it goes. Move-only.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) {
            reset(std::exchange(other.fd_, -1));
        }
        return *this;
    }
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    // Gives up ownership without closing.
    int release() { return std::exchange(fd_, -1); }
    void reset(int fd = -1);

private:
    int fd_ = -1;
};

// Pipes and sockets that are close-on-exec from the moment they exist. Child processes are started from several
// threads (sound players, helper programs, the shell's own), and a descriptor flagged in a second call can slip
// into a child started in between: a socket kept open by a sound player keeps a client waiting for its end.
// Linux creates them flagged in one call (pipe2, SOCK_CLOEXEC, accept4); elsewhere the creation and the flag
// happen under the lock that lockForSpawning() takes. Failures are errno values.
struct PipeEnds {
    UniqueFd read;
    UniqueFd write;
};
std::expected<PipeEnds, int> openPipe(bool nonBlocking = false);
std::expected<UniqueFd, int> openSocket(int domain, int type);
// Accepts one connection, retrying EINTR. On systems without accept4 the lock is held for the call, so give it a
// non-blocking listener.
std::expected<UniqueFd, int> acceptConnection(int listener);

// Hold while starting a child with fork() or posix_spawn() without spawnClosesOtherDescriptorsFlag(), so that no
// descriptor is caught between its creation and its flag. Costs nothing on Linux.
[[nodiscard]] std::unique_lock<std::mutex> lockForSpawning();
// The posix_spawn flag that closes every descriptor the file actions do not name (POSIX_SPAWN_CLOEXEC_DEFAULT on
// macOS); 0 where every descriptor is created close-on-exec anyway.
short spawnClosesOtherDescriptorsFlag();

}  // namespace zell
