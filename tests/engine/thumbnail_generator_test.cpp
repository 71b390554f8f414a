// ThumbnailGenerator on real pipelines over generated clips whose colour
// changes at every keyframe (red, green, blue, white, 2 s each), so a
// picture tells which keyframe it was decoded from.

#include "engine/thumbnail_generator.h"

#include "engine/graph_manager.h"
#include "tests/engine/recording_video_output.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <QColor>

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace zelvaro {
namespace {

using test::FixturePath;
using test::NearColor;
using test::WaitUntil;

constexpr int kWaitMs = 10'000;
const QColor kRed(255, 0, 0), kGreen(0, 255, 0), kBlue(0, 0, 255), kWhite(255, 255, 255);

QColor CentreColour(const QImage& image) {
  return image.pixelColor(image.width() / 2, image.height() / 2);
}

TEST(ThumbnailTargetSizeTest, WideFillsTheWidthElseTheHeight) {
  struct Case {
    QSize source;
    QSize target;
  };
  const Case cases[] = {
      {{1920, 1080}, {160, 90}}, {{320, 240}, {120, 90}},  {{336, 144}, {160, 68}},
      {{2560, 1080}, {160, 67}}, {{1080, 1920}, {50, 90}}, {{1000, 1000}, {90, 90}},
      {{4000, 10}, {160, 1}},    {{0, 0}, {160, 90}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ThumbnailTargetSize(c.source.width(), c.source.height()), c.target)
        << c.source.width() << "x" << c.source.height();
  }
}

class KeyframeModeTest : public ::testing::Test {
 protected:
  void OpenWithGraph(const QString& name) {
    ASSERT_TRUE(graph.OpenFile(FixturePath(name)));
    ASSERT_FALSE(graph.Keyframes().empty());
    ASSERT_TRUE(thumbnails.Open(FixturePath(name), &graph));
    ASSERT_TRUE(thumbnails.keyframeMode());
    thumbnails.SetFrameReadyCallback([this] { ++callbacks; });
    ASSERT_TRUE(WaitUntil([&] { return thumbnails.ready(); }, kWaitMs));
  }

  // A miss first; the picture once the callback has said it is there.
  QImage Fetch(double fraction, int* width, int* height) {
    QImage image = thumbnails.GetFrame(fraction, width, height);
    if (!image.isNull()) return image;
    const int before = callbacks;
    if (!WaitUntil([&] { return callbacks > before; }, kWaitMs)) return {};
    return thumbnails.GetFrame(fraction, width, height);
  }

  test::TempHome home;
  test::RecordingVideoOutput output;
  GraphManager graph{&output};
  ThumbnailGenerator thumbnails;
  int callbacks = 0;
};

TEST_F(KeyframeModeTest, OnlyTheNewestRequestIsDecodedAndEachGetsTheNearestKeyframe) {
  OpenWithGraph(QStringLiteral("thumbs_segments_4x3.mp4"));  // 8 s, keyframes 0, 2, 4, 6 s
  // Nothing is decoded ahead of a request. Asked while the preview pipeline
  // still prerolls, each request replaces the one before it.
  for (double fraction : {0.3, 0.55, 0.8})
    EXPECT_TRUE(thumbnails.GetFrame(fraction, nullptr, nullptr).isNull());
  ASSERT_TRUE(WaitUntil([&] { return callbacks > 0; }, kWaitMs));
  EXPECT_TRUE(NearColor(CentreColour(thumbnails.GetFrame(0.8, nullptr, nullptr)), kWhite));
  EXPECT_EQ(callbacks, 1);
  EXPECT_TRUE(thumbnails.GetFrame(0.55, nullptr, nullptr).isNull());

  const struct {
    double fraction;
    QColor colour;
  } cases[] = {
      {0.3, kGreen},    // 2.4 s: 2 s is nearer than 4 s
      {0.45, kBlue},    // 3.6 s: 4 s is nearer
      {0.375, kGreen},  // 3.0 s: a tie goes to the earlier one
      {1.5, kWhite},    // clamped to the end: the last keyframe
      {-0.5, kRed},     // clamped to the start
  };
  for (const auto& c : cases) {
    int width = 0, height = 0;
    const QImage image = Fetch(c.fraction, &width, &height);
    EXPECT_EQ(image.size(), QSize(120, 90)) << c.fraction;
    EXPECT_EQ(QSize(width, height), QSize(160, 90));
    EXPECT_TRUE(NearColor(CentreColour(image), c.colour)) << c.fraction;
  }
  // Sweeping back finds the pictures already decoded.
  EXPECT_FALSE(thumbnails.GetFrame(0.0, nullptr, nullptr).isNull());

  // Wide pictures keep their aspect.
  OpenWithGraph(QStringLiteral("thumbs_21x9.mp4"));
  const QImage wide = Fetch(0.5, nullptr, nullptr);
  EXPECT_EQ(wide.size(), QSize(160, 68));
  EXPECT_TRUE(NearColor(CentreColour(wide), kRed));
}

TEST(CacheModeTest, FillsAHundredFramesAndAnswersWithTheNearest) {
  ThumbnailGenerator thumbnails;
  // Closing while the worker runs does not hang, and leaves the generator
  // usable at once.
  ASSERT_TRUE(thumbnails.Open(FixturePath("long_lowres.mkv"), nullptr));
  ASSERT_TRUE(thumbnails.StartWorker());
  ASSERT_TRUE(WaitUntil([&] { return thumbnails.CachedFrameCount() > 0; }, kWaitMs));
  auto closing = std::async(std::launch::async, [&] { thumbnails.Close(); });
  ASSERT_EQ(closing.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  EXPECT_FALSE(thumbnails.ready());
  EXPECT_EQ(thumbnails.CachedFrameCount(), 0);

  // MPEG-TS has no index: no keyframe table, so the cache is filled.
  ASSERT_TRUE(thumbnails.Open(FixturePath("thumbs_segments.ts"), nullptr));
  EXPECT_FALSE(thumbnails.keyframeMode());
  EXPECT_TRUE(thumbnails.GetFrame(0.5, nullptr, nullptr).isNull());
  ASSERT_TRUE(thumbnails.StartWorker());
  EXPECT_FALSE(thumbnails.StartWorker());
  ASSERT_TRUE(WaitUntil([&] { return !thumbnails.workerRunning(); }, 60'000));
  // MPEG-TS without an index gives no picture for seeks into its last few
  // seconds (its demuxer estimates times from bytes); the rest all come.
  EXPECT_GE(thumbnails.CachedFrameCount(), 85);
  EXPECT_LE(thumbnails.CachedFrameCount(), 100);
  for (auto [fraction, colour] :
       {std::pair{0.1, kRed}, {0.35, kGreen}, {0.6, kBlue}, {0.9, kWhite}}) {
    int width = 0, height = 0;
    const QImage image = thumbnails.GetFrame(fraction, &width, &height);
    EXPECT_EQ(image.size(), QSize(120, 90)) << fraction;
    EXPECT_EQ(QSize(width, height), QSize(160, 90));
    EXPECT_TRUE(NearColor(CentreColour(image), colour)) << fraction;
  }
  // 0.26 lies nearest to the 27th frame (26 / 99), not the 26th.
  const qint64 nearest = thumbnails.GetFrame(0.26, nullptr, nullptr).cacheKey();
  EXPECT_EQ(nearest, thumbnails.GetFrame(26 / 99.0, nullptr, nullptr).cacheKey());
  EXPECT_NE(nearest, thumbnails.GetFrame(25 / 99.0, nullptr, nullptr).cacheKey());
}

TEST(ThumbnailBadInputTest, GivesNoPreviews) {
  test::TempHome home;
  ThumbnailGenerator thumbnails;
  for (const QString& path : {FixturePath("no_such_clip.mp4"), QStringLiteral("http://host/a.mp4"),
                              test::FixtureDir(), QString()}) {
    EXPECT_FALSE(thumbnails.Open(path, nullptr)) << qPrintable(path);
    EXPECT_FALSE(thumbnails.ready());
  }
  const QString corrupt =
      home.WriteFile(QStringLiteral("corrupt.mp4"), test::NoiseBytes(64 * 1024));
  for (const QString& path : {corrupt, FixturePath("cover_art.mp3")}) {
    ASSERT_TRUE(thumbnails.Open(path, nullptr)) << qPrintable(path);
    ASSERT_TRUE(thumbnails.StartWorker());
    EXPECT_TRUE(WaitUntil([&] { return !thumbnails.ready(); }, kWaitMs)) << qPrintable(path);
    EXPECT_EQ(thumbnails.CachedFrameCount(), 0);
    EXPECT_TRUE(thumbnails.GetFrame(0.5, nullptr, nullptr).isNull());
  }
}

}  // namespace
}  // namespace zelvaro
