#pragma once
// BitmapSubtitleDecoder: the samples of a picture subtitle stream (Blu-ray
// PGS, DVD, DVB) made into cues with libavcodec's subtitle decoders. One
// decoder per selected stream; it keeps the decoder's state between samples
// (a PGS display set may come one segment a sample).
//
// Threads: one thread at a time, never the interface thread, since a large
// picture takes a while to unpack: BitmapSubtitleWorker runs it on its own.
// Cues are returned by value and belong to the caller.

#include "engine/subtitle_stream_tap.h"
#include "subtitles/bitmap_subtitle_track.h"

#include <QByteArray>

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

struct AVCodecContext;

namespace zelvaro {

class BitmapSubtitleDecoder {
 public:
  // Null for a codec that is not a picture one or that libavcodec lacks.
  // `header`: the stream's codec private data (a DVD stream's palette).
  static std::unique_ptr<BitmapSubtitleDecoder> Create(EmbeddedSubtitleCodec codec,
                                                       const QByteArray& header);
  ~BitmapSubtitleDecoder();
  BitmapSubtitleDecoder(const BitmapSubtitleDecoder&) = delete;
  BitmapSubtitleDecoder& operator=(const BitmapSubtitleDecoder&) = delete;

  // The cue a sample completes, in stream time; a cue without parts clears
  // the screen. Nothing while a display set is still incomplete or the data
  // is damaged.
  std::optional<BitmapSubtitleCue> Decode(const EmbeddedSubtitleSample& sample);

 private:
  explicit BitmapSubtitleDecoder(AVCodecContext* context) : context_(context) {}

  AVCodecContext* context_;
};

// A decoder on a thread of its own: samples are queued from whatever thread
// has them (a streaming thread, or the interface thread handing over the
// samples kept before the stream was chosen) and decoded in order there;
// `sink` gets each cue on that thread. The destructor drops what is still
// queued and waits for the sample being decoded.
class BitmapSubtitleWorker {
 public:
  using Sink = std::function<void(BitmapSubtitleCue)>;
  BitmapSubtitleWorker(std::unique_ptr<BitmapSubtitleDecoder> decoder, Sink sink);
  ~BitmapSubtitleWorker();
  BitmapSubtitleWorker(const BitmapSubtitleWorker&) = delete;
  BitmapSubtitleWorker& operator=(const BitmapSubtitleWorker&) = delete;

  void Queue(const EmbeddedSubtitleSample& sample);

 private:
  void Run();

  std::unique_ptr<BitmapSubtitleDecoder> decoder_;
  Sink sink_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<EmbeddedSubtitleSample> queued_;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace zelvaro
