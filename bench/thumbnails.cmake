# Seek-bar preview benchmark: keyframe-mode latency and a pointer sweep on
# the playback clip, cache-mode fill on a generated 10-minute MPEG-TS.
add_executable(bench_thumbnails ${CMAKE_CURRENT_LIST_DIR}/thumbnail_bench.cpp)
target_link_libraries(bench_thumbnails PRIVATE zelvaro_playback_bench_support)
target_compile_definitions(bench_thumbnails PRIVATE
  ZELVARO_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
  ZELVARO_BENCH_MEDIA_DIR="${CMAKE_BINARY_DIR}/bench-media")
