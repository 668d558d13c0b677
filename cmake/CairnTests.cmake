# One test program for each library and one for the host: cairn_base_test, cairn_media_test, cairn_test, cairn_host_test;
# one whose allocations fail, cairn_fault_test; and one that runs the fuzz targets over what they start from, cairn_corpora_test.

find_package(GTest REQUIRED)
find_package(rapidcheck REQUIRED)
include(GoogleTest)

file(GLOB_RECURSE _support CONFIGURE_DEPENDS tests/support/*.cpp)
list(FILTER _support EXCLUDE REGEX "/(fault_shim|allocation_faults).cpp$") # of one program each
add_library(cairn_test_support STATIC ${_support})
target_link_libraries(cairn_test_support PRIVATE cairn_warnings)
target_link_libraries(cairn_test_support PUBLIC cairn::cairn fmt::fmt GTest::gmock rapidcheck rapidcheck_gtest)
# Only the file that needs it knows the checkout's place: all others come from the compiler's cache in any checkout.
set_source_files_properties(tests/support/test_data.cpp PROPERTIES
    COMPILE_DEFINITIONS CAIRN_PROJECT_DIR="${PROJECT_SOURCE_DIR}")
# The macros of GoogleTest's parametrised suites end in an empty variadic argument.
target_compile_options(cairn_test_support PUBLIC $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)

# cairn_add_test(<program> <sources>...): nothing where there is no source.
function(cairn_add_test program)
    if(NOT ARGN)
        return()
    endif()
    add_executable(${program} ${ARGN})
    target_link_libraries(${program} PRIVATE cairn_test_support GTest::gtest_main cairn_warnings)
    gtest_discover_tests(${program} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
        TEST_PREFIX "${program}." PROPERTIES TIMEOUT 600)
endfunction()

file(GLOB_RECURSE _tests RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS tests/*_test.cpp)
list(FILTER _tests EXCLUDE REGEX "^tests/(support|data)/")
set(_host_tests ${_tests})
list(FILTER _host_tests INCLUDE REGEX "^tests/host/")
list(FILTER _tests EXCLUDE REGEX "^tests/host/")
set(_fault_tests ${_tests})
list(FILTER _fault_tests INCLUDE REGEX "^tests/faults/")
list(FILTER _tests EXCLUDE REGEX "^tests/(faults|fuzzing)/")
cairn_split_by_library(_tests tests ${_tests})

cairn_add_test(cairn_base_test ${_tests_base})
cairn_add_test(cairn_media_test ${_tests_media})
cairn_add_test(cairn_test ${_tests_model})

# A program that measures failing allocations or runs `cairn` a thousand times: sanitizers have an allocator of their own, and
# would take longer than a test may.
if(CAIRN_SANITIZE)
    set(_fault_tests)
    list(REMOVE_ITEM _host_tests tests/host/fault_test.cpp)
endif()

if(TARGET cairn_program)
    cairn_add_test(cairn_host_test ${_host_tests} tests/host/program_run.cpp)
    if(TARGET cairn_host_test)
        target_link_libraries(cairn_host_test PRIVATE cairn_host)
        set_source_files_properties(tests/host/program_run.cpp PROPERTIES
            COMPILE_DEFINITIONS CAIRN_PROGRAM="$<TARGET_FILE:cairn_program>")
        add_dependencies(cairn_host_test cairn_program)
    endif()
    if(_fault_tests)
        cairn_add_test(cairn_fault_test ${_fault_tests} tests/support/allocation_faults.cpp)
        target_link_libraries(cairn_fault_test PRIVATE cairn_host)
        # Loaded ahead of the program, whose system calls it lets fail.
        add_library(cairn_fault_shim MODULE tests/support/fault_shim.cpp)
        target_link_libraries(cairn_fault_shim PRIVATE cairn_warnings ${CMAKE_DL_LIBS})
        set_source_files_properties(tests/host/fault_test.cpp PROPERTIES
            COMPILE_DEFINITIONS CAIRN_FAULT_SHIM="$<TARGET_FILE:cairn_fault_shim>")
        add_dependencies(cairn_host_test cairn_fault_shim)
    endif()

    # All targets in one program: the two entries of each, which have the same names everywhere, get names of their own.
    file(GLOB _screens CONFIGURE_DEPENDS fuzz/*.cpp)
    set(_targets "")
    foreach(_screen IN LISTS _screens)
        cmake_path(GET _screen STEM _name)
        string(APPEND _targets "CAIRN_FUZZ_TARGET(${_name})\n")
        set_source_files_properties("${_screen}" PROPERTIES COMPILE_DEFINITIONS
            "LLVMFuzzerInitialize=cairn_fuzz_prepare_${_name};LLVMFuzzerTestOneInput=cairn_fuzz_run_${_name}")
    endforeach()
    file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/corpora/fuzz_targets.inc" CONTENT "${_targets}")
    cairn_add_test(cairn_corpora_test tests/fuzzing/corpora_test.cpp ${_screens})
    target_include_directories(cairn_corpora_test PRIVATE "${PROJECT_BINARY_DIR}/corpora")
    target_link_libraries(cairn_corpora_test PRIVATE cairn_host)
endif()
