#pragma once
// The column texts of the playlist. Fixed formats, not language
// texts. Reentrant.

#include <QString>

#include <cstdint>

namespace zelvaro {

// Above 2^30 - 1 "%.1f GB"; above 2^20 - 1 "%.1f MB"; below 1024 "%llu B";
// else "%.1f KB". So 1024 shows "1.0 KB", 2^20 "1.0 MB", 2^30 "1.0 GB".
QString FormatSize(uint64_t bytes);
// Not above 0 (or not a number): "--:--". Else truncated to whole seconds,
// "%d:%02d" below one hour and "%d:%02d:%02d" from one hour on.
QString FormatDuration(double seconds);
// The UTC date of a FILETIME as "%02d/%02d/%02d" (year modulo 100, month,
// day); 0 shows 01/01/01. A value FileTimeToSystemTime rejects (2^63 and
// above) shows as its zeroed result, 00/00/00.
QString FormatDate(uint64_t fileTime);

}  // namespace zelvaro
