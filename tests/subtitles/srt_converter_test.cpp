#include "subtitles/srt_converter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zelvaro {
namespace {

std::vector<std::string> DialogueLines(const std::string& script) {
  std::vector<std::string> lines;
  ForEachSubtitleLine(script, [&](std::string_view line) {
    if (line.substr(0, 9) == "Dialogue:") lines.emplace_back(line);
  });
  return lines;
}

std::vector<std::string> Srt(const std::string& text) {
  return DialogueLines(ConvertSrtToAss(SubtitleStyle{}, text));
}

TEST(SrtConverterTest, NumberedCuesWithCrLfAndAFinalCueWithoutBlankLine) {
  EXPECT_EQ(Srt("1\r\n00:00:01,000 --> 00:00:02,500\r\nOne\r\n\r\n"
                "2\r\n00:00:03,000 --> 00:00:04,000\r\nTwo\r\nlines\r\n\r\n"
                "3\r\n01:00:00,000 --> 01:00:01,990\r\nThree"),
            (std::vector<std::string>{
                "Dialogue: 0,0:00:01.00,0:00:02.50,Default,,0,0,0,,One",
                "Dialogue: 0,0:00:03.00,0:00:04.00,Default,,0,0,0,,Two\\Nlines",
                "Dialogue: 0,1:00:00.00,1:00:01.99,Default,,0,0,0,,Three",
            }));
}

TEST(SrtConverterTest, TagsGoButALoneLessThanAndOverrideBlocksStay) {
  EXPECT_EQ(Srt("1\n00:00:00,000 --> 00:00:01,000\n<i>a</i> < b\n\n"
                "2\n00:00:01,000 --> 00:00:02,000\n<font color=\"red\">{\\an8}top</font>\n"),
            (std::vector<std::string>{
                "Dialogue: 0,0:00:00.00,0:00:01.00,Default,,0,0,0,,a < b",
                "Dialogue: 0,0:00:01.00,0:00:02.00,Default,,0,0,0,,{\\an8}top",
            }));
}

TEST(SrtConverterTest, TheTimeStateWaitsAcrossJunkAndEmptyLines) {
  EXPECT_EQ(Srt("garbage before\n7\n\njunk\n00:00:05,000 --> 00:00:06,000\ntext\n"),
            (std::vector<std::string>{"Dialogue: 0,0:00:05.00,0:00:06.00,Default,,0,0,0,,text"}));
}

TEST(SrtConverterTest, ACueIsWrittenWhateverItsTimes) {
  EXPECT_EQ(Srt("1\nnonsense --> 00:00:01,000\nx\n\n2\n00:00:09,000 --> 00:00:01,000\ny\n"),
            (std::vector<std::string>{
                "Dialogue: 0,0:00:00.00,0:00:01.00,Default,,0,0,0,,x",
                "Dialogue: 0,0:00:09.00,0:00:01.00,Default,,0,0,0,,y",
            }));
}

TEST(SrtConverterTest, NoCueStillGivesTheHeader) {
  const std::string script = ConvertSrtToAss(SubtitleStyle{}, "");
  EXPECT_EQ(script.rfind("[Script Info]\n", 0), 0u);
  EXPECT_NE(script.find("[Events]\nFormat: Layer,"), std::string::npos);
  EXPECT_TRUE(DialogueLines(script).empty());
}

TEST(SrtConverterTest, WebVttWithoutIdentifiersLosesEveryOtherCueOnThisPath) {
  // The reason WebVTT has a reader of its own.
  EXPECT_EQ(Srt("WEBVTT\n\n00:00:01.000 --> 00:00:02.000\nfirst\n\n"
                "00:00:03.000 --> 00:00:04.000\nsecond\n"),
            (std::vector<std::string>{"Dialogue: 0,0:00:03.00,0:00:04.00,Default,,0,0,0,,second"}));
}

TEST(SrtTimeTest, ParseSrtTimeReadsCommaOrPointAndTheFractionAsWritten) {
  EXPECT_EQ(ParseSrtTime("00:00:01,500"), 1500);
  EXPECT_EQ(ParseSrtTime("01:02:03.004"), 3723004);
  EXPECT_EQ(ParseSrtTime("  00:00:00,5"), 5);  // five milliseconds, not half a second
  EXPECT_EQ(ParseSrtTime("00:00:02,000 align:start position:10%"), 2000);
  EXPECT_EQ(ParseSrtTime("01:02.000"), 0);  // no hours: failure
  EXPECT_EQ(ParseSrtTime("nonsense"), 0);
  EXPECT_EQ(ParseSrtTime(""), 0);
}

TEST(SrtTimeTest, ParseCueTimeTakesCommaForPoint) {
  EXPECT_EQ(ParseCueTime("00:01:00,250"), 60250);
  EXPECT_EQ(ParseCueTime("10:00:00.000"), 36000000);
  EXPECT_EQ(ParseCueTime("00:01"), 0);
}

TEST(SrtCuesTest, FallBackListKeepsIndexTimesAndJoinedLines) {
  std::vector<SrtCue> cues;
  ASSERT_TRUE(
      ParseSrtCues("\n\n12\r\n00:00:01,000-->00:00:02,000\r\n첫째 줄\r\n<b>둘째</b>\r\n\r\n"
                   "13\n00:00:03,000 -->   00:00:04,500  \nlast",
                   &cues));
  ASSERT_EQ(cues.size(), 2u);
  EXPECT_EQ(cues[0], (SrtCue{12, 1000, 2000, QStringLiteral("첫째 줄\n<b>둘째</b>")}));
  EXPECT_EQ(cues[1], (SrtCue{13, 3000, 4500, QStringLiteral("last")}));
}

TEST(SrtCuesTest, AnIndexWithoutArrowDropsTheCueAndBadIndicesAreSkipped) {
  std::vector<SrtCue> cues;
  EXPECT_TRUE(
      ParseSrtCues("1\nno arrow here\ntext\n\n"
                   "x\n99999999999\n5\n00:00:01,000 --> 00:00:02,000\nkept\n\n"
                   "6\n00:00:03,000 --> 00:00:04,000\n\n",
                   &cues));
  ASSERT_EQ(cues.size(), 1u);
  EXPECT_EQ(cues[0].Index, 5);
  EXPECT_EQ(cues[0].Text, QStringLiteral("kept"));
  EXPECT_FALSE(ParseSrtCues("", &cues));
  EXPECT_TRUE(cues.empty());
}

}  // namespace
}  // namespace zelvaro
