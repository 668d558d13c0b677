# The three libraries. Each sees only what stands before it in this file; which room is whose is told here alone.

set(CAIRN_BASE_ROOMS "math|containers|platform|foundation")
set(CAIRN_MEDIA_ROOMS "imaging|content")

find_package(fmt REQUIRED)
find_package(xxHash REQUIRED)
find_package(SQLite3 REQUIRED)
find_package(stb REQUIRED)
find_package(triangle REQUIRED)
find_package(polyclipping REQUIRED)

# cairn_split_by_library(<prefix> <folder> <files>...)
#
# Sorts the files by the library their room (the first folder below <folder>) belongs to, into <prefix>_base,
# <prefix>_media and <prefix>_model. Files directly in <folder> are cairn_base's.
function(cairn_split_by_library prefix folder)
    set(base ${ARGN})
    set(media ${ARGN})
    set(model ${ARGN})
    list(FILTER base INCLUDE REGEX "^${folder}/((${CAIRN_BASE_ROOMS})/.*|[^/]+)$")
    list(FILTER media INCLUDE REGEX "^${folder}/(${CAIRN_MEDIA_ROOMS})/")
    list(FILTER model EXCLUDE REGEX "^${folder}/((${CAIRN_BASE_ROOMS}|${CAIRN_MEDIA_ROOMS})/.*|[^/]+)$")
    set(${prefix}_base ${base} PARENT_SCOPE)
    set(${prefix}_media ${media} PARENT_SCOPE)
    set(${prefix}_model ${model} PARENT_SCOPE)
endfunction()

# cairn_add_library(<target> <headers> <sources>): a static library with its headers as an installable file set.
function(cairn_add_library target headers sources)
    if(NOT sources)
        # A library whose rooms hold only headers still has to exist as an archive.
        set(sources "${PROJECT_BINARY_DIR}/${target}_empty.cpp")
        file(CONFIGURE OUTPUT "${sources}" CONTENT "// No source in these rooms.\n")
    endif()
    add_library(${target} STATIC ${sources})
    add_library(cairn::${target} ALIAS ${target})
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${headers})
    target_link_libraries(${target} PUBLIC cairn_options PRIVATE $<BUILD_INTERFACE:cairn_warnings>)
endfunction()

file(GLOB_RECURSE _headers RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS cairn/*.h)
file(GLOB_RECURSE _sources RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS cairn/*.cpp)
# The umbrella includes all rooms, so it comes with the library that stands on all.
list(REMOVE_ITEM _headers cairn/cairn.h)
cairn_split_by_library(_headers cairn ${_headers})
cairn_split_by_library(_sources cairn ${_sources})

cairn_add_library(cairn_base "${_headers_base}" "${_sources_base}")
target_link_libraries(cairn_base PRIVATE fmt::fmt $<BUILD_INTERFACE:xxHash::xxhash>)
if(CAIRN_BUILD_FUZZERS)
    # With the checksums in force a fuzzer would never get past a chunk's header: this macro switches their check off.
    set_source_files_properties(cairn/foundation/memory_file.cpp PROPERTIES
        COMPILE_DEFINITIONS FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION)
endif()

cairn_add_library(cairn_media "${_headers_media}" "${_sources_media}")
target_link_libraries(cairn_media PUBLIC cairn_base PRIVATE fmt::fmt SQLite::SQLite3 $<BUILD_INTERFACE:stb::stb>)
# Damaged JPEG data leads stb_image beyond the range of its integers, which wrap round then; and into shifting a 0 by 32
# bits or more, which is 0 on every machine though the language does not say so.
set_source_files_properties(cairn/imaging/stb_decoder.cpp PROPERTIES
    COMPILE_OPTIONS "-fwrapv;-fno-sanitize=shift-exponent")

cairn_add_library(cairn "cairn/cairn.h;${_headers_model}" "${_sources_model}")
target_link_libraries(cairn PUBLIC cairn_media cairn_base
    PRIVATE fmt::fmt triangle::triangle polyclipping::polyclipping)
