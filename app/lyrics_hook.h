#pragma once
// LyricsHook: the background side of looking up lyrics for the file that has
// just opened. MainWindow starts one lookup per local open; the lookup's body
// (the player's own is the whole search: side file, lyrics tag, then the
// lyrics service) runs on a worker thread and its results come back to the
// interface thread as move-only values that the receiver owns.
//
// At most one request runs at a time, and the interface thread never waits
// for one: Start marks the lookup in flight as cancelled (its LyricsCancel
// flag), and the new worker itself waits for the old thread to end before it
// sends its own request. A cancelled lookup's result is dropped, whether it
// arrives before or after the cancel; the player's body also stops its
// request within a second of it. Destroying the hook cancels and detaches:
// closing the program never waits on the network.
//
// Interface thread only, except the body, which runs on the worker.

#include "app/worker_mailbox.h"
#include "lyrics/lyrics_data.h"
#include "lyrics/lyrics_search.h"

#include <QObject>
#include <QString>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace zelvaro {

// What a lookup found: a LyricsData (lyrics/lyrics_data.h). Untimed lyrics
// have lines 5 s apart and synced false.
using LyricsLine = LyricLine;
using LyricsResult = LyricsData;

class LyricsHook {
 public:
  // Runs on the worker. Null means nothing was found. `cancel` turns true
  // when the result is no longer wanted; a body may give up early on it.
  using Body = std::function<std::unique_ptr<LyricsResult>(const LyricsRequest& request,
                                                           const std::atomic<bool>& cancel)>;
  // A body that may hand over a result before its final one (local lyrics
  // found while the service is still to be asked). Each result is delivered
  // in order, and dropped like the final one once the lookup is cancelled.
  using StagedBody = std::function<std::unique_ptr<LyricsResult>(
      const LyricsRequest& request, const std::atomic<bool>& cancel, const LyricsReport& early)>;
  // Runs on the interface thread with the result of the newest lookup only.
  using Deliver = std::function<void(std::unique_ptr<LyricsResult> result)>;

  explicit LyricsHook(Deliver deliver);
  ~LyricsHook();
  LyricsHook(const LyricsHook&) = delete;
  LyricsHook& operator=(const LyricsHook&) = delete;

  // Without a body nothing is looked up and nothing is delivered.
  void SetBody(Body body);
  void SetStagedBody(StagedBody body) { body_ = std::move(body); }
  // The player's own search: side file, lyrics tag, then the service.
  static StagedBody DefaultBody();
  bool HasBody() const { return static_cast<bool>(body_); }

  void Start(LyricsRequest request);
  // Sets the LyricsCancel flag of the lookup in flight; its result is dropped.
  void Cancel();

  // Lookups whose results were thrown away because a newer lookup (or a
  // Cancel) came first. Any thread.
  int DroppedCount() const { return stats_->dropped.load(); }
  // Bodies that have returned so far. Any thread.
  int FinishedCount() const { return stats_->finished.load(); }

 private:
  struct Lookup {
    std::atomic<bool> LyricsCancel{false};
  };
  struct Stats {
    std::atomic<int> dropped{0};
    std::atomic<int> finished{0};
  };

  Deliver deliver_;
  StagedBody body_;
  std::shared_ptr<Stats> stats_ = std::make_shared<Stats>();
  std::shared_ptr<Lookup> current_;
  std::thread thread_;
  QObject receiver_;  // lives on the interface thread; deliveries land here
  std::shared_ptr<WorkerMailbox> mailbox_;
};

}  // namespace zelvaro
