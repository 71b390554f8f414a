# Playback benchmarks: the engine alone, the real window on each renderer
# path, seek latency and launch to first frame, on a generated 20 s 1080p30
# H.264 clip. bench/playback_vs_peers.sh runs them beside ffmpeg and mpv.
add_library(zelvaro_playback_bench_support STATIC ${CMAKE_CURRENT_LIST_DIR}/playback_support.cpp)
target_link_libraries(zelvaro_playback_bench_support PUBLIC zelvaro_core Qt6::Core)
target_compile_definitions(zelvaro_playback_bench_support PRIVATE
  ZELVARO_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
  ZELVARO_BENCH_MEDIA_DIR="${CMAKE_BINARY_DIR}/bench-media")

add_executable(bench_playback_engine ${CMAKE_CURRENT_LIST_DIR}/playback_engine_bench.cpp)
target_link_libraries(bench_playback_engine PRIVATE zelvaro_playback_bench_support)

add_executable(bench_playback_window ${CMAKE_CURRENT_LIST_DIR}/playback_window_bench.cpp)
target_link_libraries(bench_playback_window PRIVATE zelvaro_playback_bench_support zelvaro_ui)

add_executable(bench_playback_seek ${CMAKE_CURRENT_LIST_DIR}/playback_seek_bench.cpp)
target_link_libraries(bench_playback_seek PRIVATE zelvaro_playback_bench_support zelvaro_ui)

# Starts the real program, so it is built first.
add_executable(bench_playback_launch ${CMAKE_CURRENT_LIST_DIR}/playback_launch_bench.cpp)
target_link_libraries(bench_playback_launch PRIVATE zelvaro_playback_bench_support)
add_dependencies(bench_playback_launch zelvaro)
