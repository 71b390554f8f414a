#pragma once
// The texts of the short feedback lines that are built rather than looked up
// whole: times, volume, speed, and the language files' printf formats filled
// with values. Reentrant; interface thread in practice.

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <type_traits>

namespace zelvaro {

// Whole seconds, truncated: "%02d:%02d" below one hour, "%d:%02d:%02d" from
// one hour on. Negative times read as 0.
QString FormatOsdTime(double seconds);

// Engine volume 0.0..1.0 as the integer percent shown and stored, rounded so
// that a hundred steps of 0.01 land on whole numbers, clamped to 0..100.
int VolumePercent(double volume);
// "OSD.VolumeFormat" filled with VolumePercent.
QString VolumeOsdText(double volume);

namespace format_detail {
inline int PrintfArg(int value) {
  return value;
}
inline double PrintfArg(double value) {
  return value;
}
inline const char* PrintfArg(const QByteArray& utf8) {
  return utf8.constData();
}

// QString arguments become UTF-8 for "%s"; the bytes live until the call ends.
template <typename T>
auto Printable(const T& value) {
  if constexpr (std::is_same_v<T, QString>) {
    return value.toUtf8();
  } else {
    return value;
  }
}

template <typename... Args>
QString FormatPrepared(const QString& format, const Args&... args) {
  return QString::asprintf(format.toUtf8().constData(), PrintfArg(args)...);
}
}  // namespace format_detail

// Fills a printf format (a language text or a fixed one) with ints, doubles
// and QStrings (for "%s").
template <typename... Args>
QString FormatText(const QString& format, const Args&... args) {
  return format_detail::FormatPrepared(format, format_detail::Printable(args)...);
}

// LanguageManager::GetString, kept out of this header's includes.
QString LanguageText(QStringView key);

// The text of language key `key`, used as the format.
template <typename... Args>
QString FormatKey(QStringView key, const Args&... args) {
  return FormatText(LanguageText(key), args...);
}

}  // namespace zelvaro
