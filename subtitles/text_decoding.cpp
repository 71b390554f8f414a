#include "subtitles/text_decoding.h"

#include "foundation/c_handle.h"

#include <QStringDecoder>
#include <QStringEncoder>

#include <uchardet/uchardet.h>

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <type_traits>

namespace zelvaro {

namespace {

using UchardetHandle = CHandle<std::remove_pointer_t<uchardet_t>, uchardet_delete>;
using IconvHandle = CHandle<std::remove_pointer_t<iconv_t>, iconv_close>;

// uchardet reads a sample; a whole 50 MB file would only cost time.
constexpr qsizetype kGuessSampleBytes = 256 * 1024;

IconvHandle OpenIconv(const char* from) {
  iconv_t handle = iconv_open("UTF-8", from);
  if (handle == reinterpret_cast<iconv_t>(-1)) return IconvHandle{};
  return IconvHandle{handle};
}

// With `lenient`, an invalid sequence becomes U+FFFD and the reading goes on
// one byte later.
bool IconvToUtf8(const QByteArray& bytes, const char* from, bool lenient, std::string* utf8) {
  IconvHandle converter = OpenIconv(from);
  if (!converter) return false;
  std::string out;
  out.resize(static_cast<size_t>(bytes.size()) * 2 + 16);
  char* input = const_cast<char*>(bytes.constData());
  size_t inputLeft = static_cast<size_t>(bytes.size());
  size_t written = 0;
  while (true) {
    char* output = out.data() + written;
    size_t outputLeft = out.size() - written;
    const size_t result =
        iconv(converter.get(), inputLeft ? &input : nullptr, &inputLeft, &output, &outputLeft);
    written = out.size() - outputLeft;
    if (result != static_cast<size_t>(-1)) {
      if (inputLeft == 0) break;
      continue;
    }
    if (errno == E2BIG) {
      out.resize(out.size() * 2);
      continue;
    }
    // EILSEQ, or EINVAL for a sequence cut by the end of the file.
    if (!lenient) return false;
    out.resize(std::max(out.size(), written + 3));
    std::memcpy(out.data() + written, "\xEF\xBF\xBD", 3);
    written += 3;
    ++input;
    --inputLeft;
    iconv(converter.get(), nullptr, nullptr, nullptr, nullptr);
    if (inputLeft == 0) break;
  }
  out.resize(written);
  *utf8 = std::move(out);
  return true;
}

// Straight into the string: a 50 MB file should not pass through a
// QByteArray and a copy of it on the way.
std::string FromQString(const QString& text) {
  QStringEncoder encoder(QStringConverter::Utf8);
  std::string utf8(static_cast<size_t>(encoder.requiredSpace(text.size())), '\0');
  char* end = encoder.appendToBuffer(utf8.data(), text);
  utf8.resize(static_cast<size_t>(end - utf8.data()));
  return utf8;
}

std::string FromLatin1(QByteArrayView bytes) {
  std::string utf8;
  utf8.reserve(static_cast<size_t>(bytes.size()) * 2);
  for (char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      utf8.push_back(c);
    } else {
      utf8.push_back(static_cast<char>(0xC0 | (byte >> 6)));
      utf8.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
    }
  }
  return utf8;
}

std::string DecodeWithQt(QByteArrayView bytes, QStringConverter::Encoding encoding) {
  QStringDecoder decoder(encoding, QStringConverter::Flag::Stateless);
  return FromQString(decoder.decode(bytes));
}

// UTF-16 without a BOM shows as a zero byte in every other place of its
// ASCII characters (digits, colons, arrows: every subtitle has them).
std::optional<QStringConverter::Encoding> GuessBomlessUtf16(const QByteArray& bytes) {
  const qsizetype sample = std::min<qsizetype>(bytes.size(), 4096) & ~qsizetype{1};
  if (sample < 16) return std::nullopt;
  qsizetype evenZeros = 0, oddZeros = 0;
  for (qsizetype i = 0; i < sample; i += 2) {
    if (bytes[i] == 0) ++evenZeros;
    if (bytes[i + 1] == 0) ++oddZeros;
  }
  const qsizetype pairs = sample / 2;
  if (oddZeros * 10 >= pairs * 4 && evenZeros * 20 < pairs) return QStringConverter::Utf16LE;
  if (evenZeros * 10 >= pairs * 4 && oddZeros * 20 < pairs) return QStringConverter::Utf16BE;
  return std::nullopt;
}

std::string GuessCharset(const QByteArray& bytes) {
  UchardetHandle detector{uchardet_new()};
  if (!detector) return {};
  if (uchardet_handle_data(detector.get(), bytes.constData(),
                           static_cast<size_t>(std::min(bytes.size(), kGuessSampleBytes))) != 0)
    return {};
  uchardet_data_end(detector.get());
  const char* charset = uchardet_get_charset(detector.get());
  return charset != nullptr ? charset : "";
}

// uchardet's names for charsets that Windows files use a superset of.
std::string IconvNameFor(const std::string& guess) {
  if (guess == "UHC" || guess == "EUC-KR") return "CP949";
  if (guess == "SHIFT_JIS") return "CP932";  // its 0x5C is the backslash, not the yen sign
  if (guess == "GB2312" || guess == "GBK") return "GB18030";
  return guess;
}

// The guesses that a few lines of CP949 get. "UTF-8" is among them: the
// bytes are already known not to be UTF-8.
bool IsWeakGuess(const std::string& guess) {
  return guess.empty() || guess == "WINDOWS-1252" || guess == "ISO-8859-1" ||
         guess == "ISO-8859-15" || guess == "UTF-8" || guess == "ASCII";
}

// A few lines of Korean in CP949 are often taken for Windows-1252. Latin
// text hardly ever decodes as CP949 into Hangul syllables alone.
bool LooksLikeKorean(const QByteArray& bytes, std::string* utf8) {
  std::string decoded;
  if (!IconvToUtf8(bytes, "CP949", false, &decoded)) return false;
  const QString text = QString::fromUtf8(decoded.data(), static_cast<qsizetype>(decoded.size()));
  qsizetype hangul = 0, other = 0;
  for (QChar c : text) {
    if (c.unicode() < 0x80) continue;
    if (c.unicode() >= 0xAC00 && c.unicode() <= 0xD7A3)
      ++hangul;
    else
      ++other;
  }
  if (hangul < 2 || other * 10 > hangul) return false;
  *utf8 = std::move(decoded);
  return true;
}

DecodedSubtitleText DecodeLegacy(const QByteArray& bytes, SubtitleTextKind kind) {
  DecodedSubtitleText result;
  if (kind == SubtitleTextKind::kSami && ConvertToUtf8(bytes, "CP949", &result.Utf8)) {
    result.Encoding = "CP949";
    return result;
  }
  const std::string guess = GuessCharset(bytes);
  if (IsWeakGuess(guess) && kind != SubtitleTextKind::kSami &&
      LooksLikeKorean(bytes, &result.Utf8)) {
    result.Encoding = "CP949";
    return result;
  }
  if (guess == "UTF-8") {
    // Mostly UTF-8 with a few broken bytes: those become U+FFFD.
    result.Utf8 = DecodeWithQt(bytes, QStringConverter::Utf8);
    result.Encoding = guess;
    return result;
  }
  const std::string guessName = IconvNameFor(guess);
  if (!guessName.empty() && ConvertToUtf8(bytes, guessName.c_str(), &result.Utf8)) {
    result.Encoding = guessName;
    return result;
  }
  // A damaged file in the charset it most likely is: broken bytes become
  // U+FFFD and the rest still reads.
  const char* likely = kind == SubtitleTextKind::kSami ? "CP949" : guessName.c_str();
  if (*likely != '\0' && IconvToUtf8(bytes, likely, true, &result.Utf8)) {
    result.Encoding = likely;
    return result;
  }
  if (ConvertToUtf8(bytes, "WINDOWS-1252", &result.Utf8)) {
    result.Encoding = "WINDOWS-1252";
    return result;
  }
  result.Utf8 = FromLatin1(bytes);
  result.Encoding = "ISO-8859-1";
  return result;
}

bool StartsWith(const QByteArray& bytes, std::string_view prefix) {
  return bytes.size() >= static_cast<qsizetype>(prefix.size()) &&
         std::memcmp(bytes.constData(), prefix.data(), prefix.size()) == 0;
}

}  // namespace

bool IsValidUtf8(const char* data, size_t size) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  size_t i = 0;
  while (i < size) {
    const unsigned char lead = bytes[i];
    if (lead < 0x80) {
      ++i;
      continue;
    }
    size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;  // range of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3;
      if (lead == 0xE0) low = 0xA0;   // no overlong forms
      if (lead == 0xED) high = 0x9F;  // no surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4;
      if (lead == 0xF0) low = 0x90;
      if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
    } else {
      return false;
    }
    if (i + length > size) return false;
    if (bytes[i + 1] < low || bytes[i + 1] > high) return false;
    for (size_t k = 2; k < length; ++k)
      if ((bytes[i + k] & 0xC0) != 0x80) return false;
    i += length;
  }
  return true;
}

bool ConvertToUtf8(const QByteArray& bytes, const char* encoding, std::string* utf8) {
  return IconvToUtf8(bytes, encoding, false, utf8);
}

DecodedSubtitleText DecodeSubtitleText(QByteArray bytes, SubtitleTextKind kind) {
  DecodedSubtitleText result;
  struct Bom {
    std::string_view bytes;
    QStringConverter::Encoding encoding;
    const char* name;
  };
  // UTF-32 LE before UTF-16 LE: its mark begins with the other's.
  static const Bom kBoms[] = {
      {std::string_view("\xEF\xBB\xBF", 3), QStringConverter::Utf8, "UTF-8"},
      {std::string_view("\xFF\xFE\x00\x00", 4), QStringConverter::Utf32LE, "UTF-32LE"},
      {std::string_view("\x00\x00\xFE\xFF", 4), QStringConverter::Utf32BE, "UTF-32BE"},
      {std::string_view("\xFF\xFE", 2), QStringConverter::Utf16LE, "UTF-16LE"},
      {std::string_view("\xFE\xFF", 2), QStringConverter::Utf16BE, "UTF-16BE"},
  };
  for (const Bom& bom : kBoms) {
    if (!StartsWith(bytes, bom.bytes)) continue;
    const QByteArrayView body =
        QByteArrayView(bytes).sliced(static_cast<qsizetype>(bom.bytes.size()));
    if (bom.encoding == QStringConverter::Utf8 && IsValidUtf8(body.data(), body.size()))
      result.Utf8.assign(body.data(), static_cast<size_t>(body.size()));
    else
      result.Utf8 = DecodeWithQt(body, bom.encoding);
    result.Encoding = bom.name;
    return result;
  }
  if (const auto utf16 = GuessBomlessUtf16(bytes)) {
    result.Utf8 = DecodeWithQt(bytes, *utf16);
    result.Encoding = *utf16 == QStringConverter::Utf16LE ? "UTF-16LE" : "UTF-16BE";
    return result;
  }
  if (IsValidUtf8(bytes.constData(), static_cast<size_t>(bytes.size()))) {
    result.Utf8.assign(bytes.constData(), static_cast<size_t>(bytes.size()));
    result.Encoding = "UTF-8";
    return result;
  }
  result = DecodeLegacy(bytes, kind);
  // iconv's UTF-8 output admits code points that UTF-8 does not (beyond
  // U+10FFFF, from odd charsets); the readers and libass get clean text.
  if (!IsValidUtf8(result.Utf8.data(), result.Utf8.size()))
    result.Utf8 =
        DecodeWithQt(QByteArrayView(result.Utf8.data(), static_cast<qsizetype>(result.Utf8.size())),
                     QStringConverter::Utf8);
  return result;
}

}  // namespace zelvaro
