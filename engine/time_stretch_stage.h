#pragma once
// AudioTimeStretch: the time-stretch stage of the audio branch, which keeps
// the pitch while the graph plays at another rate, and the tap on its output
// that the spectrum display reads.
//
// The stage is GStreamer's scaletempo at its own settings, chosen by
// measurement over SoundTouch and Rubber Band at 0.1, 0.5, 2 and 4: all keep
// a 440 Hz tone within 0.05 %; scaletempo's by-products on a pure tone are
// the lowest of the three (−51 to −54 dB), and it is the only one that kept
// every onset of a drum-like burst train at 0.5, 2 and 4 (SoundTouch doubled
// them at 0.5; Rubber Band's smooth mode, best on held chords, smeared them
// away). A larger overlap gains 4–5 dB on held chords for twice the CPU time,
// which the CPU budget does not allow.
//
// scaletempo takes the rate from the segment that a rate-changing seek sends
// down, so SetRate records the rate the stage is asked for and the seek
// itself (PlaybackGraph::SetRate) makes it so.
//
// Threads: Attach on the streaming thread that builds the branch; the tap
// fills on the stage's streaming thread; SetRate, Rate and GetAudioSamples
// on any thread. The tap's store outlives the stage object while a buffer is
// still being copied.

#include "engine/gst_ref.h"

#include <memory>

namespace zelvaro {

class AudioTimeStretch {
 public:
  // Taps the source pad of `stage`, an element already in the branch. Null
  // when the element has no source pad.
  static std::shared_ptr<AudioTimeStretch> Attach(ElementRef stage);
  ~AudioTimeStretch();
  AudioTimeStretch(const AudioTimeStretch&) = delete;
  AudioTimeStretch& operator=(const AudioTimeStretch&) = delete;

  void SetRate(double rate);
  double Rate() const;
  GstElement* Element() const { return stage_.get(); }

  // Copies the most recent interleaved samples the stage put out, oldest
  // first: at most `capacity` floats, whole frames only. False when nothing
  // of a float format has passed yet (or since the last flush).
  bool GetAudioSamples(float* buffer, int capacity, int* frames, int* channels,
                       int* sampleRate) const;

  struct Tap;

 private:
  AudioTimeStretch(ElementRef stage, PadRef source, std::shared_ptr<Tap> tap);

  ElementRef stage_;
  PadRef source_;
  std::shared_ptr<Tap> tap_;
  unsigned long probeId_ = 0;
};

}  // namespace zelvaro
