#pragma once
// CSubPicQueue: the last few sub-pictures, and the one place that decides
// whether a cached picture still shows the right thing. It has no thread and
// looks ahead to nothing: a miss renders synchronously on the caller's thread.
//
// A cached picture is used for a time when its window holds the time and the
// provider's content serial still matches, which for libass means that
// libass reported no change since it was drawn; so fades, moves, karaoke and
// events that start inside another's window all show as they should.
//
// Thread-safe. The queue's recursive mutex is held while rendering, so a
// ClearQueue from another thread waits for a running render. Lock order:
// queue, then provider, then libass.

#include "subtitles/subpic.h"

#include <deque>
#include <memory>
#include <mutex>

namespace zelvaro {

class CSubPicQueue {
 public:
  explicit CSubPicQueue(std::shared_ptr<CMemSubPicAllocator> allocator, int capacity = 10);

  // Swaps the provider, then empties the queue.
  void SetProvider(std::shared_ptr<ISubPicProvider> provider);
  std::shared_ptr<ISubPicProvider> GetProvider() const;

  // The picture for `time100ns`, from the cache or rendered now; null when
  // nothing is shown then (a gap between events costs one cheap probe and
  // allocates nothing). Pictures whose window ended more than a second
  // before the time are dropped first.
  std::shared_ptr<const CMemSubPic> LookupSubPic(int64_t time100ns);

  // Below 0 empties the queue; otherwise drops each picture whose window
  // starts at or after `time100ns`, keeping the order of the rest.
  void Invalidate(int64_t time100ns);
  void ClearQueue();
  int GetQueueCount() const;

 private:
  std::shared_ptr<CMemSubPic> RenderPicture(int64_t time100ns);

  mutable std::recursive_mutex mutex_;
  std::shared_ptr<CMemSubPicAllocator> allocator_;
  std::shared_ptr<ISubPicProvider> provider_;
  std::deque<std::shared_ptr<CMemSubPic>> pictures_;  // oldest first
  int capacity_;
  // The last render that drew nothing while an event was active (an empty
  // line, a clip): remembered so that it is not tried again on every frame.
  bool haveEmpty_ = false;
  SubPicWindow emptyWindow_;
  uint64_t emptySerial_ = 0;
};

}  // namespace zelvaro
