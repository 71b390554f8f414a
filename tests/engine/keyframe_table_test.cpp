// The keyframe table read from real containers, and the rules that snap
// seeks onto it.

#include "engine/keyframe_table.h"

#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <gtest/gtest.h>

#include <QFile>

#include <algorithm>

namespace zelvaro {
namespace {

constexpr int64_t kSecond = 10'000'000;

TEST(SnapToKeyframeTest, ChoosesByDirection) {
  const std::vector<int64_t> keyframes = {0, 4 * kSecond, 6 * kSecond};
  EXPECT_EQ(SnapToKeyframe(keyframes, 5 * kSecond, 0), 4 * kSecond);  // a tie: the earlier
  EXPECT_EQ(SnapToKeyframe(keyframes, 5 * kSecond, 1), 6 * kSecond);
  EXPECT_EQ(SnapToKeyframe(keyframes, 5 * kSecond, -1), 4 * kSecond);
  EXPECT_EQ(SnapToKeyframe(keyframes, 5 * kSecond + 1, 0), 6 * kSecond);
  EXPECT_EQ(SnapToKeyframe(keyframes, 4 * kSecond + 1, 0), 4 * kSecond);
}

TEST(SnapToKeyframeTest, EdgesOfTheTable) {
  const std::vector<int64_t> keyframes = {2 * kSecond, 4 * kSecond, 6 * kSecond};
  // Backwards from a keyframe goes to the one before; from the first it stays.
  EXPECT_EQ(SnapToKeyframe(keyframes, 4 * kSecond, -1), 2 * kSecond);
  EXPECT_EQ(SnapToKeyframe(keyframes, 2 * kSecond, -1), 2 * kSecond);
  EXPECT_EQ(SnapToKeyframe(keyframes, 4 * kSecond, 1), 4 * kSecond);
  // Past the last: the last, in every direction; before the first: the first.
  for (int direction : {-1, 0, 1}) {
    EXPECT_EQ(SnapToKeyframe(keyframes, 9 * kSecond, direction), 6 * kSecond) << direction;
    EXPECT_EQ(SnapToKeyframe(keyframes, 1 * kSecond, direction), 2 * kSecond) << direction;
  }
  // No table: the exact target.
  EXPECT_EQ(SnapToKeyframe({}, 5 * kSecond + 123, 0), 5 * kSecond + 123);
}

TEST(KeyframeStepTest, PreviousAndNextKeepHalfASecondAway) {
  const std::vector<int64_t> keyframes = {0, 2 * kSecond, 4 * kSecond};
  // At 0.4 s with a keyframe at 0, "previous" has nothing before: the start.
  EXPECT_FALSE(PreviousKeyframeTarget(keyframes, 4'000'000).has_value());
  // Just after a keyframe (less than half a second) skips back past it.
  EXPECT_EQ(PreviousKeyframeTarget(keyframes, 4 * kSecond + 3'000'000), 2 * kSecond);
  EXPECT_EQ(PreviousKeyframeTarget(keyframes, 4 * kSecond + 6'000'000), 4 * kSecond);
  // Next: strictly after position + 0.5 s; none past the last.
  EXPECT_EQ(NextKeyframeTarget(keyframes, 0), 2 * kSecond);
  EXPECT_EQ(NextKeyframeTarget(keyframes, 14'000'000), 2 * kSecond);
  EXPECT_EQ(NextKeyframeTarget(keyframes, 15'000'000), 4 * kSecond);  // 2.0 s is not after 2.0 s
  EXPECT_FALSE(NextKeyframeTarget(keyframes, 4 * kSecond).has_value());
  EXPECT_FALSE(NextKeyframeTarget({}, 0).has_value());
  EXPECT_FALSE(PreviousKeyframeTarget({}, 9 * kSecond).has_value());
}

TEST(KeyframeStepTest, TheHalfSecondBoundariesAndOneKeyframeTables) {
  const std::vector<int64_t> keyframes = {0, 2 * kSecond, 4 * kSecond};
  // Exactly half a second after a keyframe counts as "at" it: the step goes
  // to the one before. One unit later it goes to that keyframe itself.
  EXPECT_EQ(PreviousKeyframeTarget(keyframes, 2 * kSecond + 5'000'000), 0);
  EXPECT_EQ(PreviousKeyframeTarget(keyframes, 2 * kSecond + 5'000'001), 2 * kSecond);
  // Exactly half a second before a keyframe is not yet past it.
  EXPECT_EQ(NextKeyframeTarget(keyframes, 2 * kSecond - 5'000'001), 2 * kSecond);
  EXPECT_EQ(NextKeyframeTarget(keyframes, 2 * kSecond - 5'000'000), 4 * kSecond);

  const std::vector<int64_t> single = {3 * kSecond};
  for (int direction : {-1, 0, 1}) {
    EXPECT_EQ(SnapToKeyframe(single, 0, direction), 3 * kSecond) << direction;
    EXPECT_EQ(SnapToKeyframe(single, 9 * kSecond, direction), 3 * kSecond) << direction;
  }
  EXPECT_FALSE(PreviousKeyframeTarget(single, 3 * kSecond).has_value());
  EXPECT_EQ(PreviousKeyframeTarget(single, 4 * kSecond), 3 * kSecond);
  EXPECT_FALSE(NextKeyframeTarget(single, 3 * kSecond).has_value());
}

void ExpectEvenlySpaced(const std::vector<int64_t>& keyframes, int64_t first, int64_t step) {
  ASSERT_FALSE(keyframes.empty());
  EXPECT_TRUE(std::is_sorted(keyframes.begin(), keyframes.end()));
  for (size_t i = 0; i < keyframes.size(); ++i) {
    EXPECT_NEAR(keyframes[i], first + static_cast<int64_t>(i) * step, 1000) << "keyframe " << i;
  }
}

TEST(ReadKeyframeIndexTest, LongFilesListEveryKeyframe) {
  // A keyframe every 2 s for 10 minutes.
  std::vector<int64_t> mp4 = ReadKeyframeIndex(test::FixturePath("long_lowres.mp4"));
  EXPECT_EQ(mp4.size(), 300u);
  ExpectEvenlySpaced(mp4, 0, 2 * kSecond);

  // Matroska's cues come in only after a seek; the copy starts 46 ms in.
  std::vector<int64_t> mkv = ReadKeyframeIndex(test::FixturePath("long_lowres.mkv"));
  EXPECT_EQ(mkv.size(), 300u);
  ExpectEvenlySpaced(mkv, 460'000, 2 * kSecond);
}

TEST(ReadKeyframeIndexTest, Mp4WithBFramesGivesPresentationTimes) {
  // Its index holds decoding times, the first at −0.08 s; what is shown
  // starts at 0 and has a keyframe every second.
  std::vector<int64_t> keyframes = ReadKeyframeIndex(test::FixturePath("pattern_h264_aac.mp4"));
  EXPECT_EQ(keyframes.size(), 5u);
  ExpectEvenlySpaced(keyframes, 0, kSecond);
}

TEST(ReadKeyframeIndexTest, InputsWithoutAnIndexGiveAnEmptyTable) {
  test::TempHome home;
  EXPECT_TRUE(ReadKeyframeIndex(test::FixturePath("cover_art.mp3")).empty());  // no video
  EXPECT_TRUE(ReadKeyframeIndex(home.Root() + "/missing.mkv").empty());
  QByteArray noise(64 * 1024, '\0');
  for (int i = 0; i < noise.size(); ++i) noise[i] = static_cast<char>((i * 7919 + 13) % 251);
  EXPECT_TRUE(ReadKeyframeIndex(home.WriteFile("noise.mp4", noise)).empty());
  QFile source(test::FixturePath("pattern_h264_aac.mkv"));
  ASSERT_TRUE(source.open(QIODevice::ReadOnly));
  // Cut short, the cues at the end are gone: no crash, and what is read stays sorted.
  std::vector<int64_t> cut = ReadKeyframeIndex(home.WriteFile("cut.mkv", source.read(20000)));
  EXPECT_TRUE(std::is_sorted(cut.begin(), cut.end()));
}

}  // namespace
}  // namespace zelvaro
