// The A-B repeat rules, and the loop closing on a playing graph.

#include "engine/ab_repeat.h"
#include "engine/graph_manager.h"

#include "tests/engine/recording_video_output.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <gtest/gtest.h>

namespace zelvaro {
namespace {

constexpr int64_t kSecond = 10'000'000;
constexpr uint64_t kBootMs = 3'600'000;  // a tick well past the start

TEST(ABRepeatTest, MarkANearItselfRemovesBothAndPastBRemovesB) {
  ABRepeat marks;
  marks.SetMarkA(5 * kSecond);
  marks.SetMarkB(9 * kSecond);
  marks.lastABJumpMs = kBootMs;
  // A second press within a second of A, before or after it, removes all.
  marks.SetMarkA(4 * kSecond + 1);
  EXPECT_EQ(marks.markA, 0);
  EXPECT_EQ(marks.markB, 0);
  EXPECT_EQ(marks.lastABJumpMs, 0u);

  marks.SetMarkA(5 * kSecond);
  marks.SetMarkB(9 * kSecond);
  marks.SetMarkA(6 * kSecond);  // exactly a second away: a new A, B stays
  EXPECT_EQ(marks.markA, 6 * kSecond);
  EXPECT_EQ(marks.markB, 9 * kSecond);
  marks.SetMarkA(9 * kSecond);  // A at B: B goes
  EXPECT_EQ(marks.markA, 9 * kSecond);
  EXPECT_EQ(marks.markB, 0);
}

TEST(ABRepeatTest, MarkBNeedsASectionOfMoreThanASecond) {
  ABRepeat marks;
  marks.SetMarkB(9'000'000);  // 0.9 s, no A: A becomes the start, no B
  EXPECT_EQ(marks.markA, 1);
  EXPECT_EQ(marks.markB, 0);
  marks.SetMarkB(kSecond + 1);  // exactly a second after A: still nothing
  EXPECT_EQ(marks.markB, 0);
  marks.SetMarkB(kSecond + 2);
  EXPECT_EQ(marks.markB, kSecond + 2);

  ABRepeat fresh;
  fresh.SetMarkB(10 * kSecond);
  EXPECT_EQ(fresh.markA, 1);
  EXPECT_EQ(fresh.markB, 10 * kSecond);
  fresh.lastABJumpMs = kBootMs;
  // Near B removes only B.
  fresh.SetMarkB(10 * kSecond + 9'000'000);
  EXPECT_EQ(fresh.markA, 1);
  EXPECT_EQ(fresh.markB, 0);
  EXPECT_EQ(fresh.lastABJumpMs, 0u);
  // A B before A is never set.
  fresh.SetMarkA(20 * kSecond);
  fresh.SetMarkB(15 * kSecond);
  EXPECT_EQ(fresh.markB, 0);
  EXPECT_FALSE(fresh.IsLoop());
}

TEST(ABRepeatTest, TheLoopClosesJustBeforeBAtMostTwiceASecond) {
  ABRepeat marks;
  marks.SetMarkA(2 * kSecond);
  marks.SetMarkB(4 * kSecond);
  EXPECT_FALSE(marks.CheckRepeat(4 * kSecond - 500'001, kBootMs));
  EXPECT_EQ(marks.CheckRepeat(4 * kSecond - 500'000, kBootMs), 2 * kSecond);
  EXPECT_EQ(marks.lastABJumpMs, kBootMs);
  // Still at B 499 ms later (the jump has not landed yet): no second jump.
  EXPECT_FALSE(marks.CheckRepeat(4 * kSecond, kBootMs + 499));
  EXPECT_EQ(marks.CheckRepeat(5 * kSecond, kBootMs + 500), 2 * kSecond);

  // B a hair after A (set directly, as the clip dialog does): the position
  // is always "at B", and the 500 ms still space the jumps.
  ABRepeat tight;
  tight.markA = 2 * kSecond;
  tight.markB = 2 * kSecond + 100'000;
  EXPECT_TRUE(tight.CheckRepeat(2 * kSecond, kBootMs));
  EXPECT_FALSE(tight.CheckRepeat(2 * kSecond, kBootMs + 100));
  EXPECT_TRUE(tight.CheckRepeat(2 * kSecond, kBootMs + 600));

  // A alone repeats to the end elsewhere; here nothing happens.
  ABRepeat onlyA;
  onlyA.SetMarkA(3 * kSecond);
  EXPECT_FALSE(onlyA.CheckRepeat(100 * kSecond, kBootMs));
}

TEST(ABRepeatTest, APlayingGraphJumpsBackToA) {
  test::TempHome home;
  test::RecordingVideoOutput output;
  GraphManager graph(&output);
  graph.SetMarkA();  // no graph: nothing
  EXPECT_EQ(graph.MarkA(), 0);
  EXPECT_FALSE(graph.CheckABRepeat());

  ASSERT_TRUE(graph.OpenFile(test::FixturePath("pattern_h264_aac.mkv")));
  ASSERT_TRUE(graph.Seek(0.4, false, 0));
  graph.SetMarkA();
  ASSERT_TRUE(graph.Seek(1.6, false, 0));
  graph.SetMarkB();
  EXPECT_NEAR(graph.MarkA() / 1e7, 0.4, 0.01);
  EXPECT_NEAR(graph.MarkB() / 1e7, 1.6, 0.01);
  EXPECT_FALSE(graph.CheckABRepeat());  // not running

  ASSERT_TRUE(graph.Seek(1.2, false, 0));
  ASSERT_TRUE(graph.Play());
  // The interface's 100 ms timer, here polled faster.
  ASSERT_TRUE(test::WaitUntil([&] { return graph.CheckABRepeat(); }, 5000));
  EXPECT_TRUE(test::WaitUntil(
      [&] {
        VideoFramePtr frame = output.LastFrame();
        return frame && frame->time100ns / 1e7 < 0.6;
      },
      5000));
  EXPECT_GE(graph.GetPosition(), 0.35);
  EXPECT_EQ(graph.State(), 2);

  graph.Close();
  EXPECT_EQ(graph.MarkA(), 0);
  EXPECT_EQ(graph.MarkB(), 0);
}

}  // namespace
}  // namespace zelvaro
