// Picture cues as a demuxer hands them out: each one stands until the next
// display set, reading again after a seek keeps one copy, and the drawing
// stretches the stream's canvas over the picture.

#include "subtitles/bitmap_subtitle_track.h"

#include <gtest/gtest.h>

namespace zelvaro {
namespace {

BitmapSubtitleCue Cue(int64_t startMs, bool shown = true, QSize imageSize = {4, 2}) {
  BitmapSubtitleCue cue;
  cue.startMs = startMs;
  cue.canvas = {1920, 1080};
  if (shown) {
    QImage image(imageSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::red);
    cue.parts.push_back({QRect(QPoint(480, 540), QSize(960, 270)), image});
  }
  return cue;
}

int64_t StartAt(const BitmapCueList& list, int64_t timeMs) {
  const BitmapSubtitleCue* cue = list.At(timeMs);
  return cue != nullptr ? cue->startMs : -1;
}

TEST(BitmapCueList, EachCueStandsUntilTheNextDisplaySet) {
  BitmapCueList list;
  EXPECT_TRUE(list.Add(Cue(1000)));
  EXPECT_EQ(StartAt(list, 500'000), 1000);  // no end known yet
  EXPECT_TRUE(list.Add(Cue(3000, false)));  // an empty display set clears
  EXPECT_TRUE(list.Add(Cue(5000)));
  EXPECT_TRUE(list.Add(Cue(6000)));
  const struct {
    int64_t timeMs;
    int64_t shownStart;
  } cases[] = {{999, -1},    {1000, 1000}, {2999, 1000}, {3000, -1},    {4999, -1},
               {5000, 5000}, {5999, 5000}, {6000, 6000}, {90'000, 6000}};
  for (const auto& c : cases) EXPECT_EQ(StartAt(list, c.timeMs), c.shownStart) << c.timeMs;

  // After a seek back the same sets come again: nothing changes.
  EXPECT_FALSE(list.Add(Cue(1000)));
  EXPECT_FALSE(list.Add(Cue(3000, false)));
  EXPECT_EQ(StartAt(list, 2000), 1000);
  EXPECT_EQ(StartAt(list, 4000), -1);
}

TEST(BitmapCueList, ACueReadAfterALaterOneEndsWhereThatBegins) {
  // A seek forward skipped the clear at 3 s; a seek back brings 1 s again.
  BitmapCueList list;
  list.Add(Cue(5000));
  list.Add(Cue(1000));
  EXPECT_EQ(StartAt(list, 4000), 1000);
  list.Add(Cue(3000, false));
  EXPECT_EQ(StartAt(list, 4000), -1);
  EXPECT_EQ(StartAt(list, 5000), 5000);
}

TEST(BitmapCueList, PicturesPastTheBudgetGoFarthestFirst) {
  const int64_t cueBytes = QImage(QSize(100, 100), QImage::Format_ARGB32).sizeInBytes();
  BitmapCueList list(3 * cueBytes);
  for (const int64_t startMs : {1000, 2000, 3000, 4000, 9000})
    list.Add(Cue(startMs, true, {100, 100}));
  // Three fit; the two farthest from 9 s went.
  EXPECT_EQ(StartAt(list, 1500), -1);
  EXPECT_EQ(StartAt(list, 2500), -1);
  EXPECT_EQ(StartAt(list, 3500), 3000);
  EXPECT_EQ(StartAt(list, 9500), 9000);
}

TEST(DrawBitmapCue, StretchesTheCanvasOverThePicture) {
  QImage target(320, 240, QImage::Format_ARGB32_Premultiplied);
  target.fill(Qt::transparent);
  SubPicDesc desc;
  desc.Width = target.width();
  desc.Height = target.height();
  desc.Pitch = static_cast<int32_t>(target.bytesPerLine());
  desc.Data = target.bits();
  SubPicRect bbox = SubPicRect::Inverted();
  ASSERT_TRUE(DrawBitmapCue(Cue(0), desc, &bbox));
  EXPECT_EQ(bbox, (SubPicRect{80, 120, 240, 180}));
  EXPECT_EQ(target.pixel(160, 140), qRgb(255, 0, 0));
  EXPECT_EQ(qAlpha(target.pixel(160, 100)), 0);
}

}  // namespace
}  // namespace zelvaro
