# The scripted scene whose hashes every build of the program gives alike: cairn_determinism (see docs/determinism.md). It is
# built on demand, and with the tests, of which it is one.

add_executable(cairn_determinism EXCLUDE_FROM_ALL tests/determinism/scene.cpp tests/support/derived_data.cpp)
target_link_libraries(cairn_determinism PRIVATE cairn_host cairn_warnings)
# Beside the message catalogue, which the program finds where it stands.
set_target_properties(cairn_determinism PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
if(CAIRN_BUILD_TESTS)
    set_target_properties(cairn_determinism PROPERTIES EXCLUDE_FROM_ALL OFF)
    add_test(NAME cairn_determinism COMMAND cairn_determinism)
endif()
