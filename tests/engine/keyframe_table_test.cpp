// The keyframe table read from real containers, and the rules that snap
// seeks onto it.

#include "engine/keyframe_table.h"

#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zelvaro {
namespace {

constexpr int64_t kSecond = 10'000'000;

TEST(SnapToKeyframeTest, ChoosesByDirectionAndStaysInsideTheTable) {
  const std::vector<int64_t> keyframes = {2 * kSecond, 4 * kSecond, 6 * kSecond};
  const struct {
    int64_t target;
    int direction;
    int64_t expected;
  } cases[] = {
      {5 * kSecond, 0, 4 * kSecond},  // a tie: the earlier
      {5 * kSecond + 1, 0, 6 * kSecond},
      {4 * kSecond + 1, 0, 4 * kSecond},
      {5 * kSecond, 1, 6 * kSecond},
      {5 * kSecond, -1, 4 * kSecond},
      // Backwards from a keyframe goes to the one before; from the first it stays.
      {4 * kSecond, -1, 2 * kSecond},
      {2 * kSecond, -1, 2 * kSecond},
      {4 * kSecond, 1, 4 * kSecond},
      // Past the last: the last, in every direction; before the first: the first.
      {9 * kSecond, -1, 6 * kSecond},
      {9 * kSecond, 1, 6 * kSecond},
      {1 * kSecond, -1, 2 * kSecond},
      {1 * kSecond, 1, 2 * kSecond},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(SnapToKeyframe(keyframes, c.target, c.direction), c.expected)
        << c.target << " " << c.direction;
  }
  // No table: the exact target.
  EXPECT_EQ(SnapToKeyframe({}, 5 * kSecond + 123, 0), 5 * kSecond + 123);
  EXPECT_EQ(SnapToKeyframe({3 * kSecond}, 0, 1), 3 * kSecond);
}

TEST(KeyframeStepTest, PreviousAndNextKeepHalfASecondAway) {
  const std::vector<int64_t> keyframes = {0, 2 * kSecond, 4 * kSecond};
  // Previous: the last keyframe more than half a second back (exactly half a
  // second counts as "at" it); none before the first.
  EXPECT_FALSE(PreviousKeyframeTarget(keyframes, 4'000'000).has_value());
  EXPECT_EQ(PreviousKeyframeTarget(keyframes, 4 * kSecond + 3'000'000), 2 * kSecond);
  EXPECT_EQ(PreviousKeyframeTarget(keyframes, 2 * kSecond + 5'000'000), 0);
  EXPECT_EQ(PreviousKeyframeTarget(keyframes, 2 * kSecond + 5'000'001), 2 * kSecond);
  // Next: strictly after position + 0.5 s; none past the last.
  EXPECT_EQ(NextKeyframeTarget(keyframes, 0), 2 * kSecond);
  EXPECT_EQ(NextKeyframeTarget(keyframes, 2 * kSecond - 5'000'001), 2 * kSecond);
  EXPECT_EQ(NextKeyframeTarget(keyframes, 2 * kSecond - 5'000'000), 4 * kSecond);
  EXPECT_FALSE(NextKeyframeTarget(keyframes, 4 * kSecond).has_value());
  EXPECT_FALSE(NextKeyframeTarget({}, 0).has_value());
  EXPECT_FALSE(PreviousKeyframeTarget({}, 9 * kSecond).has_value());
  EXPECT_FALSE(PreviousKeyframeTarget({3 * kSecond}, 3 * kSecond).has_value());
}

TEST(ReadKeyframeIndexTest, ListsEveryKeyframeInPresentationTime) {
  const struct {
    const char* file;
    size_t count;
    int64_t first;
    int64_t step;
  } cases[] = {
      // A keyframe every 2 s for 10 minutes; Matroska's cues come in only
      // after a seek, and its copy starts 46 ms in.
      {"long_lowres.mp4", 300, 0, 2 * kSecond},
      {"long_lowres.mkv", 300, 460'000, 2 * kSecond},
      // An index of decoding times, the first at −0.08 s; what is shown
      // starts at 0.
      {"pattern_h264_aac.mp4", 5, 0, kSecond},
  };
  for (const auto& c : cases) {
    const std::vector<int64_t> keyframes = ReadKeyframeIndex(test::FixturePath(c.file));
    ASSERT_EQ(keyframes.size(), c.count) << c.file;
    for (size_t i = 0; i < keyframes.size(); ++i)
      EXPECT_NEAR(keyframes[i], c.first + static_cast<int64_t>(i) * c.step, 1000) << c.file << i;
  }
}

TEST(ReadKeyframeIndexTest, InputsWithoutAnIndexGiveAnEmptyTable) {
  test::TempHome home;
  EXPECT_TRUE(ReadKeyframeIndex(test::FixturePath("cover_art.mp3")).empty());  // no video
  EXPECT_TRUE(ReadKeyframeIndex(home.Root() + "/missing.mkv").empty());
  EXPECT_TRUE(ReadKeyframeIndex(home.WriteFile("noise.mp4", test::NoiseBytes(64 * 1024))).empty());
  // Cut short, the cues at the end are gone: no crash, and what is read stays sorted.
  std::vector<int64_t> cut = ReadKeyframeIndex(
      home.WriteFile("cut.mkv", test::FixtureBytes("pattern_h264_aac.mkv").left(20000)));
  EXPECT_TRUE(std::is_sorted(cut.begin(), cut.end()));
}

}  // namespace
}  // namespace zelvaro
