# One program, cairn_bench, with a scene a file: bench/<name>.cpp is the scene <name>. What we are measured against is optional
# and stands in the same program; without it a scene reports our own numbers only.

find_package(benchmark REQUIRED)
find_package(nlohmann_json REQUIRED)

file(GLOB _bench_support CONFIGURE_DEPENDS bench/support/*.cpp)
add_executable(cairn_bench ${_bench_support})
set_target_properties(cairn_bench PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
target_compile_definitions(cairn_bench PRIVATE CAIRN_BENCH_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
target_link_libraries(cairn_bench PRIVATE cairn_host cairn::cairn benchmark::benchmark nlohmann_json::nlohmann_json fmt::fmt cairn_warnings)

# A scene's objects are a target of their own, so that what a peer asks of the compiler reaches no other scene.
file(GLOB _scenes CONFIGURE_DEPENDS bench/*.cpp)
foreach(_scene IN LISTS _scenes)
    cmake_path(GET _scene STEM _name)
    add_library(bench_${_name} OBJECT "${_scene}")
    target_link_libraries(bench_${_name} PRIVATE cairn_host cairn::cairn benchmark::benchmark fmt::fmt stb::stb cairn_warnings)
    target_compile_definitions(bench_${_name} PRIVATE CAIRN_BENCH_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
    target_link_libraries(cairn_bench PRIVATE bench_${_name})
endforeach()
add_custom_target(bench DEPENDS cairn_bench)

# cairn_bench_peer(LIBRARY PACKAGE MACRO SCENE...): links a peer, where it is installed, to the scenes that stand beside it,
# and tells them by the macro.
function(cairn_bench_peer library package macro)
    find_package(${package} QUIET)
    if(NOT ${package}_FOUND)
        message(STATUS "Benchmarks: ${package} is not installed, its rows are left out")
        return()
    endif()
    foreach(_name IN LISTS ARGN)
        target_compile_definitions(bench_${_name} PRIVATE ${macro})
        target_link_libraries(bench_${_name} PRIVATE ${library})
    endforeach()
endfunction()

cairn_bench_peer(cereal::cereal cereal CAIRN_BENCH_WITH_CEREAL memory_file mesh_record)
cairn_bench_peer(absl::flat_hash_map absl CAIRN_BENCH_WITH_ABSL names)
cairn_bench_peer(assimp::assimp assimp CAIRN_BENCH_WITH_ASSIMP mesh_record)
cairn_bench_peer(CGAL::CGAL CGAL CAIRN_BENCH_WITH_CGAL bsp triangulate)
cairn_bench_peer(GEOS::geos_c GEOS CAIRN_BENCH_WITH_GEOS triangulate)
cairn_bench_peer(nanoflann::nanoflann nanoflann CAIRN_BENCH_WITH_NANOFLANN weld)
cairn_bench_peer(meshoptimizer::meshoptimizer meshoptimizer CAIRN_BENCH_WITH_MESHOPTIMIZER weld)
cairn_bench_peer(embree embree CAIRN_BENCH_WITH_EMBREE ray)
target_link_libraries(bench_triangulate PRIVATE triangle::triangle)
