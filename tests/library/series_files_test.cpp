#include "library/series_files.h"

#include "tests/library/library_test_support.h"

#include <QDir>
#include <QFile>

#include <algorithm>

namespace zelvaro::test {
namespace {

using namespace Qt::StringLiterals;

QStringList Names(const std::vector<QString>& paths) {
  QStringList names;
  for (const QString& path : paths) names << path.mid(path.lastIndexOf(u'/') + 1);
  return names;
}

TEST(SeriesNameTest, NormalizeNameAndSeriesKey) {
  EXPECT_EQ(NormalizeName(u"[Sub] Show (2020) - 01_v2"), u"SubShow202001v2"_s);
  EXPECT_EQ(NormalizeName(u"a.b{c}"), u"a.b{c}"_s);  // only the seven listed characters go
  const std::pair<const char16_t*, QString> keys[] = {
      {u"Show_E01", u"ShowE01"_s},  // two digits are stepped over
      {u"Series.1001", u"Series."_s},
      {u"1001 title", QString()},
      {u"S01E02 Title 480p", u"S01E02Title"_s},  // the first 3+ run decides
      {u"Mixed Case 123", u"MixedCase"_s},
      {u" _-()[] ", QString()},
  };
  for (const auto& [name, key] : keys) EXPECT_EQ(SeriesKey(name), key);
}

class SeriesFilesTest : public LibraryTest {};

// Names as users give them: the key rule misses these, the wider rule finds
// them, in number order, and nothing of another kind or naming comes along.
TEST_F(SeriesFilesTest, UsersEpisodeNamesBringTheirSiblings) {
  struct Case {
    QStringList files;  // the first is opened
    QStringList series;
  };
  const Case cases[] = {
      {{u"Episode 1.mkv"_s, u"Episode 10.mkv"_s, u"Episode 2.mkv"_s, u"Episode 1.srt"_s,
        u"Extras 1.mkv"_s},
       {u"Episode 1.mkv"_s, u"Episode 2.mkv"_s, u"Episode 10.mkv"_s}},
      {{u"Episode 5.mkv"_s, u"Episode 4.mkv"_s, u"Episode 6.mp4"_s, u"Episode 3.mp3"_s},
       {u"Episode 4.mkv"_s, u"Episode 5.mkv"_s, u"Episode 6.mp4"_s}},
      {{u"Show S01E02.mkv"_s, u"Show S01E01.mkv"_s, u"Show S01E03.mkv"_s, u"Show S02E01.mkv"_s},
       {u"Show S01E01.mkv"_s, u"Show S01E02.mkv"_s, u"Show S01E03.mkv"_s}},
      // Another season's same episode differs in one run too; the episodes outvote it.
      {{u"Show S01E02.mkv"_s, u"Show S02E02.mkv"_s, u"Show S01E03.mkv"_s, u"Show S01E04.mkv"_s},
       {u"Show S01E02.mkv"_s, u"Show S01E03.mkv"_s, u"Show S01E04.mkv"_s}},
      {{u"Clip - 08.mkv"_s, u"Clip - 07.mkv"_s, u"Clip - 09.mkv"_s, u"Clip - 08 extra.mkv"_s},
       {u"Clip - 07.mkv"_s, u"Clip - 08.mkv"_s, u"Clip - 09.mkv"_s}},
      {{u"Show_E01.mkv"_s, u"Show_E02.mkv"_s}, {u"Show_E01.mkv"_s, u"Show_E02.mkv"_s}},
      {{u"ab1235.mkv"_s, u"ab1234.mkv"_s}, {u"ab1234.mkv"_s, u"ab1235.mkv"_s}},
      // Two runs differ: not the same series.
      {{u"S01E02.mkv"_s, u"S02E01.mkv"_s}, {u"S01E02.mkv"_s}},
      {{u"Song 1.mp3"_s, u"Song 2.flac"_s, u"Song 3.mkv"_s}, {u"Song 1.mp3"_s, u"Song 2.flac"_s}},
      // Where the key rule finds a series, the wider rule only adds to it.
      {{u"Show 101.mkv"_s, u"Show 102.mkv"_s, u"Show 99.mkv"_s, u"show 103.mkv"_s,
        u"Show 2020 E01.mkv"_s},
       {u"Show 99.mkv"_s, u"Show 101.mkv"_s, u"Show 102.mkv"_s, u"Show 2020 E01.mkv"_s}},
      {{u"Series.1001.mkv"_s, u"Series.1010.mkv"_s, u"Series.1002.mkv"_s, u"Other.1003.mkv"_s,
        u"Series.1004.srt"_s},
       {u"Series.1001.mkv"_s, u"Series.1002.mkv"_s, u"Series.1010.mkv"_s}},
      // "999" is a run of three too, so its key is empty as well.
      {{u"1002 title.mp4"_s, u"1001 Title.mp4"_s, u"1003 other.mp4"_s, u"999 title.mp4"_s},
       {u"999 title.mp4"_s, u"1001 Title.mp4"_s, u"1002 title.mp4"_s}},
      // The key compares exactly, the extension ignoring case.
      {{u"Show 101.mkv"_s, u"show 102.mkv"_s, u"Show 103.MKV"_s, u"Show 104.mp4"_s,
        u"Show 105.txt"_s, u"Show 106"_s},
       {u"Show 101.mkv"_s, u"Show 103.MKV"_s, u"Show 104.mp4"_s}},
      // The episode number is the first run after the key; huge ones clamp.
      {{u"Show 103 part 1.mkv"_s, u"Show 102 part 9.mkv"_s, u"Show 101 part 5.mkv"_s},
       {u"Show 101 part 5.mkv"_s, u"Show 102 part 9.mkv"_s, u"Show 103 part 1.mkv"_s}},
      {{u"Show 99999999999999999999.mkv"_s, u"Show 100.mkv"_s},
       {u"Show 100.mkv"_s, u"Show 99999999999999999999.mkv"_s}},
  };
  QDir().mkpath(MediaDir() + u"/Show 107.mkv"_s);  // a folder is never an episode
  for (const Case& c : cases) {
    const auto paths = MakeFiles(c.files);
    EXPECT_EQ(Names(FindSeriesFiles(paths[0])), c.series) << c.files.join(u", ").toStdString();
    for (const QString& path : paths) QFile::remove(path);
  }
}

TEST_F(SeriesFilesTest, OddPathsGiveNothingOrThePathAlone) {
  EXPECT_TRUE(FindSeriesFiles(MakeFile(u"Show 101.txt"_s)).empty());
  EXPECT_TRUE(FindSeriesFiles(u"Show 101.mkv"_s).empty());  // no folder part
  EXPECT_TRUE(FindSeriesFiles(MediaDir() + u"/noextension"_s).empty());
  EXPECT_TRUE(FindSeriesFiles(MediaDir() + u"/"_s).empty());
  const QString missing = home_.Root() + u"/no such folder/Show 101.mkv"_s;
  EXPECT_EQ(FindSeriesFiles(missing), std::vector<QString>{missing});
  // The opened file need not exist itself.
  MakeFiles({u"Show 101.mkv"_s, u"Show 102.mkv"_s});
  const QString gone = MediaDir() + u"/Show 103.mkv"_s;
  EXPECT_EQ(Names(FindSeriesFiles(gone)), (QStringList{u"Show 101.mkv"_s, u"Show 102.mkv"_s}));
}

TEST_F(SeriesFilesTest, TheScanStopsAt5000Records) {
  QStringList names;
  for (int i = 0; i < kMaxSeriesFiles + 7; ++i) names << u"Big Show %1.mkv"_s.arg(1000 + i);
  const auto paths = MakeLinkedFiles(names);
  const std::vector<QString> series = FindSeriesFiles(paths[0]);
  ASSERT_EQ(series.size(), static_cast<size_t>(kMaxSeriesFiles));
  EXPECT_TRUE(std::is_sorted(series.begin(), series.end(), [](const QString& a, const QString& b) {
    return a.mid(a.lastIndexOf(u' ') + 1).toInt() < b.mid(b.lastIndexOf(u' ') + 1).toInt();
  }));
}

}  // namespace
}  // namespace zelvaro::test
