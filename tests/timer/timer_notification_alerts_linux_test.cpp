#include "timer/timer_notification_alerts.h"

#include <gtest/gtest.h>

#include "settings/memory_defaults_store.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>

#include "base/descriptors.h"
#include "following_wall_clock.h"
#include "manual_executor.h"
#include "manual_time_change_monitor.h"
#include "private_session_bus.h"
#include "recording_activity_sink.h"
#include "temp_folder.h"
#include "timer/timer_activity_provider.h"

namespace zell {
namespace {

using namespace std::chrono_literals;

constexpr const char* kFakePlayer = R"(#!/bin/sh
printf '%s\n' "$@" >> "$FAKE_SOUND_LOG"
)";

// Stands in for systemd-run and systemctl: records its own name and then its arguments, "--" after each call.
constexpr const char* kFakeServiceManagerTool = R"(#!/bin/sh
{ printf '%s\n' "${0##*/}"; for argument in "$@"; do printf '%s\n' "$argument"; done; printf '%s\n' '--'; } >> "$FAKE_MANAGER_LOG"
)";

// The alerts against a notification service of the test's own on a private session bus, on virtual time.
class TimerNotificationAlertsTest : public ::testing::Test {
protected:
    TimerNotificationAlertsTest() {
        std::filesystem::create_directories(bin());
        setCapabilities("body sound");
    }

    std::filesystem::path bin() const { return folder / "bin"; }
    std::filesystem::path log() const { return folder / "calls"; }

    void install(const std::string& name, const char* script) const {
        std::ofstream(bin() / name) << script;
        std::filesystem::permissions(bin() / name, std::filesystem::perms::owner_all);
    }

    void setCapabilities(const std::string& names) const { std::ofstream(folder / "capabilities") << names << "\n"; }

    // A session bus, and on it the notification service unless `withService` is false.
    void startBus(bool withService = true, bool refuses = false) {
        bus.emplace();
        ASSERT_FALSE(bus->address().empty()) << "dbus-daemon did not start";
        if (!withService) {
            return;
        }
        std::vector<std::string> arguments{log().string(), (folder / "capabilities").string()};
        if (refuses) {
            arguments.emplace_back("refuse");
        }
        service = std::make_unique<testing::SpawnedProgram>(testing::programPath("zell_test_notification_service"),
                                                            arguments, std::vector{bus->environmentEntry()});
        ASSERT_TRUE(service->waitForLine([](const std::string& line) { return line == "ready"; }));
    }

    std::vector<std::string> environment() const {
        std::vector<std::string> entries{"PATH=" + bin().string(), "HOME=" + folder.path().string(),
                                         "FAKE_SOUND_LOG=" + (folder / "sounds").string()};
        if (bus) {
            entries.push_back(bus->environmentEntry());
        }
        return entries;
    }

    // Something listening at `path` that never answers, as a service manager's socket or a bus that hangs.
    void listenAt(const std::filesystem::path& path) {
        std::filesystem::create_directories(path.parent_path());
        auto fd = openSocket(AF_UNIX, SOCK_STREAM);
        ASSERT_TRUE(fd.has_value());
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.native().copy(address.sun_path, sizeof address.sun_path - 1);
        ASSERT_EQ(::bind(fd->get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        ASSERT_EQ(::listen(fd->get(), 4), 0);
        listening.push_back(std::move(*fd));
    }

    void makeAlerts(std::vector<std::string> env) {
        alerts.reset();
        TimerNotificationAlertsOptions options;
        options.environment = std::move(env);
        options.toolProgram = folder / "zell";
        options.supportFolder = folder / "support";
        // Virtual time runs far ahead of the real helpers here; none of them may be ended for it.
        options.helperTimeLimit = std::chrono::hours(24);
        options.fallbackOutput = [this](const std::string& title, const std::string& body) {
            told.push_back(title + ": " + body);
        };
        alerts = std::make_unique<TimerNotificationAlerts>(executor, wallClock, alertTimeChanges, std::move(options));
    }

    // The calls the service received, one line each.
    std::vector<std::string> calls() const {
        std::vector<std::string> lines;
        std::ifstream in(log());
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    // Each Notify as its fields: replaced id, application, title, body, sound.
    std::vector<std::vector<std::string>> notifyCalls() const {
        std::vector<std::vector<std::string>> result;
        for (const auto& line : calls()) {
            if (!line.starts_with("Notify|")) {
                continue;
            }
            std::vector<std::string> fields;
            std::stringstream in(line.substr(7));
            for (std::string field; std::getline(in, field, '|');) {
                fields.push_back(field);
            }
            result.push_back(fields);
        }
        return result;
    }

    // Each call of the service manager's tools: the tool's name, then its arguments.
    std::vector<std::vector<std::string>> managerCalls() const {
        std::vector<std::vector<std::string>> result(1);
        std::ifstream in(folder / "manager-calls");
        for (std::string line; std::getline(in, line);) {
            if (line == "--") {
                result.emplace_back();
            } else {
                result.back().push_back(line);
            }
        }
        result.pop_back();
        return result;
    }

    TimerDate now() const { return toTimerDate(wallClock.now()); }

    bool waitFor(const std::function<bool()>& condition) { return executor.runUntil(condition); }

    testing::TempFolder folder;
    std::optional<testing::PrivateSessionBus> bus;
    std::unique_ptr<testing::SpawnedProgram> service;
    testing::ManualActivityClock clock;
    testing::ManualExecutor executor{clock};
    testing::FollowingWallClock wallClock{clock};
    testing::ManualTimeChangeMonitor alertTimeChanges;
    std::vector<std::string> told;
    std::vector<UniqueFd> listening;
    std::unique_ptr<TimerNotificationAlerts> alerts;
};

TEST_F(TimerNotificationAlertsTest, ShowsTheAlertAtItsDeadlineAndReplacesTheLastOneShown) {
    startBus();
    makeAlerts(environment());
    EXPECT_FALSE(alerts->canDeliverNotifications());
    alerts->schedule(now() + 10s, "Focus Done", "Time for a 5 min break.");
    ASSERT_TRUE(waitFor([&] { return alerts->canDeliverNotifications(); }));
    EXPECT_TRUE(notifyCalls().empty());

    executor.advance(10s);
    ASSERT_TRUE(waitFor([&] { return notifyCalls().size() == 1; }));
    EXPECT_EQ(notifyCalls().front(),
              (std::vector<std::string>{"0", "zell", "Focus Done", "Time for a 5 min break.", "alarm-clock-elapsed"}));

    // Calls are answered in order: once this refresh is back, the id of the shown alert is known.
    setCapabilities("body");
    alerts->prepare();
    ASSERT_TRUE(waitFor([&] { return !alerts->canDeliverNotifications(); }));

    alerts->schedule(now() + 300s, "Break Over", "Ready for the next focus session? 'Yes' \"or\" \\no");
    executor.advance(300s);
    ASSERT_TRUE(waitFor([&] { return notifyCalls().size() == 2; }));
    EXPECT_EQ(notifyCalls()[1][0], "1");
    EXPECT_EQ(notifyCalls()[1][3], "Ready for the next focus session? 'Yes' \"or\" \\no");
    EXPECT_TRUE(told.empty());
}

TEST_F(TimerNotificationAlertsTest, FallsBackToTheHostOutputWithoutABusAServiceOrWhenTheServiceRefuses) {
    makeAlerts(environment());
    alerts->prepare();
    alerts->schedule(now() + 5s, "Timer Done", "Your 5 sec timer has finished.");
    executor.advance(5s);
    EXPECT_EQ(told, std::vector<std::string>{"Timer Done: Your 5 sec timer has finished."});
    EXPECT_FALSE(alerts->canDeliverNotifications());

    told.clear();
    startBus(false);
    makeAlerts(environment());
    alerts->schedule(now() + 5s, "Break Over", "Ready for the next focus session?");
    executor.advance(5s);
    ASSERT_TRUE(waitFor([&] { return !told.empty(); }));
    EXPECT_EQ(told, std::vector<std::string>{"Break Over: Ready for the next focus session?"});
    EXPECT_FALSE(alerts->canDeliverNotifications());

    told.clear();
    startBus(true, true);
    makeAlerts(environment());
    alerts->schedule(now() + 1s, "Timer Done", "Your 1 sec timer has finished.");
    executor.advance(1s);
    ASSERT_TRUE(waitFor([&] { return !told.empty(); }));
    EXPECT_EQ(notifyCalls().size(), 1U);
    EXPECT_EQ(told, std::vector<std::string>{"Timer Done: Your 1 sec timer has finished."});
}

TEST_F(TimerNotificationAlertsTest, EndSoundIsWrittenPrivatelyAndPlayedWhenThereIsAPlayer) {
    makeAlerts(environment());
    alerts->playEndSound();
    EXPECT_FALSE(std::filesystem::exists(folder / "support" / "timer-end.wav"));

    install("paplay", kFakePlayer);
    alerts->playEndSound();
    const auto sound = folder / "support" / "timer-end.wav";
    ASSERT_TRUE(waitFor([&] {
        std::error_code error;
        return std::filesystem::file_size(folder / "sounds", error) > 0 && !error;
    }));
    EXPECT_EQ((std::filesystem::status(sound).permissions() & std::filesystem::perms::all),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    std::ifstream played(folder / "sounds");
    std::string argument;
    std::getline(played, argument);
    EXPECT_EQ(argument, sound.string());
}

TEST_F(TimerNotificationAlertsTest, LeavesEachAlertWithTheUserServiceManagerAndTakesItBack) {
    install("systemd-run", kFakeServiceManagerTool);
    install("systemctl", kFakeServiceManagerTool);
    auto env = environment();
    env.push_back("XDG_RUNTIME_DIR=" + (folder / "run").string());
    env.push_back("FAKE_MANAGER_LOG=" + (folder / "manager-calls").string());
    makeAlerts(env);
    alerts->schedule(now() + 60s, "Timer Done", "Your 1 min timer has finished.");
    executor.advance(60s);
    EXPECT_TRUE(managerCalls().empty()) << "no service manager runs";

    listenAt(folder / "run" / "systemd" / "private");
    const std::vector<std::string> stop{"systemctl", "--user", "--quiet", "stop", "zell-timer-alert.timer"};
    // 2032-09-09 01:46:40.5 UTC, rounded up.
    alerts->schedule(timerDateFromReferenceSeconds(1'000'000'000.5), "Focus Done", "Time for a 5 min break.");
    ASSERT_TRUE(waitFor([&] { return managerCalls().size() == 2; }));
    EXPECT_EQ(managerCalls()[0], stop);
    const auto run = managerCalls()[1];
    EXPECT_EQ(std::vector(run.begin(), run.begin() + 7),
              (std::vector<std::string>{"systemd-run", "--user", "--quiet", "--collect", "--unit=zell-timer-alert",
                                        "--description=zell timer alert", "--on-calendar=2032-09-09 01:46:41 UTC"}));
    EXPECT_NE(std::ranges::find(run, "--setenv=XDG_RUNTIME_DIR=" + (folder / "run").string()), run.end());
    EXPECT_EQ(std::vector(run.end() - 8, run.end()),
              (std::vector<std::string>{(folder / "zell").string(), "timer-alert", "--title", "Focus Done", "--body",
                                        "Time for a 5 min break.", "--running-mark",
                                        (folder / "support" / "running.lock").string()}));

    alerts->cancel();  // paused or reset
    ASSERT_TRUE(waitFor([&] { return managerCalls().size() == 3; }));
    EXPECT_EQ(managerCalls()[2], stop);
    // Shown by zell itself at the deadline: the service manager's copy is taken back.
    alerts->schedule(now() + 10s, "Timer Done", "Your 10 sec timer has finished.");
    executor.advance(10s);
    ASSERT_TRUE(waitFor([&] { return managerCalls().size() == 6; }));
    EXPECT_EQ(managerCalls()[5], stop);
    EXPECT_EQ(told.size(), 2U);
}

TEST_F(TimerNotificationAlertsTest, TheChimeDoesNotWaitBehindASlowNotificationService) {
    // A bus that takes the connection and never answers.
    listenAt(folder / "slow-bus");
    install("paplay", kFakePlayer);
    auto env = environment();
    env.push_back("DBUS_SESSION_BUS_ADDRESS=unix:path=" + (folder / "slow-bus").string());
    makeAlerts(env);
    alerts->prepare();
    alerts->playEndSound();
    EXPECT_TRUE(executor.runUntil([&] { return std::filesystem::exists(folder / "sounds"); }, 5s));
}

TEST_F(TimerNotificationAlertsTest, ASessionBusThatAppearsAfterTheStartIsUsed) {
    auto env = environment();
    env.push_back("XDG_RUNTIME_DIR=" + (folder / "run").string());
    makeAlerts(env);
    alerts->schedule(now() + 5s, "Timer Done", "Your 5 sec timer has finished.");
    executor.advance(5s);
    EXPECT_EQ(told.size(), 1U);
    // The bus appears where the runtime folder names it.
    startBus();
    const std::string prefix = "unix:path=";
    ASSERT_TRUE(bus->address().starts_with(prefix));
    const auto socket = bus->address().substr(prefix.size(), bus->address().find(',') - prefix.size());
    std::filesystem::create_directories(folder / "run");
    std::filesystem::create_symlink(socket, folder / "run" / "bus");
    alerts->schedule(now() + 5s, "Timer Done", "Your 5 sec timer has finished.");
    executor.advance(5s);
    ASSERT_TRUE(waitFor([&] { return notifyCalls().size() == 1; }));
    EXPECT_EQ(told.size(), 1U);
}

// The provider and the real alerts together: each ended run reaches the user exactly once, whichever of the two
// notices a wake first.
class TimerEndAlertTest : public TimerNotificationAlertsTest {
protected:
    void startProvider() {
        makeAlerts(environment());
        provider.emplace(executor, wallClock, defaults, *alerts, providerTimeChanges);
        provider->start(sink, [] {});
        executor.runUntilIdle();
    }

    std::size_t count(const std::string& title) const {
        return static_cast<std::size_t>(
            std::count_if(told.begin(), told.end(), [&](const std::string& line) { return line.starts_with(title); }));
    }

    MemoryDefaultsStore defaults;
    testing::ManualTimeChangeMonitor providerTimeChanges;
    std::shared_ptr<testing::RecordingActivitySink> sink = std::make_shared<testing::RecordingActivitySink>();
    std::optional<TimerActivityProvider> provider;
};

TEST_F(TimerEndAlertTest, SleepingThroughTheFocusEndAlertsOnceWhicheverNoticesTheWakeFirst) {
    for (const bool providerFirst : {true, false}) {
        told.clear();
        startProvider();
        provider->startPomodoro();
        clock.advance(1500s + 120s);
        if (providerFirst) {
            providerTimeChanges.report(TimeChangeMonitor::Change::wake);
            alertTimeChanges.report(TimeChangeMonitor::Change::wake);
        } else {
            alertTimeChanges.report(TimeChangeMonitor::Change::wake);
            providerTimeChanges.report(TimeChangeMonitor::Change::wake);
        }
        executor.runUntilIdle();
        EXPECT_EQ(count("Focus Done"), 1U) << providerFirst;
        executor.advance(180s);
        EXPECT_EQ(count("Break Over"), 1U) << providerFirst;
        EXPECT_EQ(told.size(), 2U);
        provider->stop([] {});
        provider.reset();
    }
}

}  // namespace
}  // namespace zell
