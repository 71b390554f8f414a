// The line rules both text readers share, over every line-end convention a
// user's file may have: each case is written with LF and run as LF, CR LF
// and CR alone.

#include "subtitles/srt_converter.h"
#include "subtitles/webvtt_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zelvaro {
namespace {

struct Reader {
  const char* name;
  std::vector<SrtCue> (*read)(const std::string& text);
};

std::vector<SrtCue> ViaSrtScript(const std::string& text) {
  // The Dialogue lines of the main path, read back as cues for comparison.
  std::vector<SrtCue> cues;
  ForEachSubtitleLine(ConvertSrtToAss(SubtitleStyle{}, text), [&](std::string_view line) {
    if (line.substr(0, 12) != "Dialogue: 0,") return;
    const std::string rest(line.substr(12));
    SrtCue cue;
    cue.StartMs = ParseCueTime("0" + rest.substr(0, 10) + "0");
    cue.EndMs = ParseCueTime("0" + rest.substr(11, 10) + "0");
    cue.Text = QString::fromStdString(rest.substr(rest.find(",,0,0,0,,") + 9))
                   .replace(QStringLiteral("\\N"), QStringLiteral("\n"));
    cues.push_back(cue);
  });
  return cues;
}

std::vector<SrtCue> ViaSrtCues(const std::string& text) {
  std::vector<SrtCue> cues;
  ParseSrtCues(text, &cues);
  for (SrtCue& cue : cues) cue.Index = 0;
  return cues;
}

std::vector<SrtCue> ViaWebVtt(const std::string& text) {
  std::vector<SrtCue> cues;
  ParseWebVttCues(text, &cues);
  for (SrtCue& cue : cues) cue.Index = 0;
  return cues;
}

std::string WithLineEnds(const std::string& text, const std::string& lineEnd) {
  std::string converted;
  for (char c : text) {
    if (c == '\n')
      converted += lineEnd;
    else
      converted.push_back(c);
  }
  return converted;
}

struct Case {
  const char* what;
  std::vector<Reader> readers;
  std::string text;  // with LF line ends
  std::vector<SrtCue> expected;
};

SrtCue Cue(int64_t startMs, int64_t endMs, const char* text) {
  return {0, startMs, endMs, QString::fromUtf8(text)};
}

TEST(SubtitleLineRulesTest, EveryLineEndConventionKeepsEveryCue) {
  const Reader srtScript{"SubRip script", ViaSrtScript};
  const Reader srtCues{"SubRip cues", ViaSrtCues};
  const Reader webVtt{"WebVTT", ViaWebVtt};
  const std::vector<Case> cases = {
      {"plain numbered cues, two lines, no final blank",
       {srtScript, srtCues},
       "1\n00:00:01,000 --> 00:00:02,000\none\n\n2\n00:00:03,000 --> 00:00:04,500\ntwo\nlines",
       {Cue(1000, 2000, "one"), Cue(3000, 4500, "two\nlines")}},
      {"leniencies stay: a point for the comma, a short fraction",
       {srtScript, srtCues},
       "1\n00:00:01.250 --> 00:00:02,50\nx\n",
       {Cue(1250, 2050, "x")}},
      {"minutes or seconds of 60 or more are no cue; the next one stands",
       {srtScript, srtCues},
       "1\n00:00:01,000 --> 00:60:00,000\nan hour\n\n2\n00:00:61,000 --> 00:01:02,000\nbad\n\n"
       "3\n00:00:05,000 --> 00:00:06,000\nkept\n",
       {Cue(5000, 6000, "kept")}},
      {"cues with and without identifiers",
       {webVtt},
       "WEBVTT\n\n00:00:01.000 --> 00:00:02.000\none\n\nid\n00:03.000 --> 00:04.5\ntwo\nlines\n",
       {Cue(1000, 2000, "one"), Cue(3000, 4500, "two\nlines")}},
      {"a broken arrow line ends the cue and is not shown",
       {webVtt},
       "WEBVTT\n\n00:00:01.000 --> 00:00:02.000\nshown\n00:00:0x --> broken\nhidden\n\n"
       "00:00:03.000 --> 00:00:04.000\nnext\n",
       {Cue(1000, 2000, "shown"), Cue(3000, 4000, "next")}},
      {"a timing line without a blank before it starts the next cue",
       {webVtt},
       "WEBVTT\n\n00:00:01.000 --> 00:00:02.000\none\n00:00:03.000 --> 00:00:04.000\ntwo\n",
       {Cue(1000, 2000, "one"), Cue(3000, 4000, "two")}},
      {"minutes or seconds of 60 or more are no cue",
       {webVtt},
       "WEBVTT\n\n00:00:01.000 --> 00:60:00.000\nan hour\n\n00:61.000 --> 01:02.000\nbad\n\n"
       "00:05.000 --> 00:06,000\nkept\n",
       {Cue(5000, 6000, "kept")}},
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

}  // namespace
}  // namespace zelvaro
