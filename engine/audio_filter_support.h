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

// The class set-up both filters share: metadata, pads for interleaved
// 32-bit float in native order at any rate and channel count, and in-place
// processing that does not run while the element passes buffers through.
void InitInPlaceFloatFilterClass(GstAudioFilterClass* klass, const char* longName,
                                 const char* description,
                                 GstFlowReturn (*transformIp)(GstBaseTransform*, GstBuffer*),
                                 gboolean (*setup)(GstAudioFilter*, const GstAudioInfo*));

// Maps `buffer` for writing and hands its frames to `process`.
GstFlowReturn ProcessInPlace(GstAudioFilter* filter, GstBuffer* buffer,
                             const std::function<void(float*, size_t, int)>& process);

// A factor as the whole percent the properties show (2.0 → 200).
inline guint PercentOf(float factor) {
  return static_cast<guint>(std::lround(factor * 100.0f));
}

}  // namespace zelvaro
