#include "library/playlist_format.h"

#include "library/file_time.h"
#include "tests/library/library_test_support.h"

#include <clocale>
#include <cmath>
#include <limits>
#include <string>

namespace zelvaro {
namespace {

using namespace Qt::StringLiterals;

TEST(PlaylistFormatTest, SizeBoundaries) {
  EXPECT_EQ(FormatSize(0), u"0 B"_s);
  EXPECT_EQ(FormatSize(1023), u"1023 B"_s);
  EXPECT_EQ(FormatSize(1024), u"1.0 KB"_s);
  EXPECT_EQ(FormatSize(1536), u"1.5 KB"_s);
  EXPECT_EQ(FormatSize(1048575), u"1024.0 KB"_s);  // 2^20 - 1 is the largest in KB
  EXPECT_EQ(FormatSize(1048576), u"1.0 MB"_s);
  EXPECT_EQ(FormatSize(1073741823), u"1024.0 MB"_s);  // 2^30 - 1 is the largest in MB
  EXPECT_EQ(FormatSize(1073741824), u"1.0 GB"_s);
  EXPECT_EQ(FormatSize(1610612736), u"1.5 GB"_s);
  EXPECT_EQ(FormatSize(uint64_t{5} << 40), u"5120.0 GB"_s);
}

TEST(PlaylistFormatTest, SizesKeepThePointInACommaLocale) {
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no de_DE locale";
  const QString text = FormatSize(1610612736);
  std::setlocale(LC_NUMERIC, before.c_str());
  EXPECT_EQ(text, u"1.5 GB"_s);
}

TEST(PlaylistFormatTest, DurationTruncatesAndSwitchesAtOneHour) {
  EXPECT_EQ(FormatDuration(0), u"--:--"_s);
  EXPECT_EQ(FormatDuration(-5), u"--:--"_s);
  EXPECT_EQ(FormatDuration(std::nan("")), u"--:--"_s);
  EXPECT_EQ(FormatDuration(0.9), u"0:00"_s);
  EXPECT_EQ(FormatDuration(59.999), u"0:59"_s);
  EXPECT_EQ(FormatDuration(60), u"1:00"_s);
  EXPECT_EQ(FormatDuration(3599.99), u"59:59"_s);
  EXPECT_EQ(FormatDuration(3600), u"1:00:00"_s);
  EXPECT_EQ(FormatDuration(36061.5), u"10:01:01"_s);
  EXPECT_EQ(FormatDuration(360000), u"100:00:00"_s);
  EXPECT_FALSE(FormatDuration(std::numeric_limits<double>::infinity()).isEmpty());
}

TEST(PlaylistFormatTest, DateIsTheUtcDayOfAFileTime) {
  EXPECT_EQ(FormatDate(0), u"01/01/01"_s);  // an unread value
  const uint64_t unixEpoch = 116444736000000000ULL;
  EXPECT_EQ(FormatDate(unixEpoch), u"70/01/01"_s);
  EXPECT_EQ(FormatDate(unixEpoch - 1), u"69/12/31"_s);
  // 2024-02-29 23:59:59.9999999 UTC, then the next tick.
  const uint64_t leapDayEnd = unixEpoch + (1709251199ULL * 10000000ULL) + 9999999ULL;
  EXPECT_EQ(FormatDate(leapDayEnd), u"24/02/29"_s);
  EXPECT_EQ(FormatDate(leapDayEnd + 1), u"24/03/01"_s);
  EXPECT_EQ(FormatDate(uint64_t{1} << 63), u"00/00/00"_s);  // rejected, as by Windows
}

TEST(FileTimeTest, UnixTimesMapToTicksSince1601) {
  EXPECT_EQ(FileTimeFromUnix(timespec{0, 0}), 116444736000000000ULL);
  EXPECT_EQ(FileTimeFromUnix(timespec{1, 250}), 116444736000000000ULL + 10000002ULL);
  const uint64_t now = CurrentFileTime();
  const uint64_t expected = (static_cast<uint64_t>(time(nullptr)) + 11644473600ULL) * 10000000ULL;
  EXPECT_LT(now > expected ? now - expected : expected - now, 20000000ULL);
}

TEST(FileTimeTest, FileNameIsBehindTheLastSeparator) {
  EXPECT_EQ(FileNameOfPath(u"/a/b/c.mkv"_s), u"c.mkv"_s);
  EXPECT_EQ(FileNameOfPath(u"C:\\Videos\\d.mkv"_s), u"d.mkv"_s);
  EXPECT_EQ(FileNameOfPath(u"https://host/path/e.mp4"_s), u"e.mp4"_s);
  EXPECT_EQ(FileNameOfPath(u"plain.mkv"_s), u"plain.mkv"_s);
  EXPECT_EQ(FileNameOfPath(u"/folder/"_s), QString());
}

}  // namespace
}  // namespace zelvaro
