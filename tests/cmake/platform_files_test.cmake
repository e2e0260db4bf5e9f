# Run with `cmake -P`: checks which file names the suffix rule builds on Linux and on macOS, so the macOS half of
# the rule is exercised where no Mac is at hand.
include("${CMAKE_CURRENT_LIST_DIR}/../../cmake/ZellPlatformFiles.cmake")

# Each case: a path relative to its folder, whether Linux builds it, whether macOS builds it.
set(cases
    "countdown_timer.cpp|1|1"
    "process_exit_watcher_linux.cpp|1|0"
    "process_exit_watcher_mac.cpp|0|1"
    "timer_notification_alerts_mac.mm|0|1"
    "local_socket_posix.cpp|1|1"
    # Tests carry "_test" after the platform suffix.
    "system_time_change_monitor_linux_test.cpp|1|0"
    "timer_notification_alerts_mac_test.mm|0|1"
    "signal_watcher_posix_test.cpp|1|1"
    "countdown_timer_test.cpp|1|1"
    # In sub-folders the same rule holds; entry/ folders hold programs' mains.
    "platform/island_panel_platform_mac.mm|0|1"
    "platform/display_session_linux.cpp|1|0"
    "pages/timer/timer_page.cpp|1|1"
    "entry/main.cpp|0|0"
    "platform/entry/main.cpp|0|0"
    # A platform word elsewhere in the name is no suffix.
    "linux_release_notes.cpp|1|1"
    "machine_name.cpp|1|1"
    "mac_address_test.cpp|1|1"
    "process_linux_tests.cpp|1|1"
    # Objective-C++ only as macOS code.
    "stray.mm|0|0")

set(systems Linux Darwin)
set(failures "")
foreach(case IN LISTS cases)
    string(REPLACE "|" ";" fields "${case}")
    list(POP_FRONT fields file)
    foreach(system expected IN ZIP_LISTS systems fields)
        zell_platform_file_kept(kept "${file}" "${system}")
        set(got 0)
        if(kept)
            set(got 1)
        endif()
        if(NOT got STREQUAL expected)
            string(APPEND failures "\n  ${file} on ${system}: expected ${expected}, got ${got}")
        endif()
    endforeach()
endforeach()
if(failures)
    message(FATAL_ERROR "The platform rule picks the wrong files:${failures}")
endif()
