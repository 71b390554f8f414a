#pragma once
// EmbeddedTextPreload: one text subtitle stream of a local Matroska file,
// read from end to end on a thread of its own while the file plays. The
// Matroska demuxer of the graph reads a subtitle only as playback passes it,
// so after a seek the cue that began before the seek point would be missing
// until the next one; read ahead of time, it is already in the track. Other
// containers need none (an MP4 demuxer seeks each track by itself).
//
// Threads: made and destroyed on the owner's thread; the sink runs on the
// reader's thread. The destructor stops the reader and waits for it (it
// stops within one packet), so what the sink touches may go after it.

#include "engine/subtitle_stream_tap.h"

#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace zelvaro {

class EmbeddedTextPreload {
 public:
  using Sink = std::function<void(const EmbeddedSubtitleSample&)>;

  // Starts the reader, which opens `path` itself and ends at once unless it
  // is a Matroska file with a `subtitleIndex`-th subtitle stream (in the
  // order of the track menu).
  static std::unique_ptr<EmbeddedTextPreload> Start(const QString& path, int subtitleIndex,
                                                    Sink sink);
  ~EmbeddedTextPreload();
  EmbeddedTextPreload(const EmbeddedTextPreload&) = delete;
  EmbeddedTextPreload& operator=(const EmbeddedTextPreload&) = delete;

  // The reader reached the end of the file.
  bool Finished() const { return finished_; }

 private:
  EmbeddedTextPreload() = default;
  void Run(const QString& path, int subtitleIndex, const Sink& sink);
  static int Interrupted(void* self);

  std::atomic<bool> stop_{false};
  std::atomic<bool> finished_{false};
  std::thread thread_;
};

}  // namespace zelvaro
