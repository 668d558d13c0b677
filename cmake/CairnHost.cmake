# The program `cairn`. Everything but main.cpp is a library of its own, so that tests can reach it too.

find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
find_package(TinyGLTF REQUIRED)

file(GLOB_RECURSE _host_sources RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS host/*.cpp)
list(REMOVE_ITEM _host_sources host/main.cpp)

if(_host_sources)
    add_library(cairn_host STATIC ${_host_sources})
    target_link_libraries(cairn_host PUBLIC cairn::cairn fmt::fmt nlohmann_json::nlohmann_json CLI11::CLI11
                          PRIVATE stb::stb TinyGLTF::TinyGLTF cairn_warnings)
endif()

if(EXISTS "${PROJECT_SOURCE_DIR}/host/main.cpp")
    add_executable(cairn_program host/main.cpp)
    set_target_properties(cairn_program PROPERTIES OUTPUT_NAME cairn RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
    target_link_libraries(cairn_program PRIVATE cairn_host cairn_warnings)
    install(TARGETS cairn_program RUNTIME)
endif()
