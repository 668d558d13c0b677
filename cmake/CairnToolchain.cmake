# What holds for every target: the language, its warnings, exact arithmetic, sanitizers, ccache.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Kind of build" FORCE)
endif()

if(NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(CAIRN_CCACHE ccache)
    mark_as_advanced(CAIRN_CCACHE)
    if(CAIRN_CCACHE)
        set(CMAKE_CXX_COMPILER_LAUNCHER "${CAIRN_CCACHE}")
    endif()
endif()

# Warnings are for our own sources only: linked privately, never exported.
add_library(cairn_warnings INTERFACE)
target_compile_options(cairn_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wcast-align -Wcast-qual
    -Wformat=2 -Wnon-virtual-dtor -Woverloaded-virtual -Wunused -Wundef
    -Wimplicit-fallthrough -Wextra-semi -Wzero-as-null-pointer-constant
    $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op -Wsuggest-override>
    # g++ 12 sees overlapping copies in `"text" + string` at -O3 that cannot be.
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
    $<$<CXX_COMPILER_ID:Clang>:-Wsuggest-override>
    $<$<BOOL:${CAIRN_WARNINGS_AS_ERRORS}>:-Werror>)

# One file has one reading on every machine: no fused multiply-add that would round differently from the two operations.
# Never -ffast-math either. Public, as the templates in the headers are compiled by whoever includes them.
add_library(cairn_options INTERFACE)
target_compile_options(cairn_options INTERFACE -ffp-contract=off)
target_compile_features(cairn_options INTERFACE cxx_std_20)

# The standard library checks its own preconditions where speed is not what is looked for.
add_compile_definitions($<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

if(CAIRN_SANITIZE)
    add_compile_options(-fsanitize=${CAIRN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
    add_link_options(-fsanitize=${CAIRN_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # What the fuzzer follows: in the tests' build, too, so that both take their objects from the compiler's cache.
        add_compile_options(-fsanitize=fuzzer-no-link)
    endif()
endif()

if(CAIRN_BUILD_FUZZERS AND NOT (CAIRN_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
    message(FATAL_ERROR "CAIRN_BUILD_FUZZERS needs clang and CAIRN_SANITIZE, found ${CMAKE_CXX_COMPILER_ID}")
endif()
