# Build time on a small machine: two precompiled headers, each compiled once
# and reused by every target whose flags match, and unity builds of the
# libraries whose sources are known to merge cleanly.
#
# GCC uses a precompiled header only where the flags and the macros are
# those it was made with (-Winvalid-pch reports one it cannot use).
# Everything here builds with -fPIC (Qt asks for it), so the split is
# GoogleTest's: the test code's header holds gtest.h and is made with
# GTEST_HAS_PTHREAD, which only test targets define. Neither holds QtTest,
# whose headers change with QT_WIDGETS_LIB and so would split Qt Test
# binaries from GoogleTest ones.

option(ZELVARO_PCH "Precompile the heavy Qt, GStreamer and standard headers" ON)
option(ZELVARO_UNITY "Unity builds of the libraries that allow them" ON)

# -g level of every object: empty keeps the build type's own (-g with
# RelWithDebInfo); 1 keeps line tables and function names, which is all a
# backtrace or a sanitizer report needs, at a fraction of the compile and
# link time. `make test` under CI uses 1.
set(ZELVARO_DEBUG_LEVEL "" CACHE STRING "-g level (empty, 0, 1, 2)")
if(NOT ZELVARO_DEBUG_LEVEL STREQUAL "")
  add_compile_options(-g${ZELVARO_DEBUG_LEVEL})
endif()

# lld, when installed, links the fifty-odd test binaries faster than ld.bfd.
include(CheckLinkerFlag)
check_linker_flag(CXX -fuse-ld=lld ZELVARO_HAS_LLD)
if(ZELVARO_HAS_LLD)
  add_link_options(-fuse-ld=lld)
endif()

# ccache caches compilations that use a precompiled header only with these
# two sloppiness settings (the header's own build is keyed on its content).
if(ZELVARO_PCH AND CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CMAKE_CXX_COMPILER_LAUNCHER})
endif()

set(ZELVARO_PCH_HEADERS
  <algorithm> <array> <atomic> <chrono> <cmath> <cstdint> <cstdio> <cstdlib> <cstring>
  <functional> <map> <memory> <mutex> <optional> <set> <string> <string_view> <thread>
  <utility> <vector>
  <QByteArray> <QCoreApplication> <QDir> <QElapsedTimer> <QFile> <QFileInfo> <QObject>
  <QPointer> <QProcess> <QString> <QStringList> <QStringView> <QThread> <QTimer> <QUrl>
  <QColor> <QFont> <QGuiApplication> <QImage> <QKeyEvent> <QMouseEvent> <QPainter>
  <QRect> <QScreen> <QSize> <QWindow>
  <QApplication> <QLabel> <QLineEdit> <QMenu> <QPushButton> <QVBoxLayout> <QWidget>
  <gst/gst.h>)

if(ZELVARO_PCH)
  # GCC refuses a header used without a macro it was made with, and each
  # target sees only the QT_<module>_LIB macros of the modules it links. Only
  # QtTest's headers (never precompiled) read those macros, so every target
  # gets the full set, and -pthread (_REENTRANT), like the header's maker.
  add_compile_definitions(QT_CORE_LIB QT_GUI_LIB QT_DBUS_LIB QT_OPENGL_LIB QT_WIDGETS_LIB)
  add_compile_options(-pthread)

  # Each header is made by a library of one empty source that sees every
  # include directory and macro its users see.
  file(WRITE ${CMAKE_BINARY_DIR}/pch_anchor.cpp "// The precompiled headers' own object.\n")
  add_library(zelvaro_library_pch STATIC ${CMAKE_BINARY_DIR}/pch_anchor.cpp)
  target_link_libraries(zelvaro_library_pch PRIVATE Qt6::Widgets Qt6::OpenGL Qt6::DBus
                        PkgConfig::GST PkgConfig::AV)
  target_precompile_headers(zelvaro_library_pch PRIVATE ${ZELVARO_PCH_HEADERS})

  if(ZELVARO_BUILD_TESTS)
    find_package(GTest REQUIRED)
    add_library(zelvaro_test_pch STATIC ${CMAKE_BINARY_DIR}/pch_anchor.cpp)
    target_link_libraries(zelvaro_test_pch PRIVATE Qt6::Widgets Qt6::OpenGL Qt6::DBus
                          PkgConfig::GST PkgConfig::AV GTest::gtest)
    target_precompile_headers(zelvaro_test_pch PRIVATE ${ZELVARO_PCH_HEADERS} <gtest/gtest.h>)
  endif()
endif()

# zelvaro_use_pch(<target>...): the target compiles with the libraries'
# header; zelvaro_use_test_pch(<target>...) with the test code's, for targets
# that link GoogleTest.
function(zelvaro_use_pch)
  if(ZELVARO_PCH)
    foreach(target ${ARGN})
      target_precompile_headers(${target} REUSE_FROM zelvaro_library_pch)
    endforeach()
  endif()
endfunction()
function(zelvaro_use_test_pch)
  if(ZELVARO_PCH)
    foreach(target ${ARGN})
      target_precompile_headers(${target} REUSE_FROM zelvaro_test_pch)
    endforeach()
  endif()
endfunction()

# zelvaro_unity(<target>...): the target's sources compile a few to an
# object. Sources that define file-local names clashing with a neighbour's
# are kept apart with SKIP_UNITY_BUILD_INCLUSION where they are listed.
function(zelvaro_unity)
  if(ZELVARO_UNITY)
    set_target_properties(${ARGN} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 6)
  endif()
endfunction()

# zelvaro_unity_apart(<target> <source>...): sources (relative to the top of
# the tree) that define a file-local name another source of the same target
# also defines (kFontHeight, ReadInt...), so they compile on their own.
function(zelvaro_unity_apart target)
  if(NOT ZELVARO_UNITY)
    return()
  endif()
  list(TRANSFORM ARGN PREPEND ${CMAKE_SOURCE_DIR}/)
  set_source_files_properties(${ARGN} TARGET_DIRECTORY ${target}
                              PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()
