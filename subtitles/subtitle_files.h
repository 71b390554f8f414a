#pragma once
// Side files beside the media, the type of a subtitle file, and reading one
// whole. Reentrant; touches only the file system.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>

namespace zelvaro {

// From the extension, case ignored. kAss is also what a provider reports
// after any load through libass; unknown and ".sub" files are read as ASS.
enum class SubtitleType : int32_t {
  kUnknown = 0,
  kSrt = 1,
  kAss = 2,
  kSsa = 3,
  kSub = 4,
  kSami = 5,
  kWebVtt = 6,
};

SubtitleType DetectSubtitleType(const QString& path);

// For "dir/name.ext": dir/name + each of .srt .ass .ssa .sub .smi .vtt, and
// behind each extension the language forms (name.ko.srt, ...), in that
// order, so the extension outranks the language. Only the exact base name
// counts; a file whose name differs only in case is found too, as on the
// systems these files come from.
QStringList FindSubtitleFiles(const QString& mediaPath);

// Subtitle files larger than this are refused rather than read.
inline constexpr qint64 kMaxSubtitleFileBytes = 256LL * 1024 * 1024;

// The whole file, or nothing when it can't be read or is too large.
std::optional<QByteArray> ReadSubtitleFile(const QString& path);

}  // namespace zelvaro
