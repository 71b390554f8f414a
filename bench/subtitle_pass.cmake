# The subtitle pass of a presented 1080p frame: the renderer with and without
# the engine's subtitles (a still line, a \fad line, a gap), the pictures an
# OpenGL renderer would upload, and the QPainter path's overlay blend. Needs
# a display (run under Xvfb: packaging/run-headless.sh).
add_executable(bench_subtitle_pass ${CMAKE_CURRENT_LIST_DIR}/subtitle_pass_bench.cpp)
target_link_libraries(bench_subtitle_pass PRIVATE zelvaro_ui zelvaro_playback_bench_support)
