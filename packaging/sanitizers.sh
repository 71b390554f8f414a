#!/usr/bin/env bash
# Runs a command with the sanitizer settings of `make check-asan`: the one
# place they are set, so a single test binary run by hand behaves as it does
# in the suite (e.g. bash packaging/sanitizers.sh bash packaging/run-headless.sh
# build-asan/tests/bin/engine_tests).
#
# A finding ends the process with a report on stderr and a non-zero status,
# which fails its test. Leaks are checked at exit; the suppressions in
# packaging/lsan.supp cover only leaks that live inside system libraries.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

# GLib, GStreamer and most of Debian's libraries are built without frame
# pointers, so the fast unwinder stops at their first frame: a block that
# GLib allocates for anyone shows only g_malloc. The full unwinder (about
# twice the CPU) names the real caller, which the suppressions and a report
# of the player's own leaks both need.
export ASAN_OPTIONS="detect_leaks=1:fast_unwind_on_malloc=0:check_initialization_order=1:strict_init_order=1:detect_odr_violation=1:abort_on_error=0:print_summary=1"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export LSAN_OPTIONS="suppressions=$here/lsan.supp:print_suppressions=0"
# Mesa's llvmpipe compiles shaders with LLVM, which registers their unwind
# tables with libgcc; libgcc allocates under its own lock when it next looks
# one up, and the full unwinder, called from that allocation, asks for the
# same lock and waits forever (video_renderer_test and every window test on
# OpenGL hung so). softpipe without LLVM draws the same pictures and compiles
# nothing.
export GALLIUM_DRIVER=softpipe DRAW_USE_LLVM=0
# GStreamer's plugins are not instrumented; a registry built by this run
# keeps the run from rewriting the developer's own.
export GST_REGISTRY="${GST_REGISTRY:-${TMPDIR:-/tmp}/zelvaro-asan-gst-registry-$(id -u).bin}"
exec "$@"
