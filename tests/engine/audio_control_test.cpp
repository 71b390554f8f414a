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
    return MakeMedia(home.Root(), "tone.m4a", "sine=frequency=440:sample_rate=48000:duration=3",
                     {"-c:a", "aac", "-b:a", "128k"});
  }
  // Lossless, so levels measure exactly: `amplitude` as an expression of t.
  QString LevelFile(const QString& name, QString amplitude, int seconds) {
    // A comma would end the filter in a lavfi description.
    amplitude.replace(u',', QStringLiteral("\\,"));
    return MakeMedia(
        home.Root(), name,
        QStringLiteral("aevalsrc=(%1)*sin(2*PI*440*t):s=48000:d=%2").arg(amplitude).arg(seconds),
        {"-c:a", "flac"});
  }

  // Opens, plays to the end as fast as the chain runs, and waits for it.
  void PlayThrough(AudioCapture& capture, const QString& path) {
    graph.SetAudioRendererFactory(capture.Factory());
    ASSERT_TRUE(graph.OpenFile(path));
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

TEST_F(AudioControlTest, SpeedKeepsThePitchAndMovesStreamTimeAtTheRate) {
  QString tone = ToneFile();
  ASSERT_FALSE(tone.isEmpty());
  for (double rate : {2.0, 0.5, 0.1, 4.0}) {
    SCOPED_TRACE(rate);
    AudioCapture capture(false);
    graph.SetAudioRendererFactory(capture.Factory());
    ASSERT_TRUE(graph.OpenFile(tone));
    ASSERT_TRUE(graph.SetSpeed(rate));
    EXPECT_EQ(graph.Speed(), rate);
    ASSERT_TRUE(graph.Play());
    ASSERT_TRUE(WaitUntil([&] { return capture.EndOfStream(); }, kWaitMs));

    int sampleRate = capture.SampleRate();
    ASSERT_GT(sampleRate, 0);
    // Three seconds of input last 3 / rate seconds of output.
    EXPECT_NEAR(static_cast<double>(capture.Frames()) / sampleRate, 3.0 / rate, 0.1 / rate + 0.1);
    // In the middle: the tone, and stream time moving `rate` seconds per
    // second of sound.
    int64_t from = capture.FrameAtStreamTime(1.0);
    int64_t to = capture.FrameAtStreamTime(2.0);
    ASSERT_GT(to, from);
    EXPECT_NEAR(ToneFrequency(capture.Samples(from, to), sampleRate), 440.0, 440.0 * 0.02);
    double streamSeconds = capture.StreamTimeAt(to) - capture.StreamTimeAt(from);
    double soundSeconds = static_cast<double>(to - from) / sampleRate;
    EXPECT_NEAR(streamSeconds / soundSeconds, rate, rate * 0.02);
  }
}

TEST_F(AudioControlTest, SpeedOutsideItsRangeIsRefusedAndChangesNothing) {
  EXPECT_FALSE(graph.SetSpeed(2.0));  // no graph
  EXPECT_EQ(graph.Speed(), 1.0);

  QString tone = ToneFile();
  AudioCapture capture(false);
  graph.SetAudioRendererFactory(capture.Factory());
  ASSERT_TRUE(graph.OpenFile(tone));
  ASSERT_TRUE(graph.SetSpeed(2.0));
  for (double refused : {0.09, 4.01, 0.0, -1.0, std::nan("")}) {
    EXPECT_FALSE(graph.SetSpeed(refused)) << refused;
  }
  EXPECT_EQ(graph.Speed(), 2.0);
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return capture.EndOfStream(); }, kWaitMs));
  // The stage and the graph still run at 2.0: the refused values reached
  // neither.
  int64_t from = capture.FrameAtStreamTime(1.0);
  int64_t to = capture.FrameAtStreamTime(2.0);
  double soundSeconds = static_cast<double>(to - from) / capture.SampleRate();
  EXPECT_NEAR((capture.StreamTimeAt(to) - capture.StreamTimeAt(from)) / soundSeconds, 2.0, 0.04);

  // The speed outlives the graph and applies to the next one.
  AudioCapture next(false);
  PlayThrough(next, tone);
  EXPECT_EQ(graph.Speed(), 2.0);
  EXPECT_NEAR(static_cast<double>(next.Frames()) / next.SampleRate(), 1.5, 0.15);
}

TEST_F(AudioControlTest, TheTapGivesTheLatestSamplesOfTheStretchStage) {
  float buffer[2048];
  int frames = 0;
  int channels = 0;
  int sampleRate = 0;
  EXPECT_FALSE(graph.GetAudioSamples(buffer, 2048, &frames, &channels, &sampleRate));

  QString tone = ToneFile();
  AudioCapture capture(true);
  graph.SetAudioRendererFactory(capture.Factory());
  ASSERT_TRUE(graph.OpenFile(tone));
  ASSERT_TRUE(graph.SetSpeed(1.5));
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return capture.Frames() > 24000; }, kWaitMs));
  ASSERT_TRUE(graph.GetAudioSamples(buffer, 2048, &frames, &channels, &sampleRate));
  EXPECT_EQ(channels, 1);
  EXPECT_EQ(sampleRate, 48000);
  EXPECT_EQ(frames, 2048);
  std::vector<float> tapped(buffer, buffer + frames);
  EXPECT_NEAR(ToneFrequency(tapped, sampleRate), 440.0, 440.0 * 0.02);
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

TEST_F(AudioControlTest, VolumeAndMuteGiveTheDecibelCurve) {
  EXPECT_EQ(VolumeLevel(1.0f, false), 0);
  EXPECT_EQ(VolumeLevel(0.5f, false), -602);
  EXPECT_EQ(VolumeLevel(0.01f, false), -4000);
  EXPECT_EQ(VolumeLevel(0.0f, false), -10000);
  EXPECT_EQ(VolumeLevel(0.8f, true), -10000);

  QString file = LevelFile("quarter.flac", "0.25", 1);
  auto peakAt = [&](float volume, bool muted) {
    graph.SetMuted(muted);
    graph.SetVolume(volume);
    AudioCapture capture(false);
    PlayThrough(capture, file);
    return Peak(Between(capture, 0.2, 0.8));
  };
  float full = peakAt(1.0f, false);
  EXPECT_NEAR(full, 0.25f, 0.01f);
  EXPECT_NEAR(peakAt(0.5f, false) / full, 0.5f, 0.01f);
  EXPECT_NEAR(peakAt(0.1f, false) / full, 0.1f, 0.005f);
  EXPECT_EQ(peakAt(0.5f, true), 0.0f);
  // Muting kept the volume.
  EXPECT_EQ(graph.Volume(), 0.5f);
  EXPECT_EQ(Stored(setting::kVolume), 50u);

  // While it plays, too.
  graph.SetMuted(false);
  graph.SetVolume(1.0f);
  AudioCapture capture(true);
  graph.SetAudioRendererFactory(capture.Factory());
  ASSERT_TRUE(graph.OpenFile(LevelFile("long_quarter.flac", "0.25", 5)));
  ASSERT_TRUE(graph.Play());
  ASSERT_TRUE(WaitUntil([&] { return capture.Frames() > 4800; }, kWaitMs));
  EXPECT_TRUE(graph.SetVolume(0.5f));
  // What was already on its way to the sink (a buffer or two) keeps the old
  // gain; what follows has the new one.
  int64_t changedAt = capture.Frames();
  ASSERT_TRUE(WaitUntil([&] { return capture.Frames() > changedAt + 24000; }, kWaitMs));
  EXPECT_NEAR(Peak(capture.Samples(changedAt + 14400, changedAt + 24000)), 0.125f, 0.005f);
}

TEST_F(AudioControlTest, TheFirstBufferIsNeverLouderThanAsked) {
  // The first buffer is decoded while the graph is built, before any setter
  // could reach the stages: they must be made at the levels asked for.
  QString file = LevelFile("quarter_start.flac", "0.25", 1);
  struct Case {
    float volume;
    bool muted;
    float maxPeak;
  };
  for (const Case& c : {Case{0.5f, true, 0.0f}, Case{0.01f, false, 0.0026f}}) {
    SCOPED_TRACE(c.volume);
    graph.SetMuted(c.muted);
    graph.SetVolume(c.volume);
    AudioCapture capture(false);
    graph.SetAudioRendererFactory(capture.Factory());
    ASSERT_TRUE(graph.OpenFile(file));
    ASSERT_TRUE(graph.Play());
    ASSERT_TRUE(WaitUntil([&] { return capture.Frames() > 0; }, kWaitMs));
    EXPECT_LE(Peak(capture.Samples(0, 4800)), c.maxPeak);
  }
}

TEST_F(AudioControlTest, SettersClampAndSaveBeforeTheyNeedAGraph) {
  EXPECT_FALSE(graph.SetVolume(1.5f));  // no graph: stored all the same
  EXPECT_EQ(graph.Volume(), 1.0f);
  EXPECT_EQ(Stored(setting::kVolume), 100u);
  graph.SetMuted(true);
  EXPECT_EQ(Stored(setting::kMuted), 1u);
  graph.SetVolume(0.45f);  // a float just under 0.45 still saves 45
  EXPECT_EQ(Stored(setting::kVolume), 45u);
  EXPECT_EQ(graph.Volume(), 0.45f);
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

  // DRC saves only when a graph can take it; the toggle reads the stored
  // value and stays without effect.
  bool enabled = false;
  int level = 0;
  EXPECT_FALSE(graph.SetDRCLevel(true, 80));
  EXPECT_FALSE(graph.QueryDRC(&enabled, &level));
  graph.ToggleDRC();
  EXPECT_EQ(Stored(setting::kLavDrcEnabled), 0xFFFFFFFFu);
  EXPECT_EQ(Stored(setting::kLavDrcLevel), 0xFFFFFFFFu);
}

TEST_F(AudioControlTest, NormalisationRaisesQuietPassagesAndNeverClips) {
  // 3 s at −30 dBFS, 1 s at full scale, 3 s at −30 dBFS again.
  QString file = LevelFile("quiet_loud.flac",
                           QStringLiteral("if(between(t,3,4),0.999,%1)").arg(kAmplitude30dB), 7);
  graph.SetNormalize(true, true, 4.0f);
  AudioCapture recovering(false);
  PlayThrough(recovering, file);
  EXPECT_TRUE(graph.NormalizeEnabled());
  EXPECT_EQ(graph.MaxNormFactor(), 4.0f);
  // Raised by the maximum factor, not to full scale.
  EXPECT_NEAR(Peak(Between(recovering, 1.0, 2.9)), 4 * kAmplitude30dB, 0.005);
  float loud = Peak(Between(recovering, 2.9, 4.1));
  EXPECT_LT(loud, 1.0f);
  EXPECT_GT(loud, 0.9f);
  // With recover the gain comes back after the peak.
  EXPECT_NEAR(Peak(Between(recovering, 6.0, 6.9)), 4 * kAmplitude30dB, 0.01);

  // Without it the peak holds the gain down.
  graph.SetNormalize(true, false, 4.0f);
  AudioCapture holding(false);
  PlayThrough(holding, file);
  EXPECT_NEAR(Peak(Between(holding, 1.0, 2.9)), 4 * kAmplitude30dB, 0.005);
  EXPECT_LT(Peak(Between(holding, 6.0, 6.9)), 1.1 * kAmplitude30dB);
}

TEST_F(AudioControlTest, BoostDoublesAtFactorTwoAndLimitsInsteadOfClipping) {
  graph.SetNormalize(false, true, 4.0f);
  graph.SetBoost(2.0f);
  AudioCapture quiet(false);
  PlayThrough(quiet, LevelFile("quarter.flac", "0.25", 1));
  EXPECT_EQ(graph.BoostFactor(), 2.0f);
  EXPECT_NEAR(Peak(Between(quiet, 0.2, 0.8)), 0.5f, 0.01f);

  // A loud tone boosted stays a tone under full scale.
  AudioCapture loud(false);
  PlayThrough(loud, LevelFile("loud.flac", "0.9", 1));
  std::vector<float> samples = Between(loud, 0.2, 0.8);
  EXPECT_LT(Peak(samples), 1.0f);
  EXPECT_NEAR(ToneFrequency(samples, loud.SampleRate()), 440.0, 2.0);
}

TEST_F(AudioControlTest, CompressionTurnsDownLoudPassagesOnly) {
  QString file = LevelFile("quiet_loud.flac",
                           QStringLiteral("if(between(t,1,2),0.999,%1)").arg(kAmplitude30dB), 3);
  bool enabled = true;
  int level = 0;
  AudioCapture capture(false);
  graph.SetAudioRendererFactory(capture.Factory());
  ASSERT_TRUE(graph.OpenFile(file));
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
  float loud = Peak(Between(capture, 1.2, 1.9));
  EXPECT_LT(20 * std::log10(loud), -12.0f);
  EXPECT_GT(20 * std::log10(loud), -17.0f);
  EXPECT_NEAR(Peak(Between(capture, 0.2, 0.9)), kAmplitude30dB, 0.002);

  graph.ToggleDRC();
  ASSERT_TRUE(graph.QueryDRC(&enabled, &level));
  EXPECT_FALSE(enabled);
  EXPECT_EQ(level, 100);
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
