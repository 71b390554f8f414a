#include "engine/audio_dynamics.h"

#include <algorithm>
#include <cmath>

namespace zelvaro {
namespace {

// With recover, a peak fades with this time constant: from a full-scale
// peak back to a 4× gain takes about 1.4 × this.
constexpr float kRecoverSeconds = 1.5f;
// The limiter's hold on a peak: long against one period of any audible tone,
// so the gain does not follow the waveform (which would flatten it).
constexpr float kLimitReleaseSeconds = 0.25f;
// How fast a rising gain moves to its target.
constexpr float kRiseSeconds = 0.1f;
// A silence does not ask for an infinite gain.
constexpr float kSilentPeak = 1e-6f;

constexpr float kAttackSeconds = 0.005f;
constexpr float kReleaseSeconds = 0.1f;

float DecayPerSample(float seconds, int sampleRate) {
  return std::exp(-1.0f / (seconds * static_cast<float>(sampleRate)));
}

float FramePeak(const float* frame, int channels) {
  float peak = 0.0f;
  for (int c = 0; c < channels; ++c) peak = std::max(peak, std::fabs(frame[c]));
  return peak;
}

}  // namespace

void NormalizeBoost::Configure(int sampleRate) {
  sampleRate = std::max(sampleRate, 1);
  recoverDecay_ = DecayPerSample(kRecoverSeconds, sampleRate);
  limitDecay_ = DecayPerSample(kLimitReleaseSeconds, sampleRate);
  riseCoefficient_ = 1.0f - DecayPerSample(kRiseSeconds, sampleRate);
}

void NormalizeBoost::Reset() {
  normPeak_ = 0.0f;
  limitPeak_ = 0.0f;
  gain_ = 1.0f;
}

void NormalizeBoost::Process(float* samples, size_t frames, int channels,
                             const NormalizeBoostParams& params) {
  if (channels <= 0) return;
  const float maxFactor = std::clamp(params.maxFactor, 1.0f, 10.0f);
  const float boost = std::clamp(params.boostFactor, 1.0f, 4.0f);
  for (size_t i = 0; i < frames; ++i) {
    float* frame = samples + i * static_cast<size_t>(channels);
    float peak = FramePeak(frame, channels);
    normPeak_ = peak >= normPeak_ ? peak : (params.recover ? normPeak_ * recoverDecay_ : normPeak_);
    limitPeak_ = std::max(peak, limitPeak_ * limitDecay_);

    float target = boost;
    if (params.normalize) {
      target *= std::clamp(kCeiling / std::max(normPeak_, kSilentPeak), 1.0f, maxFactor);
    }
    target = std::min(target, kCeiling / std::max(limitPeak_, kSilentPeak));
    // Down at once (that is what keeps the ceiling), up smoothly.
    gain_ = target < gain_ ? target : gain_ + (target - gain_) * riseCoefficient_;
    for (int c = 0; c < channels; ++c) {
      frame[c] = std::clamp(frame[c] * gain_, -kCeiling, kCeiling);
    }
  }
}

float Compressor::RatioForLevel(int level) {
  return 1.0f + 3.0f * static_cast<float>(std::clamp(level, 0, 100)) / 100.0f;
}

void Compressor::Configure(int sampleRate) {
  sampleRate = std::max(sampleRate, 1);
  attack_ = DecayPerSample(kAttackSeconds, sampleRate);
  release_ = DecayPerSample(kReleaseSeconds, sampleRate);
}

void Compressor::Reset() {
  envelope_ = 0.0f;
}

void Compressor::Process(float* samples, size_t frames, int channels,
                         const CompressorParams& params) {
  if (channels <= 0) return;
  const float slope = 1.0f - 1.0f / RatioForLevel(params.level);
  const float threshold = std::pow(10.0f, kThresholdDb / 20.0f);
  for (size_t i = 0; i < frames; ++i) {
    float* frame = samples + i * static_cast<size_t>(channels);
    float peak = FramePeak(frame, channels);
    float coefficient = peak > envelope_ ? attack_ : release_;
    envelope_ = coefficient * envelope_ + (1.0f - coefficient) * peak;
    if (envelope_ <= threshold) continue;
    // Gain in dB is −slope × (level over the threshold in dB), as a power.
    float gain = std::pow(envelope_ / threshold, -slope);
    for (int c = 0; c < channels; ++c) frame[c] *= gain;
  }
}

}  // namespace zelvaro
