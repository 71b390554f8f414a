// The settings file parser on arbitrary bytes: never crashes, and whatever it
// accepts it writes back in a form it reads the same way.
#include "foundation/settings_document.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
  auto document = zelvaro::SettingsDocument::Parse(bytes);
  if (!document) return 0;
  const QByteArray written = document->Serialize();
  auto again = zelvaro::SettingsDocument::Parse(written);
  if (!again || again->Serialize() != written) std::abort();
  return 0;
}
