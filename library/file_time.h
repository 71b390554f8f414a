#pragma once
// The database's time base, kept as FILETIME ticks so that a database means the
// same on every system: 100-nanosecond ticks since 1601-01-01 UTC (a Windows
// FILETIME read as one 64-bit integer). Also the file attribute read that
// stands for GetFileAttributesExW. Reentrant; any thread.

#include <QString>

#include <cstdint>
#include <ctime>

namespace zelvaro {

// Seconds between 1601-01-01 and 1970-01-01.
inline constexpr int64_t kFileTimeUnixEpochSeconds = 11644473600LL;
inline constexpr int64_t kFileTimeTicksPerSecond = 10000000LL;

uint64_t FileTimeFromUnix(const timespec& time);
// GetSystemTimeAsFileTime.
uint64_t CurrentFileTime();

struct FileCalendarDate {
  int year = 0;
  int month = 0;
  int day = 0;
};
// FileTimeToSystemTime without a change of time zone. False, like the
// original, for values of 2^63 and above.
bool FileTimeToCalendarDate(uint64_t fileTime, FileCalendarDate* date);

struct FileAttributes {
  uint64_t size = 0;       // bytes; 0 for a folder, as Windows reports it
  uint64_t lastWrite = 0;  // FILETIME ticks
};
// stat() following links. False when the path does not exist or cannot be
// read (a URL, a missing file).
bool ReadFileAttributes(const QString& path, FileAttributes* attributes);

// The text behind the last "\" or "/", or the whole path when it has neither.
QString FileNameOfPath(const QString& path);

}  // namespace zelvaro
