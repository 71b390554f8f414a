// Audio control on real pipelines: generated tones played through the real
// audio chain into a capturing appsink, and the stored settings around it.

#include "engine/graph_manager.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/engine/audio_capture.h"
#include "tests/engine/recording_video_output.h"
#include "tests/support/temp_home.h"

#include <gtest/gtest.h>

#include <cmath>

namespace zelvaro {
namespace {

using test::AudioCapture;
using test::MakeMedia;
using test::Peak;
using test::ToneFrequency;
using test::WaitUntil;

constexpr int kWaitMs = 15000;
constexpr double kAmplitude30dB = 0.0316;  // −30 dBFS

uint32_t Stored(QStringView name) {
  return Settings::GetDwordOr(name, 0xFFFFFFFFu);
}

class AudioControlTest : public ::testing::Test {
 protected:
  // Levels are measured at full volume (a new manager starts at half).
  void SetUp() override { graph.SetVolume(1.0f); }

  // A 440 Hz tone, 3 s, AAC as most files carry it.
  QString ToneFile() {
    return MakeMedia(home.Root(), "tone.m4a",
                     {"-f", "lavfi", "-i", "sine=frequency=440:sample_rate=48000:duration=3",
                      "-c:a", "aac", "-b:a", "128k"});
  }
  // Lossless, so levels measure exactly: `amplitude` as an expression of t.
  QString LevelFile(const QString& name, QString amplitude, int seconds) {
    // A comma would end the filter in a lavfi description.
    amplitude.replace(u',', QStringLiteral("\\,"));
    const QString source =
        QStringLiteral("aevalsrc=(%1)*sin(2*PI*440*t):s=48000:d=%2").arg(amplitude).arg(seconds);
    return MakeMedia(home.Root(), name, {"-f", "lavfi", "-i", source, "-c:a", "flac"});
  }

  // Opens into `capture` (and plays to the end as fast as the chain runs,
  // waiting for it, when `play`).
  void Open(AudioCapture& capture, const QString& path, bool play = true) {
    graph.SetAudioRendererFactory(capture.Factory());
    ASSERT_TRUE(graph.OpenFile(path));
    if (!play) return;
    ASSERT_TRUE(graph.Play());
    ASSERT_TRUE(WaitUntil([&] { return capture.EndOfStream(); }, kWaitMs));
  }

  // Channel 0 between two stream times, seconds.
  static std::vector<float> Between(const AudioCapture& capture, double from, double to) {
    return capture.Samples(capture.FrameAtStreamTime(from), capture.FrameAtStreamTime(to));
  }

  test::TempHome home;
  GraphManager graph;
};

TEST_F(AudioControlTest, SpeedKeepsThePitchMovesStreamTimeAtTheRateAndRefusesTheRest) {
  EXPECT_FALSE(graph.SetSpeed(2.0));  // no graph
  EXPECT_EQ(graph.Speed(), 1.0);
  const QString tone = ToneFile();
  ASSERT_FALSE(tone.isEmpty());
  for (double rate : {2.0, 0.5, 0.1, 4.0}) {
    SCOPED_TRACE(rate);
    AudioCapture capture(false);
    Open(capture, tone, false);
    ASSERT_TRUE(graph.SetSpeed(rate));
    // Refused values reach neither the stage nor the graph.
    for (double refused : {0.09, 4.01, 0.0, -1.0, std::nan("")})
      EXPECT_FALSE(graph.SetSpeed(refused)) << refused;
    EXPECT_EQ(graph.Speed(), rate);
    ASSERT_TRUE(graph.Play());
    ASSERT_TRUE(WaitUntil([&] { return capture.EndOfStream(); }, kWaitMs));

    const int sampleRate = capture.SampleRate();
    ASSERT_GT(sampleRate, 0);
    // Three seconds of input last 3 / rate seconds of output.
    EXPECT_NEAR(static_cast<double>(capture.Frames()) / sampleRate, 3.0 / rate, 0.1 / rate + 0.1);
    // In the middle: the tone, and stream time moving `rate` seconds per
    // second of sound.
    const int64_t from = capture.FrameAtStreamTime(1.0), to = capture.FrameAtStreamTime(2.0);
    ASSERT_GT(to, from);
    EXPECT_NEAR(ToneFrequency(capture.Samples(from, to), sampleRate), 440.0, 440.0 * 0.02);
    const double streamSeconds = capture.StreamTimeAt(to) - capture.StreamTimeAt(from);
    EXPECT_NEAR(streamSeconds * sampleRate / (to - from), rate, rate * 0.02);
  }
  // The speed outlives the graph and applies to the next one.
  AudioCapture next(false);
  Open(next, tone);
  EXPECT_EQ(graph.Speed(), 4.0);
  EXPECT_NEAR(static_cast<double>(next.Frames()) / next.SampleRate(), 0.75, 0.15);
}

TEST_F(AudioControlTest, TheTapGivesTheLatestSamplesOfTheStretchStage) {
  float buffer[2048];
  int frames = 0, channels = 0, sampleRate = 0;
  EXPECT_FALSE(graph.GetAudioSamples(buffer, 2048, &frames, &channels, &sampleRate));

  const QString tone = ToneFile();
  AudioCapture capture(true);
  Open(capture, tone, false);
  ASSERT_TRUE(graph.SetSpeed(1.5));
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return capture.Frames() > 24000; }, kWaitMs));
  ASSERT_TRUE(graph.GetAudioSamples(buffer, 2048, &frames, &channels, &sampleRate));
  EXPECT_EQ(channels, 1);
  EXPECT_EQ(sampleRate, 48000);
  EXPECT_EQ(frames, 2048);
  EXPECT_NEAR(ToneFrequency(std::vector<float>(buffer, buffer + frames), sampleRate), 440.0, 8.8);
  // Never more than asked for, and nothing for nonsense.
  ASSERT_TRUE(graph.GetAudioSamples(buffer, 100, &frames, &channels, &sampleRate));
  EXPECT_EQ(frames, 100);
  EXPECT_FALSE(graph.GetAudioSamples(buffer, 0, &frames, &channels, &sampleRate));
  EXPECT_FALSE(graph.GetAudioSamples(nullptr, 100, &frames, &channels, &sampleRate));

  // Without the stage there is no tap.
  AudioStageNames stages;
  stages.timeStretch.clear();
  graph.SetAudioStageNames(stages);
  ASSERT_TRUE(graph.OpenFile(tone));
  EXPECT_FALSE(graph.GetAudioSamples(buffer, 2048, &frames, &channels, &sampleRate));
}

TEST_F(AudioControlTest, VolumeAndMuteGiveTheDecibelCurveFromTheFirstBuffer) {
  EXPECT_EQ(VolumeLevel(1.0f, false), 0);
  EXPECT_EQ(VolumeLevel(0.5f, false), -602);
  EXPECT_EQ(VolumeLevel(0.01f, false), -4000);
  EXPECT_EQ(VolumeLevel(0.0f, false), -10000);
  EXPECT_EQ(VolumeLevel(0.8f, true), -10000);

  // From the very first buffer, which is decoded while the graph is built,
  // before any setter could reach the stages: they must be made at the
  // levels asked for.
  const QString file = LevelFile("quarter.flac", "0.25", 1);
  auto peakAt = [&](float volume, bool muted) {
    graph.SetMuted(muted);
    graph.SetVolume(volume);
    AudioCapture capture(false);
    Open(capture, file);
    return Peak(capture.Samples(0, capture.FrameAtStreamTime(0.8)));
  };
  const float full = peakAt(1.0f, false);
  EXPECT_NEAR(full, 0.25f, 0.01f);
  EXPECT_NEAR(peakAt(0.5f, false) / full, 0.5f, 0.01f);
  EXPECT_NEAR(peakAt(0.01f, false) / full, 0.01f, 0.0004f);
  EXPECT_EQ(peakAt(0.5f, true), 0.0f);
  // Muting kept the volume.
  EXPECT_EQ(graph.Volume(), 0.5f);
  EXPECT_EQ(Stored(setting::kVolume), 50u);

  // While it plays, too.
  graph.SetMuted(false);
  graph.SetVolume(1.0f);
  AudioCapture capture(true);
  Open(capture, LevelFile("long_quarter.flac", "0.25", 5), false);
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return capture.Frames() > 4800; }, kWaitMs));
  EXPECT_TRUE(graph.SetVolume(0.5f));
  // What was already on its way to the sink (a buffer or two) keeps the old
  // gain; what follows has the new one.
  const int64_t changedAt = capture.Frames();
  ASSERT_TRUE(WaitUntil([&] { return capture.Frames() > changedAt + 24000; }, kWaitMs));
  EXPECT_NEAR(Peak(capture.Samples(changedAt + 14400, changedAt + 24000)), 0.125f, 0.005f);
}

TEST_F(AudioControlTest, SettersClampAndSaveBeforeTheyNeedAGraph) {
  EXPECT_FALSE(graph.SetVolume(1.5f));  // no graph: stored all the same
  EXPECT_EQ(graph.Volume(), 1.0f);
  EXPECT_EQ(Stored(setting::kVolume), 100u);
  graph.SetMuted(true);
  EXPECT_EQ(Stored(setting::kMuted), 1u);
  graph.SetVolume(0.45f);  // a float just under 0.45 still saves 45
  EXPECT_EQ(Stored(setting::kVolume), 45u);
  graph.SetVolume(std::nanf(""));
  EXPECT_EQ(graph.Volume(), 0.0f);

  EXPECT_TRUE(graph.SetBoost(0.5f));  // no switcher counts as taken
  EXPECT_EQ(graph.BoostFactor(), 1.0f);
  EXPECT_EQ(Stored(setting::kAudioBoost), 0u);
  graph.SetBoost(2.5f);
  EXPECT_EQ(Stored(setting::kAudioBoost), 150u);

  // No graph: the compression substitute has nothing to talk to.
  EXPECT_FALSE(graph.SetNormalize(true, false, 20.0f));
  EXPECT_EQ(graph.MaxNormFactor(), 10.0f);
  EXPECT_EQ(Stored(setting::kAudioMaxNormFactor), 1000u);
  EXPECT_EQ(Stored(setting::kAudioNormalize), 1u);
  EXPECT_EQ(Stored(setting::kAudioNormalizeRecover), 0u);
  graph.SetNormalize(false, true, 2.3f);
  EXPECT_EQ(Stored(setting::kAudioMaxNormFactor), 230u);

  // DRC saves only when a graph can take it; the toggle stays without effect.
  bool enabled = false;
  int level = 0;
  EXPECT_FALSE(graph.SetDRCLevel(true, 80));
  EXPECT_FALSE(graph.QueryDRC(&enabled, &level));
  graph.ToggleDRC();
  EXPECT_EQ(Stored(setting::kLavDrcEnabled), 0xFFFFFFFFu);
  EXPECT_EQ(Stored(setting::kLavDrcLevel), 0xFFFFFFFFu);
}

TEST_F(AudioControlTest, NormalisationRaisesQuietPassagesAndBoostNeverClips) {
  // 3 s at −30 dBFS, 1 s at full scale, 3 s at −30 dBFS again.
  const QString file = LevelFile(
      "quiet_loud.flac", QStringLiteral("if(between(t,3,4),0.999,%1)").arg(kAmplitude30dB), 7);
  graph.SetNormalize(true, true, 4.0f);
  AudioCapture recovering(false);
  Open(recovering, file);
  EXPECT_TRUE(graph.NormalizeEnabled());
  // Raised by the maximum factor, not to full scale; the loud part not clipped.
  EXPECT_NEAR(Peak(Between(recovering, 1.0, 2.9)), 4 * kAmplitude30dB, 0.005);
  const float loud = Peak(Between(recovering, 2.9, 4.1));
  EXPECT_LT(loud, 1.0f);
  EXPECT_GT(loud, 0.9f);
  // With recover the gain comes back after the peak.
  EXPECT_NEAR(Peak(Between(recovering, 6.0, 6.9)), 4 * kAmplitude30dB, 0.01);

  // Without it the peak holds the gain down.
  graph.SetNormalize(true, false, 4.0f);
  AudioCapture holding(false);
  Open(holding, file);
  EXPECT_NEAR(Peak(Between(holding, 1.0, 2.9)), 4 * kAmplitude30dB, 0.005);
  EXPECT_LT(Peak(Between(holding, 6.0, 6.9)), 1.1 * kAmplitude30dB);

  // Boost doubles at factor two, and a loud tone boosted stays a tone under
  // full scale.
  graph.SetNormalize(false, true, 4.0f);
  graph.SetBoost(2.0f);
  AudioCapture quiet(false);
  Open(quiet, LevelFile("quarter.flac", "0.25", 1));
  EXPECT_EQ(graph.BoostFactor(), 2.0f);
  EXPECT_NEAR(Peak(Between(quiet, 0.2, 0.8)), 0.5f, 0.01f);
  AudioCapture boosted(false);
  Open(boosted, LevelFile("loud.flac", "0.9", 1));
  const std::vector<float> samples = Between(boosted, 0.2, 0.8);
  EXPECT_LT(Peak(samples), 1.0f);
  EXPECT_NEAR(ToneFrequency(samples, boosted.SampleRate()), 440.0, 2.0);
}

TEST_F(AudioControlTest, CompressionTurnsDownLoudPassagesOnly) {
  const QString file = LevelFile(
      "quiet_loud.flac", QStringLiteral("if(between(t,1,2),0.999,%1)").arg(kAmplitude30dB), 3);
  bool enabled = true;
  int level = 0;
  AudioCapture capture(false);
  Open(capture, file, false);
  ASSERT_TRUE(graph.QueryDRC(&enabled, &level));
  EXPECT_FALSE(enabled);  // nothing stored: off
  EXPECT_EQ(level, 100);
  EXPECT_FALSE(graph.QueryDRC(nullptr, &level));

  ASSERT_TRUE(graph.SetDRCLevel(true, 150));
  EXPECT_EQ(Stored(setting::kLavDrcEnabled), 1u);
  EXPECT_EQ(Stored(setting::kLavDrcLevel), 100u);
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return capture.EndOfStream(); }, kWaitMs));
  // 4:1 above −20 dBFS: a full-scale tone comes out near −15 dBFS.
  const float loud = 20 * std::log10(Peak(Between(capture, 1.2, 1.9)));
  EXPECT_LT(loud, -12.0f);
  EXPECT_GT(loud, -17.0f);
  EXPECT_NEAR(Peak(Between(capture, 0.2, 0.9)), kAmplitude30dB, 0.002);

  graph.ToggleDRC();
  ASSERT_TRUE(graph.QueryDRC(&enabled, &level));
  EXPECT_FALSE(enabled);
  EXPECT_EQ(Stored(setting::kLavDrcEnabled), 0u);

  // The next graph starts with what was stored; with no AudioSwitcher,
  // normalisation asks the compression for factor × 25.
  graph.ToggleDRC();
  AudioStageNames stages;
  stages.audioSwitcher.clear();
  graph.SetAudioStageNames(stages);
  ASSERT_TRUE(graph.OpenFile(file));
  ASSERT_TRUE(graph.QueryDRC(&enabled, &level));
  EXPECT_TRUE(enabled);
  ASSERT_TRUE(graph.SetNormalize(true, true, 2.0f));
  ASSERT_TRUE(graph.QueryDRC(&enabled, &level));
  EXPECT_TRUE(enabled);
  EXPECT_EQ(level, 50);
  EXPECT_EQ(Stored(setting::kLavDrcLevel), 50u);
}

}  // namespace
}  // namespace zelvaro
