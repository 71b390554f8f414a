#pragma once
// PlaylistSaveQueue: whole-list saves that never hold the interface thread
// for longer than a frame and are never dropped because another player holds
// the store.
//
// Save (interface thread) tries at once, waiting at most kInterfaceWaitMs for
// another player's write lock. When the lock is not had in that time, the
// list is handed to a worker thread with a connection of its own, which waits
// the full busy time and keeps retrying every kRetryMs until the list lands
// or a newer one replaces it (the newest list always wins; an older one is
// never written after a newer). Flush waits for the worker at exit; the
// destructor flushes for at most kExitWaitMs.
//
// The worker is started on the first deferred save. Save and Flush: the
// interface thread (or the thread that owns the model); the queue copies the
// list it is given.

#include "library/playlist_database.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace zelvaro {

class PlaylistSaveQueue {
 public:
  static constexpr int kInterfaceWaitMs = 15;
  static constexpr int kRetryMs = 1000;
  static constexpr int kExitWaitMs = 30000;

  explicit PlaylistSaveQueue(PlaylistDatabase& database) : database_(database) {}
  ~PlaylistSaveQueue();
  PlaylistSaveQueue(const PlaylistSaveQueue&) = delete;
  PlaylistSaveQueue& operator=(const PlaylistSaveQueue&) = delete;

  enum class Result { Saved, Deferred, Failed };
  // Sets each item's sort_order to its index, as the store's save does.
  Result Save(std::vector<PlaylistItem>& items);
  // True when no list is waiting any more; false after `timeoutMs`.
  bool Flush(int timeoutMs);
  bool HasPending() const;

 private:
  void Defer(const std::vector<PlaylistItem>& items);
  void WorkerLoop();

  PlaylistDatabase& database_;
  // Held by whoever is writing a list, so that an older list can never be
  // committed after a newer one. The interface thread only tries it.
  std::mutex writeMutex_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::condition_variable idle_;
  std::optional<std::vector<PlaylistItem>> pending_;
  bool working_ = false;
  bool stop_ = false;
  std::thread worker_;
};

}  // namespace zelvaro
