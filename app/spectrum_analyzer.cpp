#include "app/spectrum_analyzer.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace zelvaro {
namespace {

void Fft(std::array<float, kSpectrumWindow>& re, std::array<float, kSpectrumWindow>& im) {
  const int n = kSpectrumWindow;
  for (int i = 1, j = 0; i < n; ++i) {
    int bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) {
      std::swap(re[i], re[j]);
      std::swap(im[i], im[j]);
    }
  }
  for (int length = 2; length <= n; length <<= 1) {
    const float angle = -2.0f * std::numbers::pi_v<float> / length;
    const float stepRe = cosf(angle), stepIm = sinf(angle);
    for (int start = 0; start < n; start += length) {
      float wRe = 1.0f, wIm = 0.0f;
      for (int k = 0; k < length / 2; ++k) {
        const int a = start + k, b = a + length / 2;
        const float tRe = re[b] * wRe - im[b] * wIm, tIm = re[b] * wIm + im[b] * wRe;
        re[b] = re[a] - tRe;
        im[b] = im[a] - tIm;
        re[a] += tRe;
        im[a] += tIm;
        const float nextRe = wRe * stepRe - wIm * stepIm;
        wIm = wRe * stepIm + wIm * stepRe;
        wRe = nextRe;
      }
    }
  }
}

}  // namespace

SpectrumAnalyzer::SpectrumAnalyzer() {
  for (int i = 0; i < kSpectrumWindow; ++i)
    window_[i] =
        (1.0f - std::cos(2.0f * std::numbers::pi_v<float> * i / (kSpectrumWindow - 1))) / 2;
}

void SpectrumAnalyzer::Reset() {
  std::lock_guard<std::mutex> guard(lock_);
  levels_.fill(0.0f);
}

void SpectrumAnalyzer::Process(const float* samples, int frames, int channels, int sampleRate) {
  if (samples == nullptr || frames < 1 || channels < 1 || sampleRate < 1) return;
  std::array<float, kSpectrumWindow> re{}, im{};
  const int count = std::min(frames, kSpectrumWindow);
  for (int i = 0; i < count; ++i) {
    float sum = 0.0f;
    for (int c = 0; c < channels; ++c) sum += samples[size_t(i) * channels + c];
    re[i] = sum / channels * window_[i];
  }
  Fft(re, im);
  std::array<float, kSpectrumWindow / 2> magnitude;
  for (int k = 0; k < kSpectrumWindow / 2; ++k)
    magnitude[k] = std::sqrt(re[k] * re[k] + im[k] * im[k]) / 512.0f;

  const double binWidth = double(sampleRate) / kSpectrumWindow;
  const double low = std::log10(20.0), high = std::log10(sampleRate / 2.0);
  Levels raw{};
  for (int band = 0; band < kSpectrumBands; ++band) {
    const int lower =
        std::max(int(std::pow(10.0, low + (high - low) * band / kSpectrumBands) / binWidth), 1);
    const int upper = std::max(
        std::min(int(std::pow(10.0, low + (high - low) * (band + 1) / kSpectrumBands) / binWidth),
                 kSpectrumWindow / 2 - 1),
        lower);
    float sum = 0.0f;
    for (int k = lower; k <= upper; ++k) sum += magnitude[k];
    raw[band] = std::min(sum / (upper - lower + 1) * 8.0f, 1.0f);
  }
  std::lock_guard<std::mutex> guard(lock_);
  for (int band = 0; band < kSpectrumBands; ++band) {
    float& level = levels_[band];
    level = raw[band] > level ? 0.6f * raw[band] + 0.4f * level : 0.15f * raw[band] + 0.85f * level;
    if (level < 0.001f) level = 0.0f;
  }
}

SpectrumAnalyzer::Levels SpectrumAnalyzer::GetLevels() const {
  std::lock_guard<std::mutex> guard(lock_);
  return levels_;
}

}  // namespace zelvaro
