# Video renderer cost at 1080p: plane upload and draw on the OpenGL path, the
# CPU conversion of the QPainter path, and a frame from PresentFrame to the
# window. Needs a display (run under Xvfb: packaging/run-headless.sh).
add_executable(bench_renderer ${CMAKE_CURRENT_LIST_DIR}/renderer_bench.cpp)
target_link_libraries(bench_renderer PRIVATE zelvaro_ui zelvaro_playback_bench_support)
