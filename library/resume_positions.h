#pragma once
// ResumePositions: where the user left each local file, so that opening it
// again starts there. The positions live in a table of their own,
// `resume_positions`, in the playlist store (playlist.db); the other tables
// never depend on it. The newest kMaxEntries rows are kept.
//
// Which positions count (KeptPosition): from kMinSeconds on and before the
// last kEndShare of the file; anything else forgets the file, so a file
// watched to its end, or barely started, opens from the top next time.
//
// Threads: interface thread only; MainWindow owns one. Lookup reads on the
// calling thread (one row by its key). Remember and Forget go through a
// StoreWriteQueue, as the recent files do, so another player's lock never
// holds the interface thread for more than a frame.
//
// Failure: a missing, damaged or foreign-shaped table means "no position":
// Lookup returns nothing and writes are dropped; the rest of the store goes
// on as it was, and this class never closes or sets aside the file.

#include "library/playlist_database.h"
#include "library/store_write_queue.h"

#include <QString>

#include <optional>

namespace zelvaro {

class ResumePositions {
 public:
  static constexpr int kMaxEntries = 1000;
  static constexpr double kMinSeconds = 30.0;
  static constexpr double kEndShare = 0.05;

  explicit ResumePositions(PlaylistDatabase& database = PlaylistDatabase::Instance())
      : database_(database) {}

  // The position worth keeping for a file left at `positionSeconds` of
  // `durationSeconds`, or nothing when the file should start from the top.
  static std::optional<double> KeptPosition(double positionSeconds, double durationSeconds);

  // The stored position of `path`, when there is one usable for a file of
  // `durationSeconds` (a position past the end is ignored).
  std::optional<double> Lookup(const QString& path, double durationSeconds);
  // Stores or forgets `path` by KeptPosition.
  void Record(const QString& path, double positionSeconds, double durationSeconds);

  bool FlushWrites(int timeoutMs) { return writes_.Flush(timeoutMs); }

  // The store side, on any connection (used by the queue's worker as well).
  static bool WritePosition(PlaylistDatabase& database, const QString& path, double seconds);
  static bool ErasePosition(PlaylistDatabase& database, const QString& path);

 private:
  PlaylistDatabase& database_;
  StoreWriteQueue writes_{database_};
};

}  // namespace zelvaro
