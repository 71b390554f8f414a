# Clip cutting: 60 s out of a 10-minute 1080p file through the player's cut
# job beside the same ffmpeg command run alone, and the longest stall of the
# interface thread's event loop meanwhile.
add_executable(bench_clip_cut ${CMAKE_CURRENT_LIST_DIR}/clip_cut_bench.cpp)
target_link_libraries(bench_clip_cut PRIVATE zelvaro_playback_bench_support)
