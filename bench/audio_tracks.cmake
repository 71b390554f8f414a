# CPU of playing at 1x a Matroska file with one video and four audio tracks,
# where only the playing track should be decoded.
add_executable(bench_audio_tracks ${CMAKE_CURRENT_LIST_DIR}/audio_tracks_bench.cpp)
target_link_libraries(bench_audio_tracks PRIVATE zelvaro_engine Qt6::Core)
