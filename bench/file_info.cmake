# The file information command while a clip plays: the interface thread
# while MediaInfo reads a 4 GB file on its worker. Needs a display.
add_executable(bench_file_info ${CMAKE_CURRENT_LIST_DIR}/file_info_bench.cpp)
target_link_libraries(bench_file_info PRIVATE zelvaro_playback_bench_support zelvaro_ui)
