// GraphManager on real pipelines: the generated clips played through
// GStreamer into a recording VideoOutput, on this machine's real (absent)
// audio device and hardware decoders.

#include "engine/graph_manager.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/engine/audio_capture.h"
#include "tests/engine/recording_video_output.h"
#include "tests/support/http_test_server.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace zelvaro {
namespace {

using test::FixturePath;
using test::MakeMedia;
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

  bool WaitForEvent(long code, int timeoutMs = kWaitMs) {
    return WaitUntil([&] { return std::count(events.begin(), events.end(), code) > 0; }, timeoutMs);
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

// The fixtures' quadrants: red, lime, blue, white.
void ExpectQuadrantPattern(const VideoFramePtr& frame) {
  ASSERT_TRUE(frame);
  const int w = frame->width, h = frame->height;
  EXPECT_TRUE(NearColor(PixelColor(*frame, w / 4, h / 4), QColor(255, 0, 0)));
  EXPECT_TRUE(NearColor(PixelColor(*frame, 3 * w / 4, h / 4), QColor(0, 255, 0)));
  EXPECT_TRUE(NearColor(PixelColor(*frame, w / 4, 3 * h / 4), QColor(0, 0, 255)));
  EXPECT_TRUE(NearColor(PixelColor(*frame, 3 * w / 4, 3 * h / 4), QColor(255, 255, 255)));
}

TEST_F(GraphPlaybackTest, OpenPlayPauseToTheEndStopAndClose) {
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mp4")));
  EXPECT_EQ(graph.State(), 0);
  EXPECT_EQ(graph.CurrentPath(), FixturePath("pattern_h264_aac.mp4"));
  EXPECT_FALSE(graph.IsUrlInput());
  EXPECT_NEAR(graph.GetDuration(), 5.0, 0.1);
  // Opened means prerolled: the first picture is already on the output, in
  // the pattern's colours, letterboxed into the 1920×1080 area.
  VideoFramePtr first = output.LastFrame();
  ASSERT_TRUE(first);
  EXPECT_EQ(QSize(first->width, first->height), QSize(320, 240));
  EXPECT_NEAR(first->time100ns, 0, 400'000);
  ExpectQuadrantPattern(first);
  EXPECT_EQ(output.DestinationRect(), QRect(240, 0, 1440, 1080));

  // There is no sound card here: the audio branch ends in a synchronised
  // null sink, so the picture neither races nor stalls.
  QElapsedTimer wall;
  wall.start();
  ASSERT_TRUE(graph.Play());
  EXPECT_EQ(graph.State(), 2);
  ASSERT_TRUE(WaitForPosition(1.0));
  EXPECT_GE(wall.elapsed(), 700);  // without a clock the clip would be over by now
  EXPECT_GT(output.FrameCount(), 5);
  graph.Pause();
  EXPECT_EQ(graph.State(), 1);
  EXPECT_GT(graph.GetPosition(), 0.9);
  EXPECT_TRUE(events.empty());

  // The end reaches the interface thread as a graph event; Stop keeps the
  // input and brings the start back, as the interface does.
  ASSERT_TRUE(graph.Seek(4.6, false, 0));
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitForEvent(kEcComplete));
  EXPECT_TRUE(eventsOnInterfaceThread);
  graph.Stop();
  EXPECT_EQ(graph.State(), 0);
  ASSERT_TRUE(WaitForFrameAt(0.0));
  EXPECT_NEAR(graph.GetPosition(), 0.0, 0.05);

  const int clearsBefore = output.ClearCount();
  graph.Close();
  EXPECT_TRUE(graph.CurrentPath().isEmpty());
  EXPECT_TRUE(graph.Keyframes().empty());
  EXPECT_GT(output.ClearCount(), clearsBefore);
  EXPECT_FALSE(graph.Play());
  EXPECT_EQ(graph.GetDuration(), 0.0);
}

TEST_F(GraphPlaybackTest, TheClockRunsOnWhenThePictureEndsBeforeTheSound) {
  // 1 s of picture, 4 s of sound.
  ASSERT_TRUE(graph.OpenFile(FixturePath("audio_outlasts_video.mkv")));
  ASSERT_TRUE(graph.Seek(0.6, false, 0));
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitForPosition(3.5));
  ASSERT_TRUE(WaitForEvent(kEcComplete));
  // A seek back into the picture takes the clock from it again.
  graph.Pause();
  ASSERT_TRUE(graph.Seek(0.4, false, 0));
  ASSERT_TRUE(WaitForFrameAt(0.4));
  EXPECT_NEAR(graph.GetPosition(), 0.4, 0.05);
}

TEST_F(GraphPlaybackTest, DecoderInfoReadsBackWhatDecodesInEveryHardwareMode) {
  // No hardware decoder here: each mode falls back to software, and since
  // the picture came through there is no rebuild, so the mode asked for stays.
  const bool hardware = HasHardwareH264();
  struct Case {
    const char* file;
    const char* videoCodec;
    const char* audioCodec;
    uint32_t mode;
  };
  for (const Case& c : {Case{"pattern_h264_aac.mp4", "H264", "AAC", 1},
                        Case{"pattern_h264_aac.mkv", "H264", "AAC", 3},
                        Case{"pattern_vp9_opus.webm", "VP90", "OPUS", 5},
                        Case{"pattern_mpeg4_mp3.avi", "MP4V", "MP3", 0},
                        Case{"pattern_hevc_aac.mkv", "HEVC", "AAC", 5}}) {
    SCOPED_TRACE(c.file);
    ASSERT_TRUE(Settings::SetDword(setting::kLavHwAccel, c.mode));
    ASSERT_TRUE(graph.OpenFile(FixturePath(c.file)));
    EXPECT_TRUE(graph.HasVideo());
    DecoderInfo info = graph.GetDecoderInfo();
    EXPECT_EQ(info.videoCodec, c.videoCodec);
    EXPECT_EQ(info.isHardwareDecoder, IsHardwareDecoderName(info.videoDecoder.toStdString()));
    EXPECT_EQ(info.audioCodec, c.audioCodec);
    EXPECT_EQ(info.audioChannels, 1);
    EXPECT_EQ(info.audioSampleRate, 48000);
    EXPECT_NEAR(info.frameRate, 25.0, 0.01);
    ExpectQuadrantPattern(output.LastFrame());
    if (!hardware && info.videoCodec == "H264") {
      EXPECT_EQ(info.videoDecoder, "avdec_h264");
      EXPECT_EQ(graph.HwAccel(), static_cast<int>(c.mode));
    }
  }
}

TEST_F(GraphPlaybackTest, AudioOnlyFileIsBuiltAgainInSoftware) {
  ASSERT_TRUE(graph.OpenFile(FixturePath("cover_art.mp3")));
  EXPECT_FALSE(graph.HasVideo());
  EXPECT_FALSE(graph.VideoConnected());
  EXPECT_EQ(graph.HwAccel(), kHwAccelNone);  // the no-picture fall-back ran
  EXPECT_TRUE(graph.GetDecoderInfo().videoCodec.isEmpty());
  EXPECT_EQ(graph.GetDecoderInfo().audioCodec, "MP3");
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

// The desktop names what plays by these: the container's tags, and a sound
// stream's own in a file of sound alone, never a film's track names.
TEST_F(GraphPlaybackTest, TagsNameTheInputAndNotItsTracks) {
  const QString tone = FixturePath("cover_art.mp3");
  const QString film = FixturePath("pattern_h264_aac.mp4");
  const InputTags fixture{"Fixture Tone", "Zelvaro Tests", "Fixtures"};
  struct Case {
    const char* name;
    QStringList arguments;  // for MakeMedia; empty plays the fixture itself
    InputTags expected;
  } cases[] = {
      {"tone.mp3", {}, fixture},
      {"tone.flac", {"-i", tone, "-map", "0:a", "-t", "1", "-c:a", "flac"}, fixture},
      {"titled.mkv",
       {"-i", film, "-t", "1", "-c", "copy", "-metadata", "title=The Film", "-metadata:s:a:0",
        "title=Commentary"},
       {"The Film", {}, {}}},
      {"untitled.mkv",
       {"-i", film, "-t", "1", "-c", "copy", "-metadata:s:a:0", "title=Commentary",
        "-metadata:s:v:0", "title=Main"},
       {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const QString path = c.arguments.isEmpty() ? tone : MakeMedia(home.Root(), c.name, c.arguments);
    ASSERT_FALSE(path.isEmpty());
    ASSERT_TRUE(graph.OpenFile(path));
    ASSERT_TRUE(graph.Play());
    // Every tag precedes the data past the sinks.
    ASSERT_TRUE(WaitForPosition(0.3));
    const InputTags tags = graph.GetInputTags();
    EXPECT_EQ(tags.title.toStdString(), c.expected.title.toStdString());
    EXPECT_EQ(tags.artist.toStdString(), c.expected.artist.toStdString());
    EXPECT_EQ(tags.album.toStdString(), c.expected.album.toStdString());
  }
  graph.Close();
  EXPECT_EQ(graph.GetInputTags(), InputTags{});
}

TEST_F(GraphPlaybackTest, VideoWithoutSoundPlaysToItsEnd) {
  const QString silent =
      MakeMedia(home.Root(), "silent.mp4",
                {"-i", FixturePath("pattern_h264_aac.mp4"), "-an", "-t", "1.2", "-c:v", "copy"});
  ASSERT_FALSE(silent.isEmpty());
  ASSERT_TRUE(graph.OpenFile(silent));
  EXPECT_TRUE(graph.VideoConnected());
  EXPECT_TRUE(graph.GetDecoderInfo().audioCodec.isEmpty());
  ASSERT_TRUE(graph.Play());
  // Without an audio branch the video sink alone keeps the clock and ends the stream.
  ASSERT_TRUE(WaitForEvent(kEcComplete));
  ExpectQuadrantPattern(output.LastFrame());
}

TEST_F(GraphPlaybackTest, PictureAbove2160pForcesTheHardwareMode) {
  if (HasHardwareH264()) GTEST_SKIP() << "this machine decodes H.264 in hardware";
  const QString wide = MakeMedia(home.Root(), "wide.mkv",
                                 {"-f", "lavfi", "-i", "color=c=red:s=3848x16:r=5:d=0.4", "-c:v",
                                  "libx264", "-preset", "ultrafast"});
  ASSERT_FALSE(wide.isEmpty());
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
    const double second = keyframes[2] / 1e7, third = keyframes[3] / 1e7;
    graph.Pause();
    ASSERT_TRUE(graph.Seek(second + 0.3, true, 0));
    ASSERT_TRUE(WaitForFrameAt(second));
    EXPECT_NEAR(graph.GetPosition(), second, 0.03);
    ASSERT_TRUE(graph.Seek(second + 0.3, true, 1));
    ASSERT_TRUE(WaitForFrameAt(third));
    ASSERT_TRUE(graph.SeekPreviousKeyframe());
    ASSERT_TRUE(WaitForFrameAt(second));
    ASSERT_TRUE(graph.SeekNextKeyframe());
    ASSERT_TRUE(WaitForFrameAt(third));
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

TEST_F(GraphPlaybackTest, InputsThatCannotPlayFailCleanlyAndSoon) {
  // An error ends the wait for streams at once; only a silent input would
  // meet the build's time-out. Nothing to play is seen at once as well.
  const std::pair<QString, int> inputs[] = {
      {home.Root() + "/missing.mkv", 8000},
      {home.WriteFile("noise.mkv", test::NoiseBytes(200 * 1024)), 8000},
      {home.WriteFile("empty.mp4", QByteArray()), 8000},
      // The index sits at the end: gone.
      {home.WriteFile("cut.mp4", test::FixtureBytes("pattern_h264_aac.mp4").left(4096)), 8000},
      {FixturePath("subtitles_only.mkv"), 2000},
      {FixturePath("multitrack_en.srt"), 2000},
      {FixturePath("data_only.ts"), 2000},
  };
  for (const auto& [input, withinMs] : inputs) {
    SCOPED_TRACE(input.toStdString());
    QElapsedTimer wall;
    wall.start();
    EXPECT_FALSE(graph.OpenFile(input));
    EXPECT_LT(wall.elapsed(), withinMs);
    EXPECT_TRUE(graph.CurrentPath().isEmpty());
    EXPECT_EQ(graph.State(), 0);
    EXPECT_FALSE(graph.Play());
    EXPECT_TRUE(graph.Keyframes().empty());
  }
  // The manager is still good for a real file.
  EXPECT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
}

TEST_F(GraphPlaybackTest, MissingAudioStagesAndExtraStreamsDoNotHoldPlaybackBack) {
  // Two audio tracks and two subtitle tracks, and stages that do not exist:
  // plain audio.
  AudioStageNames stages;
  stages.timeStretch = "zelvaro_no_such_stretch";
  stages.audioSwitcher = "zelvaro_no_such_switcher";
  graph.SetAudioStageNames(stages);
  ASSERT_TRUE(graph.OpenFile(FixturePath("multitrack.mkv")));
  EXPECT_EQ(graph.GetDecoderInfo().audioCodec, "AAC");
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitForPosition(1.0));

  // A stage that exists but passes sound through unchanged links in.
  stages.audioSwitcher = "identity";
  graph.SetAudioStageNames(stages);
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mkv")));
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitForPosition(0.3));
}

TEST_F(GraphPlaybackTest, AStreamCutInTheMiddleEndsTheInput) {
  test::HttpTestServer server;
  // Five seconds announced, about three sent (slowly, so the graph stands
  // first), then the connection drops.
  server.Route("/cut.mkv", {.body = test::FixtureBytes("pattern_h264_aac.mkv"),
                            .contentType = "video/x-matroska",
                            .trickleBytesPerSecond = 30'000,
                            .cutAfterBytes = 40'000});
  ASSERT_TRUE(graph.OpenFile(server.Url("/cut.mkv")));
  EXPECT_TRUE(graph.IsUrlInput());
  EXPECT_TRUE(graph.Keyframes().empty());
  ExpectQuadrantPattern(output.LastFrame());
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
  test::HttpTestServer server;
  // About 67 KB at 20 KB/s: slower than the clip plays.
  server.Route("/slow.mkv", {.body = test::FixtureBytes("pattern_h264_aac.mkv"),
                             .contentType = "video/x-matroska",
                             .trickleBytesPerSecond = 20'000});
  std::vector<bool> results;
  graph.OpenUrlAsync(server.Url("/slow.mkv"), [&](bool opened) { results.push_back(opened); });
  ASSERT_TRUE(WaitUntil([&] { return !results.empty(); }, kWaitMs));
  ASSERT_TRUE(results.front());

  ASSERT_TRUE(graph.Play());
  // The buffer is not full yet: the pipeline waits, and says how far it is.
  ASSERT_TRUE(WaitUntil([&] { return graph.IsBuffering(); }, kWaitMs));
  EXPECT_LT(graph.BufferingPercent(), 100);
  ASSERT_TRUE(WaitForEvent(kEcBuffering));
  // The user pauses meanwhile: the full buffer does not undo that.
  graph.Pause();
  ASSERT_TRUE(WaitUntil([&] { return !graph.IsBuffering(); }, kWaitMs * 2));
  EXPECT_EQ(graph.BufferingPercent(), 100);
  EXPECT_EQ(graph.State(), 1);
  const double pausedAt = graph.GetPosition();
  EXPECT_LT(pausedAt, 0.2);
  ASSERT_TRUE(graph.Play());
  EXPECT_TRUE(WaitForPosition(pausedAt + 1.0));
}

TEST_F(GraphPlaybackTest, AUrlOpensWhileTheInterfaceThreadGoesOn) {
  test::HttpTestServer server;
  server.Route("/clip.mkv", {.body = test::FixtureBytes("pattern_h264_aac.mkv"),
                             .contentType = "video/x-matroska"});
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

  // A failure reports false once, without a second request, and so does a
  // plain open; opening a local file cancels a silent address.
  graph.OpenUrlAsync(server.Url("/missing.mkv"), done, progress);
  ASSERT_TRUE(WaitUntil([&] { return results.size() == 2; }, kWaitMs));
  EXPECT_FALSE(results.back());
  EXPECT_TRUE(graph.CurrentPath().isEmpty());
  EXPECT_FALSE(graph.OpenFile(server.Url("/missing.mkv")));
  EXPECT_FALSE(graph.IsUrlInput());
  graph.OpenUrlAsync(server.Url("/silent.mkv"), done, progress);
  ASSERT_TRUE(graph.OpenFile(FixturePath("pattern_h264_aac.mp4")));
  QCoreApplication::processEvents();
  EXPECT_EQ(results.size(), 2u);
  const auto requests = server.Requests();
  EXPECT_EQ(std::count_if(requests.begin(), requests.end(),
                          [](const test::HttpRequest& r) { return r.path == "/missing.mkv"; }),
            2);
}

}  // namespace
}  // namespace zelvaro
