#include "subtitles/subtitle_stream_track.h"
#include "subtitles/ass_script.h"
#include "subtitles/subtitle_manager.h"
#include "subtitles/subtitle_provider.h"
#include "tests/subtitles/subtitle_test_support.h"
#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

#include <malloc.h>

#include <string>
#include <thread>

namespace zelvaro {
namespace {

constexpr int64_t kSecond = 10'000'000;

TEST(EmbeddedText, BecomesTheTextOfAnAssEvent) {
  const struct {
    const char* in;
    bool markup;
    const char* out;
  } cases[] = {
      {"two\r\nlines\n", false, "two\\Nlines"},
      {"<i>it</i> &amp; &lt;b&gt;", true, "it & <b>"},
      {"a &amp; b", false, "a &amp; b"},  // plain text keeps what it says
      {"<font color=\"red\">red</font>", false, "red"},
      {"\n", false, ""},
  };
  for (const auto& c : cases) EXPECT_EQ(EmbeddedTextToAss(c.in, c.markup), c.out) << c.in;
  EXPECT_EQ(AssStreamChunk(7, "text"), "7,0,Default,,0,0,0,,text");
}

TEST(SubtitleStreamTrack, EventsArriveFromAnotherThreadAndEndWithTheTrack) {
  test::TempHome home;
  SubtitleManager manager;
  ASSERT_TRUE(manager.Initialize(640, 360));
  const uint64_t token = manager.StartStreamTrack(QStringLiteral("Embedded"), {});
  ASSERT_NE(token, 0u);
  EXPECT_EQ(manager.GetTracks().size(), 1u);
  EXPECT_EQ(manager.GetSubPic(2 * kSecond), nullptr);

  // A streaming thread delivers the line; a seek delivers it once more.
  std::thread streaming([&] {
    for (int i = 0; i < 2; ++i)
      manager.AddStreamEvent(token, AssStreamChunk(1, "From the stream"), 1000, 2000);
  });
  streaming.join();
  const auto shown = manager.GetSubPic(2 * kSecond);
  ASSERT_NE(shown, nullptr);
  EXPECT_GT(test::CountOpaquePixels(*shown), 50);
  EXPECT_EQ(manager.GetSubPic(4 * kSecond), nullptr);

  // Another subtitle takes the place: the stream's late events go nowhere.
  const uint64_t next = manager.StartStreamTrack(QStringLiteral("Other"), {});
  ASSERT_NE(next, token);
  manager.AddStreamEvent(token, AssStreamChunk(2, "Late line"), 3500, 1000);
  EXPECT_EQ(manager.GetSubPic(2 * kSecond), nullptr);
  EXPECT_EQ(manager.GetSubPic(4 * kSecond), nullptr);
}

TEST(SubtitleStreamTrack, AHugeReadOrderCostsNoMemoryAndItsRepeatIsStillOne) {
  CSubtitleProvider provider;
  std::string header;
  AppendAssHeader(SubtitleStyle{}, &header);
  ASSERT_TRUE(provider.AdoptStreamTrack(header, 1));
  const auto add = [&](const char* readOrder) {
    provider.AddStreamEvent(1, std::string(readOrder) + ",0,Default,,0,0,0,,line", 1000, 1000);
  };
  // libass would keep a 20 MB bitmap of the read orders seen here.
  const size_t mappedBefore = mallinfo2().hblkhd;
  for (const char* readOrder : {"5", "80000000", "80000000", "5"}) add(readOrder);
  EXPECT_LT(mallinfo2().hblkhd, mappedBefore + (4u << 20));
  for (const char* readOrder : {"-3", "99999999999", "-3", "99999999999"}) add(readOrder);
  EXPECT_EQ(provider.GetEventCount(), 4u);
}

}  // namespace
}  // namespace zelvaro
