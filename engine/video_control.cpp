// GraphManager's colour controls: the user's values kept here, mapped on the
// ranges the renderer reports and sent to it in one call.

#include "engine/graph_manager.h"
#include "engine/playback_graph.h"
#include "engine/video_output.h"
#include "foundation/trace.h"

#include <algorithm>

namespace zelvaro {

bool GraphManager::HasVideoProcessor() const {
  return graph_ && videoConnected_ && videoWindowHandle_ != nullptr;
}

bool GraphManager::SetBrightness(int value) {
  brightness_ = std::clamp(value, -kProcAmpUserLimit, kProcAmpUserLimit);
  if (!procAmpReady_ && HasVideoProcessor()) ReadProcAmpRanges();
  return ApplyProcAmp();
}

bool GraphManager::SetContrast(int value) {
  contrast_ = std::clamp(value, -kProcAmpUserLimit, kProcAmpUserLimit);
  if (!procAmpReady_ && HasVideoProcessor()) ReadProcAmpRanges();
  return ApplyProcAmp();
}

bool GraphManager::SetSaturation(int value) {
  saturation_ = std::clamp(value, -kProcAmpUserLimit, kProcAmpUserLimit);
  if (!procAmpReady_ && HasVideoProcessor()) ReadProcAmpRanges();
  return ApplyProcAmp();
}

bool GraphManager::SetHue(int value) {
  hue_ = std::clamp(value, -kHueUserLimitDeg, kHueUserLimitDeg);
  if (!procAmpReady_ && HasVideoProcessor()) ReadProcAmpRanges();
  return ApplyProcAmp();
}

bool GraphManager::ReadProcAmpRanges() {
  procAmpReady_ = false;
  if (!HasVideoProcessor()) return false;
  procAmpReady_ = videoWindowHandle_->GetProcAmpRange(kProcAmpBrightness, &brightnessRange_) &&
                  videoWindowHandle_->GetProcAmpRange(kProcAmpContrast, &contrastRange_) &&
                  videoWindowHandle_->GetProcAmpRange(kProcAmpHue, &hueRange_) &&
                  videoWindowHandle_->GetProcAmpRange(kProcAmpSaturation, &saturationRange_);
  return procAmpReady_;
}

bool GraphManager::ApplyProcAmp() {
  if (!procAmpReady_ || !HasVideoProcessor()) return false;
  ProcAmpValues values;
  values.brightness = MapProcAmpValue(brightness_, brightnessRange_, kProcAmpUserLimit);
  values.contrast = MapProcAmpValue(contrast_, contrastRange_, kProcAmpUserLimit);
  values.hue = MapProcAmpValue(hue_, hueRange_, kHueUserLimitDeg);
  values.saturation = MapProcAmpValue(saturation_, saturationRange_, kProcAmpUserLimit);
  if (!videoWindowHandle_->SetProcAmpValues(kProcAmpAll, values)) {
    Trace("SetProcAmpValues failed");
    return false;
  }
  return true;
}

void GraphManager::ResetRendererProcAmp() {
  // The renderer outlives the graphs, so it is handed back its defaults,
  // as if it were the new graph's own.
  ProcAmpRange ranges[4];
  const unsigned flags[4] = {kProcAmpBrightness, kProcAmpContrast, kProcAmpHue, kProcAmpSaturation};
  for (int i = 0; i < 4; ++i) {
    if (!videoWindowHandle_->GetProcAmpRange(flags[i], &ranges[i])) return;
  }
  videoWindowHandle_->SetProcAmpValues(
      kProcAmpAll, {ranges[0].defaultValue, ranges[1].defaultValue, ranges[2].defaultValue,
                    ranges[3].defaultValue});
}

}  // namespace zelvaro
