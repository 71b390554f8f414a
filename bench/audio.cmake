# CPU cost of the audio chain at 1x and 2x on a generated 4-minute MP3, beside
# mpv when it is installed (the comparison is skipped without it).
add_executable(bench_audio ${CMAKE_CURRENT_LIST_DIR}/audio_bench.cpp)
target_link_libraries(bench_audio PRIVATE zelvaro_engine Qt6::Core)
