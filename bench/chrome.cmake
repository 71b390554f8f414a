# The chrome's painting: position ticks through a shown 1920-wide toolbar,
# each with its paint. Needs a display (run under Xvfb: packaging/run-headless.sh).
add_executable(bench_toolbar ${CMAKE_CURRENT_LIST_DIR}/toolbar_bench.cpp)
target_link_libraries(bench_toolbar PRIVATE zelvaro_ui zelvaro_playback_bench_support)
