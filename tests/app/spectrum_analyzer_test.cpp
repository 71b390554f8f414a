// The spectrum's analysis: where a tone lands, how levels fall back to
// rest, and the band edges at a low sample rate.

#include "app/spectrum_analyzer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

namespace zelvaro {
namespace {

std::vector<float> Tone(double hz, int sampleRate, int channels) {
  std::vector<float> samples(size_t(kSpectrumWindow) * channels);
  for (int i = 0; i < kSpectrumWindow; ++i)
    for (int c = 0; c < channels; ++c)
      samples[size_t(i) * channels + c] =
          float(0.5 * std::sin(2 * std::numbers::pi * hz * i / sampleRate));
  return samples;
}

int LoudestBand(const SpectrumAnalyzer::Levels& levels) {
  return int(std::max_element(levels.begin(), levels.end()) - levels.begin());
}

TEST(SpectrumAnalyzerTest, ATonePeaksInItsBandAndSilenceFallsToExactlyZero) {
  const struct {
    double hz;
    int sampleRate;
    int channels;
  } tones[] = {{100, 48000, 2}, {1000, 48000, 2}, {3000, 8000, 1}, {10000, 44100, 6}};
  int previousBand = -1;
  for (const auto& tone : tones) {
    SpectrumAnalyzer analyzer;
    const auto samples = Tone(tone.hz, tone.sampleRate, tone.channels);
    analyzer.Process(samples.data(), kSpectrumWindow, tone.channels, tone.sampleRate);
    const auto levels = analyzer.GetLevels();
    // A wide high band averages its one loud bin with many quiet ones.
    EXPECT_GT(levels[LoudestBand(levels)], 0.02f) << tone.hz;
    // Band b spans 20 Hz · (f/2 / 20)^(b/32): a higher tone, a higher band.
    const double expected = 32 * std::log10(tone.hz / 20) / std::log10(tone.sampleRate / 2.0 / 20);
    EXPECT_NEAR(LoudestBand(levels), expected, 1.5) << tone.hz;
    if (tone.sampleRate == 48000) {
      EXPECT_GT(LoudestBand(levels), previousBand);
    }
    previousBand = LoudestBand(levels);

    const std::vector<float> silence(samples.size(), 0.0f);
    for (int i = 0; i < 200; ++i)
      analyzer.Process(silence.data(), kSpectrumWindow, tone.channels, tone.sampleRate);
    for (float level : analyzer.GetLevels()) EXPECT_EQ(level, 0.0f) << tone.hz;
  }
}

TEST(SpectrumAnalyzerTest, IgnoresEmptyInputAndResets) {
  SpectrumAnalyzer analyzer;
  const auto samples = Tone(440, 48000, 2);
  analyzer.Process(nullptr, kSpectrumWindow, 2, 48000);
  analyzer.Process(samples.data(), 0, 2, 48000);
  analyzer.Process(samples.data(), kSpectrumWindow, 0, 48000);
  for (float level : analyzer.GetLevels()) EXPECT_EQ(level, 0.0f);
  analyzer.Process(samples.data(), 100, 2, 48000);  // fewer frames than the window
  EXPECT_GT(analyzer.GetLevels()[LoudestBand(analyzer.GetLevels())], 0.0f);
  analyzer.Reset();
  for (float level : analyzer.GetLevels()) EXPECT_EQ(level, 0.0f);
}

}  // namespace
}  // namespace zelvaro
