# One libFuzzer program a screen: fuzz/<name>.cpp becomes fuzz_<name>. The instrumentation of the library itself is in
# CairnToolchain.

add_custom_target(fuzz)
file(GLOB _screens CONFIGURE_DEPENDS fuzz/*.cpp)
foreach(_screen IN LISTS _screens)
    cmake_path(GET _screen STEM _name)
    add_executable(fuzz_${_name} "${_screen}")
    set_target_properties(fuzz_${_name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/fuzz")
    target_link_options(fuzz_${_name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(fuzz_${_name} PRIVATE cairn::cairn fmt::fmt cairn_warnings)
    if(TARGET cairn_host)
        target_link_libraries(fuzz_${_name} PRIVATE cairn_host)
    endif()
    add_dependencies(fuzz fuzz_${_name})
endforeach()
target_sources(fuzz_mesh_edits PRIVATE tests/support/mesh_edits.cpp tests/support/mesh_shelf.cpp)
