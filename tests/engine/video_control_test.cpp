// The colour controls' mapping and GraphManager's video control on real
// pipelines into a recording output: what reaches the renderer, and the
// letterbox of a turned picture.

#include "engine/frame_capture.h"
#include "engine/graph_manager.h"
#include "engine/proc_amp.h"

#include "tests/engine/recording_video_output.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <QFile>
#include <QImage>

#include <gtest/gtest.h>

namespace zelvaro {
namespace {

using test::FixturePath;
using Setting = std::pair<std::string, int>;

ProcAmpRange Range(double minValue, double maxValue, double defaultValue) {
  return {ProcAmpFromDouble(minValue), ProcAmpFromDouble(maxValue), ProcAmpFromDouble(defaultValue),
          ProcAmpFromDouble(1)};
}

TEST(ProcAmpTest, MapsTheUserValueOnEachHalfOfTheRange) {
  struct Case {
    ProcAmpRange range;
    int value;
    int divisor;
    ProcAmpFixed expected;
  };
  const Case cases[] = {
      {Range(-100, 100, 0), 50, 100, {0, 50}},
      {Range(-100, 100, 0), -100, 100, {0, -100}},
      {Range(0, 2, 1), -50, 100, {0x8000, 0}},
      {Range(0, 2, 1), 25, 100, {0x4000, 1}},
      // A default off the middle: 0 is exactly the default, the ends the ends.
      {Range(0, 10, 1), 0, 100, {0, 1}},
      {Range(0, 10, 1), 100, 100, {0, 10}},
      {Range(0, 10, 1), -100, 100, {0, 0}},
      {Range(0, 10, 1), 50, 100, {0x8000, 5}},
      {Range(-180, 180, 0), -90, 180, {0, -90}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(MapProcAmpValue(c.value, c.range, c.divisor), c.expected)
        << c.value << " on " << ProcAmpToDouble(c.range.minValue) << ".."
        << ProcAmpToDouble(c.range.maxValue);
  }
  // A negative value with a fraction keeps the fraction's bits unfloored.
  EXPECT_EQ(ProcAmpFromDouble(-0.5), (ProcAmpFixed{0x8000, 0}));
  EXPECT_EQ(ProcAmpFromDouble(-1.25), (ProcAmpFixed{0xC000, -1}));
}

TEST(VideoControlWithoutAGraphTest, ValuesAreClampedAndNormalisedAndKept) {
  GraphManager graph;
  EXPECT_FALSE(graph.SetBrightness(150));
  EXPECT_FALSE(graph.SetContrast(-101));
  EXPECT_FALSE(graph.SetHue(-200));
  EXPECT_EQ(graph.Brightness(), 100);
  EXPECT_EQ(graph.Contrast(), -100);
  EXPECT_EQ(graph.Hue(), -180);
  EXPECT_FALSE(graph.ReadProcAmpRanges());
  EXPECT_FALSE(graph.ApplyProcAmp());
  // Without a renderer a rotation is stored; it "applies" only when it is 0.
  EXPECT_FALSE(graph.SetRotation(-90));
  EXPECT_EQ(graph.Rotation(), 270);
  EXPECT_FALSE(graph.SetRotation(450));
  EXPECT_EQ(graph.Rotation(), 90);
  EXPECT_TRUE(graph.SetRotation(45));
  EXPECT_EQ(graph.Rotation(), 0);
}

class VideoControlTest : public ::testing::Test {
 protected:
  test::TempHome home;
  test::RecordingVideoOutput output{QSize(1000, 1000)};
  GraphManager graph{&output};
};

TEST_F(VideoControlTest, SendsTheMappedValuesAndANewGraphStartsAtTheDefaults) {
  // Brightness with its default off the middle of its range.
  output.SetProcAmpRanges(
      {Range(-20, 100, 10), Range(0, 2, 1), Range(-180, 180, 0), Range(0, 2, 1)});
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
  ASSERT_EQ(output.ProcAmpCalls().size(), 1u);  // the renderer's defaults
  EXPECT_EQ(output.ProcAmpCalls()[0].brightness, ProcAmpFromInt(10));

  EXPECT_TRUE(graph.SetHue(90));
  EXPECT_TRUE(graph.SetContrast(-50));
  ASSERT_EQ(output.ProcAmpCalls().size(), 3u);
  ProcAmpValues sent = output.ProcAmpCalls().back();
  EXPECT_EQ(sent.brightness, ProcAmpFromInt(10));  // 0 is exactly the default
  EXPECT_EQ(sent.contrast, ProcAmpFromDouble(0.5));
  EXPECT_EQ(sent.hue, ProcAmpFromInt(90));
  EXPECT_EQ(sent.saturation, ProcAmpFromInt(1));
  EXPECT_TRUE(graph.SetBrightness(-50));
  EXPECT_EQ(output.ProcAmpCalls().back().brightness, ProcAmpFromInt(-5));

  // Closed, the values stay and nothing is sent; the next graph's renderer
  // shows its defaults until a control moves.
  graph.Close();
  EXPECT_FALSE(graph.ApplyProcAmp());
  EXPECT_FALSE(graph.SetSaturation(20));
  EXPECT_EQ(graph.Hue(), 90);
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
  EXPECT_EQ(output.ProcAmpCalls().back().hue, ProcAmpFromInt(0));
  EXPECT_FALSE(graph.ApplyProcAmp());  // the ranges are read again first
  EXPECT_TRUE(graph.ReadProcAmpRanges());
  EXPECT_TRUE(graph.ApplyProcAmp());
  EXPECT_EQ(output.ProcAmpCalls().back().saturation, ProcAmpFromDouble(1.2));
}

TEST_F(VideoControlTest, TurnsMirrorsAndLetterboxesTheTurnedPicture) {
  EXPECT_FALSE(graph.SetRotation(90));  // stored before any file
  ASSERT_TRUE(graph.OpenFile(FixturePath("wide_720p.mp4")));
  // A new file shows the stored orientation, letterboxed turned.
  auto settings = output.Settings();
  ASSERT_GE(settings.size(), 2u);
  EXPECT_EQ(settings[settings.size() - 2], Setting("rotation", 90));
  EXPECT_EQ(settings.back(), Setting("flip", 0));
  EXPECT_EQ(output.DestinationRect(), QRect(219, 0, 562, 1000));

  output.ForgetSettings();
  EXPECT_TRUE(graph.SetRotation(450));  // the same 90: nothing is sent
  EXPECT_TRUE(output.Settings().empty());
  EXPECT_TRUE(graph.SetFlipHorizontal(true));
  EXPECT_TRUE(graph.SetFlipVertical(true));
  // A vertical flip with the mirror on: a half turn more and no mirror.
  EXPECT_EQ(output.Settings(), (std::vector<Setting>{{"flip", 1}, {"rotation", 270}, {"flip", 0}}));
  output.ForgetSettings();
  graph.RefreshVideoPosition();
  EXPECT_EQ(output.Settings(), (std::vector<Setting>{{"cmd_redraw", 1}}));

  EXPECT_TRUE(graph.SetFlipHorizontal(false));
  const struct {
    int rotation;
    bool flipVertical;
    QRect expected;
  } cases[] = {
      {180, false, QRect(0, 219, 1000, 562)},
      {270, true, QRect(219, 0, 562, 1000)},
      {0, true, QRect(0, 219, 1000, 562)},
  };
  for (const auto& c : cases) {
    graph.SetFlipVertical(c.flipVertical);
    EXPECT_TRUE(graph.SetRotation(c.rotation));
    EXPECT_EQ(output.DestinationRect(), c.expected) << c.rotation;
  }
  // The next file shows the stored vertical flip: a half turn and a mirror.
  ASSERT_TRUE(graph.OpenFile(FixturePath("wide_720p.mp4")));
  settings = output.Settings();
  ASSERT_GE(settings.size(), 2u);
  EXPECT_EQ(settings[settings.size() - 2], Setting("rotation", 180));
  EXPECT_EQ(settings.back(), Setting("flip", 1));
}

TEST(AlbumArtTest, CopiesTheCoverOutAndRefusesWhatHasNone) {
  const QString art = ExtractAlbumArt(test::FixturePath(QStringLiteral("cover_art.mp3")));
  ASSERT_EQ(art, AlbumArtTempPath());
  EXPECT_EQ(QImage(art).size(), QSize(300, 300));
  EXPECT_TRUE(ExtractAlbumArt(QStringLiteral("https://host/a.mp3")).isEmpty());
  EXPECT_TRUE(ExtractAlbumArt(QStringLiteral("/no/such/file.mp3")).isEmpty());
  GraphManager().Close();  // Close removes the temporary file
  EXPECT_FALSE(QFile::exists(AlbumArtTempPath()));
}

}  // namespace
}  // namespace zelvaro
