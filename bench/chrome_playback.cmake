# The chrome in the playing player: what the bars cost while a clip plays,
# and the interface thread while the pointer sweeps the seek bar with
# previews on. Needs a display.
add_executable(bench_chrome_playback ${CMAKE_CURRENT_LIST_DIR}/chrome_playback_bench.cpp)
target_link_libraries(bench_chrome_playback PRIVATE zelvaro_playback_bench_support zelvaro_ui)
