#pragma once
// AlbumArtHook: the cover picture of an audio-only file, found off the
// interface thread. Each Start runs the body (the extraction of the picture
// to an image file) on a detached worker, which also decodes the image, and
// hands the picture to the interface thread as a move-only value owned by
// the receiver. Only the newest Start's picture is delivered; Cancel drops
// everything in flight. A worker still extracting when the program closes
// ends with the process: nothing waits for it.
//
// Interface thread only, except the body, which runs on the worker.

#include "app/worker_mailbox.h"

#include <QImage>
#include <QObject>
#include <QString>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace zelvaro {

struct AlbumArt {
  QString imagePath;
  QImage image;  // decoded on the worker; never null when delivered
};

class AlbumArtHook {
 public:
  // Runs on the worker: the path of an image file for `mediaPath`, or empty.
  using Body = std::function<QString(const QString& mediaPath)>;
  // Runs on the interface thread.
  using Deliver = std::function<void(std::unique_ptr<AlbumArt> art)>;

  explicit AlbumArtHook(Deliver deliver);
  ~AlbumArtHook();
  AlbumArtHook(const AlbumArtHook&) = delete;
  AlbumArtHook& operator=(const AlbumArtHook&) = delete;

  // Without a body nothing is extracted.
  void SetBody(Body body) { body_ = std::move(body); }

  void Start(const QString& mediaPath);
  void Cancel() { ++generation_; }

 private:
  Deliver deliver_;
  Body body_;
  uint64_t generation_ = 0;  // interface thread only
  QObject receiver_;
  std::shared_ptr<WorkerMailbox> mailbox_;
};

}  // namespace zelvaro
