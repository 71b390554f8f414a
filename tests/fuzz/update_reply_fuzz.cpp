// The reader of the update reply on arbitrary bytes: it must refuse or read,
// never crash, and a refused reply must leave the record as it was.

#include "update/update_info.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  zelvaro::UpdateInfo info;
  info.CurrentVersion = 7;
  info.ReleaseNotes = QStringLiteral("before");
  const std::string_view reply(reinterpret_cast<const char*>(data), size);
  if (!zelvaro::ParseUpdateReply(reply, &info)) {
    if (info.ReleaseNotes != QStringLiteral("before") || !info.Files.empty()) std::abort();
  } else if (info.CurrentVersion != 7) {
    std::abort();
  }
  return 0;
}
