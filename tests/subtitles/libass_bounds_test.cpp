#include "subtitles/libass_context.h"
#include "subtitles/text_decoding.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace zelvaro {
namespace {

std::string Script(const std::string& events) {
  return "[Script Info]\nScriptType: v4.00+\n\n[Events]\nFormat: Layer, Start, End, Style, Text\n" +
         events;
}

TEST(LibassBoundsTest, AtMostSoManyEventsAreShownAtOnce) {
  std::string events;
  for (int i = 0; i < kMaxActiveAssEvents + 2; ++i)
    events += "Dialogue: 0,0:00:01.00,0:01:00.00,Default,line " + std::to_string(i) + "\n";
  events += "Dialogue: 0,0:01:00.00,0:01:01.00,Default,after them\n";
  auto context = CreateAssContext(QSize(640, 360));
  ASSERT_NE(context, nullptr);
  ASSERT_TRUE(ReadAssScript(context.get(), Script(events)));
  const ASS_Track* track = context->Track.get();
  ASSERT_EQ(track->n_events, kMaxActiveAssEvents + 3);
  EXPECT_GT(track->events[kMaxActiveAssEvents - 1].Duration, 0);
  EXPECT_EQ(track->events[kMaxActiveAssEvents].Duration, 0);
  EXPECT_EQ(track->events[kMaxActiveAssEvents + 1].Duration, 0);
  EXPECT_EQ(track->events[kMaxActiveAssEvents + 2].Duration, 1000);  // the crowd has gone
}

TEST(LibassBoundsTest, OverlongLinesAreCutOnACharacterBoundary) {
  std::string longText;
  while (longText.size() < kMaxAssEventTextBytes + 100) longText += "가";  // three bytes each
  auto context = CreateAssContext(QSize(640, 360));
  ASSERT_NE(context, nullptr);
  ASSERT_TRUE(ReadAssScript(
      context.get(), Script("Dialogue: 0,0:00:01.00,0:00:02.00,Default,x" + longText + "\n")));
  const char* text = context->Track->events[0].Text;
  const size_t length = std::strlen(text);
  EXPECT_LE(length, kMaxAssEventTextBytes);
  EXPECT_GT(length, kMaxAssEventTextBytes - 3);
  EXPECT_TRUE(IsValidUtf8(text, length));
}

TEST(LibassBoundsTest, ScriptsWithoutEventsAreRefused) {
  auto context = CreateAssContext(QSize(640, 360));
  ASSERT_NE(context, nullptr);
  EXPECT_FALSE(ReadAssScript(context.get(), Script("")));
  EXPECT_FALSE(ReadAssScript(context.get(), "not a script at all"));
  EXPECT_FALSE(ReadAssScript(context.get(), ""));
  EXPECT_EQ(context->Track, nullptr);
}

}  // namespace
}  // namespace zelvaro
