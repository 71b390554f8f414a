#pragma once
// The "[Zelvaro]" debug sink: diagnostic lines on standard error, off unless
// the environment variable ZELVARO_TRACE is "1" when the process starts.
// No behaviour may depend on whether a line was written.
//
// Safe from any thread; a line is written with one call, so lines of two
// threads never interleave.

#include <atomic>

namespace zelvaro {

bool TraceEnabled();

// printf-style; the text is cut at 511 bytes. The prefix is added here.
void Trace(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace zelvaro

// Writes only the first `limit` times this line is reached in the process.
// Used where a failure repeats per frame or per item.
#define ZELVARO_TRACE_FIRST(limit, ...)                                         \
  do {                                                                         \
    static std::atomic<int> zelvaroTraceCount_{0};                             \
    if (::zelvaro::TraceEnabled() && zelvaroTraceCount_.fetch_add(1) < (limit)) \
      ::zelvaro::Trace(__VA_ARGS__);                                           \
  } while (0)
