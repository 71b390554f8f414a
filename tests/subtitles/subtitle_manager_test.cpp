#include "subtitles/subtitle_manager.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/engine/recording_video_output.h"
#include "tests/subtitles/subtitle_test_support.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <set>
#include <thread>

namespace zelvaro {
namespace {

using test::CountOpaquePixels;
using test::SumChannel;

constexpr int64_t kSecond = 10'000'000;

const char kSrt[] =
    "1\n00:00:01,000 --> 00:00:03,000\n안녕하세요, world\n\n"
    "2\n00:00:04,000 --> 00:00:05,000\n<i>second</i>\n";

class SubtitleManagerTest : public ::testing::Test {
 protected:
  QString Write(const QString& name, const QByteArray& bytes) {
    return home_.WriteFile(name, bytes);
  }
  void SetUp() override { ASSERT_TRUE(manager_.Initialize(640, 360)); }

  test::TempHome home_;  // settings of this test only
  SubtitleManager manager_;
};

TEST(FindSubtitleFilesTest, ExtensionOrderOutranksLanguageAndOnlyTheBaseNameCounts) {
  QTemporaryDir dir;
  for (const char* name : {"a.b.mkv", "a.b.ass", "a.b.ko.srt", "a.b.srt", "a.srt",
                           "a.b.english.vtt", "a.b.smi", "a.b.zh.sub", "a.b.fr.srt", "a.b.ssa.txt",
                           "Movie.SRT", "Movie.Ko.Ass", "noext", "noext.vtt"}) {
    QFile file(dir.filePath(QString::fromUtf8(name)));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  }
  ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral("movie.ass")));  // a folder is no file
  auto found = [&](const char* media) {
    QStringList names;
    for (const QString& path : FindSubtitleFiles(dir.filePath(QString::fromUtf8(media))))
      names << QFileInfo(path).fileName();
    return names.join(u' ').toStdString();
  };
  EXPECT_EQ(found("a.b.mkv"), "a.b.srt a.b.ko.srt a.b.ass a.b.zh.sub a.b.smi a.b.english.vtt");
  // Names that differ only in case, and paths without extension.
  EXPECT_EQ(found("Movie.mkv"), "Movie.SRT Movie.Ko.Ass");
  EXPECT_EQ(found("noext"), "noext.vtt");
  EXPECT_EQ(found("missing/x.mkv"), "");
  const std::pair<const char*, SubtitleType> types[] = {
      {"/a/b.SRT", SubtitleType::kSrt},       {"b.sami", SubtitleType::kSami},
      {"b.Smi", SubtitleType::kSami},         {"b.vtt", SubtitleType::kWebVtt},
      {"b.ssa", SubtitleType::kSsa},          {"b.sub", SubtitleType::kSub},
      {"/dir.srt/b", SubtitleType::kUnknown},
  };
  for (const auto& [path, type] : types)
    EXPECT_EQ(DetectSubtitleType(QString::fromUtf8(path)), type);
}

TEST(SubtitleStyleTest, SavedAndLoadedWithTenthsStored) {
  test::TempHome home;
  SubtitleStyle style;
  LoadSubtitleStyle(&style);
  EXPECT_EQ(style, SubtitleStyle{});            // nothing stored: the defaults stay
  Settings::SetDword(setting::kSubOutline, 0);  // a real value, not a default
  Settings::SetDword(setting::kSubShadow, 25);
  LoadSubtitleStyle(&style);
  EXPECT_EQ(style.Outline, 0.0);
  EXPECT_EQ(style.Shadow, 2.5);

  SubtitleStyle changed;
  changed.FontName = QStringLiteral("Noto Sans CJK KR");
  changed.Outline = 3.5;
  changed.Italic = true;
  changed.ShadowColor = 0x40000000;
  changed.MarginBottom = -4;
  SaveSubtitleStyle(changed);
  SubtitleStyle read;
  LoadSubtitleStyle(&read);
  EXPECT_EQ(read, changed);
  EXPECT_EQ(Settings::GetDwordOr(setting::kSubOutline, 0), 35u);
}

TEST_F(SubtitleManagerTest, EveryFormatLoadsAsOneTrack) {
  const std::pair<const char*, QByteArray> files[] = {
      {"movie.srt", kSrt},
      {"movie.vtt",
       "WEBVTT\n\n00:00:01.000 --> 00:00:03.000\nfirst\n\n"
       "00:00:04.000 --> 00:00:05.000\nsecond\n"},
      {"movie.smi",
       "<SAMI><BODY><SYNC Start=1000><P>first<SYNC Start=3000><P>&nbsp;"
       "<SYNC Start=4000><P>second<SYNC Start=5000></BODY></SAMI>"},
      {"movie.ass",
       "[Script Info]\nScriptType: v4.00+\n\n[Events]\nFormat: Layer, Start, End, "
       "Style, Text\nDialogue: 0,0:00:01.00,0:00:03.00,Default,first\n"
       "Dialogue: 0,0:00:04.00,0:00:05.00,Default,second\n"},
  };
  for (const auto& [name, bytes] : files) {
    const QString path = Write(QString::fromUtf8(name), bytes);
    ASSERT_TRUE(manager_.LoadSubtitle(path)) << name;
    const auto tracks = manager_.GetTracks();
    ASSERT_EQ(tracks.size(), 1u);
    EXPECT_EQ(tracks[0].Name, QString::fromUtf8(name));
    EXPECT_EQ(tracks[0].Path, path);
    EXPECT_EQ(manager_.GetCurrentTrack(), 0);

    EXPECT_EQ(manager_.GetSubPic(kSecond / 2), nullptr) << name;
    const auto picture = manager_.GetSubPic(2 * kSecond);
    ASSERT_NE(picture, nullptr) << name;
    EXPECT_EQ(picture->GetSize(), QSize(640, 360));
    EXPECT_GT(CountOpaquePixels(*picture), 100) << name;
    EXPECT_EQ(manager_.GetSubPic(3 * kSecond + kSecond / 2), nullptr) << name;
    EXPECT_NE(manager_.GetSubPic(4 * kSecond + kSecond / 2), nullptr) << name;
  }
}

TEST_F(SubtitleManagerTest, UnreadableFilesFailQuietlyAndClearThePreviousTrack) {
  ASSERT_TRUE(manager_.LoadSubtitle(Write(QStringLiteral("good.srt"), kSrt)));
  const QByteArray garbage = test::NoiseBytes(70000);
  QStringList paths = {Write(QStringLiteral("empty.srt"), QByteArray()),
                       home_.Root() + QStringLiteral("/missing.srt"), home_.Root(), QString()};
  for (const char* name : {"garbage.srt", "garbage.smi", "garbage.vtt", "garbage.ass"})
    paths << Write(QString::fromUtf8(name), garbage);
  for (const QString& path : paths) {
    EXPECT_FALSE(manager_.LoadSubtitle(path)) << path.toStdString();
    EXPECT_TRUE(manager_.GetTracks().empty());
    EXPECT_EQ(manager_.GetCurrentTrack(), -1);
    EXPECT_EQ(manager_.GetSubPic(2 * kSecond), nullptr);
  }
  SubtitleManager uninitialised;
  EXPECT_FALSE(uninitialised.LoadSubtitle(Write(QStringLiteral("x.srt"), kSrt)));
  EXPECT_EQ(uninitialised.GetSubPic(2 * kSecond), nullptr);
}

TEST_F(SubtitleManagerTest, AsyncLoadsReportOnTheCallersThreadAndTheNewestWins) {
  const QThread* callerThread = QThread::currentThread();
  std::vector<std::pair<QString, bool>> reports;
  auto load = [&](const QString& path) {
    manager_.LoadSubtitleAsync(path, [&, path](bool loaded) {
      EXPECT_EQ(QThread::currentThread(), callerThread);
      reports.emplace_back(QFileInfo(path).fileName(), loaded);
    });
  };
  // Large enough that the second request comes while the first is read.
  std::string big;
  for (int i = 0; big.size() < 8'000'000; ++i)
    big += std::to_string(i + 1) + "\n00:10:00,000 --> 00:10:01,000\nfiller line " +
           std::to_string(i) + "\n\n";
  const QString bigPath = Write(QStringLiteral("big.srt"), QByteArray::fromStdString(big));
  const QString smallPath = Write(QStringLiteral("small.srt"), kSrt);

  load(bigPath);
  load(smallPath);
  ASSERT_TRUE(test::WaitUntil([&] { return !reports.empty(); }, 30'000));
  EXPECT_FALSE(manager_.IsLoading());
  ASSERT_EQ(reports, (std::vector<std::pair<QString, bool>>{{QStringLiteral("small.srt"), true}}));
  ASSERT_EQ(manager_.GetTracks().size(), 1u);
  EXPECT_EQ(manager_.GetTracks()[0].Path, smallPath);
  EXPECT_NE(manager_.GetSubPic(2 * kSecond), nullptr);

  // The shown subtitle stays while the next one loads; a Clear cancels that
  // load, and a failure says so and leaves nothing.
  reports.clear();
  load(bigPath);
  EXPECT_TRUE(manager_.IsLoading());
  EXPECT_NE(manager_.GetSubPic(2 * kSecond), nullptr);
  manager_.Clear();
  EXPECT_FALSE(manager_.IsLoading());
  load(home_.Root() + QStringLiteral("/missing.srt"));
  ASSERT_TRUE(test::WaitUntil([&] { return !reports.empty(); }, 30'000));
  EXPECT_EQ(reports,
            (std::vector<std::pair<QString, bool>>{{QStringLiteral("missing.srt"), false}}));
  EXPECT_FALSE(manager_.HasSubtitle());

  // An ASS script without events is still a script.
  reports.clear();
  load(Write(QStringLiteral("empty.ass"),
             "[Script Info]\nScriptType: v4.00+\n\n[Events]\nFormat: Layer, Start, End, "
             "Style, Text\n"));
  ASSERT_TRUE(test::WaitUntil([&] { return !reports.empty(); }, 30'000));
  EXPECT_TRUE(reports[0].second);
  EXPECT_TRUE(manager_.HasSubtitle());
  EXPECT_EQ(manager_.GetSubPic(2 * kSecond), nullptr);
}

TEST_F(SubtitleManagerTest, WhatLibassRefusesIsDrawnAsPlainCues) {
  // A ".sub" file holding SubRip, and a file without extension likewise.
  for (const char* name : {"movie.sub", "movie"}) {
    ASSERT_TRUE(manager_.LoadSubtitle(Write(QString::fromUtf8(name), kSrt))) << name;
    const auto picture = manager_.GetSubPic(2 * kSecond);
    ASSERT_NE(picture, nullptr);
    // White text, made opaque; the bottom of the picture.
    EXPECT_GT(CountOpaquePixels(*picture), 200);
    EXPECT_GT(picture->GetDirtyRect().Top, 180);
    EXPECT_LE(picture->GetDirtyRect().Bottom, 360 - 20 + 4);  // margin, shadow offset
  }
  // An extension-less ASS file goes to libass.
  ASSERT_TRUE(manager_.LoadSubtitle(Write(QStringLiteral("script"),
                                          "[Script Info]\nScriptType: v4.00+\n\n[Events]\n"
                                          "Format: Layer, Start, End, Style, Text\n"
                                          "Dialogue: 0,0:00:01.00,0:00:03.00,Default,libass\n")));
  EXPECT_NE(manager_.GetSubPic(2 * kSecond), nullptr);
}

TEST_F(SubtitleManagerTest, LegacyAndUtf16FilesShowTheirText) {
  const std::string korean = "1\n00:00:01,000 --> 00:00:03,000\n한국어 자막입니다\n";
  const QByteArray files[] = {
      QStringEncoder(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom)
          .encode(QString::fromStdString(korean)),
      test::EncodeAs(korean, "CP949"), QByteArray::fromStdString(korean)};
  std::set<int64_t> opaque;  // every encoding draws the same text
  for (const QByteArray& bytes : files) {
    ASSERT_TRUE(manager_.LoadSubtitle(Write(QStringLiteral("k.srt"), bytes)));
    const auto picture = manager_.GetSubPic(2 * kSecond);
    ASSERT_NE(picture, nullptr);
    opaque.insert(CountOpaquePixels(*picture));
  }
  EXPECT_EQ(opaque.size(), 1u);
}

TEST_F(SubtitleManagerTest, ReloadAppliesAStyleChangeToConvertedFilesOnly) {
  const QString srt = Write(QStringLiteral("movie.srt"), kSrt);
  ASSERT_TRUE(manager_.LoadSubtitle(srt));
  const auto white = manager_.GetSubPic(2 * kSecond);
  ASSERT_NE(white, nullptr);
  EXPECT_GT(SumChannel(*white, 0), SumChannel(*white, 2) / 2);  // blue as strong as red

  SubtitleStyle style;
  LoadSubtitleStyle(&style);
  style.PrimaryColor = 0x00FF0000;  // red
  style.OutlineColor = 0x00FF0000;
  SaveSubtitleStyle(style);
  ASSERT_TRUE(manager_.ReloadSubtitle());
  const auto red = manager_.GetSubPic(2 * kSecond);
  ASSERT_NE(red, nullptr);
  EXPECT_NE(red, white);
  EXPECT_LT(SumChannel(*red, 0) * 20, SumChannel(*red, 2));

  const QString ass = Write(QStringLiteral("movie.ass"),
                            "[Script Info]\nScriptType: v4.00+\n\n[V4+ Styles]\nFormat: Name, "
                            "PrimaryColour\nStyle: Default,&H00FFFFFF\n\n[Events]\nFormat: "
                            "Layer, Start, End, Style, Text\n"
                            "Dialogue: 0,0:00:01.00,0:00:03.00,Default,own style\n");
  ASSERT_TRUE(manager_.LoadSubtitle(ass));
  const int64_t blueBefore = SumChannel(*manager_.GetSubPic(2 * kSecond), 0);
  ASSERT_TRUE(manager_.ReloadSubtitle());
  EXPECT_EQ(SumChannel(*manager_.GetSubPic(2 * kSecond), 0), blueBefore);

  manager_.Clear();
  EXPECT_FALSE(manager_.ReloadSubtitle());
}

TEST_F(SubtitleManagerTest, DelayEnabledFlagAndRenderSize) {
  ASSERT_TRUE(manager_.LoadSubtitle(Write(QStringLiteral("movie.srt"), kSrt)));
  EXPECT_EQ(manager_.GetSubPic(kSecond / 2), nullptr);
  manager_.SetDelay(1000);
  EXPECT_EQ(manager_.GetDelay(), 1000);
  EXPECT_NE(manager_.GetSubPic(kSecond / 2), nullptr);
  manager_.SetDelay(0);
  EXPECT_EQ(manager_.GetSubPic(kSecond / 2), nullptr);

  manager_.SetEnabled(false);
  EXPECT_EQ(manager_.GetSubPic(2 * kSecond), nullptr);
  manager_.SetEnabled(true);

  manager_.SetRenderSize(1280, 720);
  const auto large = manager_.GetSubPic(2 * kSecond);
  ASSERT_NE(large, nullptr);
  EXPECT_EQ(large->GetSize(), QSize(1280, 720));
  manager_.SetRenderSize(0, 500);  // ignored
  EXPECT_EQ(manager_.GetSubPic(2 * kSecond), large);

  // A new pipeline keeps the size the renderer gave.
  ASSERT_TRUE(manager_.Initialize(1920, 1080));
  ASSERT_TRUE(manager_.LoadSubtitle(Write(QStringLiteral("movie.srt"), kSrt)));
  EXPECT_EQ(manager_.GetSubPic(2 * kSecond)->GetSize(), QSize(1280, 720));

  manager_.Shutdown();
  EXPECT_FALSE(manager_.IsInitialized());
  EXPECT_EQ(manager_.GetDelay(), 0);
  EXPECT_EQ(manager_.GetSubPic(2 * kSecond), nullptr);
  // The picture handed out before stays whole.
  EXPECT_GT(CountOpaquePixels(*large), 100);
}

TEST_F(SubtitleManagerTest, RendererThreadRunsWhileTheOwnerReloadsAndRestarts) {
  const QString srt = Write(QStringLiteral("movie.srt"), kSrt);
  const QString fade = Write(
      QStringLiteral("fade.ass"),
      "[Script Info]\nScriptType: v4.00+\n\n[Events]\nFormat: Layer, Start, End, Style, Text\n"
      "Dialogue: 0,0:00:00.00,0:00:09.00,Default,{\\fad(4000,4000)}fading\n");
  ASSERT_TRUE(manager_.LoadSubtitle(srt));
  std::atomic<bool> stop{false};
  std::atomic<int> frames{0};
  std::thread renderer([&] {
    int64_t time = 0;
    while (!stop.load()) {
      manager_.SetRenderSize(frames % 50 < 25 ? 640 : 480, 360);
      if (auto picture = manager_.GetSubPic(time)) (void)CountOpaquePixels(*picture);
      time = (time + kSecond / 25) % (6 * kSecond);
      ++frames;
    }
  });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (frames.load() == 0 && std::chrono::steady_clock::now() < deadline)
    std::this_thread::yield();
  for (int round = 0; round < 12; ++round) {
    EXPECT_TRUE(manager_.LoadSubtitle(round % 2 ? fade : srt));
    manager_.SetDelay(round * 100);
    EXPECT_TRUE(manager_.ReloadSubtitle());
    if (round % 4 == 3) {
      manager_.Shutdown();
      ASSERT_TRUE(manager_.Initialize(640, 360));
    }
  }
  stop = true;
  renderer.join();
  EXPECT_GT(frames.load(), 0);
}

}  // namespace
}  // namespace zelvaro
