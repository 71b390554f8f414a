#pragma once
// SpectrumAnalyzer: 32 band levels (0..1) of the newest audio, for the bars
// under an audio file's cover. A Hann-windowed 1024-point FFT, bands spaced
// evenly on a log scale from 20 Hz to half the sample rate, rising fast and
// falling slowly. The interface thread feeds it from timer 1006 and reads
// the levels; the mutex guards them all the same.

#include <array>
#include <mutex>

namespace zelvaro {

inline constexpr int kSpectrumBands = 32;
inline constexpr int kSpectrumWindow = 1024;

class SpectrumAnalyzer {
 public:
  using Levels = std::array<float, kSpectrumBands>;

  SpectrumAnalyzer();
  void Reset();
  // Interleaved float samples; only the first kSpectrumWindow frames count.
  void Process(const float* samples, int frames, int channels, int sampleRate);
  Levels GetLevels() const;

 private:
  std::array<float, kSpectrumWindow> window_;
  mutable std::mutex lock_;
  Levels levels_{};
};

}  // namespace zelvaro
