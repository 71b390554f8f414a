#pragma once
// AudioTimeStretch: the time-stretch stage of the audio branch, which keeps
// the pitch while the graph plays at another rate, and the tap on its output
// that the spectrum display reads.
//
// The stage is GStreamer's scaletempo (measured against SoundTouch and
// Rubber Band; see the audio benchmark's notes). It takes the rate from the
// segment that a rate-changing seek sends down, so SetRate records the rate
// the stage is asked for and the seek itself (PlaybackGraph::SetRate) makes
// it so. Rates from 0.1 to 4.0 keep the pitch.
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
