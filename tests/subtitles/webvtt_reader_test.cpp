#include "subtitles/webvtt_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zelvaro {
namespace {

std::vector<SrtCue> Cues(const std::string& text) {
  std::vector<SrtCue> cues;
  ParseWebVttCues(text, &cues);
  return cues;
}

TEST(WebVttReaderTest, KeepsEveryCueWithOrWithoutIdentifier) {
  const auto cues = Cues(
      "\xEF\xBB\xBFWEBVTT - a title\nKind: captions\n\n"
      "00:00:01.000 --> 00:00:02.000\nfirst\n\n"
      "intro-2\n00:00:03.000 --> 00:00:04.000 align:start position:10%\nsecond\nline\n\n"
      "00:00:05.000 --> 00:00:06.000\nthird\n");
  // A BOM that reaches the reader does not hide the signature.
  ASSERT_EQ(cues.size(), 3u);
  EXPECT_EQ(cues[0], (SrtCue{1, 1000, 2000, QStringLiteral("first")}));
  EXPECT_EQ(cues[1], (SrtCue{2, 3000, 4000, QStringLiteral("second\nline")}));
  EXPECT_EQ(cues[2], (SrtCue{3, 5000, 6000, QStringLiteral("third")}));
}

TEST(WebVttReaderTest, SkipsNoteStyleAndRegionBlocks) {
  const auto cues = Cues(
      "WEBVTT\n\nNOTE a comment\n00:00:09.000 --> 00:00:10.000 is not a cue here\n\n"
      "STYLE\n::cue { color: red }\n\nREGION\nid:fred\n\n"
      "00:01.000 --> 00:02.000\nshown\n");
  ASSERT_EQ(cues.size(), 1u);
  EXPECT_EQ(cues[0].Text, QStringLiteral("shown"));
}

TEST(WebVttReaderTest, StripsTagsThenDecodesTheFourEntities) {
  const auto cues = Cues(
      "WEBVTT\n\n00:00.000 --> 00:01.000\n"
      "<v Bob>&lt;i&gt; &amp; <c.yellow>you</c></v><00:00.500> too&nbsp;&quot;\n");
  ASSERT_EQ(cues.size(), 1u);
  EXPECT_EQ(cues[0].Text, QString::fromUtf8("<i> & you too\u00A0&quot;"));
}

TEST(WebVttReaderTest, TimesWithAndWithoutHoursAndShortFractions) {
  EXPECT_EQ(ParseWebVttTime("00:01.000"), 1000);
  EXPECT_EQ(ParseWebVttTime("1:02:03.004"), 3723004);
  EXPECT_EQ(ParseWebVttTime("123:00:00.000"), 123LL * 3600000);
  EXPECT_EQ(ParseWebVttTime("00:00:01.5"), 1500);
  EXPECT_EQ(ParseWebVttTime("00:00:01.25"), 1250);
  EXPECT_EQ(ParseWebVttTime("00:00:01,250"), 1250);
  EXPECT_EQ(ParseWebVttTime("00:07"), 7000);
  EXPECT_EQ(ParseWebVttTime("7"), std::nullopt);
  EXPECT_EQ(ParseWebVttTime("00:01.000x"), std::nullopt);
  EXPECT_EQ(ParseWebVttTime("00:01."), std::nullopt);
  EXPECT_EQ(ParseWebVttTime("1:2:3:4.000"), std::nullopt);
  EXPECT_EQ(ParseWebVttTime(""), std::nullopt);
}

TEST(WebVttReaderTest, MissingBlankLinesAndSignatureLoseNothing) {
  const auto cues =
      Cues("00:00:01.000 --> 00:00:02.000\none\n00:00:03.000 --> 00:00:04.000\ntwo\n");
  ASSERT_EQ(cues.size(), 2u);
  EXPECT_EQ(cues[0].Text, QStringLiteral("one"));
  EXPECT_EQ(cues[1].Text, QStringLiteral("two"));
}

TEST(WebVttReaderTest, CuesWithoutTextOrTimingAreDropped) {
  const auto cues = Cues(
      "WEBVTT\n\n00:00:01.000 --> 00:00:02.000\n\n"
      "id\nnot a timing line\ntext\n\n"
      "00:00:05.000 --> later\nbroken\n\n"
      "00:00:07.000 --> 00:00:08.000\nok\n");
  ASSERT_EQ(cues.size(), 1u);
  EXPECT_EQ(cues[0].StartMs, 7000);
}

TEST(WebVttReaderTest, ConvertsToDialogueLinesInFileOrder) {
  const std::string script =
      ConvertWebVttToAss(SubtitleStyle{},
                         "WEBVTT\r\n\r\n00:00:03.000 --> 00:00:04.000\r\nlate\r\n\r\n"
                         "00:00:01.000 --> 00:00:05.000\r\n<i>two</i>\r\nlines\r\n");
  EXPECT_EQ(script.rfind("[Script Info]\n", 0), 0u);
  EXPECT_NE(script.find("\nDialogue: 0,0:00:03.00,0:00:04.00,Default,,0,0,0,,late\n"
                        "Dialogue: 0,0:00:01.00,0:00:05.00,Default,,0,0,0,,two\\Nlines\n"),
            std::string::npos)
      << script;
}

}  // namespace
}  // namespace zelvaro
