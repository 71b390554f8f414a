# The playlist panel with 100,000 items: opening it, a page of scrolling,
# select all and a one-letter filter, each with its paint, on the interface
# thread. Needs a display (packaging/run-headless.sh build/bin/bench_playlist_panel).
add_executable(bench_playlist_panel ${CMAKE_CURRENT_LIST_DIR}/playlist_panel_bench.cpp)
target_link_libraries(bench_playlist_panel PRIVATE zelvaro_ui Qt6::Test)
