# Finds the headers of stb, which ship no CMake package of their own, and defines stb::stb. They are compiled into their
# callers, so there is a folder to find and no library to link.

find_path(stb_INCLUDE_DIR stb_image.h PATH_SUFFIXES stb)
mark_as_advanced(stb_INCLUDE_DIR)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(stb REQUIRED_VARS stb_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "stb_image.h is needed: install libstb-dev (scripts/setup does) or set stb_INCLUDE_DIR")

if(stb_FOUND AND NOT TARGET stb::stb)
    add_library(stb::stb INTERFACE IMPORTED)
    set_target_properties(stb::stb PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${stb_INCLUDE_DIR}")
endif()
