#pragma once
// PlaylistModel: the logic behind the playlist, kept apart from
// its window. It holds the list (Items), the filtered view of it (Filtered:
// for each visible row, an index into Items), the search text, which item is
// current, the sort state and the metadata worker. It speaks to its window
// only through PlaylistView (library/playlist_view.h) and saves through
// PlaylistDatabase: the whole list by PlaylistSaveQueue, the metadata learnt
// in playback by StoreWriteQueue, neither waiting on the interface thread
// for another player's lock longer than a frame.
//
// Threads: create, use and destroy on the interface thread. The metadata
// worker started by ReplaceWithSeries reads file attributes on its own
// thread from a copy of the paths; its results come back as queued calls to
// an object of this model and are applied here, on the interface thread, to
// the items whose paths they name, so no thread writes what another reads.
//
// Paths compare with case ignored everywhere in the model; FindByPath gives
// the first match. Any change of Items is followed by RebuildFilter, except
// where a step below says otherwise (AddFile and MoveItem, which leave it to
// their callers).

#include "library/metadata_worker.h"
#include "library/playlist_database.h"
#include "library/playlist_item.h"
#include "library/playlist_save_queue.h"
#include "library/playlist_view.h"
#include "library/store_write_queue.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

namespace zelvaro {

class PlaylistModel {
 public:
  // Sort columns of ApplySort.
  enum SortColumnId { kSortByName = 0, kSortBySize = 1, kSortByDuration = 2, kSortByDate = 3 };

  explicit PlaylistModel(PlaylistDatabase& database = PlaylistDatabase::Instance());
  // Stops the worker first; does not save.
  ~PlaylistModel();
  PlaylistModel(const PlaylistModel&) = delete;
  PlaylistModel& operator=(const PlaylistModel&) = delete;

  // The view is not owned; null means nothing is shown.
  void SetView(PlaylistView* view) { view_ = view; }

  // Start: opens the store and, when "PlaylistRestoreOnStartup" (default 1)
  // is non-zero, replaces Items with the saved list. CurrentIndex stays -1.
  void RestoreFromDatabase();
  // Items replaced as a whole (CurrentIndex -1), then RebuildFilter.
  void SetItems(std::vector<PlaylistItem> items);

  // Appends the path (a link resolved to its target) with its size and date
  // when they can be read; honours "PlaylistPreventDuplicates". Neither
  // rebuilds the filter nor saves.
  void AddFile(const QString& path);
  // Rebuilds the list from the path's series (FindSeriesFiles), makes the
  // path current, saves, and starts the metadata worker.
  void ReplaceWithSeries(const QString& path);
  void Clear();
  // Whole-list save; false when the store is closed or the save failed.
  // A list that finds the store locked by another player is saved later by
  // the save queue (still true); the model's destruction waits for it.
  bool SaveToDatabase();

  void SetSearchText(const QString& text);  // then RebuildFilter
  void RebuildFilter();

  int FindByPath(const QString& path) const;
  void SetCurrentByPath(const QString& path);
  // Advances CurrentIndex and returns the new current path; empty when
  // nothing is current or the current item is the last.
  QString NextFile();
  // MainWindow's "previous" step: lowers CurrentIndex and returns that path;
  // empty when CurrentIndex is not above 0.
  QString PreviousFile();
  // Writes back what playback learned: duration always, codec text when not
  // empty, in memory and (for an item with a row id) in the store.
  void UpdateMetadata(const QString& path, double durationSeconds, const QString& codecInfo);

  // A click on column `column`: a new column sorts ascending, the same one
  // flips the direction; then ApplySort.
  void SortByColumn(int column);
  void ApplySort();
  // Command 7016: ascending by name; the marker keeps its row number.
  void SortByName();

  void MoveItem(int from, int to);
  // The four move commands act on the first selected row and do not save.
  void MoveSelectedTop();
  void MoveSelectedUp();
  void MoveSelectedDown();
  void MoveSelectedBottom();
  void RemoveSelected();
  void RemoveDuplicates();

  void StopWorker();
  bool IsWorkerRunning() const;

  const std::vector<PlaylistItem>& Items() const { return items_; }
  const std::vector<int>& Filtered() const { return filtered_; }
  const QString& SearchText() const { return searchText_; }
  int CurrentIndex() const { return currentIndex_; }
  void SetCurrentIndex(int index) { currentIndex_ = index; }
  int SortColumn() const { return sortColumn_; }
  bool SortAscending() const { return sortAscending_; }
  // The row of Items index `index` in Filtered, or -1 when it is hidden.
  int RowOfIndex(int index) const;

 private:
  bool InRange(int index) const { return index >= 0 && index < static_cast<int>(items_.size()); }
  int FirstSelectedRow() const;
  void SelectAfterMove(int row);
  void StartWorker();
  void ApplyMetadata(uint64_t generation, std::vector<MetadataResult> batch, int done, int total);
  void Redraw(bool erase);

  PlaylistDatabase& database_;
  PlaylistSaveQueue saveQueue_{database_};
  StoreWriteQueue writes_{database_};
  PlaylistView* view_ = nullptr;

  std::vector<PlaylistItem> items_;
  std::vector<int> filtered_;
  QString searchText_;
  int currentIndex_ = -1;
  int sortColumn_ = -1;
  bool sortAscending_ = true;

  // Lives on the interface thread; worker deliveries are queued to it and
  // dropped with it.
  QObject dispatcher_;
  std::unique_ptr<MetadataWorker> worker_;
  uint64_t workerGeneration_ = 0;  // deliveries of an older worker are ignored
};

}  // namespace zelvaro
