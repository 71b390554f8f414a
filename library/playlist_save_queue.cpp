#include "library/playlist_save_queue.h"

#include "foundation/trace.h"

#include <chrono>

namespace zelvaro {

PlaylistSaveQueue::~PlaylistSaveQueue() {
  if (!Flush(kExitWaitMs)) Trace("playlist store: a list was still locked out at exit");
  {
    std::lock_guard guard(mutex_);
    stop_ = true;
  }
  wake_.notify_all();
  if (worker_.joinable()) worker_.join();
}

PlaylistSaveQueue::Result PlaylistSaveQueue::Save(std::vector<PlaylistItem>& items) {
  for (size_t i = 0; i < items.size(); ++i) items[i].sort_order = static_cast<int32_t>(i);
  std::unique_lock writing(writeMutex_, std::try_to_lock);
  if (!writing.owns_lock()) {
    // The worker is writing an older list right now; this one follows it.
    Defer(items);
    return Result::Deferred;
  }
  {
    // Written here, so an older list still waiting must not follow it.
    std::lock_guard guard(mutex_);
    pending_.reset();
  }
  switch (database_.TrySaveItems(items, kInterfaceWaitMs)) {
    case PlaylistDatabase::SaveOutcome::Saved:
      return Result::Saved;
    case PlaylistDatabase::SaveOutcome::Busy:
      Defer(items);
      return Result::Deferred;
    case PlaylistDatabase::SaveOutcome::Failed:
      break;
  }
  return Result::Failed;
}

void PlaylistSaveQueue::Defer(const std::vector<PlaylistItem>& items) {
  {
    std::lock_guard guard(mutex_);
    pending_ = items;
    if (!worker_.joinable()) worker_ = std::thread(&PlaylistSaveQueue::WorkerLoop, this);
  }
  wake_.notify_all();
}

bool PlaylistSaveQueue::HasPending() const {
  std::lock_guard guard(mutex_);
  return pending_.has_value() || working_;
}

bool PlaylistSaveQueue::Flush(int timeoutMs) {
  std::unique_lock lock(mutex_);
  return idle_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                        [this] { return !pending_ && !working_; });
}

void PlaylistSaveQueue::WorkerLoop() {
  // A connection of the worker's own: the interface thread's is never
  // touched from here.
  PlaylistDatabase database;
  std::unique_lock lock(mutex_);
  while (true) {
    wake_.wait(lock, [this] { return stop_ || pending_.has_value(); });
    if (stop_) break;
    std::vector<PlaylistItem> items = std::move(*pending_);
    pending_.reset();
    working_ = true;
    lock.unlock();

    PlaylistDatabase::SaveOutcome outcome = PlaylistDatabase::SaveOutcome::Failed;
    {
      std::lock_guard writing(writeMutex_);
      if (database.Open()) outcome = database.TrySaveItems(items, PlaylistDatabase::kBusyTimeoutMs);
    }

    lock.lock();
    working_ = false;
    if (outcome == PlaylistDatabase::SaveOutcome::Busy && !pending_) {
      // Still locked out: try again in a while unless a newer list comes.
      pending_ = std::move(items);
      wake_.wait_for(lock, std::chrono::milliseconds(kRetryMs), [this] { return stop_; });
    } else if (outcome == PlaylistDatabase::SaveOutcome::Failed) {
      Trace("playlist store: a deferred list could not be saved");
    }
    if (!pending_ && !working_) idle_.notify_all();
  }
  lock.unlock();
  idle_.notify_all();
}

}  // namespace zelvaro
