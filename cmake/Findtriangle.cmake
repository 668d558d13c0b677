# Finds Triangle, which ships no CMake package of its own, and defines triangle::triangle. It must be the shared library:
# its one caller takes the place of some of its functions.

find_path(triangle_INCLUDE_DIR triangle.h)
find_library(triangle_LIBRARY NAMES libtriangle.so triangle)
mark_as_advanced(triangle_INCLUDE_DIR triangle_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(triangle REQUIRED_VARS triangle_LIBRARY triangle_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "Triangle is needed: install libtriangle-dev (scripts/setup does) or set triangle_LIBRARY and triangle_INCLUDE_DIR")

if(triangle_FOUND AND NOT TARGET triangle::triangle)
    add_library(triangle::triangle UNKNOWN IMPORTED)
    set_target_properties(triangle::triangle PROPERTIES
        IMPORTED_LOCATION "${triangle_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${triangle_INCLUDE_DIR}")
endif()
