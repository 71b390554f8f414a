// LRC parsing grouped by what each case catches: the forms of a time tag,
// several tags on a line, offsets, metadata kept apart from the lines, text
// without a time, broken tags, line ends and encodings; then the SubRip text
// made from the lines.

#include "lyrics/lrc_parser.h"
#include "tests/support/temp_home.h"

#include <QStringEncoder>

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace zelvaro {
namespace {

using Lines = std::vector<std::pair<int64_t, std::u16string>>;

Lines LinesOf(const LyricsData& data) {
  Lines lines;
  for (const LyricLine& line : data.lines)
    lines.emplace_back(line.timeMs, line.text.toStdU16String());
  return lines;
}

struct ParseCase {
  const char* name;
  const char16_t* text;
  Lines expected;
};

class ParseLrcCases : public testing::TestWithParam<ParseCase> {};

TEST_P(ParseLrcCases, GivesTheseLines) {
  LyricsData data;
  const bool found = ParseLrc(QString::fromUtf16(GetParam().text), &data);
  EXPECT_EQ(found, !GetParam().expected.empty());
  EXPECT_EQ(data.synced, found);
  EXPECT_EQ(LinesOf(data), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Lrc, ParseLrcCases,
    testing::Values(
        // Time tag forms: standard two-digit minutes count as times too.
        ParseCase{"OneDigitMinutes", u"[1:02.5]x", {{62500, u"x"}}},
        ParseCase{"TwoDigitMinutesCentiseconds", u"[01:02.50]x", {{62500, u"x"}}},
        ParseCase{"ThreeDigitMinutesMilliseconds", u"[100:00.123]x", {{6000123, u"x"}}},
        ParseCase{"NoFraction", u"[00:07]x", {{7000, u"x"}}},
        ParseCase{"ColonBeforeFraction", u"[00:07:25]x", {{7250, u"x"}}},
        ParseCase{"LongFractionCutToMilliseconds", u"[0:01.23456]x", {{1234, u"x"}}},
        // Several tags on one line, sorted among the others.
        ParseCase{"TwoTagsTwoEntries",
                  u"[1:00][0:30]chorus\n[0:45]verse",
                  {{30000, u"chorus"}, {45000, u"verse"}, {60000, u"chorus"}}},
        ParseCase{"EqualTimesKeepFileOrder", u"[0:01]a\n[0:01]b", {{1000, u"a"}, {1000, u"b"}}},
        // Offsets are added, and only to the lines after them.
        ParseCase{"OffsetAdded", u"[offset:500]\n[1:00]x", {{60500, u"x"}}},
        ParseCase{"OffsetOnlyAfterItsTag",
                  u"[0:01]a\n[offset:-250]\n[0:02]b",
                  {{1000, u"a"}, {1750, u"b"}}},
        // Metadata and unknown tags give no lines.
        ParseCase{"MetadataOnly", u"[ar:Someone]\n[ti:Song]\n[by:me]\n[re:tool]", {}},
        // Text without a time, and broken tags.
        ParseCase{"TextBeforeTag", u"x [1:00]", {}},
        ParseCase{"UntimedLinesDropped", u"plain\n[0:01]timed\nmore plain", {{1000, u"timed"}}},
        ParseCase{"NoColon", u"[0101]x", {}},
        ParseCase{"BadSecondTagStopsTags", u"[0:01][xx]y", {{1000, u"[xx]y"}}},
        ParseCase{"HugeMinutesRefused", u"[99999999999999999999:00]x", {}},
        // Line ends, blanks and empty texts.
        ParseCase{"CrLf", u"[0:01]a\r\n[0:02]b\r\n", {{1000, u"a"}, {2000, u"b"}}},
        ParseCase{"TrailingBlanksTrimmed", u"[0:01]a \t", {{1000, u"a"}}},
        ParseCase{"EmptyTextKept", u"[0:01]a\n[0:03]", {{1000, u"a"}, {3000, u""}}}),
    [](const testing::TestParamInfo<ParseCase>& info) { return std::string(info.param.name); });

TEST(ParseLrc, MetadataIsKeptApartFromTheLines) {
  LyricsData data;
  ASSERT_TRUE(ParseLrc(u"[ar:Name][ti:Other]\n[TI:Title]\n[al:Album]\n[0:01]line", &data));
  // Only the first tag of a line counts, its value untrimmed.
  EXPECT_EQ(data.artist, u"Name");
  EXPECT_EQ(data.title, u"Title");
  EXPECT_EQ(data.album, u"Album");
  EXPECT_EQ(LinesOf(data), (Lines{{1000, u"line"}}));
}

TEST(LyricsToSrt, BlocksEndAtTheNextLineAndEmptyLinesOnlyEnd) {
  LyricsData data;
  ASSERT_TRUE(ParseLrc(u"[0:01]one\n[0:03]\n[0:04]two\n[61:02.5]three", &data));
  EXPECT_EQ(LyricsToSrt(data),
            u"1\r\n00:00:01,000 --> 00:00:03,000\r\none\r\n\r\n"
            u"2\r\n00:00:04,000 --> 01:01:02,500\r\ntwo\r\n\r\n"
            u"3\r\n01:01:02,500 --> 01:01:07,500\r\nthree\r\n\r\n"_qs);
  EXPECT_EQ(FormatSrtTime(-20), u"00:00:00,000");
  EXPECT_TRUE(LyricsToSrt(LyricsData()).isEmpty());
}

struct EncodingCase {
  const char* name;
  QByteArray bytes;
};

class ReadLyricsFileCases : public testing::TestWithParam<EncodingCase> {};

// "[0:01]가사" in each encoding a lyrics file comes in.
TEST_P(ReadLyricsFileCases, DecodesTheText) {
  test::TempHome home;
  const QString path = home.WriteFile(QStringLiteral("song.lrc"), GetParam().bytes);
  QString text;
  ASSERT_TRUE(ReadLyricsFile(path, &text));
  LyricsData data;
  ASSERT_TRUE(ParseLrc(text, &data));
  EXPECT_EQ(LinesOf(data), (Lines{{1000, u"가사"}}));
}

QByteArray Utf16(QStringConverter::Encoding encoding) {
  QStringEncoder encode(encoding, QStringEncoder::Flag::WriteBom);
  return encode(u"[0:01]가사"_qs);
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, ReadLyricsFileCases,
    testing::Values(EncodingCase{"Utf8Bom",
                                 QByteArray("\xEF\xBB\xBF[0:01]\xEA\xB0\x80\xEC\x82\xAC")},
                    EncodingCase{"Utf8", QByteArray("[0:01]\xEA\xB0\x80\xEC\x82\xAC")},
                    EncodingCase{"Utf16Le", Utf16(QStringConverter::Utf16LE)},
                    EncodingCase{"Utf16Be", Utf16(QStringConverter::Utf16BE)},
                    // CP949, the legacy charset of Korean lyrics files.
                    EncodingCase{"LegacyCp949", QByteArray("[0:01]\xB0\xA1\xBB\xE7")}),
    [](const testing::TestParamInfo<EncodingCase>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace zelvaro
