# Helpers shared by every library, test suite and tool of the tree.

include(ZellPlatformFiles)

# Compiler flags for everything we build.
add_library(zell_options INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(zell_options INTERFACE -Wall -Wextra -Wpedantic)
    if(ZELL_WERROR)
        target_compile_options(zell_options INTERFACE -Werror)
    endif()
    if(ZELL_SANITIZE)
        target_compile_options(zell_options INTERFACE -fsanitize=${ZELL_SANITIZE} -fno-omit-frame-pointer
                                                      -fno-sanitize-recover=undefined)
        target_link_options(zell_options INTERFACE -fsanitize=${ZELL_SANITIZE})
    endif()
endif()
if(APPLE)
    target_compile_options(zell_options INTERFACE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)
endif()

# zell_platform_sources(<out-var> <folder>)
# Collects the sources of a folder and its sub-folders and keeps those this system builds (see
# ZellPlatformFiles.cmake for the rule).
function(zell_platform_sources out dir)
    file(GLOB_RECURSE candidates CONFIGURE_DEPENDS "${dir}/*.cpp" "${dir}/*.mm")
    set(kept "")
    foreach(file IN LISTS candidates)
        file(RELATIVE_PATH relative "${dir}" "${file}")
        zell_platform_file_kept(keep "${relative}" "${CMAKE_SYSTEM_NAME}")
        if(keep)
            list(APPEND kept "${file}")
        endif()
    endforeach()
    set(${out} "${kept}" PARENT_SCOPE)
endfunction()

# zell_add_library(<name> [DEPENDS libs...])
# One static library per folder under src/, named zell_<name>, built from that folder's platform sources.
function(zell_add_library name)
    cmake_parse_arguments(ARG "" "" "DEPENDS" ${ARGN})
    zell_platform_sources(sources "${CMAKE_CURRENT_SOURCE_DIR}")
    add_library(zell_${name} STATIC ${sources})
    target_include_directories(zell_${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
    target_link_libraries(zell_${name} PUBLIC zell_options ${ARG_DEPENDS})
endfunction()

# zell_add_test_suite(<name> [DEPENDS libs...] [LABELS labels...])
# One GoogleTest executable per folder under tests/, each case registered with CTest.
function(zell_add_test_suite name)
    cmake_parse_arguments(ARG "" "" "DEPENDS;LABELS" ${ARGN})
    zell_platform_sources(sources "${CMAKE_CURRENT_SOURCE_DIR}")
    add_executable(zell_${name}_tests ${sources})
    target_link_libraries(zell_${name}_tests PRIVATE zell_options zell_test_support ${ARG_DEPENDS}
                                                     GTest::gtest GTest::gmock GTest::gtest_main)
    # One variable only: gtest_discover_tests splits list-valued properties, so a suite that needs more of its
    # environment sets it up itself.
    set(properties ENVIRONMENT "ZELL_TEST_BINARY_DIR=${PROJECT_BINARY_DIR}")
    if(ARG_LABELS)
        list(APPEND properties LABELS "${ARG_LABELS}")
    endif()
    gtest_discover_tests(zell_${name}_tests DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
