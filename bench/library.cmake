# Library benchmarks: playlist store and model at the sizes the player must handle.
add_executable(bench_library ${CMAKE_CURRENT_SOURCE_DIR}/library_bench.cpp)
target_link_libraries(bench_library PRIVATE zelvaro_library)
