#include "subtitles/sami_converter.h"
#include "subtitles/ass_script.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace zelvaro {
namespace {

std::vector<std::string> DialogueLines(const std::string& script) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < script.size()) {
    size_t end = script.find('\n', start);
    if (end == std::string::npos) end = script.size();
    std::string line = script.substr(start, end - start);
    if (line.rfind("Dialogue:", 0) == 0) lines.push_back(line);
    start = end + 1;
  }
  return lines;
}

std::vector<std::string> Sami(const std::string& body) {
  return DialogueLines(ConvertSamiToAss(SubtitleStyle{}, "<SAMI><BODY>" + body + "</BODY></SAMI>"));
}

TEST(AssScriptTest, HeaderAndStyleLineForTheDefaultStyle) {
  std::string script;
  AppendAssHeader(SubtitleStyle{}, &script);
  EXPECT_EQ(script,
            "[Script Info]\n"
            "ScriptType: v4.00+\n"
            "WrapStyle: 0\n"
            "ScaledBorderAndShadow: yes\n"
            "PlayResX: 384\n"
            "PlayResY: 288\n"
            "\n"
            "[V4+ Styles]\n"
            "Format: Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, OutlineColour, "
            "BackColour, Bold, Italic, Underline, StrikeOut, ScaleX, ScaleY, Spacing, Angle, "
            "BorderStyle, Outline, Shadow, Alignment, MarginL, MarginR, MarginV, Encoding\n"
            "Style: Default,Malgun Gothic,24,&H00FFFFFF,&H000000FF,&H00000000,&H80000000,-1,0,0,"
            "0,100,100,0,0,1,0.666667,0.4,2,5,5,6,1\n"
            "\n"
            "[Events]\n"
            "Format: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n");
}

TEST(AssScriptTest, StyleFieldsFollowTheUserStyle) {
  SubtitleStyle style;
  style.FontName = QStringLiteral("나눔고딕");
  style.FontSize = 30;
  style.Outline = 0;
  style.Shadow = 4;
  style.Bold = false;
  style.Italic = true;
  style.PrimaryColor = 0x40123456;  // AARRGGBB
  style.MarginBottom = 100;
  style.Alignment = 8;
  std::string script;
  AppendAssHeader(style, &script);
  EXPECT_NE(script.find("Style: Default,나눔고딕,30,&H40563412,&H000000FF,&H00000000,&H80000000,"
                        "0,-1,0,0,100,100,0,0,1,0,1.06667,8,5,5,26,1\n"),
            std::string::npos)
      << script;
}

TEST(AssScriptTest, TimesTruncateToHundredthsAndCarryHours) {
  EXPECT_EQ(FormatAssTime(0), "0:00:00.00");
  EXPECT_EQ(FormatAssTime(1999), "0:00:01.99");
  EXPECT_EQ(FormatAssTime(3723456), "1:02:03.45");
  EXPECT_EQ(FormatAssTime(100LL * 3600000), "100:00:00.00");
}

TEST(SamiConverterTest, LineBreakAndClassTagGiveOneDialogue) {
  EXPECT_EQ(Sami("<SYNC Start=1000><P Class=ENCC>a<br>b\n<SYNC Start=2000><P Class=ENCC>c"),
            (std::vector<std::string>{
                "Dialogue: 0,0:00:01.00,0:00:02.00,Default,,0,0,0,,a\\Nb",
                "Dialogue: 0,0:00:02.00,0:00:07.00,Default,,0,0,0,,c",
            }));
}

TEST(SamiConverterTest, StartValuesInQuotesOrWithoutDigits) {
  EXPECT_EQ(Sami("<sync start=\"1500\">a<sync start='2500'>b<sync start=abc>c"),
            (std::vector<std::string>{
                "Dialogue: 0,0:00:01.50,0:00:02.50,Default,,0,0,0,,a",
                // The next start (0) is not after 2500: nothing for b.
                "Dialogue: 0,0:00:00.00,0:00:05.00,Default,,0,0,0,,c",
            }));
}

TEST(SamiConverterTest, ClearingSyncsAndEqualTimes) {
  EXPECT_EQ(Sami("<SYNC Start=1000><P>one<SYNC Start=2000><P>&nbsp;"
                 "<SYNC Start=3000><P>two<SYNC Start=4000><P class=x></P>"
                 "<SYNC Start=5000>lost<SYNC Start=5000>kept"),
            (std::vector<std::string>{
                "Dialogue: 0,0:00:01.00,0:00:02.00,Default,,0,0,0,,one",
                "Dialogue: 0,0:00:02.00,0:00:03.00,Default,,0,0,0,, ",
                "Dialogue: 0,0:00:03.00,0:00:04.00,Default,,0,0,0,,two",
                "Dialogue: 0,0:00:05.00,0:00:10.00,Default,,0,0,0,,kept",
            }));
}

TEST(SamiConverterTest, OnlyBrAndBrSlashBreakTheLine) {
  EXPECT_EQ(Sami("<SYNC Start=0>a<BR>b<br/>c<br />d<Br>e"),
            (std::vector<std::string>{"Dialogue: 0,0:00:00.00,0:00:05.00,Default,,0,0,0,,"
                                      "a\\Nb\\Ncd\\Ne"}));
}

TEST(SamiConverterTest, TagsVanishWithTheirAttributesAndEntitiesOtherThanNbspStay) {
  EXPECT_EQ(Sami("<SYNC Start=0><font color=\"#ff0000\"><i>red</i></font>&amp;&nbsp;x"),
            (std::vector<std::string>{"Dialogue: 0,0:00:00.00,0:00:05.00,Default,,0,0,0,,"
                                      "red&amp; x"}));
}

TEST(SamiConverterTest, BodyEndsAtBodyCloseOrAtEndOfFile) {
  const std::string withClose = ConvertSamiToAss(
      SubtitleStyle{}, "<SYNC Start=0>a</BODY><p>trailer</p><SYNC Start=9000>late");
  EXPECT_EQ(DialogueLines(withClose).front(),
            "Dialogue: 0,0:00:00.00,0:00:09.00,Default,,0,0,0,,a");
  const std::string withoutClose = ConvertSamiToAss(SubtitleStyle{}, "<SYNC Start=0>to the end");
  EXPECT_EQ(DialogueLines(withoutClose),
            (std::vector<std::string>{"Dialogue: 0,0:00:00.00,0:00:05.00,Default,,0,0,0,,"
                                      "to the end"}));
}

TEST(SamiConverterTest, RawLineEndsInsideABodyStayAsTheyAre) {
  // The part behind the raw line end stands on a line of its own, where it
  // is no event.
  const std::string script = ConvertSamiToAss(
      SubtitleStyle{}, "<SYNC Start=0><P>\r\nfirst<br>\nsecond\n<SYNC Start=1000>");
  EXPECT_EQ(
      DialogueLines(script),
      (std::vector<std::string>{"Dialogue: 0,0:00:00.00,0:00:01.00,Default,,0,0,0,,first\\N"}));
  EXPECT_NE(script.find("\nsecond\n"), std::string::npos);
}

TEST(SamiConverterTest, NoSyncGivesNothingAndMalformedTagsKeepWhatWasRead) {
  EXPECT_EQ(ConvertSamiToAss(SubtitleStyle{}, "<SAMI><BODY><P>no sync</P></BODY></SAMI>"), "");
  EXPECT_EQ(ConvertSamiToAss(SubtitleStyle{}, ""), "");
  // A sync without "start=" or without ">" ends the scan.
  EXPECT_EQ(Sami("<SYNC Start=0>kept<SYNC nostart>x"),
            (std::vector<std::string>{"Dialogue: 0,0:00:00.00,0:00:05.00,Default,,0,0,0,,kept"}));
  EXPECT_EQ(ConvertSamiToAss(SubtitleStyle{}, "<SYNC Start=100"), "");
}

TEST(SamiConverterTest, SearchesThatRunToTheEndOfAHostileFileStayLinear) {
  // Many syncs, each search of which finds its needle only at the far end.
  std::string manySyncs;
  while (manySyncs.size() < 5'000'000) manySyncs += "<sync>a";
  std::string noTagEnd;
  while (noTagEnd.size() < 5'000'000) noTagEnd += "<sync start=1 ";
  for (const std::string& hostile :
       {manySyncs + "<sync start=2000>last", "<sync start=1>x" + noTagEnd + ">"}) {
    // A quadratic scan of 5 MB takes hours; linear, well under a second.
    // Run apart so that a regression fails here instead of hanging the suite.
    auto result = std::make_shared<std::promise<size_t>>();
    std::future<size_t> size = result->get_future();
    std::thread([result, hostile] {
      result->set_value(ConvertSamiToAss(SubtitleStyle{}, hostile).size());
    }).detach();
    ASSERT_EQ(size.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    EXPECT_GT(size.get(), 0u);
  }
}

}  // namespace
}  // namespace zelvaro
