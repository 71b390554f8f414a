#pragma once
// What Zelvaro's own audio filters (audio_elements.h) share: their
// caps, the in-place walk over a buffer and their types. Internal to the
// engine.

#include <gst/audio/gstaudiofilter.h>

#include <cmath>
#include <cstddef>
#include <functional>

namespace zelvaro {

GType AudioSwitcherType();
GType DrcType();

// Interleaved 32-bit float in native order, any rate and channel count.
void AddFloatPadTemplates(GstAudioFilterClass* klass);

// Maps `buffer` for writing and hands its frames to `process`.
GstFlowReturn ProcessInPlace(GstAudioFilter* filter, GstBuffer* buffer,
                             const std::function<void(float*, size_t, int)>& process);

// A factor as the whole percent the properties show (2.0 → 200).
inline guint PercentOf(float factor) {
  return static_cast<guint>(std::lround(factor * 100.0f));
}

}  // namespace zelvaro
