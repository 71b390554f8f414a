#pragma once
// RecentFiles: the in-memory list behind the recent-files menu,
// newest first, at most kMaxEntries, kept in step with the table
// `recent_files` by hand: the table is written on every change and read only
// by Load. Paths compare exactly (case-sensitive), in the list and the table.
// Interface thread only; MainWindow owns one. The table's writes go through
// a StoreWriteQueue: another player's lock never holds the interface thread
// for more than a frame, and a write it keeps out lands later, in order.

#include "library/playlist_database.h"
#include "library/store_write_queue.h"

#include <QString>

#include <vector>

namespace zelvaro {

class RecentFiles {
 public:
  static constexpr int kMaxEntries = 10;

  explicit RecentFiles(PlaylistDatabase& database = PlaylistDatabase::Instance())
      : database_(database) {}

  // LoadRecentFiles: replaces the list with the newest rows of the table,
  // less those that are neither absolute paths nor addresses; a failed read
  // leaves it empty.
  void Load();
  // Recording an opening: the path made absolute and clean (addresses as
  // they are; see AbsoluteInputPath), AddRecentFile, then it moves to (or
  // enters at) the front; an 11th entry falls off the end.
  void Record(const QString& path);
  // A chosen entry whose file is gone: its row is deleted (when the
  // connection is up and the path is not empty) and the entry erased.
  // Out-of-range indices do nothing.
  void RemoveEntry(int index);
  // Command 5110: empties the list, then clears the table.
  void Clear();

  const std::vector<QString>& Entries() const { return entries_; }
  // Writes kept out by another player's lock and not yet in the table.
  bool HasPendingWrites() const { return writes_.HasPending(); }
  bool FlushWrites(int timeoutMs) { return writes_.Flush(timeoutMs); }

 private:
  PlaylistDatabase& database_;
  StoreWriteQueue writes_{database_};
  std::vector<QString> entries_;
};

// What stands for GetFileAttributesW succeeding: the path names something
// (a dangling link counts, as the link itself is there).
bool PathExists(const QString& path);

}  // namespace zelvaro
