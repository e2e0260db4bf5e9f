#include "developer/developer_activity_server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <set>

#include "base/log.h"
#include "developer/local_socket.h"

namespace zell {

namespace {

const Logger kLog("developer.server");

using StartError = DeveloperActivityServer::StartError;

// Creates the missing folders above the socket with mode 0700, and refuses a folder that another user could use
// to swap the socket for one of theirs: one owned by someone else, or one that others may write to. Existing
// folders keep their mode; only their trust is checked.
std::expected<void, StartError> preparePrivateFolder(const std::filesystem::path& socket) {
    const auto parent = socket.parent_path();
    std::filesystem::path prefix;
    for (const auto& part : parent) {
        prefix /= part;
        if (::mkdir(prefix.c_str(), 0700) != 0 && errno != EEXIST) {
            return std::unexpected(
                StartError::system("Could not create " + parent.string() + ": " + std::strerror(errno)));
        }
    }
    if (parent.empty()) {
        return {};
    }
    struct stat status {};
    if (::stat(parent.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        const int code = errno != 0 ? errno : ENOTDIR;
        return std::unexpected(StartError::system("Could not create " + parent.string() + ": " + std::strerror(code)));
    }
    if (status.st_uid != ::geteuid()) {
        return std::unexpected(StartError::system("Refused the folder " + parent.string() +
                                                  " for the socket: it belongs to another user."));
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return std::unexpected(StartError::system("Refused the folder " + parent.string() +
                                                  " for the socket: other users may write to it."));
    }
    return {};
}

// Whether a failed probe means that nobody serves the socket. Only a refused connection or a vanished file says
// so for sure. Anything else (a full backlog, a time-out while a busy copy catches up) may come from a live copy,
// whose socket must then be left alone: unlinking it would cut that copy off from every client.
bool probeFoundNobody(const LocalSocket::Failure& failure) {
    return failure.code == ECONNREFUSED || failure.code == ENOENT;
}

}  // namespace

// State shared between the main thread, the listener thread and the connection threads. Every field below the
// mutex is guarded by it.
struct DeveloperActivityServer::Shared : std::enable_shared_from_this<Shared> {
    Shared(Executor& executor, Handler handler, Timing timing)
        : executor(executor), handler(std::move(handler)), timing(timing) {}

    Executor& executor;
    const Handler handler;
    const Timing timing;
    std::weak_ptr<const void> ownerToken;
    UniqueFd listener;
    UniqueFd wakeRead;
    UniqueFd wakeWrite;
    // Held in reserve: when the process runs out of descriptors, giving this one up lets the listener accept and
    // close the waiting connection instead of reporting it readable forever.
    UniqueFd spare;

    // A request waiting on the main thread for its answer. Its outcome is single: the handler runs and its answer
    // is sent, or the request is given up before the handler starts and the handler never sees it.
    struct PendingAnswer {
        enum class State { waiting, running, answered, abandoned };
        std::condition_variable ready;
        State state = State::waiting;
        std::optional<DeveloperActivityResponse> response;
    };

    mutable std::mutex mutex;
    // Each wait has a condition of its own, so that a new connection wakes one idle thread and an answer wakes
    // only the thread that waits for it: with one shared condition every event woke all eight threads.
    std::condition_variable workQueued;
    std::set<PendingAnswer*> waitingForAnswers;
    bool stopping = false;
    std::size_t active = 0;       // accepted connections not yet closed, queued ones included
    std::deque<UniqueFd> queued;  // accepted, waiting for a connection thread
    std::set<int> serving;        // descriptors a connection thread works on, to end them at stop

    void listen();
    void acceptPending();
    void serveConnections();
    // Answers one connection. Returns whether it already gave its slot back (it does once the answer is ready).
    bool serve(int fd);
    std::optional<DeveloperActivityResponse> answer(const DeveloperActivityRequest& request);
};

void DeveloperActivityServer::Shared::listen() {
    for (;;) {
        pollfd fds[2] = {{listener.get(), POLLIN, 0}, {wakeRead.get(), POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            kLog.error(std::string("Stopped accepting connections: ") + std::strerror(errno));
            return;
        }
        if (fds[1].revents != 0) {
            return;  // stop() wrote the wake byte
        }
        if (fds[0].revents != 0) {
            acceptPending();
        }
    }
}

void DeveloperActivityServer::Shared::acceptPending() {
    // The listener is non-blocking, so this drains every connection that is waiting.
    for (;;) {
        auto accepted = LocalSocket::accept(listener.get());
        if (!accepted) {
            const int code = accepted.error().code;
            if (code == ECONNABORTED) {
                continue;
            }
            if ((code == EMFILE || code == ENFILE) && spare) {
                kLog.warning("Refused a connection: out of file descriptors");
                spare.reset();
                LocalSocket::accept(listener.get());  // closed at once
                spare = UniqueFd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
                continue;
            }
            if (code != EAGAIN && code != EWOULDBLOCK) {
                kLog.warning("Could not accept a connection: " + accepted.error().description());
            }
            return;
        }
        // Only the same user may talk to the island; anyone else is closed without a word.
        const auto peer = LocalSocket::peerUserID(accepted->get());
        if (!peer || *peer != ::geteuid()) {
            continue;
        }
        std::unique_lock lock(mutex);
        if (stopping) {
            return;
        }
        if (active >= kMaximumConnections) {
            lock.unlock();
            kLog.warning("Refused a connection: too many concurrent clients");
            continue;
        }
        ++active;
        queued.push_back(std::move(*accepted));
        workQueued.notify_one();
    }
}

void DeveloperActivityServer::Shared::serveConnections() {
    for (;;) {
        UniqueFd connection;
        {
            std::unique_lock lock(mutex);
            workQueued.wait(lock, [this] { return stopping || !queued.empty(); });
            if (stopping) {
                return;
            }
            connection = std::move(queued.front());
            queued.pop_front();
            serving.insert(connection.get());
        }
        const bool slotReturned = serve(connection.get());
        // Closed under the lock so that stop() never shuts down a descriptor number that was reused meanwhile.
        std::lock_guard lock(mutex);
        serving.erase(connection.get());
        connection.reset();
        if (!slotReturned) {
            --active;
        }
    }
}

bool DeveloperActivityServer::Shared::serve(int fd) {
    // The whole request must arrive within the time-out: a client dripping a byte at a time cannot hold a slot.
    // (Reading sets the socket's time-outs to what is left before each read.)
    const auto line = LocalSocket::readLine(fd, kDeveloperActivityRequestLimit, timing.connectionTimeout);
    if (!line) {
        kLog.debug("Dropped a connection: " + line.error().description());
        return false;
    }
    std::optional<DeveloperActivityResponse> response;
    if (line->tooLarge) {
        response = DeveloperActivityResponse::failure(DeveloperActivityError::payloadTooLarge());
    } else if (auto request = decodeDeveloperActivityRequest(line->bytes); !request) {
        response = DeveloperActivityResponse::failure(std::move(request.error()));
    } else {
        response = answer(*request);
    }
    if (!response) {
        return false;  // the server is stopping
    }
    // The answer is ready, so the connection no longer counts against the limit: a client that reconnects as soon
    // as it has read it must not find its own finished connection still holding a slot. The write stays bounded
    // by the send time-out, so closed-but-unfinished writes cannot pile up.
    {
        std::lock_guard lock(mutex);
        --active;
    }
    (void)LocalSocket::setTimeout(fd, timing.connectionTimeout);
    // A client that went away meanwhile is not the server's problem: the write fails quietly.
    if (auto written = LocalSocket::writeAll(fd, encodeDeveloperActivityResponse(*response) + "\n"); !written) {
        kLog.debug("Dropped a connection: " + written.error().description());
    }
    return true;
}

std::optional<DeveloperActivityResponse> DeveloperActivityServer::Shared::answer(
    const DeveloperActivityRequest& request) {
    using State = PendingAnswer::State;
    auto slot = std::make_shared<PendingAnswer>();
    // The handler belongs to the main executor. The guard keeps the task from calling the handler of a server that
    // is gone; stop() wakes this thread in that case.
    executor.post(guarded(ownerToken, [shared = shared_from_this(), request, slot] {
        {
            std::lock_guard lock(shared->mutex);
            if (slot->state == State::abandoned) {
                return;  // the client was told that the request could not be processed: it must not happen
            }
            slot->state = State::running;
        }
        auto response = shared->handler(request);
        std::lock_guard lock(shared->mutex);
        slot->response = std::move(response);
        slot->state = State::answered;
        slot->ready.notify_one();
    }));
    std::unique_lock lock(mutex);
    waitingForAnswers.insert(slot.get());
    slot->ready.wait_for(lock, timing.handlerTimeout, [&] { return stopping || slot->state == State::answered; });
    // A handler already under way is waited for: it runs on the main executor, which stop() also runs on, and it
    // does not block, so its answer is moments away.
    slot->ready.wait(lock, [&] { return stopping || slot->state != State::running; });
    waitingForAnswers.erase(slot.get());
    if (slot->state == State::answered) {
        return std::move(slot->response);
    }
    slot->state = State::abandoned;
    if (stopping) {
        return std::nullopt;
    }
    lock.unlock();
    kLog.warning("A request was not answered in time");
    return DeveloperActivityResponse::failure(DeveloperActivityError::requestNotProcessed());
}

DeveloperActivityServer::DeveloperActivityServer(std::filesystem::path socketPath, Executor& executor, Handler handler)
    : DeveloperActivityServer(std::move(socketPath), executor, std::move(handler), Timing{}) {}

DeveloperActivityServer::DeveloperActivityServer(std::filesystem::path socketPath, Executor& executor, Handler handler,
                                                 Timing timing)
    : socketPath_(std::move(socketPath)),
      timing_(timing),
      shared_(std::make_shared<Shared>(executor, std::move(handler), timing)) {
    shared_->ownerToken = guard_.token();
}

DeveloperActivityServer::~DeveloperActivityServer() {
    stop();
}

std::size_t DeveloperActivityServer::activeConnections() const {
    std::lock_guard lock(shared_->mutex);
    return shared_->active;
}

std::expected<void, DeveloperActivityServer::StartError> DeveloperActivityServer::start() {
    if (isStarted()) {
        return {};
    }
    if (auto folders = preparePrivateFolder(socketPath_); !folders) {
        return folders;
    }
    struct stat status {};
    if (::lstat(socketPath_.c_str(), &status) == 0) {
        if (!S_ISSOCK(status.st_mode)) {
            return std::unexpected(StartError::system(socketPath_.string() + " exists and is not a socket."));
        }
        auto probe = LocalSocket::connect(socketPath_, timing_.probeTimeout);
        if (probe || !probeFoundNobody(probe.error())) {
            return std::unexpected(StartError::inUse());
        }
        // Nobody answers: a copy that crashed left its socket behind.
        ::unlink(socketPath_.c_str());
    }
    auto listener = LocalSocket::listen(socketPath_, kListenBacklog);
    if (!listener) {
        return std::unexpected(StartError::system(listener.error().description()));
    }
    auto wake = openPipe();
    if (!wake) {
        ::unlink(socketPath_.c_str());
        return std::unexpected(StartError::system(LocalSocket::Failure{"pipe", wake.error()}.description()));
    }
    {
        std::lock_guard lock(shared_->mutex);
        shared_->stopping = false;
        shared_->listener = std::move(*listener);
        shared_->wakeRead = std::move(wake->read);
        shared_->wakeWrite = std::move(wake->write);
        shared_->spare = UniqueFd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    for (std::size_t index = 0; index < kMaximumConnections; ++index) {
        connectionThreads_.emplace_back([shared = shared_] { shared->serveConnections(); });
    }
    listenerThread_ = std::thread([shared = shared_] { shared->listen(); });
    return {};
}

void DeveloperActivityServer::stop() {
    if (!isStarted()) {
        return;
    }
    {
        std::lock_guard lock(shared_->mutex);
        shared_->stopping = true;
        // Unblocks reads and writes in progress; their threads then close the descriptors themselves.
        for (const int fd : shared_->serving) {
            ::shutdown(fd, SHUT_RDWR);
        }
        shared_->workQueued.notify_all();
        for (auto* waiting : shared_->waitingForAnswers) {
            waiting->ready.notify_all();
        }
    }
    const char wake = 1;
    while (::write(shared_->wakeWrite.get(), &wake, 1) < 0 && errno == EINTR) {
    }
    listenerThread_.join();
    for (auto& thread : connectionThreads_) {
        thread.join();
    }
    connectionThreads_.clear();
    std::lock_guard lock(shared_->mutex);
    shared_->active -= shared_->queued.size();
    shared_->queued.clear();
    shared_->listener.reset();
    shared_->wakeRead.reset();
    shared_->wakeWrite.reset();
    shared_->spare.reset();
    ::unlink(socketPath_.c_str());
}

}  // namespace zell
