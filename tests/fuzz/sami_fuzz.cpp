// The SAMI converter on arbitrary bytes, decoded as a SAMI file is and also
// raw: never crashes, and gives either nothing or a script.
#include "subtitles/sami_converter.h"
#include "subtitles/text_decoding.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view raw(reinterpret_cast<const char*>(data), size);
  const zelvaro::SubtitleStyle style;
  const auto decoded = zelvaro::DecodeSubtitleText(
      QByteArray(raw.data(), static_cast<qsizetype>(size)), zelvaro::SubtitleTextKind::kSami);
  if (!zelvaro::IsValidUtf8(decoded.Utf8.data(), decoded.Utf8.size())) std::abort();
  for (std::string_view text : {std::string_view(decoded.Utf8), raw}) {
    const std::string script = zelvaro::ConvertSamiToAss(style, text);
    if (!script.empty() && script.rfind("[Script Info]\n", 0) != 0) std::abort();
  }
  return 0;
}
