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
    # The message catalogue that ships is found from where the program stands: an install may go to another place than
    # was configured.
    file(RELATIVE_PATH _data_from_program "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_DATADIR}/cairn")
    set_source_files_properties(host/catalogue.cpp PROPERTIES
        COMPILE_DEFINITIONS "CAIRN_DATA_FROM_PROGRAM=\"${_data_from_program}\"")
endif()

if(EXISTS "${PROJECT_SOURCE_DIR}/host/main.cpp")
    add_executable(cairn_program host/main.cpp)
    set_target_properties(cairn_program PROPERTIES OUTPUT_NAME cairn RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
    target_link_libraries(cairn_program PRIVATE cairn_host cairn_warnings)
    install(TARGETS cairn_program RUNTIME)
    configure_file(host/data/messages.txt "${PROJECT_BINARY_DIR}/bin/messages.txt" COPYONLY)
    install(FILES host/data/messages.txt DESTINATION "${CMAKE_INSTALL_DATADIR}/cairn")
endif()
