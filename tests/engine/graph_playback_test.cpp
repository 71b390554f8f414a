// GraphManager on real pipelines: the generated clips played through
// GStreamer into a recording VideoOutput, on this machine's real (absent)
// audio device and hardware decoders.

#include "engine/graph_manager.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/engine/recording_video_output.h"
#include "tests/support/http_test_server.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace zelvaro {
namespace {

using test::FixturePath;
using test::NearColor;
using test::PixelColor;
using test::WaitUntil;

constexpr int kWaitMs = 8000;

class GraphPlaybackTest : public ::testing::Test {
 protected:
  void SetUp() override {
    graph.SetGraphEventSink([this](long eventCode) {
      events.push_back(eventCode);
      eventsOnInterfaceThread = eventsOnInterfaceThread &&
                                QThread::currentThread() == QCoreApplication::instance()->thread();
    });
  }

  bool WaitForPosition(double atLeastSeconds) {
    return WaitUntil([&] { return graph.GetPosition() >= atLeastSeconds; }, kWaitMs);
  }

  // Waits for a delivered frame whose time is within one frame of `seconds`.
  bool WaitForFrameAt(double seconds) {
    return WaitUntil(
        [&] {
          VideoFramePtr frame = output.LastFrame();
          return frame && std::abs(frame->time100ns / 1e7 - seconds) < 0.03;
        },
        kWaitMs);
  }

  test::TempHome home;
  test::RecordingVideoOutput output;
  GraphManager graph{&output};
  std::vector<long> events;
  bool eventsOnInterfaceThread = true;
};

// The fall-back tests need a machine without hardware H.264 decoding (CI).
bool HasHardwareH264() {
  for (const char* factory : {"vah264dec", "vaapih264dec", "nvh264dec"}) {
    if (ProbeDecoderFactory(factory)) return true;
  }
  return false;
}

void ExpectQuadrantPattern(const VideoFrame& frame) {
  int w = frame.width;
  int h = frame.height;
  EXPECT_TRUE(NearColor(PixelColor(frame, w / 4, h / 4), QColor(255, 0, 0)));
  EXPECT_TRUE(NearColor(PixelColor(frame, 3 * w / 4, h / 4), QColor(0, 255, 0)));
  EXPECT_TRUE(NearColor(PixelColor(frame, w / 4, 3 * h / 4), QColor(0, 0, 255)));
  EXPECT_TRUE(NearColor(PixelColor(frame, 3 * w / 4, 3 * h / 4), QColor(255, 255, 255)));
}

TEST_F(GraphPlaybackTest, OpenPlayPauseStopClose) {
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mp4")));
  EXPECT_EQ(graph.State(), 0);
  EXPECT_EQ(graph.CurrentPath(), FixturePath("pattern_h264_aac.mp4"));
  EXPECT_TRUE(graph.HasVideo());
  EXPECT_FALSE(graph.IsUrlInput());
  EXPECT_NEAR(graph.GetDuration(), 5.0, 0.1);
  EXPECT_NEAR(graph.GetPosition(), 0.0, 0.05);

  // Opened means prerolled: the first picture is already on the output, in
  // the pattern's colours, letterboxed into the 1920×1080 area.
  VideoFramePtr first = output.LastFrame();
  ASSERT_TRUE(first);
  EXPECT_EQ(first->width, 320);
  EXPECT_EQ(first->height, 240);
  EXPECT_TRUE(first->format == VideoPixelFormat::I420 || first->format == VideoPixelFormat::NV12);
  EXPECT_NEAR(first->time100ns, 0, 400'000);
  ExpectQuadrantPattern(*first);
  EXPECT_EQ(output.DestinationRect(), QRect(240, 0, 1440, 1080));

  ASSERT_TRUE(graph.Play());
  EXPECT_EQ(graph.State(), 2);
  ASSERT_TRUE(WaitForPosition(0.5));
  int framesWhilePlaying = output.FrameCount();
  EXPECT_GT(framesWhilePlaying, 5);

  graph.Pause();
  EXPECT_EQ(graph.State(), 1);
  double pausedAt = graph.GetPosition();
  EXPECT_GT(pausedAt, 0.4);

  // Stop keeps the input and goes back to the start, showing its picture.
  graph.Stop();
  EXPECT_EQ(graph.State(), 0);
  EXPECT_FALSE(graph.CurrentPath().isEmpty());
  ASSERT_TRUE(WaitForFrameAt(0.0));
  EXPECT_NEAR(graph.GetPosition(), 0.0, 0.05);

  int clearsBefore = output.ClearCount();
  graph.Close();
  EXPECT_TRUE(graph.CurrentPath().isEmpty());
  EXPECT_EQ(graph.State(), 0);
  EXPECT_GT(output.ClearCount(), clearsBefore);
  EXPECT_FALSE(graph.Play());
  EXPECT_EQ(graph.GetDuration(), 0.0);
}

TEST_F(GraphPlaybackTest, PlaysAtClockSpeedWithoutAnAudioDevice) {
  // There is no sound card here: the audio branch ends in a synchronised
  // null sink, so the picture neither races nor stalls.
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
  EXPECT_FALSE(graph.GetDecoderInfo().audioCodec.isEmpty());
  QElapsedTimer wall;
  wall.start();
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitForPosition(1.0));
  // A pipeline without a clock would be through the whole clip by now.
  EXPECT_GE(wall.elapsed(), 700);
  EXPECT_TRUE(events.empty());
}

TEST_F(GraphPlaybackTest, EndOfStreamReachesTheInterfaceThreadAsGraphEvent) {
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mp4")));
  ASSERT_TRUE(graph.Seek(4.6, false, 0));
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return !events.empty(); }, kWaitMs));
  EXPECT_EQ(events.front(), kEcComplete);
  EXPECT_TRUE(eventsOnInterfaceThread);
  // After the end, Stop brings the start back, as the interface does.
  graph.Stop();
  EXPECT_TRUE(WaitForFrameAt(0.0));
}

TEST_F(GraphPlaybackTest, TheClockRunsOnWhenThePictureEndsBeforeTheSound) {
  // 1 s of picture, 4 s of sound.
  ASSERT_TRUE(graph.OpenFile(FixturePath("audio_outlasts_video.mkv")));
  ASSERT_TRUE(graph.Seek(0.6, false, 0));
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitForPosition(1.5));
  EXPECT_TRUE(events.empty());
  ASSERT_TRUE(WaitForPosition(3.5));
  ASSERT_TRUE(WaitUntil([&] { return !events.empty(); }, kWaitMs));
  EXPECT_EQ(events.front(), kEcComplete);
  // A seek back into the picture takes the clock from it again.
  graph.Pause();
  ASSERT_TRUE(graph.Seek(0.4, false, 0));
  ASSERT_TRUE(WaitForFrameAt(0.4));
  EXPECT_NEAR(graph.GetPosition(), 0.4, 0.05);
}

TEST_F(GraphPlaybackTest, HardwareModesFallBackToSoftwareOnThisMachine) {
  if (HasHardwareH264()) GTEST_SKIP() << "this machine decodes H.264 in hardware";
  for (uint32_t mode : {1u, 3u, 5u, 0u}) {
    SCOPED_TRACE(mode);
    ASSERT_TRUE(Settings::SetDword(setting::kLavHwAccel, mode));
    ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
    DecoderInfo info = graph.GetDecoderInfo();
    EXPECT_EQ(info.videoCodec, "H264");
    EXPECT_EQ(info.videoDecoder, "avdec_h264");
    EXPECT_FALSE(info.isHardwareDecoder);
    // The picture came through, so no software rebuild: the mode asked for stays.
    EXPECT_EQ(graph.HwAccel(), static_cast<int>(mode));
    EXPECT_TRUE(output.LastFrame());
  }
}

TEST_F(GraphPlaybackTest, DecoderInfoReadsBackWhatDecodes) {
  struct Case {
    const char* file;
    const char* videoCodec;
    const char* audioCodec;
  };
  for (const Case& c :
       {Case{"pattern_h264_aac.mp4", "H264", "AAC"}, Case{"pattern_vp9_opus.webm", "VP90", "OPUS"},
        Case{"pattern_mpeg4_mp3.avi", "MP4V", "MP3"},
        Case{"pattern_hevc_aac.mkv", "HEVC", "AAC"}}) {
    SCOPED_TRACE(c.file);
    ASSERT_TRUE(graph.OpenFile(FixturePath(c.file)));
    DecoderInfo info = graph.GetDecoderInfo();
    EXPECT_EQ(info.videoCodec, c.videoCodec);
    EXPECT_FALSE(info.videoDecoder.isEmpty());
    EXPECT_EQ(info.isHardwareDecoder, IsHardwareDecoderName(info.videoDecoder.toStdString()));
    EXPECT_EQ(info.audioCodec, c.audioCodec);
    EXPECT_EQ(info.audioChannels, 1);
    EXPECT_EQ(info.audioSampleRate, 48000);
    EXPECT_NEAR(info.frameRate, 25.0, 0.01);
    VideoFramePtr frame = output.LastFrame();
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->width, 320);
    ExpectQuadrantPattern(*frame);
  }
}

TEST_F(GraphPlaybackTest, AudioOnlyFileIsBuiltAgainInSoftware) {
  ASSERT_TRUE(graph.OpenFile(FixturePath("cover_art.mp3")));
  EXPECT_FALSE(graph.HasVideo());
  EXPECT_FALSE(graph.VideoConnected());
  EXPECT_EQ(graph.HwAccel(), kHwAccelNone);  // the no-picture fall-back ran
  DecoderInfo info = graph.GetDecoderInfo();
  EXPECT_TRUE(info.videoCodec.isEmpty());
  EXPECT_EQ(info.audioCodec, "MP3");
  EXPECT_EQ(info.audioSampleRate, 48000);
  EXPECT_NEAR(graph.GetDuration(), 10.0, 0.2);
  EXPECT_FALSE(output.LastFrame());
  EXPECT_GT(output.ClearCount(), 0);
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitForPosition(0.3));

  // Without the fall-back, the mode asked for stays.
  ASSERT_TRUE(Settings::SetDword(setting::kHwAccelFallback, 0));
  ASSERT_TRUE(graph.OpenFile(FixturePath("cover_art.mp3")));
  EXPECT_EQ(graph.HwAccel(), kHwAccelDefault);
}

TEST_F(GraphPlaybackTest, VideoWithoutSoundPlaysToItsEnd) {
  const QString silent = home.Root() + "/silent.mp4";
  ASSERT_EQ(QProcess::execute("ffmpeg", {"-nostdin", "-loglevel", "error", "-y", "-i",
                                         FixturePath("pattern_h264_aac.mp4"), "-an", "-t", "1.2",
                                         "-c:v", "copy", silent}),
            0);
  ASSERT_TRUE(graph.OpenFile(silent));
  EXPECT_TRUE(graph.VideoConnected());
  EXPECT_TRUE(graph.GetDecoderInfo().audioCodec.isEmpty());
  ASSERT_TRUE(graph.Play());
  // Without an audio branch the video sink alone keeps the clock and ends the stream.
  EXPECT_TRUE(WaitUntil([&] { return !events.empty(); }, kWaitMs));
  ASSERT_FALSE(events.empty());
  EXPECT_EQ(events.front(), kEcComplete);
  ExpectQuadrantPattern(*output.LastFrame());
}

TEST_F(GraphPlaybackTest, PictureAbove2160pForcesTheHardwareMode) {
  if (HasHardwareH264()) GTEST_SKIP() << "this machine decodes H.264 in hardware";
  QString wide = home.Root() + "/wide.mkv";
  int exitCode = QProcess::execute("ffmpeg", {"-nostdin", "-loglevel", "error", "-y", "-f", "lavfi",
                                              "-i", "color=c=red:s=3848x16:r=5:d=0.4", "-c:v",
                                              "libx264", "-preset", "ultrafast", wide});
  ASSERT_EQ(exitCode, 0);
  ASSERT_TRUE(Settings::SetDword(setting::kLavHwAccel, kHwAccelNone));
  ASSERT_TRUE(graph.OpenFile(wide));
  EXPECT_EQ(graph.HwAccel(), kHwAccelD3D11);
  // No VA-API here: decoded in software all the same.
  EXPECT_EQ(graph.GetDecoderInfo().videoDecoder, "avdec_h264");
  ASSERT_TRUE(output.LastFrame());
  EXPECT_EQ(output.LastFrame()->width, 3848);
}

TEST_F(GraphPlaybackTest, SnappedSeeksLandOnTheKeyframesTheDemuxerSees) {
  // MP4 with B-frames (index in decoding time) and its Matroska copy (cues in
  // presentation time, 21 ms later).
  for (const char* file : {"pattern_h264_aac.mp4", "pattern_h264_aac.mkv"}) {
    SCOPED_TRACE(file);
    ASSERT_TRUE(graph.OpenFile(FixturePath(file)));
    const std::vector<int64_t>& keyframes = graph.Keyframes();
    ASSERT_EQ(keyframes.size(), 5u);
    double second = keyframes[2] / 1e7;  // about 2.0 s
    graph.Pause();

    ASSERT_TRUE(graph.Seek(second + 0.3, true, 0));
    ASSERT_TRUE(WaitForFrameAt(second));
    EXPECT_NEAR(graph.GetPosition(), second, 0.03);
    ASSERT_TRUE(graph.Seek(second + 0.3, true, 1));
    ASSERT_TRUE(WaitForFrameAt(keyframes[3] / 1e7));
    ASSERT_TRUE(graph.SeekPreviousKeyframe());
    ASSERT_TRUE(WaitForFrameAt(second));
    ASSERT_TRUE(graph.SeekNextKeyframe());
    ASSERT_TRUE(WaitForFrameAt(keyframes[3] / 1e7));
    // An exact seek shows the very frame asked for, paused.
    ASSERT_TRUE(graph.Seek(1.52, false, 0));
    ASSERT_TRUE(WaitForFrameAt(1.52));
    EXPECT_EQ(graph.State(), 1);
  }
}

TEST_F(GraphPlaybackTest, RelativeSeeksStayInsideTheInput) {
  ASSERT_TRUE(graph.OpenFile(FixturePath("long_lowres.mkv")));
  EXPECT_EQ(graph.Keyframes().size(), 300u);
  ASSERT_TRUE(graph.SeekRelative(-10.0, false));
  ASSERT_TRUE(WaitForFrameAt(0.046));
  ASSERT_TRUE(graph.SeekRelative(63.0, true));  // forward: the next keyframe from 63 s
  ASSERT_TRUE(WaitForFrameAt(64.046));
  ASSERT_TRUE(graph.SeekRelative(-7.0, true));  // backward: the keyframe before 57.046 s
  ASSERT_TRUE(WaitForFrameAt(56.046));
  // Past the end: the last keyframe.
  ASSERT_TRUE(graph.SeekRelative(10'000.0, true));
  ASSERT_TRUE(WaitForFrameAt(graph.Keyframes().back() / 1e7));
}

TEST_F(GraphPlaybackTest, BrokenInputsFailCleanly) {
  QByteArray noise(200 * 1024, '\0');
  for (int i = 0; i < noise.size(); ++i) noise[i] = static_cast<char>((i * 7919 + 13) % 251);
  QFile mp4(FixturePath("pattern_h264_aac.mp4"));
  ASSERT_TRUE(mp4.open(QIODevice::ReadOnly));
  const QStringList inputs = {
      home.Root() + "/missing.mkv", home.WriteFile("noise.mkv", noise),
      home.WriteFile("empty.mp4", QByteArray()),
      home.WriteFile("cut.mp4", mp4.read(4096)),  // the index sits at the end: gone
  };
  for (const QString& input : inputs) {
    SCOPED_TRACE(input.toStdString());
    QElapsedTimer wall;
    wall.start();
    EXPECT_FALSE(graph.OpenFile(input));
    // An error ends the wait for streams; only a silent input would meet the
    // build's time-out.
    EXPECT_LT(wall.elapsed(), 8000);
    EXPECT_TRUE(graph.CurrentPath().isEmpty());
    EXPECT_EQ(graph.State(), 0);
    EXPECT_FALSE(graph.Play());
    EXPECT_TRUE(graph.Keyframes().empty());
  }
  // The manager is still good for a real file.
  EXPECT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
}

TEST_F(GraphPlaybackTest, InputsWithNothingToPlayFailAtOnce) {
  for (const char* file : {"subtitles_only.mkv", "multitrack_en.srt", "data_only.ts"}) {
    SCOPED_TRACE(file);
    QElapsedTimer wall;
    wall.start();
    EXPECT_FALSE(graph.OpenFile(FixturePath(file)));
    // Not the build's time-out: both attempts see at once that no stream plays.
    EXPECT_LT(wall.elapsed(), 2000);
    EXPECT_TRUE(graph.CurrentPath().isEmpty());
    EXPECT_FALSE(graph.Play());
  }
}

TEST_F(GraphPlaybackTest, MissingAudioStagesDegradeToPlainAudio) {
  AudioStageNames stages;
  stages.timeStretch = "zelvaro_no_such_stretch";
  stages.audioSwitcher = "zelvaro_no_such_switcher";
  graph.SetAudioStageNames(stages);
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
  EXPECT_EQ(graph.GetDecoderInfo().audioCodec, "AAC");
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitForPosition(0.3));

  // A stage that exists but passes sound through unchanged links in.
  stages.audioSwitcher = "identity";
  graph.SetAudioStageNames(stages);
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitForPosition(0.3));
}

TEST_F(GraphPlaybackTest, StreamsBeyondTheFirstAudioAndVideoDoNotHoldPlaybackBack) {
  // Two audio tracks and two subtitle tracks.
  ASSERT_TRUE(graph.OpenFile(FixturePath("multitrack.mkv")));
  EXPECT_EQ(graph.GetDecoderInfo().audioCodec, "AAC");
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitForPosition(1.0));
}

TEST_F(GraphPlaybackTest, RendererSettingsFollowRotationAndFlips) {
  EXPECT_FALSE(graph.SetRotation(90));  // stored before any file
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
  // A new file shows the stored orientation.
  auto settings = output.Settings();
  ASSERT_GE(settings.size(), 2u);
  EXPECT_EQ(settings[settings.size() - 2], std::make_pair(std::string("rotation"), 90));
  EXPECT_EQ(settings.back(), std::make_pair(std::string("flip"), 0));

  output.ForgetSettings();
  EXPECT_TRUE(graph.SetRotation(450));  // the same 90: nothing is sent
  EXPECT_TRUE(output.Settings().empty());
  EXPECT_TRUE(graph.SetFlipHorizontal(true));
  EXPECT_TRUE(graph.SetFlipVertical(true));
  settings = output.Settings();
  ASSERT_EQ(settings.size(), 3u);
  EXPECT_EQ(settings[0], std::make_pair(std::string("flip"), 1));
  // A vertical flip with the mirror on: a half turn more and no mirror.
  EXPECT_EQ(settings[1], std::make_pair(std::string("rotation"), 270));
  EXPECT_EQ(settings[2], std::make_pair(std::string("flip"), 0));

  output.ForgetSettings();
  graph.RefreshVideoPosition();
  // Turned a quarter, the 4:3 picture is letterboxed as 3:4.
  EXPECT_EQ(output.DestinationRect(), QRect(555, 0, 810, 1080));
  ASSERT_EQ(output.Settings().size(), 1u);
  EXPECT_EQ(output.Settings()[0], std::make_pair(std::string("cmd_redraw"), 1));
}

TEST_F(GraphPlaybackTest, OpensAUrlFromAnHttpServer) {
  QFile file(FixturePath("pattern_h264_aac.mkv"));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  test::HttpTestServer server;
  test::HttpResponse response;
  response.body = file.readAll();
  response.contentType = "video/x-matroska";
  server.Route("/clip.mkv", response);

  ASSERT_TRUE(graph.OpenFile(server.Url("/clip.mkv")));
  EXPECT_TRUE(graph.IsUrlInput());
  EXPECT_TRUE(graph.Keyframes().empty());
  EXPECT_EQ(graph.GetDecoderInfo().videoCodec, "H264");
  ASSERT_TRUE(output.LastFrame());
  ExpectQuadrantPattern(*output.LastFrame());
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitForPosition(0.5));

  // An address that answers 404 fails the open, and is not asked twice.
  EXPECT_FALSE(graph.OpenFile(server.Url("/missing.mkv")));
  EXPECT_FALSE(graph.IsUrlInput());
  int missingRequests = 0;
  for (const test::HttpRequest& request : server.Requests()) {
    missingRequests += request.path == "/missing.mkv" ? 1 : 0;
  }
  EXPECT_EQ(missingRequests, 1);
}

TEST_F(GraphPlaybackTest, AStreamCutInTheMiddleEndsTheInput) {
  QFile file(FixturePath("pattern_h264_aac.mkv"));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  test::HttpTestServer server;
  // Five seconds announced, about three sent (slowly, so the graph stands
  // first), then the connection drops.
  server.Route("/cut.mkv", {.body = file.readAll(),
                            .contentType = "video/x-matroska",
                            .trickleBytesPerSecond = 30'000,
                            .cutAfterBytes = 40'000});
  ASSERT_TRUE(graph.OpenFile(server.Url("/cut.mkv")));
  ASSERT_TRUE(graph.Play());
  // Whether the source calls it an error or an end, the input ends once and
  // the interface hears of it, instead of a picture that stands for ever.
  auto ends = [&] {
    return std::count(events.begin(), events.end(), kEcErrorAbort) +
           std::count(events.begin(), events.end(), kEcComplete);
  };
  ASSERT_TRUE(WaitUntil([&] { return ends() > 0; }, kWaitMs * 2));
  QCoreApplication::processEvents();
  EXPECT_EQ(ends(), 1);
}

TEST_F(GraphPlaybackTest, ASlowAddressBuffersThenPlaysAndKeepsTheUsersPause) {
  QFile file(FixturePath("pattern_h264_aac.mkv"));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  test::HttpTestServer server;
  // About 67 KB at 20 KB/s: slower than the clip plays.
  server.Route(
      "/slow.mkv",
      {.body = file.readAll(), .contentType = "video/x-matroska", .trickleBytesPerSecond = 20'000});
  std::vector<bool> results;
  graph.OpenUrlAsync(server.Url("/slow.mkv"), [&](bool opened) { results.push_back(opened); });
  ASSERT_TRUE(WaitUntil([&] { return !results.empty(); }, kWaitMs));
  ASSERT_TRUE(results.front());

  ASSERT_TRUE(graph.Play());
  EXPECT_EQ(graph.State(), 2);
  // The buffer is not full yet: the pipeline waits, and says how far it is.
  ASSERT_TRUE(WaitUntil([&] { return graph.IsBuffering(); }, kWaitMs));
  EXPECT_LT(graph.BufferingPercent(), 100);
  ASSERT_TRUE(WaitUntil([&] { return std::count(events.begin(), events.end(), kEcBuffering) > 0; },
                        kWaitMs));
  // The user pauses meanwhile: the full buffer does not undo that.
  graph.Pause();
  EXPECT_EQ(graph.State(), 1);
  ASSERT_TRUE(WaitUntil([&] { return !graph.IsBuffering(); }, kWaitMs * 2));
  EXPECT_EQ(graph.BufferingPercent(), 100);
  EXPECT_EQ(graph.State(), 1);
  double pausedAt = graph.GetPosition();
  EXPECT_LT(pausedAt, 0.2);
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitForPosition(pausedAt + 1.0));
}

TEST_F(GraphPlaybackTest, AUrlOpensWhileTheInterfaceThreadGoesOn) {
  QFile file(FixturePath("pattern_h264_aac.mkv"));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  test::HttpTestServer server;
  server.Route("/clip.mkv", {.body = file.readAll(), .contentType = "video/x-matroska"});
  server.Route("/silent.mkv", {.delayMs = 60'000});  // accepts, never answers

  int ticks = 0;
  QTimer ticker;
  QObject::connect(&ticker, &QTimer::timeout, [&] { ++ticks; });
  ticker.start(20);
  std::vector<bool> results;
  int progressCalls = 0;
  auto done = [&](bool opened) { results.push_back(opened); };
  auto progress = [&](int) { ++progressCalls; };

  graph.OpenUrlAsync(server.Url("/silent.mkv"), done, progress);
  EXPECT_TRUE(graph.IsOpening());
  // The interface's timers run while the address is silent, and the wait
  // reports itself for the OSD.
  ASSERT_TRUE(WaitUntil([&] { return progressCalls >= 1 && ticks >= 10; }, kWaitMs));
  EXPECT_EQ(server.RequestCount(), 1);
  QElapsedTimer wall;
  wall.start();
  graph.Close();
  EXPECT_LT(wall.elapsed(), 1000);
  EXPECT_FALSE(graph.IsOpening());

  // A new open cancels the one in flight: only the new one reports.
  graph.OpenUrlAsync(server.Url("/silent.mkv"), done, progress);
  graph.OpenUrlAsync(server.Url("/clip.mkv"), done, progress);
  ASSERT_TRUE(WaitUntil([&] { return !results.empty(); }, kWaitMs));
  ASSERT_EQ(results, std::vector<bool>{true});
  EXPECT_FALSE(graph.IsOpening());
  EXPECT_EQ(graph.CurrentPath(), server.Url("/clip.mkv"));
  EXPECT_TRUE(graph.IsUrlInput());
  EXPECT_EQ(graph.GetDecoderInfo().videoCodec, "H264");
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitForPosition(0.5));

  // A failure reports false once, without a second request; opening a local
  // file cancels a silent address.
  graph.OpenUrlAsync(server.Url("/missing.mkv"), done, progress);
  ASSERT_TRUE(WaitUntil([&] { return results.size() == 2; }, kWaitMs));
  EXPECT_FALSE(results.back());
  EXPECT_TRUE(graph.CurrentPath().isEmpty());
  graph.OpenUrlAsync(server.Url("/silent.mkv"), done, progress);
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mp4")));
  QCoreApplication::processEvents();
  EXPECT_EQ(results.size(), 2u);
  int missingRequests = 0;
  for (const test::HttpRequest& request : server.Requests()) {
    missingRequests += request.path == "/missing.mkv" ? 1 : 0;
  }
  EXPECT_EQ(missingRequests, 1);
}

}  // namespace
}  // namespace zelvaro
