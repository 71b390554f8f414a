#pragma once
// Library subsystem: the one SQLite file per user that remembers the playlist,
// the recent files and the favourites ($XDG_DATA_HOME/zelvaro/playlist.db),
// and what stands on it.
//
// Doors of the subsystem:
// - PlaylistDatabase (this header): the file, its schema, the connection and
//   every statement of the tables `playlist` and `recent_files`.
//   library/recent_files.h keeps the in-memory list of the recent menu.
// - FavoritesDatabase (library/favorites_database.h): favourite groups and
//   items on a second connection to the same file.
// - PlaylistModel (library/playlist_model.h): the list behind the playlist
//   window, with its filter, sorting, moves, series detection and metadata
//   worker; it talks to its window only through PlaylistView.
//
// Threads: an instance is used by one thread at a time. The process-wide
// instance serves the interface thread; the workers of PlaylistSaveQueue and
// StoreWriteQueue open instances of their own for the writes they retry, and
// the interface thread writes through those queues, never waiting more than
// a frame for another player's lock. Reads (the list and the recent files at
// start) still wait up to kBusyTimeoutMs. The metadata worker never
// touches the database. Returned items and strings are values
// owned by the caller.
//
// Failure: the store shows nothing to the user. A file that SQLite calls
// damaged at open (not a database, a failed "PRAGMA quick_check") is renamed
// aside, never deleted or written over, and a fresh file takes its place; the
// renaming is kept for TakeDamageReport, which the main window asks once at
// start to tell the user. When the file cannot be opened, checked or set
// aside, or the schema script fails, the handle stays null, every operation
// is a no-op that returns empty, false or -1, and the player runs without
// persistence; Open is retried by the next caller.
//
// Two running players share the file: each
// connection waits up to kBusyTimeoutMs for a lock held by another running
// player instead of dropping a write; the whole-list save takes the write
// lock up front (BEGIN IMMEDIATE) and rolls back on any failed step, so the
// table always holds one whole list; an existing file is checked with
// "PRAGMA quick_check" before anything is written to it.

#include "library/playlist_item.h"
#include "library/sqlite_handle.h"

#include <QString>
#include <QStringView>

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace zelvaro {

class PlaylistDatabase {
 public:
  static constexpr int kBusyTimeoutMs = 5000;
  // Run at every open; every object is guarded by IF NOT EXISTS.
  static const char kSchemaScript[];

  // The process-wide instance, made on first use, closed at exit.
  static PlaylistDatabase& Instance();

  PlaylistDatabase() = default;
  PlaylistDatabase(const PlaylistDatabase&) = delete;
  PlaylistDatabase& operator=(const PlaylistDatabase&) = delete;

  // True at once when the handle is set. Otherwise builds the path from
  // DataDir() as of now, opens, sets the busy timeout, issues
  // "PRAGMA foreign_keys = ON;", checks an existing file, and runs the schema
  // script. Any failure leaves the handle null and returns false.
  bool Open();
  void Close();
  bool IsOpen() const { return db_ != nullptr; }
  sqlite3* Handle() const { return db_.get(); }
  // The path of the last Open (empty before the first).
  QString Path() const { return path_; }
  // $XDG_DATA_HOME/zelvaro/playlist.db as of now.
  static QString DefaultPath();

  // A damaged file some Open of this process set aside: where it was and
  // where it is kept now. Handed out once (then empty); any thread.
  struct DamageReport {
    QString damagedPath;
    QString keptPath;
  };
  static std::optional<DamageReport> TakeDamageReport();

  // -- playlist --
  // Low 32 bits of the last insert rowid when the step gave SQLITE_DONE (an
  // ignored duplicate gives the previous rowid), else -1.
  int32_t InsertItem(const PlaylistItem& item);
  // Rows in sort_order; empty without a connection or on a failed read.
  std::vector<PlaylistItem> LoadItems();
  // The store side of SaveToDatabase: sets each item's sort_order to its
  // index and replaces the table with the list in one transaction. False
  // (and the table as it was) when any step fails.
  bool SaveItems(std::vector<PlaylistItem>& items);
  // The same with the wait for another player's write lock bounded by
  // `busyWaitMs`; Busy when the lock was not had in that time (nothing
  // written, the list may be saved again later).
  enum class SaveOutcome { Saved, Busy, Failed };
  SaveOutcome TrySaveItems(std::vector<PlaylistItem>& items, int busyWaitMs);
  // Runs `write` (statements of this connection) in one transaction that
  // takes the write lock up front, waiting at most `busyWaitMs` for another
  // player's lock, at the start and at the commit. Busy: the lock was not
  // had in time and nothing was written; Failed: `write` said false or a
  // step failed, and everything was rolled back.
  SaveOutcome TryWrite(int busyWaitMs, const std::function<bool()>& write);
  bool UpdateDuration(int32_t id, double duration);
  bool UpdateCodecInfo(int32_t id, QStringView codecInfo);

  // -- recent_files --
  // -1 without a connection or for an empty path; else as InsertItem.
  int32_t AddRecentFile(const QString& path);
  // At most `limit` paths, newest first; rows with a NULL path are skipped.
  std::vector<QString> LoadRecentFiles(int limit = 10);
  void RemoveRecentFile(const QString& path);
  void ClearRecentFiles();

  // Called inside SaveItems after each inserted row, before the commit; the
  // kill test uses it to stop a process in the middle of a save.
  void SetSaveRowHookForTesting(std::function<void(int rowsWritten)> hook) {
    saveRowHook_ = std::move(hook);
  }

 private:
  // Opened read-write (created when missing), with the busy timeout and
  // foreign keys set; null on failure.
  static SqliteConnection OpenConnection(const QByteArray& nativePath);
  // Renames the file at path_ (and its journal) to a free name beside it.
  bool SetDamagedFileAside();
  // Closes the connection when a statement found the file damaged, so that
  // nothing more is written to it.
  void NoteResult(int resultCode);
  static void BindItem(sqlite3_stmt* statement, const PlaylistItem& item);

  SqliteConnection db_;
  QString path_;
  std::function<void(int)> saveRowHook_;
};

}  // namespace zelvaro
