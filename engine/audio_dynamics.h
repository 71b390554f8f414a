#pragma once
// The gain computers behind Zelvaro's own audio elements, on interleaved
// float samples in place. Each object belongs to one streaming thread; its
// parameters are plain values handed in by the element that owns it.
//
// NormalizeBoost: loudness normalisation and boost. Quiet passages are
// raised toward full scale, by at most the maximum factor; the boost
// multiplies on top. A peak follower with instant attack lowers the gain the
// moment a louder sample arrives, so the output never passes kCeiling and
// never clips. Without "recover" the loudest peak heard sets the gain for the
// rest of the stream; with it the peak fades and the gain comes back.
//
// Compressor: dynamic range compression above a threshold, its ratio set by
// a level from 0 (none) to 100 (4:1), on a smoothed envelope so the waveform
// itself is not bent.

#include <cstddef>

namespace zelvaro {

struct NormalizeBoostParams {
  bool normalize = false;
  bool recover = true;
  float maxFactor = 4.0f;    // 1.0 to 10.0
  float boostFactor = 1.0f;  // 1.0 to 4.0
  // Nothing to do: the element passes buffers through untouched.
  bool Neutral() const { return !normalize && boostFactor <= 1.0f; }
};

class NormalizeBoost {
 public:
  // The highest output magnitude, a little under full scale so that a
  // resampler's overshoot further down stays inside it too.
  static constexpr float kCeiling = 0.97f;

  void Configure(int sampleRate);
  // Back to the state of a new stream: no peak heard, unity gain.
  void Reset();
  void Process(float* samples, size_t frames, int channels, const NormalizeBoostParams& params);

  float Gain() const { return gain_; }

 private:
  float normPeak_ = 0.0f;   // what normalisation aims at; holds or fades (recover)
  float limitPeak_ = 0.0f;  // what keeps the output under kCeiling; always fades
  float gain_ = 1.0f;
  float recoverDecay_ = 1.0f;
  float limitDecay_ = 1.0f;
  float riseCoefficient_ = 1.0f;
};

struct CompressorParams {
  bool enabled = false;
  int level = 100;  // 0 to 100
  bool Neutral() const { return !enabled || level <= 0; }
};

class Compressor {
 public:
  static constexpr float kThresholdDb = -20.0f;

  void Configure(int sampleRate);
  void Reset();
  void Process(float* samples, size_t frames, int channels, const CompressorParams& params);

  // 1 + 3 × level / 100: level 100 is 4:1.
  static float RatioForLevel(int level);

 private:
  float envelope_ = 0.0f;
  float attack_ = 0.0f;
  float release_ = 0.0f;
};

}  // namespace zelvaro
