#pragma once
// Zelvaro's own audio filters, registered inside the program (no plugin
// file): the AudioSwitcher stage, which normalises and boosts, and the
// compression stage that stands for the audio decoder's DRC. Both work in
// place on interleaved 32-bit float; audioconvert in front brings any other
// format to them.
//
// Parameters may be set from any thread while the graph runs; a streaming
// thread picks them up at its next buffer. An element with nothing to do
// (normalisation off and no boost; compression off or at level 0) passes
// buffers through untouched.
//
//   gst-inspect-style properties, for a pipeline description:
//     zelvaroaudioswitcher normalize=true max-norm-factor=400 recover=true boost=100
//     zelvarodrc enabled=true level=100

#include <gst/gst.h>

namespace zelvaro {

inline constexpr const char* kAudioSwitcherFactory = "zelvaroaudioswitcher";
inline constexpr const char* kDrcFactory = "zelvarodrc";

// Registers both element factories with GStreamer, once per process.
// Returns whether they are available.
bool RegisterAudioElements();

// The AudioSwitcher's one control call, in its own units: maxNormFactor
// 100 to 1000 for a factor of 1.0 to 10.0, boost 0 to 300 for a factor of
// 1.0 to 4.0 (100 is 2.0). False when `element` is not an AudioSwitcher.
bool SetNormalizeBoost2(GstElement* element, bool normalize, unsigned maxNormFactor, bool recover,
                        unsigned boost);
bool IsAudioSwitcher(GstElement* element);

// The DRC stage: level 0 to 100. False when `element` is not one.
bool SetDRC(GstElement* element, bool enabled, int level);
bool GetDRC(GstElement* element, bool* enabled, int* level);

}  // namespace zelvaro
