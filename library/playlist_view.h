#pragma once
// PlaylistView: everything the playlist model needs from the list control
// that shows it. PlaylistWindow implements it; tests implement it with a
// recorder. Every call comes on the interface thread, from inside a model
// operation or from a queued metadata delivery; none comes from the worker.
// Rows are rows of the filtered view (PlaylistModel::Filtered()).

#include <vector>

namespace zelvaro {

class PlaylistView {
 public:
  virtual ~PlaylistView() = default;

  // The row count changed (RebuildFilter); keep the scroll position.
  virtual void SetRowCount(int rows) = 0;
  // Repaint all rows; `erase` repaints the background too.
  virtual void Redraw(bool erase) = 0;
  virtual void EnsureRowVisible(int row) = 0;

  // Selected rows in ascending order.
  virtual std::vector<int> SelectedRows() const = 0;
  virtual void ClearSelection() = 0;
  // Gives the row selection and focus (other selected rows stay selected).
  virtual void SelectRow(int row) = 0;

  // Message 1124 to the list window: the worker has filled in sizes and dates of
  // `done` of `total` items. The window invalidates the list without erasing.
  virtual void OnMetadataProgress(int done, int total) = 0;
};

}  // namespace zelvaro
