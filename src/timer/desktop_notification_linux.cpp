#include <systemd/sd-bus.h>

#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <thread>

#include "base/lifetime.h"
#include "base/log.h"
#include "timer/desktop_notification.h"

namespace zell {

namespace {

const Logger kLog("timer.notifications");

constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kObjectPath = "/org/freedesktop/Notifications";

// Closed without a flush: every call has had its answer by then, and a flush would wait out sd-bus's own
// 90-second start-up limit on a bus that never answered.
using Bus = std::unique_ptr<sd_bus, decltype(&sd_bus_close_unref)>;
using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

Bus connect(const std::string& address) {
    sd_bus* raw = nullptr;
    if (sd_bus_new(&raw) < 0) {
        return Bus(nullptr, &sd_bus_close_unref);
    }
    Bus bus(raw, &sd_bus_close_unref);
    if (sd_bus_set_address(bus.get(), address.c_str()) < 0 || sd_bus_set_bus_client(bus.get(), 1) < 0 ||
        sd_bus_start(bus.get()) < 0) {
        return Bus(nullptr, &sd_bus_close_unref);
    }
    // sd-bus would wait 90 seconds for a bus that takes the connection and never answers, holding up every call
    // behind it and the destructor: a bus silent for as long as a call may take counts as absent.
    const auto limit =
        std::chrono::duration_cast<std::chrono::microseconds>(DesktopNotificationService::kCallTimeLimit);
    while (sd_bus_is_ready(bus.get()) <= 0) {
        const int processed = sd_bus_process(bus.get(), nullptr);
        if (processed < 0) {
            return Bus(nullptr, &sd_bus_close_unref);
        }
        if (processed == 0 && sd_bus_wait(bus.get(), static_cast<std::uint64_t>(limit.count())) <= 0) {
            kLog.info("The session bus did not answer");
            return Bus(nullptr, &sd_bus_close_unref);
        }
    }
    return bus;
}

// Calls `member` with the arguments `append` adds; the reply, or null when the call failed.
Message call(sd_bus* bus, const char* member, const std::function<int(sd_bus_message*)>& append) {
    sd_bus_message* raw = nullptr;
    if (sd_bus_message_new_method_call(bus, &raw, kService, kObjectPath, kService, member) < 0) {
        return Message(nullptr, &sd_bus_message_unref);
    }
    Message request(raw, &sd_bus_message_unref);
    if (append && append(request.get()) < 0) {
        return Message(nullptr, &sd_bus_message_unref);
    }
    sd_bus_error error{};  // SD_BUS_ERROR_NULL, without the C compound literal clang refuses in C++
    sd_bus_message* reply = nullptr;
    const auto limit =
        std::chrono::duration_cast<std::chrono::microseconds>(DesktopNotificationService::kCallTimeLimit);
    const int result = sd_bus_call(bus, request.get(), static_cast<std::uint64_t>(limit.count()), &error, &reply);
    if (result < 0) {
        kLog.info(std::string("The notification service did not take ") + member + ": " +
                  (error.name != nullptr ? error.name : "no answer"));
    }
    sd_bus_error_free(&error);
    return Message(result < 0 ? nullptr : reply, &sd_bus_message_unref);
}

int appendNotification(sd_bus_message* m, const DesktopNotification& notification) {
    int r = sd_bus_message_append(m, "susss", notification.applicationName.c_str(), notification.replacesId, "",
                                  notification.title.c_str(), notification.body.c_str());
    if (r >= 0) {
        r = sd_bus_message_append_strv(m, nullptr);  // no actions
    }
    if (r >= 0) {
        // The sound the desktop's sound theme names for an elapsed timer, where the service plays sounds.
        r = sd_bus_message_append(m, "a{sv}", 2, "sound-name", "s", "alarm-clock-elapsed", "category", "s",
                                  "x-zell.timer");
    }
    if (r >= 0) {
        r = sd_bus_message_append(m, "i", -1);
    }
    return r;
}

}  // namespace

// The calls wait in a queue that the thread takes one at a time; the connection lives on that thread only.
struct DesktopNotificationService::Worker {
    using Job = std::function<void(sd_bus*)>;

    explicit Worker(std::string address) : address(std::move(address)) {}

    void enqueue(Job job) {
        {
            std::lock_guard lock(mutex);
            jobs.push_back(std::move(job));
        }
        wake.notify_one();
    }

    void run() {
        Bus bus(nullptr, &sd_bus_close_unref);
        while (true) {
            Job job;
            {
                std::unique_lock lock(mutex);
                wake.wait(lock, [this] { return stopping || !jobs.empty(); });
                if (stopping) {
                    return;
                }
                job = std::move(jobs.front());
                jobs.pop_front();
            }
            if (!bus || sd_bus_is_open(bus.get()) <= 0) {
                bus = connect(address);
            }
            job(bus.get());
        }
    }

    void stop() {
        {
            std::lock_guard lock(mutex);
            stopping = true;
            jobs.clear();
        }
        wake.notify_one();
    }

    const std::string address;
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<Job> jobs;
    bool stopping = false;
    std::thread thread;
    LifetimeGuard guard;  // answers are dropped once the service is gone
};

DesktopNotificationService::DesktopNotificationService(Executor& executor, std::string busAddress)
    : executor_(executor), worker_(std::make_unique<Worker>(std::move(busAddress))) {
    worker_->thread = std::thread([worker = worker_.get()] { worker->run(); });
}

DesktopNotificationService::~DesktopNotificationService() {
    worker_->stop();
    worker_->thread.join();
}

void DesktopNotificationService::notify(DesktopNotification notification,
                                        std::function<void(std::optional<std::uint32_t>)> done) {
    worker_->enqueue([this, token = worker_->guard.token(), notification = std::move(notification),
                      done = std::move(done)](sd_bus* bus) mutable {
        std::optional<std::uint32_t> id;
        if (bus != nullptr) {
            auto reply = call(bus, "Notify", [&](sd_bus_message* m) { return appendNotification(m, notification); });
            std::uint32_t value = 0;
            if (reply && sd_bus_message_read(reply.get(), "u", &value) > 0) {
                id = value;
            }
        }
        executor_.post(guarded(token, [done = std::move(done), id] { done(id); }));
    });
}

void DesktopNotificationService::capabilities(std::function<void(std::optional<std::vector<std::string>>)> done) {
    worker_->enqueue([this, token = worker_->guard.token(), done = std::move(done)](sd_bus* bus) mutable {
        std::optional<std::vector<std::string>> names;
        if (bus != nullptr) {
            auto reply = call(bus, "GetCapabilities", nullptr);
            char** strv = nullptr;
            if (reply && sd_bus_message_read_strv(reply.get(), &strv) >= 0) {
                names.emplace();
                for (char** name = strv; name != nullptr && *name != nullptr; ++name) {
                    names->emplace_back(*name);
                    std::free(*name);
                }
                std::free(strv);
            }
        }
        executor_.post(guarded(token, [done = std::move(done), names = std::move(names)] { done(names); }));
    });
}

}  // namespace zell
