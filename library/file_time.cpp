#include "library/file_time.h"

#include <QFile>

#include <chrono>

#include <sys/stat.h>

namespace zelvaro {

uint64_t FileTimeFromUnix(const timespec& time) {
  const int64_t seconds = static_cast<int64_t>(time.tv_sec) + kFileTimeUnixEpochSeconds;
  if (seconds < 0) return 0;
  return static_cast<uint64_t>(seconds) * kFileTimeTicksPerSecond +
         static_cast<uint64_t>(time.tv_nsec / 100);
}

uint64_t CurrentFileTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return FileTimeFromUnix(now);
}

bool FileTimeToCalendarDate(uint64_t fileTime, FileCalendarDate* date) {
  if (fileTime >= (uint64_t{1} << 63)) return false;
  using namespace std::chrono;
  constexpr uint64_t kTicksPerDay = 864000000000ULL;
  const sys_days epoch1601 = sys_days(year(1601) / January / 1);
  const year_month_day ymd(epoch1601 + days(static_cast<int64_t>(fileTime / kTicksPerDay)));
  date->year = static_cast<int>(ymd.year());
  date->month = static_cast<int>(static_cast<unsigned>(ymd.month()));
  date->day = static_cast<int>(static_cast<unsigned>(ymd.day()));
  return true;
}

bool ReadFileAttributes(const QString& path, FileAttributes* attributes) {
  if (path.isEmpty()) return false;
  struct stat info {};
  if (::stat(QFile::encodeName(path).constData(), &info) != 0) return false;
  attributes->size = S_ISDIR(info.st_mode) ? 0 : static_cast<uint64_t>(info.st_size);
  attributes->lastWrite = FileTimeFromUnix(info.st_mtim);
  return true;
}

QString FileNameOfPath(const QString& path) {
  const qsizetype slash = path.lastIndexOf(u'/');
  const qsizetype backslash = path.lastIndexOf(u'\\');
  const qsizetype last = std::max(slash, backslash);
  return last < 0 ? path : path.mid(last + 1);
}

}  // namespace zelvaro
