#pragma once
// FavoriteRun: the favourites run. Once a favourite has been started from
// the favourites tab, next, previous and the end of a file walk that
// favourite's group, row by row, instead of the playlist. Rows are the
// group's items in order. The tab shows the run through OnRowChanged (it
// selects and reveals the row) and ends it when the user plays from the
// playlist instead.
//
// Interface thread only. Reads the groups of the favourites store at each
// step, so changes to the group are seen at once; the store is the process's
// own unless another is given, and is not touched before the run starts.

#include "library/favorites_database.h"

#include <QString>

#include <functional>

namespace zelvaro {

struct FavoriteStep {
  QString path;  // empty: nothing to play
  double positionSeconds = 0;
};

class FavoriteRun {
 public:
  explicit FavoriteRun(FavoritesDatabase* database = nullptr) : database_(database) {}

  // FavoriteRunActive on, with `row` of `group` as the running item.
  void Start(int group, int row);
  // FavoriteRunActive off, FavoriteRunRow -1.
  void End();

  bool Active() const { return active_; }
  int Group() const { return group_; }
  int Row() const { return row_; }
  // The running row exists and is not the group's last.
  bool HasNextRow() const;

  // With the run off, empty. With a next row: moves to it and gives its path
  // and start (empty when the group or item went away meanwhile). With none:
  // ends the run and gives empty.
  FavoriteStep NextFavorite();
  // With the run off or on the first row: empty, and nothing changes.
  // Otherwise as NextFavorite, one row back.
  FavoriteStep PreviousFavorite();

  // Called with the new running row after each move.
  void SetRowChangedCallback(std::function<void(int row)> callback) {
    rowChanged_ = std::move(callback);
  }

 private:
  const FavoriteGroup* CurrentGroup() const;
  FavoriteStep MoveTo(int row);

  FavoritesDatabase* database_;
  bool active_ = false;
  int group_ = 0;
  int row_ = -1;
  std::function<void(int)> rowChanged_;
};

}  // namespace zelvaro
