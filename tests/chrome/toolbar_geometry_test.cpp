// The toolbar's geometry without a window: which buttons a width leaves room
// for and where they sit, the seek bar's and the slider's zones, the chips.

#include "chrome/toolbar_geometry.h"
#include "chrome/toolbar_chips.h"

#include <gtest/gtest.h>

#include <set>

namespace zelvaro::chrome {
namespace {

std::set<int> Shown(const ToolbarGeometry& g) {
  std::set<int> shown;
  for (int i = 0; i < kToolbarButtonCount; ++i) {
    if (!g.ButtonRects[i].isEmpty()) shown.insert(i);
  }
  return shown;
}

TEST(ToolbarGeometryTest, ButtonsShowFromBarePixelWidthsAtEveryScale) {
  const std::set<int> left = {0, 1, 2, 3, 4};
  auto with = [&](std::initializer_list<int> more) {
    std::set<int> s = left;
    s.insert(more);
    return s;
  };
  struct Case {
    int width;
    std::set<int> shown;
  } cases[] = {
      {345, left},
      {346, with({10})},
      {399, with({10})},
      {400, with({9, 10})},
      {649, with({9, 10})},
      {650, with({9, 10, 11})},
      {1019, with({9, 10, 11})},
      {1020, with({5, 9, 10, 11})},
      {1197, with({5, 6, 7, 9, 10, 11})},
      {1198, with({5, 6, 7, 8, 9, 10, 11})},
  };
  for (float scale : {1.0f, 1.25f, 2.0f}) {
    for (const Case& c : cases) {
      EXPECT_EQ(Shown(ComputeToolbarGeometry(c.width, scale, true)), c.shown)
          << "W " << c.width << " s " << scale;
    }
    EXPECT_EQ(Shown(ComputeToolbarGeometry(1920, scale, false)), with({9, 10, 11}));
  }
}

// Exact to the pixel: the golden images let a button one pixel off pass.
TEST(ToolbarGeometryTest, ButtonsPackIntoSlots) {
  struct Case {
    float scale;
    int index;
    QRect rect;
  } cases[] = {
      {1.0f, 0, {6, 27, 30, 30}},     {1.0f, 4, {166, 27, 30, 30}},   {1.0f, 5, {316, 27, 30, 30}},
      {1.0f, 8, {436, 27, 30, 30}},   {1.0f, 10, {1162, 27, 30, 30}}, {1.0f, 9, {1122, 27, 30, 30}},
      {1.0f, 11, {1082, 27, 30, 30}}, {2.0f, 0, {12, 54, 60, 60}},    {2.0f, 5, {632, 54, 60, 60}},
      {2.0f, 10, {1126, 54, 60, 60}}, {2.0f, 11, {966, 54, 60, 60}},
  };
  for (const Case& c : cases) {
    const ToolbarGeometry g = ComputeToolbarGeometry(1198, c.scale, true);
    EXPECT_EQ(g.ButtonRects[c.index], c.rect) << c.index << " at " << c.scale;
    EXPECT_EQ(g.IconRects[c.index].center(), c.rect.center());
  }
  EXPECT_EQ(ComputeToolbarGeometry(1198, 1.0f, true).TimeTextX, 216);
  EXPECT_EQ(ComputeToolbarGeometry(1198, 2.0f, true).TimeTextX, 432);
}

TEST(ToolbarGeometryTest, SeekBarFractionsAndZones) {
  const ToolbarGeometry g = ComputeToolbarGeometry(1000, 1.0f, false);
  EXPECT_EQ(g.SeekLeft, 10);
  EXPECT_EQ(g.SeekRight, 850);
  struct {
    int x;
    double fraction;
  } fractions[] = {{10, 0.0}, {430, 0.5}, {850, 1.0}, {0, 0.0}, {900, 1.0}};
  for (const auto& f : fractions) EXPECT_DOUBLE_EQ(g.FractionAt(f.x), f.fraction) << f.x;
  EXPECT_EQ(g.XAt(0.5), 430);
  EXPECT_EQ(g.XAt(0.25), 220);

  // Seeking presses: 7 px around the bar, right and bottom edges included.
  EXPECT_TRUE(g.InSeekPressZone({3, 0}));
  EXPECT_TRUE(g.InSeekPressZone({857, 24}));
  EXPECT_FALSE(g.InSeekPressZone({2, 12}));
  EXPECT_FALSE(g.InSeekPressZone({858, 12}));
  EXPECT_FALSE(g.InSeekPressZone({400, 25}));
  // Previewing: the bar's own width, 5 px above and below.
  EXPECT_TRUE(g.InPreviewZone({10, 2}));
  EXPECT_TRUE(g.InPreviewZone({850, 22}));
  EXPECT_FALSE(g.InPreviewZone({9, 12}));
  EXPECT_FALSE(g.InPreviewZone({400, 23}));

  const ToolbarGeometry doubled = ComputeToolbarGeometry(2000, 2.0f, false);
  EXPECT_EQ(doubled.SeekRight, 1700);
  EXPECT_TRUE(doubled.InSeekPressZone({6, 0}));
  EXPECT_FALSE(doubled.InSeekPressZone({5, 12}));
}

TEST(ToolbarGeometryTest, VolumeSliderAndSpeaker) {
  const ToolbarGeometry g = ComputeToolbarGeometry(1000, 1.0f, false);
  EXPECT_EQ(g.VolumeRect, QRect(900, 7, 80, 10));
  EXPECT_EQ(g.SpeakerRect, QRect(875, 4, 16, 16));
  EXPECT_EQ(g.VolumeTickX, 940);
  struct {
    int x;
    int percent;
  } cases[] = {{900, 0}, {940, 50}, {979, 98}, {980, 100}, {1000, 100}, {850, 0}};
  for (const auto& c : cases) EXPECT_EQ(g.VolumeAt(c.x), c.percent) << c.x;
  EXPECT_EQ(g.VolumeLevelWidth(50), 40);
  EXPECT_TRUE(g.InSpeakerPressZone({868, 12}));
  EXPECT_TRUE(g.InVolumePressZone({893, 12}));
  EXPECT_FALSE(g.InVolumePressZone({892, 12}));

  const ToolbarGeometry doubled = ComputeToolbarGeometry(2000, 2.0f, false);
  EXPECT_EQ(doubled.VolumeRect, QRect(1800, 14, 160, 20));
  EXPECT_EQ(doubled.VolumeAt(1880), 50);
}

TEST(ToolbarGeometryTest, ControlsKeepDoubleAndRightClicksOff) {
  const ToolbarGeometry g = ComputeToolbarGeometry(1000, 1.0f, false);
  EXPECT_FALSE(g.OnControl({600, 45}));  // the empty lower row
  EXPECT_TRUE(g.OnControl({20, 40}));    // play button
  EXPECT_TRUE(g.OnControl({5, 12}));     // seek bar grown by 5
  EXPECT_FALSE(g.OnControl({4, 12}));
  EXPECT_TRUE(g.OnControl({984, 12}));  // slider grown by 5
  EXPECT_FALSE(g.OnControl({985, 12}));
}

TEST(ToolbarGeometryTest, ChipsStartByCountAndGrowRightward) {
  const int widths[] = {10, 20, 30};
  const ToolbarGeometry g = ComputeToolbarGeometry(1200, 1.0f, false, widths);
  EXPECT_EQ(g.ChipStartX, 1200 - 130 - 3 * 40);
  ASSERT_EQ(g.ChipRects.size(), 3u);
  EXPECT_EQ(g.ChipRects[0], QRect(950, 32, 22, 18));
  EXPECT_EQ(g.ChipRects[1], QRect(978, 32, 32, 18));
  EXPECT_EQ(g.ChipRects[2], QRect(1016, 32, 42, 18));
  EXPECT_TRUE(g.ChipsShown);
  EXPECT_FALSE(ComputeToolbarGeometry(951, 1.0f, false, widths).ChipsShown);
  EXPECT_FALSE(ComputeToolbarGeometry(559, 1.0f, false).TimeTextShown);
  EXPECT_TRUE(ComputeToolbarGeometry(560, 1.0f, false).TimeTextShown);
}

TEST(ToolbarChipsTest, TextsAndOrder) {
  EXPECT_EQ(SpeedChipText(1.004), "1x");
  EXPECT_EQ(SpeedChipText(0.995), "1x");
  EXPECT_EQ(SpeedChipText(1.02), "1.02x");
  EXPECT_EQ(SpeedChipText(0.5), "0.50x");
  struct {
    int channels;
    const char* text;
  } channels[] = {{1, "1.0"}, {2, "2.0"}, {6, "5.1"}, {8, "7.1"}, {3, "3ch"}};
  for (const auto& c : channels) EXPECT_EQ(ChannelsChipText(c.channels), c.text);

  ToolbarState state;
  EXPECT_TRUE(ToolbarChips(state).empty());
  state.AudioText = QStringLiteral("AAC");
  state.AudioChannels = 2;
  state.HardwareDecoding = true;
  const auto chips = ToolbarChips(state);
  ASSERT_EQ(chips.size(), 4u);
  EXPECT_EQ(chips[0].Kind, ChipKind::Speed);
  EXPECT_EQ(chips[1].Text, "H/W");
  EXPECT_EQ(chips[2].Kind, ChipKind::Audio);
  EXPECT_EQ(chips[3].Text, "2.0");
}

}  // namespace
}  // namespace zelvaro::chrome
