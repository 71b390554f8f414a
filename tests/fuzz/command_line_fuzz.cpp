// The command-line tokenizer on arbitrary UTF-16: never crashes, never loops.
#include "app/command_line.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QString line(reinterpret_cast<const QChar*>(data), static_cast<qsizetype>(size / 2));
  zelvaro::ParseCommandLine(line);
  return 0;
}
