# One player process in long use: open/close cycles and a long playlist.
# Shares its cycle with the robustness test; needs a display.
if(TARGET zelvaro_test_support)
  add_executable(bench_long_use ${CMAKE_CURRENT_LIST_DIR}/long_use_bench.cpp)
  target_link_libraries(bench_long_use PRIVATE zelvaro_playback_bench_support zelvaro_ui
                                               zelvaro_test_support Qt6::Test)
endif()
