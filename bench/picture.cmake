# The picture while playing: the colour controls' cost on each renderer path,
# and an audio file's cover and spectrum shown and minimised beside mpv
# --no-video, with its resident memory. Needs a display (run under Xvfb:
# packaging/run-headless.sh).
add_executable(bench_picture ${CMAKE_CURRENT_LIST_DIR}/picture_bench.cpp)
target_link_libraries(bench_picture PRIVATE zelvaro_playback_bench_support zelvaro_ui)
target_compile_definitions(bench_picture PRIVATE
  ZELVARO_BENCH_MEDIA_DIR="${CMAKE_BINARY_DIR}/bench-media")
