#include "app/osd_formats.h"

#include "foundation/language_manager.h"

#include <algorithm>
#include <cmath>

namespace zelvaro {

QString FormatOsdTime(double seconds) {
  const int total = seconds > 0 ? static_cast<int>(seconds) : 0;
  const int hours = total / 3600;
  const int minutes = total / 60 % 60;
  const int rest = total % 60;
  if (hours > 0) return QString::asprintf("%d:%02d:%02d", hours, minutes, rest);
  return QString::asprintf("%02d:%02d", minutes, rest);
}

int VolumePercent(double volume) {
  return static_cast<int>(std::clamp<long>(std::lround(volume * 100.0), 0, 100));
}

QString VolumeOsdText(double volume) {
  return FormatKey(u"OSD.VolumeFormat", VolumePercent(volume));
}

QString LanguageText(QStringView key) {
  return LanguageManager::GetString(key);
}

}  // namespace zelvaro
