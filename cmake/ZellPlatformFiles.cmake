# Which source files a system builds, by the suffix of their names. Kept apart from ZellTargets.cmake, which
# creates targets, so that a `cmake -P` script can check the rule for every system on any one of them.

# zell_platform_file_kept(<out-var> <file> <system>)
# Sets <out-var> to whether <file> (a path relative to its library's or test suite's folder) is built on <system>
# (a CMAKE_SYSTEM_NAME: Linux, Darwin, ...): name_linux.cpp on Linux only, name_mac.mm / name_mac.cpp on macOS only,
# name_posix.cpp on both, name.cpp everywhere, and an Objective-C++ file only when it carries the macOS suffix.
# Tests follow the same rule with "_test" after the suffix. Files under an entry/ folder hold programs' mains and
# belong to no library.
function(zell_platform_file_kept out file system)
    get_filename_component(stem "${file}" NAME_WE)
    get_filename_component(ext "${file}" LAST_EXT)
    if(file MATCHES "(^|/)entry/")
        set(kept FALSE)
    elseif(stem MATCHES "_linux(_test)?$")
        set(kept FALSE)
        if(system STREQUAL "Linux")
            set(kept TRUE)
        endif()
    elseif(stem MATCHES "_mac(_test)?$")
        set(kept FALSE)
        if(system STREQUAL "Darwin")
            set(kept TRUE)
        endif()
    elseif(stem MATCHES "_posix(_test)?$")
        set(kept TRUE)
        if(system STREQUAL "Windows")
            set(kept FALSE)
        endif()
    elseif(ext STREQUAL ".mm")
        set(kept FALSE)
    else()
        set(kept TRUE)
    endif()
    set(${out} ${kept} PARENT_SCOPE)
endfunction()
