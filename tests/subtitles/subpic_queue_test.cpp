#include "subtitles/subpic_queue.h"
#include "subtitles/subtitle_provider.h"

#include "tests/subtitles/subtitle_test_support.h"
#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

namespace zelvaro {
namespace {

using test::CountOpaquePixels;
using test::SumChannel;

constexpr int64_t kSecond = 10'000'000;  // 100-ns units
constexpr QSize kRenderSize{640, 360};

const char kScript[] =
    "[Script Info]\nScriptType: v4.00+\nPlayResX: 384\nPlayResY: 288\n\n"
    "[V4+ Styles]\nFormat: Name, Fontname, Fontsize, PrimaryColour, SecondaryColour, "
    "OutlineColour, BackColour, Bold, Italic, Underline, StrikeOut, ScaleX, ScaleY, Spacing, "
    "Angle, BorderStyle, Outline, Shadow, Alignment, MarginL, MarginR, MarginV, Encoding\n"
    "Style: Default,Noto Sans,24,&H00FFFFFF,&H000000FF,&H00000000,&H80000000,0,0,0,0,100,100,0,"
    "0,1,1,0,2,10,10,10,1\n\n"
    "[Events]\nFormat: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n"
    "Dialogue: 0,0:00:01.00,0:00:05.00,Default,,0,0,0,,Static line\n"
    "Dialogue: 0,0:00:10.00,0:00:14.00,Default,,0,0,0,,{\\fad(1000,0)}Fading in\n"
    "Dialogue: 0,0:00:20.00,0:00:25.00,Default,,0,0,0,,A long line\n"
    "Dialogue: 0,0:00:21.00,0:00:22.00,Default,,0,0,0,,{\\an8}Short one on top\n";

class SubPicQueueTest : public ::testing::Test {
 protected:
  std::shared_ptr<CSubtitleProvider> Load(const QString& name, const QByteArray& bytes) {
    const QString path = home_.WriteFile(name, bytes);
    auto provider = std::make_shared<CSubtitleProvider>();
    provider->SetRenderSize(kRenderSize);
    EXPECT_TRUE(provider->Load(path));
    allocator_ = std::make_shared<CMemSubPicAllocator>(0, kRenderSize);
    queue_ = std::make_shared<CSubPicQueue>(allocator_);
    queue_->SetProvider(provider);
    return provider;
  }

  // Twelve plain cues of 50 ms each, back to back, that libass won't take
  // (the file is no ASS), so the provider draws them itself.
  std::shared_ptr<CSubtitleProvider> LoadCues() {
    QByteArray srt;
    for (int i = 0; i < 12; ++i)
      srt += QStringLiteral("%1\n00:00:00,%2 --> 00:00:00,%3\nCue %1\n\n")
                 .arg(i + 1)
                 .arg(i * 50, 3, 10, QChar(u'0'))
                 .arg(i * 50 + 50, 3, 10, QChar(u'0'))
                 .toUtf8();
    auto provider = Load(QStringLiteral("cues.txt"), srt);
    EXPECT_EQ(provider->GetType(), SubtitleType::kSrt);
    return provider;
  }

  static int64_t Ms(int64_t ms) { return ms * 10'000; }

  test::TempHome home_;
  std::shared_ptr<CMemSubPicAllocator> allocator_;
  std::shared_ptr<CSubPicQueue> queue_;
};

TEST_F(SubPicQueueTest, AStaticLineIsDrawnOnceForItsWholeWindowAndGapsGiveNothing) {
  Load(QStringLiteral("a.ass"), kScript);
  EXPECT_EQ(queue_->LookupSubPic(kSecond / 2), nullptr);
  EXPECT_EQ(queue_->LookupSubPic(7 * kSecond), nullptr);
  EXPECT_EQ(queue_->GetQueueCount(), 0);
  const auto first = queue_->LookupSubPic(kSecond + kSecond / 2);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(queue_->LookupSubPic(2 * kSecond), first);
  EXPECT_EQ(queue_->LookupSubPic(5 * kSecond - 1), first);
  EXPECT_EQ(queue_->GetQueueCount(), 1);
  EXPECT_EQ(first->GetStart(), kSecond);
  EXPECT_EQ(first->GetStop(), 5 * kSecond);

  // Bottom-centre text: the dirty rectangle holds every drawn pixel.
  const QRect dirty = first->GetDirtyRect().ToQRect();
  EXPECT_GT(dirty.top(), kRenderSize.height() / 2);
  EXPECT_LT(dirty.left(), kRenderSize.width() / 2);
  EXPECT_GT(dirty.right(), kRenderSize.width() / 2);
  const int64_t opaque = CountOpaquePixels(*first);
  EXPECT_GT(opaque, 200);
  EXPECT_EQ(CountOpaquePixels(first->Image().copy(dirty)), opaque);
}

TEST_F(SubPicQueueTest, AFadeAnimatesFrameByFrameAndSettles) {
  Load(QStringLiteral("a.ass"), kScript);
  std::vector<std::shared_ptr<const CMemSubPic>> fading;
  for (int64_t ms : {10100, 10500, 10900}) fading.push_back(queue_->LookupSubPic(Ms(ms)));
  for (const auto& picture : fading) ASSERT_NE(picture, nullptr);
  EXPECT_LT(SumChannel(*fading[0], 3) * 3, SumChannel(*fading[1], 3));
  EXPECT_LT(SumChannel(*fading[1], 3), SumChannel(*fading[2], 3));

  const auto settled = queue_->LookupSubPic(Ms(11500));
  ASSERT_NE(settled, nullptr);
  EXPECT_NE(settled, fading[2]);
  EXPECT_EQ(queue_->LookupSubPic(Ms(12000)), settled);
  EXPECT_EQ(queue_->LookupSubPic(Ms(13900)), settled);
}

TEST_F(SubPicQueueTest, AnEventThatStartsInsideAnotherShowsAtOnce) {
  Load(QStringLiteral("a.ass"), kScript);
  const auto alone = queue_->LookupSubPic(Ms(20500));
  const auto both = queue_->LookupSubPic(Ms(21500));
  const auto aloneAgain = queue_->LookupSubPic(Ms(22500));
  ASSERT_NE(alone, nullptr);
  ASSERT_NE(both, nullptr);
  ASSERT_NE(aloneAgain, nullptr);
  EXPECT_NE(both, alone);
  EXPECT_GT(CountOpaquePixels(*both), CountOpaquePixels(*alone) + 100);
  EXPECT_LT(both->GetDirtyRect().Top, kRenderSize.height() / 4);  // the \an8 line
  EXPECT_EQ(CountOpaquePixels(*aloneAgain), CountOpaquePixels(*alone));
}

TEST_F(SubPicQueueTest, TheDelayMovesWindowsAndPictures) {
  auto provider = Load(QStringLiteral("a.ass"), kScript);
  provider->SetDelay(1000);  // subtitles a second earlier
  const auto early = queue_->LookupSubPic(Ms(500));
  ASSERT_NE(early, nullptr);
  EXPECT_EQ(early->GetStart(), 0);
  EXPECT_EQ(early->GetStop(), 4 * kSecond);
  EXPECT_EQ(queue_->LookupSubPic(Ms(4500)), nullptr);

  provider->SetDelay(-1000);
  EXPECT_EQ(queue_->LookupSubPic(Ms(1500)), nullptr);
  EXPECT_NE(queue_->LookupSubPic(Ms(5500)), nullptr);
}

TEST_F(SubPicQueueTest, TheEleventhPicturePushesOutTheOldestAndInvalidateDropsFromATimeOn) {
  LoadCues();
  std::vector<std::shared_ptr<const CMemSubPic>> pictures;
  for (int i = 0; i < 11; ++i) {
    pictures.push_back(queue_->LookupSubPic(Ms(i * 50 + 25)));
    ASSERT_NE(pictures.back(), nullptr) << i;
    EXPECT_GT(CountOpaquePixels(*pictures.back()), 100);
  }
  EXPECT_EQ(queue_->GetQueueCount(), 10);
  EXPECT_EQ(queue_->LookupSubPic(Ms(75)), pictures[1]);  // still cached
  const auto redrawn = queue_->LookupSubPic(Ms(25));     // pushed out: drawn anew
  ASSERT_NE(redrawn, nullptr);
  EXPECT_NE(redrawn->Id(), pictures[0]->Id());
  // A second after the last window ended, everything has expired.
  EXPECT_EQ(queue_->LookupSubPic(Ms(600) + kSecond + 1), nullptr);
  EXPECT_EQ(queue_->GetQueueCount(), 0);

  for (int64_t ms : {25, 75, 125}) ASSERT_NE(queue_->LookupSubPic(Ms(ms)), nullptr);
  queue_->Invalidate(Ms(50));
  EXPECT_EQ(queue_->GetQueueCount(), 1);
  ASSERT_NE(queue_->LookupSubPic(Ms(75)), nullptr);
  queue_->Invalidate(0);
  EXPECT_EQ(queue_->GetQueueCount(), 0);
}

TEST_F(SubPicQueueTest, APictureOutlivesQueueAndProvider) {
  auto provider = Load(QStringLiteral("a.ass"), kScript);
  auto picture = queue_->LookupSubPic(2 * kSecond);
  ASSERT_NE(picture, nullptr);
  const int64_t opaque = CountOpaquePixels(*picture);
  const QImage image = picture->Image();
  queue_.reset();
  allocator_.reset();
  provider.reset();
  EXPECT_EQ(CountOpaquePixels(*picture), opaque);
  picture.reset();
  EXPECT_EQ(CountOpaquePixels(image), opaque);  // the image keeps the pixels on its own
}

TEST(ProviderEventsTest, StartPositionAtAnEventsStopMovesToTheNext) {
  test::TempHome home;
  CSubtitleProvider provider;
  ASSERT_TRUE(provider.Load(home.WriteFile(QStringLiteral("a.ass"), kScript)));
  EXPECT_EQ(provider.GetType(), SubtitleType::kAss);
  ASSERT_EQ(provider.GetEventCount(), 4u);
  EXPECT_EQ(provider.GetStartPosition(0), 1u);
  EXPECT_EQ(provider.GetStartPosition(5 * kSecond - 1), 1u);
  EXPECT_EQ(provider.GetStartPosition(5 * kSecond), 2u);
  EXPECT_EQ(provider.GetStart(2), 10 * kSecond);
  EXPECT_EQ(provider.GetStop(2), 14 * kSecond);
  EXPECT_EQ(provider.GetNext(4), 0u);
  EXPECT_EQ(provider.GetStartPosition(30 * kSecond), 0u);
  EXPECT_EQ(provider.GetStart(0), 0);
}

TEST(MemSubPicTest, LockUnlockAndTheSharedImage) {
  CMemSubPicAllocator allocator(0, QSize(1001, 3));
  auto picture = allocator.AllocDynamic();
  ASSERT_NE(picture, nullptr);
  EXPECT_EQ(picture->Pitch(), 4016);  // rows padded to 16 bytes

  SubPicDesc desc;
  ASSERT_TRUE(picture->Lock(&desc));
  EXPECT_FALSE(picture->Lock(&desc));
  desc.Data[desc.Pitch + 4 * 1000 + 3] = 255;
  const SubPicRect inverted = SubPicRect::Inverted();
  EXPECT_TRUE(picture->Unlock(&inverted));
  EXPECT_TRUE(picture->GetDirtyRect().IsEmpty());
  EXPECT_FALSE(picture->Unlock(nullptr));

  ASSERT_TRUE(picture->Lock(&desc));
  const SubPicRect beyond{-5, 1, 5000, 2};
  EXPECT_TRUE(picture->Unlock(&beyond));
  EXPECT_EQ(picture->GetDirtyRect(), (SubPicRect{0, 1, 1001, 2}));

  const QImage image = picture->Image();
  EXPECT_EQ(image.constBits(), picture->Bits());
  EXPECT_EQ(image.bytesPerLine(), 4016);
  EXPECT_EQ(image.format(), QImage::Format_ARGB32_Premultiplied);
  EXPECT_EQ(image.pixelColor(1000, 1).alpha(), 255);
  EXPECT_EQ(picture->Image().cacheKey(), image.cacheKey());
  EXPECT_NE(allocator.AllocDynamic()->Id(), picture->Id());

  allocator.SetMaxSize(QSize(0, 10));
  EXPECT_EQ(allocator.AllocDynamic(), nullptr);
}

TEST(MemSubPicTest, RecycledMemoryComesBackClear) {
  CMemSubPicAllocator allocator(0, QSize(64, 32));
  for (bool reportRect : {true, false}) {
    {
      auto used = allocator.AllocDynamic();
      SubPicDesc desc;
      ASSERT_TRUE(used->Lock(&desc));
      for (int x = 10; x < 30; ++x) desc.Data[5 * desc.Pitch + x * 4 + 3] = 255;
      const SubPicRect drawn{10, 5, 30, 6};
      used->Unlock(reportRect ? &drawn : nullptr);
    }
    // The same size again: the memory of the picture above, cleared.
    EXPECT_EQ(test::CountOpaquePixels(*allocator.AllocDynamic()), 0) << reportRect;
  }
}

}  // namespace
}  // namespace zelvaro
