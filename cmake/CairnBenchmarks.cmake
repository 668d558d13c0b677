# One program a scene: bench/<name>.cpp becomes bench_<name>. What we are measured against is optional and stands in the
# same program; without it a scene reports our own numbers only.

find_package(benchmark REQUIRED)
find_package(cereal QUIET)
find_package(absl QUIET)

add_library(cairn_bench_options INTERFACE)
target_link_libraries(cairn_bench_options INTERFACE cairn::cairn fmt::fmt stb::stb cairn_warnings)
if(cereal_FOUND)
    target_compile_definitions(cairn_bench_options INTERFACE CAIRN_BENCH_WITH_CEREAL)
    target_link_libraries(cairn_bench_options INTERFACE cereal::cereal)
endif()
if(absl_FOUND)
    target_compile_definitions(cairn_bench_options INTERFACE CAIRN_BENCH_WITH_ABSL)
    target_link_libraries(cairn_bench_options INTERFACE absl::flat_hash_map absl::btree)
endif()

# A main() of bench/support comes before Google Benchmark's own, which then stays out.
set(_bench_libraries cairn_bench_options)
file(GLOB_RECURSE _bench_support CONFIGURE_DEPENDS bench/support/*.cpp)
if(_bench_support)
    add_library(cairn_bench_support STATIC ${_bench_support})
    target_link_libraries(cairn_bench_support PUBLIC cairn_bench_options benchmark::benchmark)
    list(PREPEND _bench_libraries cairn_bench_support)
endif()

add_custom_target(bench)
file(GLOB _scenes CONFIGURE_DEPENDS bench/*.cpp)
foreach(_scene IN LISTS _scenes)
    cmake_path(GET _scene STEM _name)
    add_executable(bench_${_name} "${_scene}")
    set_target_properties(bench_${_name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bench")
    target_link_libraries(bench_${_name} PRIVATE ${_bench_libraries} benchmark::benchmark_main)
    add_dependencies(bench bench_${_name})
endforeach()
