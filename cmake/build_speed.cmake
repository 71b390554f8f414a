# Build time on a small machine: unity builds of the libraries whose sources
# are known to merge cleanly, a lighter debug level for CI, and lld.
#
# Precompiled headers were tried and left out: with GCC 12 the header of the
# Qt, GStreamer and standard includes is close to 200 MB, loading it costs
# about 3 CPU-seconds per source, which ate what it saved.

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
