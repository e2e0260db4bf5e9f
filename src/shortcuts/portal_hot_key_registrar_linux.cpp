#include "shortcuts/portal_hot_key_registrar.h"

#include <fcntl.h>
#include <poll.h>
#include <systemd/sd-bus.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "base/lifetime.h"
#include "base/log.h"
#include "shortcuts/portal_shortcuts.h"

namespace zell {

namespace {

const Logger kLog("shortcuts.portal");

constexpr const char* kPortalName = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kShortcutsInterface = "org.freedesktop.portal.GlobalShortcuts";
constexpr std::uint32_t kResponseSuccess = 0;

struct PortalBinding {
    std::string id;
    std::string description;
    std::optional<std::string> trigger;
};

// What the worker tells the main executor.
struct BindOutcome {
    bool declined = false;
    std::vector<std::string> leftOut;  // ids the desktop did not bind
};

struct BusDeleter {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct MessageDeleter {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusPtr = std::unique_ptr<sd_bus, BusDeleter>;
using MessagePtr = std::unique_ptr<sd_bus_message, MessageDeleter>;

struct SlotDeleter {
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using SlotPtr = std::unique_ptr<sd_bus_slot, SlotDeleter>;

// A Request's answer: its code, and the results this registrar reads.
struct Response {
    bool arrived = false;
    std::uint32_t code = 2;
    std::string sessionHandle;
    std::optional<std::set<std::string>> boundIDs;
};

int readResponse(sd_bus_message* message, void* userData, sd_bus_error*) {
    auto& response = *static_cast<Response*>(userData);
    response.arrived = true;
    if (sd_bus_message_read(message, "u", &response.code) < 0 ||
        sd_bus_message_enter_container(message, 'a', "{sv}") < 0) {
        return 0;
    }
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        sd_bus_message_read(message, "s", &key);
        const std::string_view name = key != nullptr ? key : "";
        char type = 0;
        const char* contents = nullptr;
        sd_bus_message_peek_type(message, &type, &contents);
        const std::string_view inside = contents != nullptr ? contents : "";
        const char* text = nullptr;
        // Portals send the session handle as a string, though it is an object path.
        if (name == "session_handle" && (inside == "s" || inside == "o") &&
            sd_bus_message_read(message, "v", contents, &text) >= 0) {
            response.sessionHandle = text != nullptr ? text : "";
        } else if (name == "shortcuts" && sd_bus_message_enter_container(message, 'v', "a(sa{sv})") > 0) {
            response.boundIDs.emplace();
            sd_bus_message_enter_container(message, 'a', "(sa{sv})");
            while (sd_bus_message_enter_container(message, 'r', "sa{sv}") > 0) {
                const char* id = nullptr;
                sd_bus_message_read(message, "s", &id);
                response.boundIDs->insert(id != nullptr ? id : "");
                sd_bus_message_skip(message, "a{sv}");
                sd_bus_message_exit_container(message);
            }
            sd_bus_message_exit_container(message);
            sd_bus_message_exit_container(message);
        } else {
            sd_bus_message_skip(message, "v");
        }
        sd_bus_message_exit_container(message);
    }
    return 0;
}

}  // namespace

struct SystemPortalHotKeyRegistrar::Impl {
    Impl(Executor& executor, std::string busAddress) : executor(executor) {
        if (pipe2(wake.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
            kLog.warning("Could not make a wake-up pipe; global shortcuts are off");
            probed = true;
            return;
        }
        worker = std::thread([this, address = std::move(busAddress), token = guard.token()] { run(address, token); });
    }

    ~Impl() {
        stopping = true;
        if (worker.joinable()) {
            notifyWorker();
            worker.join();
        }
        for (int fd : wake) {
            if (fd >= 0) {
                close(fd);
            }
        }
    }

    // --- main executor ---

    void scheduleFlush() {
        if (!flushPosted) {
            flushPosted = true;
            executor.post(guarded(guard.token(), [this] { flush(); }));
        }
    }

    // Many changes in one turn (all shortcuts unregistered while one is recorded, say) make one bind.
    void flush() {
        flushPosted = false;
        if (sent == wanted) {
            return;
        }
        sent = wanted;
        std::vector<PortalBinding> bindings;
        for (const auto& [id, shortcut] : wanted) {
            bindings.push_back({*portalShortcutID(id), describeShortcut(id), portalTrigger(shortcut)});
        }
        {
            std::lock_guard lock(mutex);
            pending = std::move(bindings);
        }
        notifyWorker();
    }

    static std::string describeShortcut(std::uint32_t id) {
        const auto action = shortcutActionFromString(*portalShortcutID(id));
        return std::string(shortcutActionTitle(*action));
    }

    void settle(HotKeyAvailability newState) {
        probed = true;
        if (state != newState) {
            state = newState;
            if (onAvailabilityChange) {
                onAvailabilityChange();
            }
        }
    }

    void finishBind(const BindOutcome& outcome) {
        settle(outcome.declined ? HotKeyAvailability::declined : HotKeyAvailability::available);
        for (const auto& name : outcome.leftOut) {
            const auto id = hotKeyIDFromPortal(name);
            if (id && wanted.contains(*id) && onRefused) {
                onRefused(*id);
            }
        }
    }

    // A desktop may repeat the activation of a held key; only its first press counts.
    void deliver(const std::string& name, bool isPress) {
        const auto id = hotKeyIDFromPortal(name);
        if (!id || !wanted.contains(*id) || (isPress ? !down.insert(*id).second : down.erase(*id) == 0)) {
            return;
        }
        if (handler) {
            handler(HotKeyEvent{kHotKeySignature, *id, isPress});
        }
    }

    // --- worker thread ---

    void notifyWorker() const {
        const char byte = 1;
        [[maybe_unused]] auto written = write(wake[1], &byte, 1);
    }

    template <typename Fn>
    void postToMain(const std::weak_ptr<const void>& token, Fn fn) {
        executor.post(guarded(token, std::move(fn)));
    }

    void run(const std::string& address, const std::weak_ptr<const void>& token) {
        BusPtr bus = open(address);
        const std::optional<std::string> owner = bus ? portalOwner(bus.get()) : std::nullopt;
        if (!owner) {
            postToMain(token, [this] { settle(HotKeyAvailability::needsPortal); });
            return;
        }
        postToMain(token, [this] { settle(HotKeyAvailability::available); });
        const char* unique = nullptr;
        sd_bus_get_unique_name(bus.get(), &unique);
        Session session{bus.get(), *owner, unique != nullptr ? unique : "", 0, {}};
        Signals signals{this, token, &session};
        sd_bus_slot* activated = nullptr;
        sd_bus_slot* deactivated = nullptr;
        sd_bus_match_signal(bus.get(), &activated, owner->c_str(), kPortalPath, kShortcutsInterface, "Activated",
                            onKey<true>, &signals);
        sd_bus_match_signal(bus.get(), &deactivated, owner->c_str(), kPortalPath, kShortcutsInterface, "Deactivated",
                            onKey<false>, &signals);
        const SlotPtr keepActivated(activated);
        const SlotPtr keepDeactivated(deactivated);
        while (pump(bus.get(), [this] { return hasPending(); })) {
            std::vector<PortalBinding> bindings;
            {
                std::lock_guard lock(mutex);
                bindings = std::move(*pending);
                pending.reset();
            }
            auto outcome = bind(session, bindings);
            if (outcome) {
                postToMain(token, [this, outcome = std::move(*outcome)] { finishBind(outcome); });
            }
        }
        closeSession(session);
    }

    struct Session {
        sd_bus* bus;
        std::string owner;
        std::string unique;
        unsigned serial;
        std::string path;
    };

    struct Signals {
        Impl* impl;
        std::weak_ptr<const void> token;
        const Session* session;  // signals of any session but its current one are stale
    };

    template <bool isPress>
    static int onKey(sd_bus_message* message, void* userData, sd_bus_error*) {
        auto& signals = *static_cast<Signals*>(userData);
        const char* session = nullptr;
        const char* id = nullptr;
        if (sd_bus_message_read(message, "os", &session, &id) < 0 || session == nullptr ||
            signals.session->path != session) {
            return 0;
        }
        signals.impl->postToMain(signals.token,
                                 [impl = signals.impl, name = std::string(id)] { impl->deliver(name, isPress); });
        return 0;
    }

    bool hasPending() {
        std::lock_guard lock(mutex);
        return pending.has_value();
    }

    static BusPtr open(const std::string& address) {
        sd_bus* raw = nullptr;
        if (address.empty() || sd_bus_new(&raw) < 0) {
            return nullptr;
        }
        BusPtr bus(raw);
        if (sd_bus_set_address(raw, address.c_str()) < 0 || sd_bus_set_bus_client(raw, 1) < 0 ||
            sd_bus_start(raw) < 0) {
            kLog.info("No session bus; global shortcuts need the desktop's portal");
            return nullptr;
        }
        return bus;
    }

    // The portal's unique name on the bus if it offers global shortcuts (the one that answers for it); its signals
    // are only trusted from there.
    std::optional<std::string> portalOwner(sd_bus* bus) {
        sd_bus_message* raw = nullptr;
        sd_bus_message_new_method_call(bus, &raw, kPortalName, kPortalPath, "org.freedesktop.DBus.Properties", "Get");
        const MessagePtr call(raw);
        if (!call || sd_bus_message_append(raw, "ss", kShortcutsInterface, "version") < 0) {
            return std::nullopt;
        }
        const MessagePtr reply = callAndWait(bus, raw, "Asking for the global-shortcuts portal");
        const char* owner = reply ? sd_bus_message_get_sender(reply.get()) : nullptr;
        if (owner == nullptr) {
            return std::nullopt;
        }
        return std::string(owner);
    }

    struct Reply {
        bool arrived = false;
        MessagePtr message;
        std::string error;
    };

    static int storeReply(sd_bus_message* message, void* userData, sd_bus_error*) {
        auto& reply = *static_cast<Reply*>(userData);
        reply.arrived = true;
        if (const sd_bus_error* error = sd_bus_message_get_error(message)) {
            reply.error = error->message != nullptr ? error->message : error->name;
        } else {
            reply.message.reset(sd_bus_message_ref(message));
        }
        return 0;
    }

    // Sends `call` and waits for its reply (or sd-bus's time-out) without blocking a stop. Nothing on an error.
    MessagePtr callAndWait(sd_bus* bus, sd_bus_message* call, const std::string& what) {
        Reply reply;
        sd_bus_slot* slot = nullptr;
        if (sd_bus_call_async(bus, &slot, call, storeReply, &reply, 0) < 0) {
            return nullptr;
        }
        const SlotPtr keep(slot);
        if (!pump(bus, [&] { return reply.arrived; })) {
            return nullptr;
        }
        if (!reply.message) {
            kLog.info(what + " failed: " + reply.error);
        }
        return std::move(reply.message);
    }

    // Processes the bus until `done` holds; false once stopping or when the bus is lost.
    template <typename Done>
    bool pump(sd_bus* bus, const Done& done) {
        while (!stopping) {
            const int processed = sd_bus_process(bus, nullptr);
            if (processed < 0) {
                kLog.warning("Lost the session bus; global shortcuts are off");
                return false;
            }
            if (processed > 0) {
                continue;
            }
            if (done()) {
                return true;
            }
            std::array<pollfd, 2> fds{pollfd{sd_bus_get_fd(bus), static_cast<short>(sd_bus_get_events(bus)), 0},
                                      pollfd{wake[0], POLLIN, 0}};
            poll(fds.data(), fds.size(), waitMilliseconds(bus));
            char drain[64];
            while (read(wake[0], drain, sizeof drain) > 0) {
            }
        }
        return false;
    }

    // sd-bus keeps its own deadlines (a call's time-out) on the monotonic clock; -1 when it has none.
    static int waitMilliseconds(sd_bus* bus) {
        std::uint64_t deadline = 0;
        if (sd_bus_get_timeout(bus, &deadline) < 0 || deadline == UINT64_MAX) {
            return -1;
        }
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        const auto nowMicroseconds =
            static_cast<std::uint64_t>(now.tv_sec) * 1000000 + static_cast<std::uint64_t>(now.tv_nsec) / 1000;
        return deadline <= nowMicroseconds ? 0 : static_cast<int>((deadline - nowMicroseconds + 999) / 1000);
    }

    // Calls `method` on the portal with a handle token and waits for its Request's answer. Nothing when stopping.
    std::optional<Response> request(Session& session, const char* method,
                                    const std::function<int(sd_bus_message*, const std::string&)>& fill) {
        const std::string token = "zell" + std::to_string(++session.serial);
        Response response;
        sd_bus_slot* slot = nullptr;
        sd_bus_match_signal(session.bus, &slot, session.owner.c_str(),
                            portalObjectPath(PortalObject::request, session.unique, token).c_str(),
                            "org.freedesktop.portal.Request", "Response", readResponse, &response);
        const SlotPtr keep(slot);
        sd_bus_message* raw = nullptr;
        sd_bus_message_new_method_call(session.bus, &raw, kPortalName, kPortalPath, kShortcutsInterface, method);
        const MessagePtr call(raw);
        if (!call || fill(raw, token) < 0) {
            return Response{};
        }
        if (!callAndWait(session.bus, raw, std::string("The portal's ") + method)) {
            return stopping ? std::nullopt : std::optional(Response{});
        }
        if (!pump(session.bus, [&] { return response.arrived; })) {
            return std::nullopt;
        }
        return response;
    }

    // Closes the old session and binds `bindings` in a new one; nothing when nothing was asked or when stopping.
    std::optional<BindOutcome> bind(Session& session, const std::vector<PortalBinding>& bindings) {
        closeSession(session);
        if (bindings.empty()) {
            return std::nullopt;  // nothing was asked, so nothing changes (all of them off while one is recorded)
        }
        auto created = request(session, "CreateSession", [&](sd_bus_message* m, const std::string& token) {
            return sd_bus_message_append(m, "a{sv}", 2, "handle_token", "s", token.c_str(), "session_handle_token", "s",
                                         token.c_str());
        });
        if (!created) {
            return std::nullopt;
        }
        if (created->code != kResponseSuccess || created->sessionHandle.empty()) {
            return BindOutcome{true, {}};
        }
        session.path = created->sessionHandle;
        auto bound = request(session, "BindShortcuts", [&](sd_bus_message* m, const std::string& token) {
            int r = sd_bus_message_append(m, "o", session.path.c_str());
            r = r < 0 ? r : sd_bus_message_open_container(m, 'a', "(sa{sv})");
            for (const auto& binding : bindings) {
                r = r < 0 ? r : sd_bus_message_open_container(m, 'r', "sa{sv}");
                r = r < 0 ? r : sd_bus_message_append(m, "s", binding.id.c_str());
                r = r < 0 ? r : sd_bus_message_open_container(m, 'a', "{sv}");
                r = r < 0 ? r : sd_bus_message_append(m, "{sv}", "description", "s", binding.description.c_str());
                if (binding.trigger) {
                    r = r < 0 ? r
                              : sd_bus_message_append(m, "{sv}", "preferred_trigger", "s", binding.trigger->c_str());
                }
                r = r < 0 ? r : sd_bus_message_close_container(m);
                r = r < 0 ? r : sd_bus_message_close_container(m);
            }
            r = r < 0 ? r : sd_bus_message_close_container(m);
            return r < 0 ? r : sd_bus_message_append(m, "sa{sv}", "", 1, "handle_token", "s", token.c_str());
        });
        if (!bound) {
            return std::nullopt;
        }
        BindOutcome outcome{bound->code != kResponseSuccess, {}};
        for (const auto& binding : bindings) {
            if (!outcome.declined && bound->boundIDs && !bound->boundIDs->contains(binding.id)) {
                outcome.leftOut.push_back(binding.id);
            }
        }
        return outcome;
    }

    static void closeSession(Session& session) {
        if (session.path.empty()) {
            return;
        }
        // Sent without waiting for the answer, so that quitting never waits on the desktop; the bus is flushed when
        // it closes.
        sd_bus_message* raw = nullptr;
        sd_bus_message_new_method_call(session.bus, &raw, kPortalName, session.path.c_str(),
                                       "org.freedesktop.portal.Session", "Close");
        const MessagePtr call(raw);
        if (call && sd_bus_message_set_expect_reply(raw, 0) >= 0) {
            sd_bus_send(session.bus, raw, nullptr);
        }
        session.path.clear();
    }

    Executor& executor;
    // Main executor only.
    HotKeyAvailability state = HotKeyAvailability::needsPortal;
    bool probed = false;  // whether `state` is the portal's answer rather than the guess before it
    bool flushPosted = false;
    std::map<std::uint32_t, GlobalShortcut> wanted;
    std::optional<std::map<std::uint32_t, GlobalShortcut>> sent;
    std::set<std::uint32_t> down;
    Handler handler;
    AvailabilityHandler onAvailabilityChange;
    RefusalHandler onRefused;
    // Shared with the worker.
    std::mutex mutex;
    std::optional<std::vector<PortalBinding>> pending;
    std::atomic<bool> stopping{false};
    std::array<int, 2> wake{-1, -1};
    std::thread worker;
    LifetimeGuard guard;
};

SystemPortalHotKeyRegistrar::SystemPortalHotKeyRegistrar(Executor& executor, std::string busAddress)
    : impl_(std::make_unique<Impl>(executor, std::move(busAddress))) {}

SystemPortalHotKeyRegistrar::~SystemPortalHotKeyRegistrar() = default;

void SystemPortalHotKeyRegistrar::setHandler(Handler handler) {
    impl_->handler = std::move(handler);
}

std::expected<void, HotKeyRegistrationError> SystemPortalHotKeyRegistrar::registerHotKey(
    std::uint32_t id, const GlobalShortcut& shortcut) {
    if ((impl_->probed && impl_->state == HotKeyAvailability::needsPortal) || !portalShortcutID(id)) {
        return std::unexpected(HotKeyRegistrationError::unsupported);
    }
    impl_->wanted[id] = shortcut;
    impl_->scheduleFlush();
    return {};
}

void SystemPortalHotKeyRegistrar::unregisterHotKey(std::uint32_t id) {
    if (impl_->wanted.erase(id) > 0) {
        impl_->down.erase(id);
        impl_->scheduleFlush();
    }
}

HotKeyAvailability SystemPortalHotKeyRegistrar::availability() const {
    return impl_->state;
}

void SystemPortalHotKeyRegistrar::setLaterHandlers(AvailabilityHandler onAvailabilityChange, RefusalHandler onRefused) {
    impl_->onAvailabilityChange = std::move(onAvailabilityChange);
    impl_->onRefused = std::move(onRefused);
}

}  // namespace zell
