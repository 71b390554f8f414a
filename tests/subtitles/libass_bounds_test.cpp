#include "subtitles/libass_context.h"
#include "subtitles/text_decoding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace zelvaro {
namespace {

std::string Script(const std::string& events, const std::string& info = "") {
  return "[Script Info]\nScriptType: v4.00+\n" + info +
         "\n[Events]\nFormat: Layer, Start, End, Style, Text\n" + events;
}

TEST(LibassBoundsTest, AtMostSoManyEventsAreShownAtOnce) {
  std::string events;
  for (int i = 0; i < kMaxActiveAssEvents + 2; ++i)
    events += "Dialogue: 0,0:00:01.00,0:01:00.00,Default,line " + std::to_string(i) + "\n";
  events += "Dialogue: 0,0:01:00.00,0:01:01.00,Default,after them\n";
  AssTrackHandle track = ReadAssScript(Script(events), AssScriptOrigin::kFile);
  ASSERT_NE(track, nullptr);
  ASSERT_EQ(track->n_events, kMaxActiveAssEvents + 3);
  EXPECT_GT(track->events[kMaxActiveAssEvents - 1].Duration, 0);
  EXPECT_EQ(track->events[kMaxActiveAssEvents].Duration, 0);
  EXPECT_EQ(track->events[kMaxActiveAssEvents + 1].Duration, 0);
  EXPECT_EQ(track->events[kMaxActiveAssEvents + 2].Duration, 1000);  // the crowd has gone
}

TEST(LibassBoundsTest, LongLinesAreCutOnlyInTheirTextNeverInABlockOrDrawing) {
  std::string hangul;
  while (hangul.size() < kMaxAssEventTextBytes + 100) hangul += "가";  // three bytes each
  std::string drawing = "{\\p1}m 0 0";
  while (drawing.size() < 3 * kMaxAssEventTextBytes) drawing += " l 10 10 20 0";
  drawing += "{\\p0}";
  const std::string plain(kMaxAssEventTextBytes - 3, 'a');
  std::string blocks = plain;
  for (int i = 0; i < 50; ++i) blocks += "{\\fs" + std::to_string(20 + i) + "\\pos(1,2)}b";
  std::string huge;
  while (huge.size() <= kMaxAssEventBytes) huge += "{\\p1}m 0 0 l 1 1{\\p0}";
  const std::string events = "Dialogue: 0,0:00:01.00,0:00:02.00,Default,x" + hangul + "\n" +
                             "Dialogue: 0,0:00:01.00,0:00:02.00,Default," + drawing + "tail\n" +
                             "Dialogue: 0,0:00:01.00,0:00:02.00,Default," + blocks + "\n" +
                             "Dialogue: 0,0:00:01.00,0:00:02.00,Default," + huge + "\n";
  AssTrackHandle track = ReadAssScript(Script(events), AssScriptOrigin::kFile);
  ASSERT_NE(track, nullptr);
  ASSERT_EQ(track->n_events, 4);

  const std::string cutHangul = track->events[0].Text;
  EXPECT_LE(cutHangul.size(), kMaxAssEventTextBytes);
  EXPECT_GT(cutHangul.size(), kMaxAssEventTextBytes - 3);
  EXPECT_TRUE(IsValidUtf8(cutHangul.data(), cutHangul.size()));

  // A drawing is not text to lay out: it stays whole.
  EXPECT_EQ(std::string(track->events[1].Text), drawing + "tail");

  // Cut in the text behind the first blocks, each block kept whole.
  const std::string cutBlocks = track->events[2].Text;
  EXPECT_LT(cutBlocks.size(), blocks.size());
  EXPECT_EQ(cutBlocks, blocks.substr(0, cutBlocks.size()));
  EXPECT_EQ(cutBlocks.back(), '}');
  EXPECT_EQ(std::count(cutBlocks.begin(), cutBlocks.end(), '{'),
            std::count(cutBlocks.begin(), cutBlocks.end(), '}'));

  // Beyond any sane size the event is not shown rather than shown broken.
  EXPECT_EQ(track->events[3].Duration, 0);
  EXPECT_EQ(std::strlen(track->events[3].Text), huge.size());
}

TEST(LibassBoundsTest, NoLineGrowsTallerThanThePictureNorItsBorderPastAQuarterOfIt) {
  // At PlayResY 288: sizes up to 288, borders up to 72, "\fs+" fourfold in all.
  const struct {
    const char* text;
    const char* bounded;
  } cases[] = {
      {"{\\fs100000}a", "{\\fs288}a"},
      {"{\\fs (1e9)}a", "{\\fs (288)}a"},
      {"{\\t(0,500,\\fs9999)}a", "{\\t(0,500,\\fs288)}a"},
      {"{\\bord500\\xbord80\\ybord2}a", "{\\bord72\\xbord72\\ybord2}a"},
      {"{\\fs+10\\fs+10\\fs+10}a", "{\\fs+10\\fs+10\\fs+0}a"},
      {"{\\fs--50}a", "{\\fs--30}a"},  // minus minus grows
      {"{\\fs-5\\fs40\\fscx5000\\fsp900}a\\fs100000", nullptr},
  };
  std::string events;
  for (const auto& c : cases)
    events += std::string("Dialogue: 0,0:00:01.00,0:00:02.00,Default,") + c.text + "\n";
  AssTrackHandle track = ReadAssScript(Script(events, "PlayResY: 288\n"), AssScriptOrigin::kFile);
  ASSERT_NE(track, nullptr);
  for (size_t i = 0; i < std::size(cases); ++i)
    EXPECT_STREQ(track->events[i].Text, cases[i].bounded ? cases[i].bounded : cases[i].text);

  // A big style under a tiny play height; PlayResX alone sets the height too.
  for (const char* info : {"PlayResX: 384\nPlayResY: 2\n", "PlayResX: 3\n"}) {
    const std::string script = std::string("[Script Info]\n") + info +
                               "\n[V4+ Styles]\nFormat: Name, Fontname, Fontsize, Outline\n"
                               "Style: Default,Sans,403,9\n";
    track = ReadAssScript(script, AssScriptOrigin::kFile);
    ASSERT_NE(track, nullptr);
    EXPECT_EQ(track->styles[track->n_styles - 1].FontSize, 2.0) << info;
    EXPECT_EQ(track->styles[track->n_styles - 1].Outline, 0.5) << info;
  }
}

TEST(LibassBoundsTest, AFileScriptWithoutEventsIsAScriptAConvertedOneIsNot) {
  EXPECT_NE(ReadAssScript(Script(""), AssScriptOrigin::kFile), nullptr);
  EXPECT_EQ(ReadAssScript(Script(""), AssScriptOrigin::kConverted), nullptr);
  for (AssScriptOrigin origin : {AssScriptOrigin::kFile, AssScriptOrigin::kConverted}) {
    EXPECT_EQ(ReadAssScript("not a script at all", origin), nullptr);
    EXPECT_EQ(ReadAssScript("", origin), nullptr);
  }
}

TEST(LibassFontsTest, TheLanguageOfTheTextIsTheHintUnlessTheScriptNamesOne) {
  EXPECT_STREQ(GuessCjkLanguage("漢字とかな"), "ja");
  EXPECT_STREQ(GuessCjkLanguage("한국어 漢字"), "ko");
  EXPECT_STREQ(GuessCjkLanguage("안녕 and one ア"), "ko");  // the text's majority
  EXPECT_EQ(GuessCjkLanguage("直 only Han, and Latin"), nullptr);
  const std::string kana = "Dialogue: 0,0:00:01.00,0:00:02.00,Default,ひらがな\n";
  EXPECT_STREQ(ReadAssScript(Script(kana), AssScriptOrigin::kFile)->Language, "ja");
  EXPECT_STREQ(ReadAssScript(Script(kana, "Language: zh\n"), AssScriptOrigin::kFile)->Language,
               "zh");
}

// The alpha mask of what the face draws for "返" at 0.5 s, rows without ink
// left out. `other` is a line shown later: the language of the file.
std::vector<std::vector<uint8_t>> DrawHan(const std::string& fontName, const std::string& info,
                                          const std::string& other) {
  const std::string script =
      "[Script Info]\nScriptType: v4.00+\nPlayResX: 384\nPlayResY: 288\n" + info +
      "\n[V4+ Styles]\nFormat: Name, Fontname, Fontsize, PrimaryColour, Outline, Shadow, "
      "Alignment\nStyle: Default," +
      fontName +
      ",64,&H00FFFFFF,0,0,5\n\n[Events]\nFormat: Layer, Start, End, Style, Text\n"
      "Dialogue: 0,0:00:00.00,0:00:01.00,Default,返\n"
      "Dialogue: 0,0:00:05.00,0:00:06.00,Default," +
      other + "\n";
  AssTrackHandle track = ReadAssScript(script, AssScriptOrigin::kFile);
  EXPECT_NE(track, nullptr);
  if (!track) return {};
  AssEngine* engine = AssEngine::Instance();
  std::lock_guard lock(engine->Mutex());
  int change = 0;
  const ASS_Image* image = engine->RenderFrame(track.get(), QSize(384, 288), 500, &change);
  EXPECT_NE(image, nullptr);
  std::vector<std::vector<uint8_t>> rows;
  for (; image != nullptr; image = image->next) {
    for (int y = 0; y < image->h; ++y) {
      const uint8_t* row = image->bitmap + y * image->stride;
      if (std::all_of(row, row + image->w, [](uint8_t a) { return a == 0; })) continue;
      rows.emplace_back(row, row + image->w);
    }
  }
  return rows;
}

int64_t Difference(const std::vector<std::vector<uint8_t>>& a,
                   const std::vector<std::vector<uint8_t>>& b) {
  int64_t sum = 0;
  for (size_t y = 0; y < std::max(a.size(), b.size()); ++y) {
    const size_t width = std::max(y < a.size() ? a[y].size() : 0, y < b.size() ? b[y].size() : 0);
    for (size_t x = 0; x < width; ++x) {
      const int va = y < a.size() && x < a[y].size() ? a[y][x] : 0;
      const int vb = y < b.size() && x < b[y].size() ? b[y][x] : 0;
      sum += std::abs(va - vb);
    }
  }
  return sum;
}

TEST(LibassFontsTest, HanTakesTheFormsOfTheFilesLanguageInWhateverFaceDrawsIt) {
  // "返" is drawn differently in Japan and in Korea; each CJK Noto face holds
  // both forms and chooses by the shaping language.
  const auto japanese = DrawHan("Noto Sans CJK JP", "Language: ja\n", "x");
  const auto korean = DrawHan("Noto Sans CJK KR", "Language: ko\n", "x");
  ASSERT_FALSE(japanese.empty());
  ASSERT_GT(Difference(japanese, korean), 0) << "the two forms should differ";
  struct Case {
    const char* face;
    const char* other;
    const std::vector<std::vector<uint8_t>>& expected;
  };
  // A missing face falls back through fontconfig; a Korean face named for
  // Japanese text still draws Japanese forms, and the reverse.
  for (const Case& testCase :
       {Case{"Malgun Gothic", "です", japanese}, Case{"Malgun Gothic", "입니다", korean},
        Case{"Noto Sans CJK KR", "です", japanese}, Case{"Noto Sans CJK JP", "입니다", korean}}) {
    SCOPED_TRACE(std::string(testCase.face) + " with " + testCase.other);
    EXPECT_EQ(Difference(DrawHan(testCase.face, "", testCase.other), testCase.expected), 0);
  }
}

}  // namespace
}  // namespace zelvaro
