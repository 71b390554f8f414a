#include "library/playlist_format.h"

#include "library/file_time.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zelvaro {

namespace {

// QString::number always writes a point; printf's %f follows LC_NUMERIC,
// which main() takes from the user's locale.
QString OneDecimal(double value, QStringView unit) {
  return QString::number(value, 'f', 1) + u' ' + unit.toString();
}

}  // namespace

QString FormatSize(uint64_t bytes) {
  const double value = static_cast<double>(bytes);
  if (bytes > 0x3FFFFFFFULL) return OneDecimal(value / 1073741824.0, u"GB");
  if (bytes > 0xFFFFFULL) return OneDecimal(value / 1048576.0, u"MB");
  if (bytes < 1024) return QString::number(bytes) + QStringLiteral(" B");
  return OneDecimal(value / 1024.0, u"KB");
}

QString FormatDuration(double seconds) {
  if (!(seconds > 0)) return QStringLiteral("--:--");
  // Truncated, never rounded; clamped so that an absurd value cannot overflow.
  const double clamped = std::min(seconds, 9.0e15);
  const long long total = static_cast<long long>(clamped);
  const long long hours = total / 3600;
  const int minutes = static_cast<int>((total % 3600) / 60);
  const int secs = static_cast<int>(total % 60);
  char text[64];
  if (hours == 0) {
    std::snprintf(text, sizeof(text), "%d:%02d", minutes, secs);
  } else {
    std::snprintf(text, sizeof(text), "%lld:%02d:%02d", hours, minutes, secs);
  }
  return QString::fromLatin1(text);
}

QString FormatDate(uint64_t fileTime) {
  FileCalendarDate date;
  FileTimeToCalendarDate(fileTime, &date);
  char text[32];
  std::snprintf(text, sizeof(text), "%02d/%02d/%02d", date.year % 100, date.month, date.day);
  return QString::fromLatin1(text);
}

}  // namespace zelvaro
