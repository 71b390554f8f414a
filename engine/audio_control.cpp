// GraphManager: volume, mute, compression, normalisation, boost and speed.

#include "engine/graph_manager.h"
#include "engine/playback_graph.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/trace.h"

#include <cmath>

namespace zelvaro {
namespace {

constexpr double kMinSpeed = 0.1;
constexpr double kMaxSpeed = 4.0;
constexpr long kSilence = -10000;

// NaN goes to the lower bound: a setter never stores what it cannot compare.
float ClampFinite(float value, float low, float high) {
  if (!(value >= low)) return low;
  return value > high ? high : value;
}

// A factor as the settings and the AudioSwitcher keep it (× 100,
// truncated). The small bias keeps a value such as 2.3, which a float holds
// as 2.2999999, from losing a unit each time it is saved and read back.
uint32_t Hundredths(float value) {
  return static_cast<uint32_t>(static_cast<double>(value) * 100.0 + 1e-4);
}

}  // namespace

long VolumeLevel(float volume, bool muted) {
  if (muted || !(volume > 0.0f)) return kSilence;
  return static_cast<long>(std::log10(static_cast<double>(volume)) * 2000.0);
}

bool GraphManager::SetVolume(float volume) {
  volume_ = ClampFinite(volume, 0.0f, 1.0f);
  SaveVolume();
  if (!graph_) return false;
  return graph_->SetVolumeLevel(VolumeLevel(volume_, muted_));
}

bool GraphManager::SetVolumeUnsaved(float volume) {
  volume_ = ClampFinite(volume, 0.0f, 1.0f);
  if (!graph_) return false;
  return graph_->SetVolumeLevel(VolumeLevel(volume_, muted_));
}

void GraphManager::SaveVolume() {
  Settings::SetDword(setting::kVolume, Hundredths(volume_));
}

void GraphManager::SetMuted(bool muted) {
  muted_ = muted;
  Settings::SetDword(setting::kMuted, muted ? 1 : 0);
  SetVolume(volume_);
}

bool GraphManager::SetDRCLevel(bool enabled, int level) {
  if (!graph_ || !graph_->HasDRC()) return false;
  level = std::clamp(level, 0, 100);
  Settings::SetDword(setting::kLavDrcEnabled, enabled ? 1 : 0);
  Settings::SetDword(setting::kLavDrcLevel, static_cast<uint32_t>(level));
  return graph_->SetDRC(enabled, level);
}

bool GraphManager::QueryDRC(bool* enabled, int* level) {
  if (!graph_ || enabled == nullptr || level == nullptr) return false;
  return graph_->GetDRC(enabled, level);
}

void GraphManager::ToggleDRC() {
  bool enabled = false;
  int level = 100;
  if (graph_ && graph_->GetDRC(&enabled, &level)) {
    SetDRCLevel(!enabled, level);
    return;
  }
  SetDRCLevel(Settings::GetDwordOr(setting::kLavDrcEnabled, 0) == 0, 100);
}

bool GraphManager::SetNormalize(bool enabled, bool recover, float maxFactor) {
  normalizeEnabled_ = enabled;
  normalizeRecover_ = recover;
  maxNormFactor_ = ClampFinite(maxFactor, 1.0f, 10.0f);
  Settings::SetDword(setting::kAudioNormalize, enabled ? 1 : 0);
  Settings::SetDword(setting::kAudioNormalizeRecover, recover ? 1 : 0);
  Settings::SetDword(setting::kAudioMaxNormFactor, Hundredths(maxNormFactor_));
  if (graph_ && graph_->HasAudioSwitcherControl()) {
    return graph_->SetNormalizeBoost2(enabled, Hundredths(maxNormFactor_), recover,
                                      Hundredths(boostFactor_ - 1.0f));
  }
  // No AudioSwitcher: compression stands in, full from a factor of 4.
  return SetDRCLevel(enabled, static_cast<int>(maxNormFactor_ * 25.0f));
}

bool GraphManager::SetBoost(float factor) {
  boostFactor_ = ClampFinite(factor, 1.0f, 4.0f);
  Settings::SetDword(setting::kAudioBoost, Hundredths(boostFactor_ - 1.0f));
  if (!graph_ || !graph_->HasAudioSwitcherControl()) return true;
  // The switcher takes boost and maximum factor in one call.
  return graph_->SetNormalizeBoost2(normalizeEnabled_, Hundredths(maxNormFactor_),
                                    normalizeRecover_, Hundredths(boostFactor_ - 1.0f));
}

AudioStartLevels GraphManager::StartLevels() const {
  AudioStartLevels levels;
  levels.volumeGain = VolumeGain(VolumeLevel(volume_, muted_));
  levels.normalize = Settings::GetDwordOr(setting::kAudioNormalize, 0) != 0;
  levels.recover = Settings::GetDwordOr(setting::kAudioNormalizeRecover, 1) != 0;
  levels.maxNormFactor = Settings::GetDwordOr(setting::kAudioMaxNormFactor, 200);
  levels.boost = Settings::GetDwordOr(setting::kAudioBoost, 0);
  return levels;
}

void GraphManager::ApplyAudioSettings() {
  if (!graph_->HasAudioSwitcherControl()) return;
  uint32_t normalize = Settings::GetDwordOr(setting::kAudioNormalize, 0);
  uint32_t recover = Settings::GetDwordOr(setting::kAudioNormalizeRecover, 1);
  uint32_t maxNormFactor = Settings::GetDwordOr(setting::kAudioMaxNormFactor, 200);
  uint32_t boost = Settings::GetDwordOr(setting::kAudioBoost, 0);
  graph_->SetNormalizeBoost2(normalize != 0, maxNormFactor, recover != 0, boost);
  normalizeEnabled_ = normalize != 0;
  normalizeRecover_ = recover != 0;
  maxNormFactor_ = static_cast<float>(maxNormFactor) / 100.0f;
  boostFactor_ = static_cast<float>(boost) / 100.0f + 1.0f;
}

bool GraphManager::SetSpeed(double rate) {
  if (!graph_) return false;
  // Written so that NaN fails too.
  if (!(rate >= kMinSpeed && rate <= kMaxSpeed)) return false;
  if (std::shared_ptr<AudioTimeStretch> stretch = graph_->TimeStretch()) stretch->SetRate(rate);
  if (!graph_->SetRate(rate)) {
    Trace("SetRate(%.3f) failed", rate);
    return false;
  }
  // A flushing seek leaves a running pipeline waiting for its preroll.
  if (state_ == 2 && !bufferingPaused_) graph_->SetState(GST_STATE_PLAYING);
  speed_ = rate;
  return true;
}

bool GraphManager::GetAudioSamples(float* buffer, int capacity, int* frames, int* channels,
                                   int* sampleRate) {
  if (!graph_) return false;
  std::shared_ptr<AudioTimeStretch> stretch = graph_->TimeStretch();
  return stretch && stretch->GetAudioSamples(buffer, capacity, frames, channels, sampleRate);
}

}  // namespace zelvaro
