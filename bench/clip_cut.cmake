# Clip cutting: 60 s out of a 10-minute 1080p file through the player's cut
# job beside the same ffmpeg command run alone, and the longest stall of the
# interface thread's event loop meanwhile.
add_executable(bench_clip_cut ${CMAKE_CURRENT_LIST_DIR}/clip_cut_bench.cpp)
target_link_libraries(bench_clip_cut PRIVATE zelvaro_core)
target_compile_definitions(bench_clip_cut PRIVATE
  ZELVARO_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
  ZELVARO_BENCH_MEDIA_DIR="${CMAKE_BINARY_DIR}/bench-media")
