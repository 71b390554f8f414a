#include "app/album_art_hook.h"

#include <thread>

namespace zelvaro {

AlbumArtHook::AlbumArtHook(Deliver deliver)
    : deliver_(std::move(deliver)), mailbox_(std::make_shared<WorkerMailbox>(&receiver_)) {}

AlbumArtHook::~AlbumArtHook() {
  Cancel();
  mailbox_->Close();
}

void AlbumArtHook::Start(const QString& mediaPath) {
  const uint64_t generation = ++generation_;
  if (!body_) return;
  std::thread([this, body = body_, mediaPath, generation, mailbox = mailbox_] {
    const QString imagePath = body(mediaPath);
    if (imagePath.isEmpty()) return;
    auto art = std::make_unique<AlbumArt>();
    art->imagePath = imagePath;
    // Decoding a large cover can take longer than a frame.
    if (!art->image.load(imagePath)) return;
    // `this` is touched only in the delivered call, on the interface thread,
    // while the receiver (a member) is alive.
    mailbox->Post([this, generation, art = std::move(art)]() mutable {
      if (generation == generation_ && deliver_) deliver_(std::move(art));
    });
  }).detach();
}

}  // namespace zelvaro
