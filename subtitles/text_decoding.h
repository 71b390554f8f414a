#pragma once
// Turns the bytes of a subtitle file into UTF-8 for the readers and libass.
// Order: a byte-order mark (UTF-8, UTF-16 LE/BE, UTF-32 LE/BE) wins; then
// UTF-16 recognised by its zero bytes; then valid UTF-8 as it stands; then a
// legacy charset: CP949 first for SAMI, then the guess of uchardet, a check
// for Korean that short texts fool uchardet on, Windows-1252 and at last
// ISO-8859-1, which takes any byte. The result is always valid UTF-8 without
// a BOM; nothing fails. Reentrant.

#include <QByteArray>

#include <string>

namespace zelvaro {

enum class SubtitleTextKind { kGeneric, kSami };

struct DecodedSubtitleText {
  std::string Utf8;
  // What the bytes were read as: "UTF-8", "UTF-16LE", "CP949", ...
  std::string Encoding;
};

DecodedSubtitleText DecodeSubtitleText(QByteArray bytes, SubtitleTextKind kind);

// Strict conversion of `bytes` from `encoding` (an iconv name) to UTF-8.
// False when the charset is unknown or a byte sequence is invalid in it.
bool ConvertToUtf8(const QByteArray& bytes, const char* encoding, std::string* utf8);

bool IsValidUtf8(const char* data, size_t size);

}  // namespace zelvaro
