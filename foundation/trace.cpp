#include "foundation/trace.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace zelvaro {

bool TraceEnabled() {
  static const bool enabled = [] {
    const char* value = std::getenv("ZELVARO_TRACE");
    return value != nullptr && std::strcmp(value, "1") == 0;
  }();
  return enabled;
}

void Trace(const char* format, ...) {
  if (!TraceEnabled()) return;
  char line[512 + 16];
  constexpr char kPrefix[] = "[Zelvaro] ";
  std::memcpy(line, kPrefix, sizeof(kPrefix) - 1);
  std::va_list args;
  va_start(args, format);
  int length = std::vsnprintf(line + sizeof(kPrefix) - 1, 512, format, args);
  va_end(args);
  if (length < 0) return;
  size_t total = sizeof(kPrefix) - 1 + std::min<size_t>(static_cast<size_t>(length), 511);
  line[total++] = '\n';
  // One write(2) per line keeps concurrent lines whole.
  [[maybe_unused]] ssize_t written = ::write(STDERR_FILENO, line, total);
}

}  // namespace zelvaro
