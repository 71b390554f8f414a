#pragma once
// The audio branch of a graph: decoder → convert → [mixing] → [compressor]
// → time-stretch stage → AudioSwitcher stage → volume → convert → resample
// → renderer. The optional stages degrade rather than fail the branch: a
// time-stretch stage that is missing or will not link is left out (no
// pitch-kept speed change); an AudioSwitcher stage that is missing or will
// not link is left out (no normalisation), and when it links in but not on
// to the volume stage both optional stages go; the branch itself fails only
// when the decoder cannot reach the renderer.
//
// The renderer is the desktop's sink (autoaudiosink), or, when no audio
// device answers, a clock-synchronised null sink, so that a video still plays
// in real time, silent.
//
// Called on a streaming thread while the graph is being built; elements are
// created here, added to the given bin and owned by it.

#include "engine/decoder_settings.h"
#include "engine/gst_ref.h"

#include <string>

namespace zelvaro {

// Factory names of the stages that are Zelvaro's own audio filters. Empty
// means the stage does not exist (yet): the chain goes on without it.
struct AudioStageNames {
  std::string timeStretch = "scaletempo";
  std::string audioSwitcher;  // Zelvaro's own element, registered by the program
};

// The desktop's audio sink when a device answers (probed by taking it to
// READY), else `fakesink sync=true`. `isNullSink` tells which.
ElementRef CreateAudioRenderer(bool* isNullSink);

struct AudioChain {
  ElementRef decoder;      // lavAudio
  ElementRef timeStretch;  // audioTimeStretch, null when left out
  ElementRef switcher;     // audioSwitcher, null when left out
  ElementRef volume;       // basicAudio
  ElementRef renderer;
};

// Builds the branch from `source` (a decoded-stream pad of the demuxing
// side) to `renderer` inside `bin`, brings its elements to the bin's state and
// returns true when sound can reach the renderer. On false nothing of the
// branch is left in the bin and `source` is unlinked.
bool ConnectAudioChain(GstBin* bin, GstPad* source, const GstCaps* caps,
                       const std::string& decoderFactory, ElementRef renderer,
                       const AudioStageNames& stages, const AudioDecoderSettings& settings,
                       AudioChain* chain);

}  // namespace zelvaro
