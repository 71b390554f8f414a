#pragma once
// StoreWriteQueue: the store's small writes made from the interface thread
// (a recent file recorded or removed, a duration or codec text learnt) that
// must neither hold that thread through another player's lock nor be lost
// to it.
//
// Submit (the interface thread, or the one thread that owns the queue) runs
// the write at once, in its own transaction, waiting at most
// kInterfaceWaitMs for another player's write lock. When the lock is not had
// in that time, the write is queued for a worker thread with a connection of
// its own, which waits the full busy time and retries every kRetryMs. While
// anything is queued, later writes queue behind it, so they land in the
// order they were made. Flush waits for the worker; the destructor flushes
// for at most kExitWaitMs.
//
// A write is called with the connection to use and must only touch that
// one; it may run on the worker, so it captures values, never references to
// the caller's state. Failed writes are dropped, as the store's failures are.

#include "library/playlist_database.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace zelvaro {

class StoreWriteQueue {
 public:
  static constexpr int kInterfaceWaitMs = 15;
  static constexpr int kRetryMs = 1000;
  static constexpr int kExitWaitMs = 30000;

  // True when the write worked; false rolls it back.
  using Write = std::function<bool(PlaylistDatabase& database)>;

  explicit StoreWriteQueue(PlaylistDatabase& database) : database_(database) {}
  ~StoreWriteQueue();
  StoreWriteQueue(const StoreWriteQueue&) = delete;
  StoreWriteQueue& operator=(const StoreWriteQueue&) = delete;

  enum class Result { Written, Deferred, Failed };
  Result Submit(Write write);
  // True when nothing is waiting any more; false after `timeoutMs`.
  bool Flush(int timeoutMs);
  bool HasPending() const;

 private:
  void WorkerLoop();

  PlaylistDatabase& database_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable idle_;
  std::deque<Write> pending_;
  bool working_ = false;
  bool stop_ = false;
  std::thread worker_;
};

}  // namespace zelvaro
