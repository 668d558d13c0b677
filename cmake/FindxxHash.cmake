# Finds xxHash, which ships no CMake package of its own, and defines xxHash::xxhash. It is compiled into its caller
# (XXH_INLINE_ALL), so there is a header to find and no library to link.

find_path(xxHash_INCLUDE_DIR xxhash.h)
mark_as_advanced(xxHash_INCLUDE_DIR)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(xxHash REQUIRED_VARS xxHash_INCLUDE_DIR)

if(xxHash_FOUND AND NOT TARGET xxHash::xxhash)
    add_library(xxHash::xxhash INTERFACE IMPORTED)
    set_target_properties(xxHash::xxhash PROPERTIES INTERFACE_INCLUDE_DIRECTORIES "${xxHash_INCLUDE_DIR}")
endif()
