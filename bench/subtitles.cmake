# Sub-picture cost at 1080p (a static line, a fading line) and the loading of
# 50 MB subtitle files (time and peak memory).
add_executable(bench_subtitles ${CMAKE_CURRENT_LIST_DIR}/subtitles_bench.cpp)
target_link_libraries(bench_subtitles PRIVATE zelvaro_subtitles)
