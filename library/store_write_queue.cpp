#include "library/store_write_queue.h"

#include "foundation/trace.h"

#include <chrono>

namespace zelvaro {

StoreWriteQueue::~StoreWriteQueue() {
  if (!Flush(kExitWaitMs)) Trace("store: writes still locked out at exit were dropped");
  {
    std::lock_guard guard(mutex_);
    stop_ = true;
  }
  wake_.notify_all();
  if (worker_.joinable()) worker_.join();
}

StoreWriteQueue::Result StoreWriteQueue::Submit(Write write) {
  {
    std::lock_guard guard(mutex_);
    if (!pending_.empty() || working_) {
      // An older write is still waiting for the lock; this one follows it.
      pending_.push_back(std::move(write));
      wake_.notify_all();
      return Result::Deferred;
    }
  }
  // Nothing queued, and only this thread queues: the worker is idle.
  const auto outcome = database_.TryWrite(kInterfaceWaitMs, [&] { return write(database_); });
  if (outcome == PlaylistDatabase::SaveOutcome::Saved) return Result::Written;
  if (outcome == PlaylistDatabase::SaveOutcome::Failed) return Result::Failed;
  {
    std::lock_guard guard(mutex_);
    pending_.push_back(std::move(write));
    if (!worker_.joinable()) worker_ = std::thread(&StoreWriteQueue::WorkerLoop, this);
  }
  wake_.notify_all();
  return Result::Deferred;
}

bool StoreWriteQueue::HasPending() const {
  std::lock_guard guard(mutex_);
  return !pending_.empty() || working_;
}

bool StoreWriteQueue::Flush(int timeoutMs) {
  std::unique_lock lock(mutex_);
  return idle_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                        [this] { return pending_.empty() && !working_; });
}

void StoreWriteQueue::WorkerLoop() {
  // A connection of the worker's own: the interface thread's is never
  // touched from here.
  PlaylistDatabase database;
  std::unique_lock lock(mutex_);
  while (true) {
    wake_.wait(lock, [this] { return stop_ || !pending_.empty(); });
    if (stop_) break;
    // The oldest write stays at the front until it is done, so nothing
    // overtakes it.
    Write write = pending_.front();
    working_ = true;
    lock.unlock();

    auto outcome = PlaylistDatabase::SaveOutcome::Failed;
    if (database.Open()) {
      outcome =
          database.TryWrite(PlaylistDatabase::kBusyTimeoutMs, [&] { return write(database); });
    }

    lock.lock();
    working_ = false;
    if (outcome == PlaylistDatabase::SaveOutcome::Busy) {
      wake_.wait_for(lock, std::chrono::milliseconds(kRetryMs), [this] { return stop_; });
      continue;
    }
    if (outcome == PlaylistDatabase::SaveOutcome::Failed) {
      Trace("store: a deferred write could not be made");
    }
    pending_.pop_front();
    if (pending_.empty()) idle_.notify_all();
  }
  lock.unlock();
  idle_.notify_all();
}

}  // namespace zelvaro
