// The text subtitle readers (SubRip, WebVTT, SAMI), each case read back as
// cues from what the reader gives. Cases are written with LF and, but for
// SAMI, whose raw line ends mean something, run as LF, CR LF and CR alone:
// a user's file may have any of them.

#include "subtitles/ass_script.h"
#include "subtitles/sami_converter.h"
#include "subtitles/srt_converter.h"
#include "subtitles/webvtt_reader.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace zelvaro {

// Failure messages that show the cue.
void PrintTo(const SrtCue& cue, std::ostream* out) {
  *out << cue.StartMs << "-" << cue.EndMs << " \"" << cue.Text.toStdString() << '"';
}

namespace {

SrtCue Cue(int64_t startMs, int64_t endMs, const char* text) {
  return {0, startMs, endMs, QString::fromUtf8(text)};
}

// The Dialogue lines of a script, read back as cues.
std::vector<SrtCue> CuesOf(const std::string& script) {
  std::vector<SrtCue> cues;
  ForEachSubtitleLine(script, [&](std::string_view line) {
    if (line.substr(0, 12) != "Dialogue: 0,") return;
    const std::string rest(line.substr(12));
    const size_t text = rest.find(",,0,0,0,,");
    cues.push_back(Cue(ParseCueTime("0" + rest.substr(0, 10) + "0"),
                       ParseCueTime("0" + rest.substr(11, 10) + "0"), ""));
    cues.back().Text = QString::fromStdString(rest.substr(text + 9))
                           .replace(QStringLiteral("\\N"), QStringLiteral("\n"));
  });
  return cues;
}

template <bool (*Parse)(std::string_view, std::vector<SrtCue>*)>
std::vector<SrtCue> ParsedCues(const std::string& text) {
  std::vector<SrtCue> cues;
  Parse(text, &cues);
  for (SrtCue& cue : cues) cue.Index = 0;
  return cues;
}

struct Reader {
  const char* name;
  std::vector<SrtCue> (*read)(const std::string& text);
};
const Reader kSrtScript{"SubRip script",
                        [](const std::string& t) { return CuesOf(ConvertSrtToAss({}, t)); }};
const Reader kSrtCues{"SubRip cues", ParsedCues<ParseSrtCues>};
const Reader kVttCues{"WebVTT cues", ParsedCues<ParseWebVttCues>};
const Reader kVttScript{"WebVTT script",
                        [](const std::string& t) { return CuesOf(ConvertWebVttToAss({}, t)); }};
const Reader kSami{"SAMI", [](const std::string& t) {
                     return CuesOf(ConvertSamiToAss({}, "<SAMI><BODY>" + t + "</BODY></SAMI>"));
                   }};

std::string WithLineEnds(const std::string& text, const std::string& lineEnd) {
  std::string converted;
  for (char c : text) c == '\n' ? converted += lineEnd : converted += c;
  return converted;
}

struct Case {
  const char* what;
  std::vector<Reader> readers;
  std::string text;  // with LF line ends
  std::vector<SrtCue> expected;
};

TEST(TextReadersTest, EveryReaderKeepsEveryCueInEveryLineEndConvention) {
  const std::vector<Case> cases = {
      {"numbered cues, two lines, an hour, no final blank",
       {kSrtScript, kSrtCues},
       "1\n00:00:01,000 --> 00:00:02,000\none\n\n2\n00:00:03,000 --> 00:00:04,500\ntwo\nlines\n\n"
       "3\n01:00:00,000 --> 01:00:01,990\nthree",
       {Cue(1000, 2000, "one"), Cue(3000, 4500, "two\nlines"), Cue(3600000, 3601990, "three")}},
      {"leniencies stay: a point for the comma, a short fraction",
       {kSrtScript, kSrtCues},
       "1\n00:00:01.250 --> 00:00:02,50\nx\n",
       {Cue(1250, 2050, "x")}},
      {"minutes or seconds of 60 or more are no cue; the next one stands",
       {kSrtScript, kSrtCues},
       "1\n00:00:01,000 --> 00:60:00,000\nan hour\n\n2\n00:00:61,000 --> 00:01:02,000\nbad\n\n"
       "3\n00:00:05,000 --> 00:00:06,000\nkept\n",
       {Cue(5000, 6000, "kept")}},
      {"tags go, a lone less-than and override blocks stay",
       {kSrtScript},
       "1\n00:00:00,000 --> 00:00:01,000\n<i>a</i> < b\n\n"
       "2\n00:00:01,000 --> 00:00:02,000\n<font color=\"red\">{\\an8}top</font>\n",
       {Cue(0, 1000, "a < b"), Cue(1000, 2000, "{\\an8}top")}},
      {"the time line is awaited across junk; a cue is written whatever its times",
       {kSrtScript},
       "garbage before\n7\n\njunk\n00:00:05,000 --> 00:00:06,000\ntext\n\n"
       "1\nnonsense --> 00:00:01,000\nx\n\n2\n00:00:09,000 --> 00:00:01,000\ny\n",
       {Cue(5000, 6000, "text"), Cue(0, 1000, "x"), Cue(9000, 1000, "y")}},
      {"WebVTT without identifiers loses every other cue on the SubRip path",
       {kSrtScript},
       "WEBVTT\n\n00:00:01.000 --> 00:00:02.000\nfirst\n\n00:00:03.000 --> 00:00:04.000\nsecond\n",
       {Cue(3000, 4000, "second")}},
      {"a BOM, header lines, cues with and without identifiers and settings",
       {kVttCues, kVttScript},
       "\xEF\xBB\xBFWEBVTT - a title\nKind: captions\n\n00:00:01.000 --> 00:00:02.000\none\n\n"
       "id\n00:03.000 --> 00:04.5 align:start position:10%\ntwo\nlines\n",
       {Cue(1000, 2000, "one"), Cue(3000, 4500, "two\nlines")}},
      {"the script keeps the file's order",
       {kVttScript},
       "WEBVTT\n\n00:00:03.000 --> 00:00:04.000\nlate\n\n00:00:01.000 --> 00:00:05.000\n"
       "<i>two</i>\nlines\n",
       {Cue(3000, 4000, "late"), Cue(1000, 5000, "two\nlines")}},
      {"a broken arrow line ends the cue and is not shown",
       {kVttCues},
       "WEBVTT\n\n00:00:01.000 --> 00:00:02.000\nshown\n00:00:0x --> broken\nhidden\n\n"
       "00:00:03.000 --> 00:00:04.000\nnext\n",
       {Cue(1000, 2000, "shown"), Cue(3000, 4000, "next")}},
      {"no signature, and a timing line without a blank before it starts the next cue",
       {kVttCues},
       "00:00:01.000 --> 00:00:02.000\none\n00:00:03.000 --> 00:00:04.000\ntwo\n",
       {Cue(1000, 2000, "one"), Cue(3000, 4000, "two")}},
      {"minutes or seconds of 60 or more, no text or no timing: no cue",
       {kVttCues},
       "WEBVTT\n\n00:00:01.000 --> 00:60:00.000\nan hour\n\n00:61.000 --> 01:02.000\nbad\n\n"
       "00:00:01.000 --> 00:00:02.000\n\nid\nnot a timing line\ntext\n\n"
       "00:05.000 --> 00:06,000\nkept\n",
       {Cue(5000, 6000, "kept")}},
      {"NOTE, STYLE and REGION blocks are skipped",
       {kVttCues},
       "WEBVTT\n\nNOTE a comment\n00:00:09.000 --> 00:00:10.000 is not a cue here\n\n"
       "STYLE\n::cue { color: red }\n\nREGION\nid:fred\n\n00:01.000 --> 00:02.000\nshown\n",
       {Cue(1000, 2000, "shown")}},
      {"tags are stripped, then the four entities decoded",
       {kVttCues},
       "WEBVTT\n\n00:00.000 --> 00:01.000\n"
       "<v Bob>&lt;i&gt; &amp; <c.yellow>you</c></v><00:00.500> too&nbsp;&quot;\n",
       {Cue(0, 1000, "<i> & you too\u00A0&quot;")}},
  };
  for (const Case& testCase : cases) {
    for (const char* lineEnd : {"\n", "\r\n", "\r"}) {
      for (const Reader& reader : testCase.readers) {
        SCOPED_TRACE(std::string(testCase.what) + " / " + reader.name + " / " +
                     (lineEnd[0] == '\n' ? "LF"
                      : lineEnd[1]       ? "CR LF"
                                         : "CR"));
        EXPECT_EQ(reader.read(WithLineEnds(testCase.text, lineEnd)), testCase.expected);
      }
    }
  }
}

TEST(TextReadersTest, SamiSyncsTagsAndEntities) {
  const std::vector<Case> cases = {
      {"a line break, a class tag, a raw line end",
       {},
       "<SYNC Start=1000><P Class=ENCC>a<br>b\n<SYNC Start=2000><P Class=ENCC>c",
       {Cue(1000, 2000, "a\nb"), Cue(2000, 7000, "c")}},
      {"starts in quotes or without digits; the next start (0) is not after 2500: nothing for b",
       {},
       "<sync start=\"1500\">a<sync start='2500'>b<sync start=abc>c",
       {Cue(1500, 2500, "a"), Cue(0, 5000, "c")}},
      {"clearing syncs, and the later of equal times",
       {},
       "<SYNC Start=1000><P>one<SYNC Start=2000><P>&nbsp;<SYNC Start=3000><P>two"
       "<SYNC Start=4000><P class=x></P><SYNC Start=5000>lost<SYNC Start=5000>kept",
       {Cue(1000, 2000, "one"), Cue(2000, 3000, " "), Cue(3000, 4000, "two"),
        Cue(5000, 10000, "kept")}},
      {"only BR and BR slash break the line",
       {},
       "<SYNC Start=0>a<BR>b<br/>c<br />d<Br>e",
       {Cue(0, 5000, "a\nb\ncd\ne")}},
      {"tags vanish with their attributes; entities other than nbsp stay",
       {},
       "<SYNC Start=0><font color=\"#ff0000\"><i>red</i></font>&amp;&nbsp;x",
       {Cue(0, 5000, "red&amp; x")}},
      {"the body ends at its close",
       {},
       "<SYNC Start=0>a</BODY><p>trailer</p><SYNC Start=9000>late",
       {Cue(0, 9000, "a"), Cue(9000, 14000, "late")}},
      {"a sync without start ends the scan",
       {},
       "<SYNC Start=0>kept<SYNC nostart>x",
       {Cue(0, 5000, "kept")}},
  };
  for (const Case& testCase : cases)
    EXPECT_EQ(kSami.read(testCase.text), testCase.expected) << testCase.what;

  // The part behind a raw line end stands on a line of its own, where it is
  // no event; no sync, no script.
  const std::string script =
      ConvertSamiToAss({}, "<SYNC Start=0><P>\r\nfirst<br>\nsecond\n<SYNC Start=1000>");
  EXPECT_EQ(CuesOf(script), std::vector<SrtCue>{Cue(0, 1000, "first\n")});
  EXPECT_NE(script.find("\nsecond\n"), std::string::npos);
  EXPECT_EQ(ConvertSamiToAss({}, "<SAMI><BODY><P>no sync</P></BODY></SAMI>"), "");
  EXPECT_EQ(ConvertSamiToAss({}, "<SYNC Start=100"), "");
}

TEST(TextReadersTest, SamiSearchesThatRunToTheEndOfAHostileFileStayLinear) {
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
      result->set_value(ConvertSamiToAss({}, hostile).size());
    }).detach();
    ASSERT_EQ(size.wait_for(std::chrono::seconds(60)), std::future_status::ready);
    EXPECT_GT(size.get(), 0u);
  }
}

TEST(TextReadersTest, TimesAsEachFormatWritesThem) {
  const std::pair<const char*, int64_t> srt[] = {
      {"00:00:01,500", 1500},
      {"01:02:03.004", 3723004},
      {"  00:00:00,5", 5},  // five milliseconds, not half a second
      {"00:00:02,000 align:start position:10%", 2000},
      {"01:02.000", 0},  // no hours: failure
      {"nonsense", 0},
  };
  for (const auto& [text, ms] : srt) EXPECT_EQ(ParseSrtTime(text), ms) << text;
  const std::pair<const char*, std::optional<int64_t>> vtt[] = {
      {"00:01.000", 1000},
      {"1:02:03.004", 3723004},
      {"123:00:00.000", 123LL * 3600000},
      {"00:00:01.5", 1500},
      {"00:00:01,250", 1250},
      {"00:07", 7000},
      {"7", std::nullopt},
      {"00:01.000x", std::nullopt},
      {"00:01.", std::nullopt},
      {"1:2:3:4.000", std::nullopt},
      {"", std::nullopt},
  };
  for (const auto& [text, ms] : vtt) EXPECT_EQ(ParseWebVttTime(text), ms) << text;
  EXPECT_EQ(ParseCueTime("00:01:00,250"), 60250);
  EXPECT_EQ(ParseCueTime("00:01"), 0);
  EXPECT_EQ(FormatAssTime(1999), "0:00:01.99");  // truncated to hundredths
  EXPECT_EQ(FormatAssTime(100LL * 3600000), "100:00:00.00");
}

TEST(TextReadersTest, SubRipCuesKeepTheirIndexAndSkipBadOnes) {
  std::vector<SrtCue> cues;
  ASSERT_TRUE(
      ParseSrtCues("\n\n12\r\n00:00:01,000-->00:00:02,000\r\n첫째 줄\r\n<b>둘째</b>\r\n\r\n"
                   "1\nno arrow here\ntext\n\nx\n99999999999\n"
                   "13\n00:00:03,000 -->   00:00:04,500  \nlast",
                   &cues));
  EXPECT_EQ(cues, (std::vector<SrtCue>{{12, 1000, 2000, QStringLiteral("첫째 줄\n<b>둘째</b>")},
                                       {13, 3000, 4500, QStringLiteral("last")}}));
  EXPECT_FALSE(ParseSrtCues("", &cues));
  EXPECT_TRUE(cues.empty());
  // No cue still gives the script's header.
  const std::string script = ConvertSrtToAss({}, "");
  EXPECT_EQ(script.rfind("[Script Info]\n", 0), 0u);
  EXPECT_TRUE(CuesOf(script).empty());
}

TEST(TextReadersTest, TheStyleLineFollowsTheUserStyle) {
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
  EXPECT_NE(script.find("\nStyle: Default,나눔고딕,30,&H40563412,&H000000FF,&H00000000,&H80000000,"
                        "0,-1,0,0,100,100,0,0,1,0,1.06667,8,5,5,26,1\n"),
            std::string::npos)
      << script;
  script.clear();
  AppendAssHeader(SubtitleStyle{}, &script);
  EXPECT_NE(script.find(",24,&H00FFFFFF,&H000000FF,&H00000000,&H80000000,-1,0,0,0,100,100,0,0,1,"
                        "0.666667,0.4,2,5,5,6,1\n"),
            std::string::npos)
      << script;
}

}  // namespace
}  // namespace zelvaro
