#pragma once
// The audio side of a graph. The track that plays has a branch (its queue
// lane and decoder) into one shared chain: convert → [mixing] → DRC stage →
// time-stretch stage → AudioSwitcher stage → volume → convert → resample →
// renderer. The other tracks are not decoded; a switch puts a new branch in
// front of the chain (PlaybackGraph::SelectAudioTrack).
//
// The optional stages degrade rather than fail the chain: a time-stretch
// stage that is missing or will not link is left out (no pitch-kept speed
// change); an AudioSwitcher stage that is missing or will not link is left
// out (no normalisation), and when it links in but not on to the volume
// stage both optional stages go; a missing DRC stage means no compression.
// The chain itself fails only when its input cannot reach the renderer.
//
// The renderer is the desktop's sink (autoaudiosink), or, when no audio
// device answers, a clock-synchronised null sink, so that a video still plays
// in real time, silent.
//
// Called on a streaming thread while the graph is being built; elements are
// created here, added to the given bin and owned by it.

#include "engine/decoder_settings.h"
#include "engine/gst_ref.h"
#include "engine/time_stretch_stage.h"

#include <memory>
#include <string>

namespace zelvaro {

// Factory names of the optional stages. Empty leaves a stage out.
struct AudioStageNames {
  std::string timeStretch = "scaletempo";
  std::string audioSwitcher = "zelvaroaudioswitcher";  // registered by the program
};

// What the sound starts at, set on the stages as they are made, so that not
// even the first buffer is louder than asked.
struct AudioStartLevels {
  double volumeGain = 1.0;  // amplitude; 0 is silence
  bool normalize = false;
  unsigned maxNormFactor = 200;  // the AudioSwitcher's units
  bool recover = true;
  unsigned boost = 0;
};

// A level in hundredths of a decibel (0 full, −10000 and below silence) as
// an amplitude.
double VolumeGain(long level);

// The desktop's audio sink when a device answers (probed by taking it to
// READY), else `fakesink sync=true`. `isNullSink` tells which.
ElementRef CreateAudioRenderer(bool* isNullSink);

// The shared part, from its input to the renderer.
struct AudioChain {
  PadRef input;                                   // where the playing track's decoder links
  ElementRef drc;                                 // the decoder's DRC stand-in; null when left out
  std::shared_ptr<AudioTimeStretch> timeStretch;  // audioTimeStretch; null when left out
  ElementRef switcher;                            // audioSwitcher, null when left out
  ElementRef volume;                              // basicAudio
  ElementRef renderer;
};

// The playing audio stream's way into the chain.
struct AudioBranch {
  std::string streamId;
  ElementRef decoder;  // lavAudio for this stream
  CapsRef caps;        // as the splitter gave them
  PadRef sourcePad;    // the splitter's pad of the stream
  PadRef laneSink;     // its queue lane
};

// Builds the shared chain inside `bin` for a first stream of `caps` and
// brings its elements to the bin's state. On false nothing of it is left.
bool ConnectAudioChain(GstBin* bin, const GstCaps* caps, ElementRef renderer,
                       const AudioStageNames& stages, const AudioDecoderSettings& settings,
                       const AudioStartLevels& levels, AudioChain* chain);

// Adds a stream's decoder between `source` (a queue lane carrying the
// stream) and `chainInput`, which must be free. On false nothing of the
// branch is left and both pads are unlinked.
bool ConnectAudioBranch(GstBin* bin, GstPad* source, const std::string& decoderFactory,
                        GstPad* chainInput, AudioBranch* branch);

}  // namespace zelvaro
