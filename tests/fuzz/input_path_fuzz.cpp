// A path or address as it comes from the command line, a drop or an MPRIS
// OpenUri, on arbitrary UTF-16: made absolute without crashing, and an
// absolute result stays absolute.
#include "foundation/shell_paths.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QString path(reinterpret_cast<const QChar*>(data), static_cast<qsizetype>(size / 2));
  const QString absolute = zelvaro::AbsoluteInputPath(path, QStringLiteral("/work dir"));
  if (!path.isEmpty() && !zelvaro::IsAbsoluteInputPath(absolute)) std::abort();
  return 0;
}
