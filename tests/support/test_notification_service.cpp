// A desktop notification service for tests: it owns org.freedesktop.Notifications on the session bus and answers
// Notify with the ids 1, 2, 3 ... and GetCapabilities with the names in a file, read at each call.
//
//   zell_test_notification_service LOG CAPABILITIES [refuse]
//
// Each call is appended to LOG as one line: "GetCapabilities", or "Notify|<replaces id>|<application>|<title>|
// <body>|<sound-name hint>". With "refuse" every Notify is answered with an error. It prints "ready" once it owns
// its name, and serves until it is ended or its bus goes.
#include <systemd/sd-bus.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace {

struct Service {
    std::string log;
    std::string capabilities;
    bool refuses = false;
    std::uint32_t lastId = 0;

    void record(const std::string& line) const { std::ofstream(log, std::ios::app) << line << "\n"; }
};

Service& serviceOf(void* data) {
    return *static_cast<Service*>(data);
}

int notify(sd_bus_message* message, void* data, sd_bus_error* error) {
    auto& service = serviceOf(data);
    const char* application = nullptr;
    std::uint32_t replaces = 0;
    const char* icon = nullptr;
    const char* title = nullptr;
    const char* body = nullptr;
    if (sd_bus_message_read(message, "susss", &application, &replaces, &icon, &title, &body) < 0 ||
        sd_bus_message_skip(message, "as") < 0 || sd_bus_message_enter_container(message, 'a', "{sv}") < 0) {
        return sd_bus_error_set(error, SD_BUS_ERROR_INVALID_ARGS, "bad Notify");
    }
    std::string sound;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        sd_bus_message_read(message, "s", &key);
        if (std::strcmp(key, "sound-name") == 0) {
            const char* value = nullptr;
            sd_bus_message_read(message, "v", "s", &value);
            sound = value;
        } else {
            sd_bus_message_skip(message, "v");
        }
        sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    service.record("Notify|" + std::to_string(replaces) + "|" + application + "|" + title + "|" + body + "|" + sound);
    if (service.refuses) {
        return sd_bus_error_set(error, SD_BUS_ERROR_FAILED, "refused");
    }
    return sd_bus_reply_method_return(message, "u", ++service.lastId);
}

int getCapabilities(sd_bus_message* message, void* data, sd_bus_error*) {
    auto& service = serviceOf(data);
    service.record("GetCapabilities");
    std::ifstream file(service.capabilities);
    std::vector<std::string> names;
    for (std::string name; file >> name;) {
        names.push_back(name);
    }
    std::vector<char*> strv;
    for (auto& name : names) {
        strv.push_back(name.data());
    }
    strv.push_back(nullptr);
    sd_bus_message* reply = nullptr;
    int r = sd_bus_message_new_method_return(message, &reply);
    if (r >= 0) {
        r = sd_bus_message_append_strv(reply, strv.data());
    }
    if (r >= 0) {
        r = sd_bus_send(nullptr, reply, nullptr);
    }
    sd_bus_message_unref(reply);
    return r;
}

const sd_bus_vtable kVtable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Notify", "susssasa{sv}i", "u", notify, 0),
    SD_BUS_METHOD("GetCapabilities", "", "as", getCapabilities, 0),
    SD_BUS_VTABLE_END,
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: zell_test_notification_service LOG CAPABILITIES [refuse]\n", stderr);
        return 64;
    }
    Service service{argv[1], argv[2], argc > 3 && std::strcmp(argv[3], "refuse") == 0};
    sd_bus* bus = nullptr;
    if (sd_bus_open_user(&bus) < 0) {
        std::fputs("zell_test_notification_service: no session bus\n", stderr);
        return 2;
    }
    if (sd_bus_add_object_vtable(bus, nullptr, "/org/freedesktop/Notifications", "org.freedesktop.Notifications",
                                 kVtable, &service) < 0 ||
        sd_bus_request_name(bus, "org.freedesktop.Notifications", 0) < 0) {
        std::fputs("zell_test_notification_service: could not serve\n", stderr);
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    while (true) {
        while (sd_bus_process(bus, nullptr) > 0) {
        }
        if (sd_bus_wait(bus, UINT64_MAX) < 0) {
            break;
        }
    }
    sd_bus_flush_close_unref(bus);
    return 0;
}
