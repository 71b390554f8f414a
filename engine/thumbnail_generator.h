#pragma once
// ThumbnailGenerator: the pictures of the seek bar's preview, at most
// 160 × 90, decoded by pipelines of its own so the playback graph is never
// touched. Two modes, chosen at Open:
//  - keyframe mode, when the graph knows the file's keyframes: a request is
//    decoded at the keyframe nearest to it, on a preview thread;
//  - cache mode, when it does not: a worker decodes 100 evenly spaced frames
//    in advance and a request takes the nearest one decoded so far.
//
// Threads: every member is called on the interface thread and returns at
// once; no decode ever runs there. In keyframe mode a request that misses
// starts a decode on the preview thread, replacing any request not yet
// started (hovering asks for the newest point only); when the picture is
// ready the frame-ready callback runs on the interface thread, and the
// caller asks GetFrame again. The cache worker shares only the cache (under
// a mutex) and its stop flag.
//
// Construct the generator on the interface thread: its frame-ready calls
// land there. A thread still decoding at Close is given 200 ms, then left to
// finish on its own; it owns what it touches, so neither Close nor the
// destructor ever waits longer.
//
// Ownership: returned images are values (implicitly shared QImage); the
// generator borrows the GraphManager only to read its keyframe table (and
// its duration), under the graph's lock, during Open.

#include <QImage>
#include <QString>

#include <functional>
#include <memory>

namespace zelvaro {

class GraphManager;

class ThumbnailGenerator {
 public:
  static constexpr int kMaxWidth = 160;
  static constexpr int kMaxHeight = 90;
  static constexpr int kCacheFrames = 100;

  ThumbnailGenerator();
  ~ThumbnailGenerator();
  ThumbnailGenerator(const ThumbnailGenerator&) = delete;
  ThumbnailGenerator& operator=(const ThumbnailGenerator&) = delete;

  // Close, then prepares previews of `path`, a local file; false for a
  // network address or a path that is not a readable file. Nothing is
  // decoded here: keyframe mode (when `graph` has keyframes) starts its
  // preview thread, which prerolls at once so the first request is quick.
  bool Open(const QString& path, GraphManager* graph);
  // Stops the workers (waiting at most 200 ms, then leaving them to end on
  // their own), drops the cache and pending requests.
  void Close();
  // Cache mode: starts the 100-frame worker; false when it cannot run.
  bool StartWorker();

  // True from a successful Open while previews can be asked for: in
  // keyframe mode once the duration is known (the graph's, or the preview
  // pipeline's); false again once a thread finds the file has no decodable
  // picture (no video, damaged), so a bad file never shows a preview.
  bool ready() const;
  bool keyframeMode() const;
  // Cache mode: the worker is decoding; false before StartWorker and once
  // it has ended (all frames tried, stopped, or the file unusable).
  bool workerRunning() const;

  // The picture for `fraction` (clamped to 0..1) if it is at hand now, with
  // the size to show it at (160 × 90 in keyframe mode, the stored size in
  // cache mode); a null image otherwise. In keyframe mode a miss asks the
  // preview thread for it.
  QImage GetFrame(double fraction, int* width, int* height);

  // Runs on the interface thread when a requested picture becomes ready.
  void SetFrameReadyCallback(std::function<void()> callback);

  // Frames decoded so far by the cache worker; for tests and benchmarks.
  int CachedFrameCount() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// The size a preview of a `width` × `height` picture is scaled to: 160 wide
// for pictures wider than 16:9, else 90 high; truncated.
QSize ThumbnailTargetSize(int width, int height);

}  // namespace zelvaro
