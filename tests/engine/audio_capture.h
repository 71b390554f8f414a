#pragma once
// A capturing audio renderer for engine tests: a real appsink at the end of
// the real audio chain (GraphManager::SetAudioRendererFactory) that records
// channel 0 of the interleaved float samples it renders, with the stream time
// of each buffer, plus the measuring helpers the audio tests share.

#include "engine/gst_ref.h"

#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace zelvaro::test {

class AudioCapture {
 public:
  // sync: render on the clock (real time) or as fast as the chain runs.
  explicit AudioCapture(bool sync);

  // Each build gets a new sink, and the record starts afresh.
  std::function<ElementRef()> Factory();

  int SampleRate() const;
  int64_t Frames() const;
  bool EndOfStream() const;
  // Channel 0 of frames [from, to), clipped to what was captured.
  std::vector<float> Samples(int64_t fromFrame, int64_t toFrame) const;
  // The stream time (seconds) of the buffer holding `frame`; −1 when none.
  double StreamTimeAt(int64_t frame) const;
  // The first frame whose buffer starts at or after `seconds` of stream
  // time; Frames() when none.
  int64_t FrameAtStreamTime(double seconds) const;

  struct Record;

 private:
  bool sync_;
  std::shared_ptr<Record> record_;
};

// Runs ffmpeg with `arguments` (inputs and codecs) to write `directory`/`name`.
// Returns the path, empty on failure.
QString MakeMedia(const QString& directory, const QString& name, const QStringList& arguments);

// From positive-going zero crossings, interpolated between samples; 0 when
// fewer than two.
double ToneFrequency(const std::vector<float>& samples, int sampleRate);
float Peak(const std::vector<float>& samples);

}  // namespace zelvaro::test
