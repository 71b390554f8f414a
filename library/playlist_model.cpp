#include "library/playlist_model.h"

#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/shell_paths.h"
#include "library/case_fold.h"
#include "library/file_time.h"
#include "library/natural_compare.h"
#include "library/series_files.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>

namespace zelvaro {
namespace {

PlaylistItem NewItem(const QString& path) {
  PlaylistItem item;
  item.file_path = path;
  item.file_name = FileNameOfPath(path);
  return item;
}

// _wcsicmp: equal lengths, equal units once folded.
bool SamePath(const QString& a, const QString& b) {
  if (a.size() != b.size()) return false;
  const char16_t* x = reinterpret_cast<const char16_t*>(a.constData());
  const char16_t* y = reinterpret_cast<const char16_t*>(b.constData());
  for (qsizetype i = 0; i < a.size(); ++i) {
    if (x[i] != y[i] && FoldCaseUnit(x[i]) != FoldCaseUnit(y[i])) return false;
  }
  return true;
}

// A duration that is not a number would break the sort's ordering.
double DurationKey(double duration) {
  return std::isnan(duration) ? 0.0 : duration;
}

// -1, 0, 1 on the key of `column`.
int CompareBy(int column, const PlaylistItem& a, const PlaylistItem& b) {
  switch (column) {
    case PlaylistModel::kSortByName:
      return NaturalCompare(a.file_name, b.file_name);
    case PlaylistModel::kSortBySize:
      return a.file_size < b.file_size ? -1 : (a.file_size > b.file_size ? 1 : 0);
    case PlaylistModel::kSortByDuration: {
      const double x = DurationKey(a.duration);
      const double y = DurationKey(b.duration);
      return x < y ? -1 : (x > y ? 1 : 0);
    }
    case PlaylistModel::kSortByDate:
      return a.file_date < b.file_date ? -1 : (a.file_date > b.file_date ? 1 : 0);
    default:
      return 0;
  }
}

}  // namespace

PlaylistModel::PlaylistModel(PlaylistDatabase& database) : database_(database) {}

PlaylistModel::~PlaylistModel() {
  StopWorker();
}

void PlaylistModel::Redraw(bool erase) {
  if (view_ != nullptr) view_->Redraw(erase);
}

void PlaylistModel::RestoreFromDatabase() {
  database_.Open();
  if (!Settings::GetBoolOr(setting::kPlaylistRestoreOnStartup, true)) return;
  items_ = database_.LoadItems();
  RebuildFilter();
}

void PlaylistModel::SetItems(std::vector<PlaylistItem> items) {
  items_ = std::move(items);
  currentIndex_ = -1;
  RebuildFilter();
}

void PlaylistModel::AddFile(const QString& givenPath) {
  const QString path = ResolveShortcut(givenPath);
  if (Settings::GetDwordOr(setting::kPlaylistPreventDuplicates, 0) != 0 && FindByPath(path) >= 0)
    return;
  PlaylistItem item = NewItem(path);
  FileAttributes attributes;
  if (ReadFileAttributes(path, &attributes)) {
    item.file_size = attributes.size;
    item.file_date = attributes.lastWrite;
  }
  item.sort_order = static_cast<int32_t>(items_.size());
  items_.push_back(std::move(item));
}

void PlaylistModel::ReplaceWithSeries(const QString& path) {
  StopWorker();
  items_.clear();
  currentIndex_ = -1;
  std::vector<QString> series = FindSeriesFiles(path);
  items_.reserve(series.size());
  for (QString& file : series) {
    PlaylistItem& item = items_.emplace_back(NewItem(file));
    item.sort_order = static_cast<int32_t>(items_.size() - 1);
  }
  currentIndex_ = FindByPath(path);
  RebuildFilter();
  Redraw(false);
  SaveToDatabase();
  if (currentIndex_ >= 0 && view_ != nullptr) {
    // The index serves as a row directly, on purpose: the search is ignored.
    view_->EnsureRowVisible(currentIndex_);
    view_->SelectRow(currentIndex_);
  }
  StartWorker();
}

void PlaylistModel::StartWorker() {
  StopWorker();
  std::vector<QString> paths;
  paths.reserve(items_.size());
  for (const PlaylistItem& item : items_) paths.push_back(item.file_path);
  const uint64_t generation = ++workerGeneration_;
  worker_ = std::make_unique<MetadataWorker>(
      &dispatcher_, std::move(paths),
      [this, generation](std::vector<MetadataResult> batch, int done, int total) {
        ApplyMetadata(generation, std::move(batch), done, total);
      });
}

void PlaylistModel::StopWorker() {
  ++workerGeneration_;  // what an old worker already queued is dropped
  if (worker_) {
    worker_->Stop();
    worker_.reset();
  }
}

bool PlaylistModel::IsWorkerRunning() const {
  return worker_ && worker_->Running();
}

void PlaylistModel::ApplyMetadata(uint64_t generation, std::vector<MetadataResult> batch, int done,
                                  int total) {
  if (generation != workerGeneration_) return;
  // The list may have been sorted, moved or cleared since the worker copied
  // it: a result goes to the item at its index when that still has its path,
  // else to the first item with exactly that path.
  QHash<QString, int> firstIndexOfPath;
  for (const MetadataResult& result : batch) {
    if (!result.found) continue;
    int target = -1;
    if (InRange(result.index) &&
        items_[static_cast<size_t>(result.index)].file_path == result.path) {
      target = result.index;
    } else {
      if (firstIndexOfPath.isEmpty()) {
        for (int i = static_cast<int>(items_.size()) - 1; i >= 0; --i)
          firstIndexOfPath.insert(items_[static_cast<size_t>(i)].file_path, i);
      }
      target = firstIndexOfPath.value(result.path, -1);
    }
    if (target < 0) continue;
    PlaylistItem& item = items_[static_cast<size_t>(target)];
    item.file_size = result.fileSize;
    item.file_date = result.fileDate;
  }
  if (view_ != nullptr) view_->OnMetadataProgress(done, total);
}

void PlaylistModel::Clear() {
  items_.clear();
  currentIndex_ = -1;
  RebuildFilter();
  Redraw(false);
  SaveToDatabase();
}

bool PlaylistModel::SaveToDatabase() {
  return saveQueue_.Save(items_) != PlaylistSaveQueue::Result::Failed;
}

void PlaylistModel::SetSearchText(const QString& text) {
  searchText_ = text;
  RebuildFilter();
}

void PlaylistModel::RebuildFilter() {
  filtered_.clear();
  filtered_.reserve(items_.size());
  const int count = static_cast<int>(items_.size());
  if (searchText_.isEmpty()) {
    for (int i = 0; i < count; ++i) filtered_.push_back(i);
  } else {
    // Only the name is searched, never the folder.
    const QString needle = FoldCase(searchText_);
    for (int i = 0; i < count; ++i) {
      if (ContainsFolded(items_[static_cast<size_t>(i)].file_name, needle)) filtered_.push_back(i);
    }
  }
  if (view_ != nullptr) {
    view_->SetRowCount(static_cast<int>(filtered_.size()));
    view_->Redraw(true);
  }
}

int PlaylistModel::FindByPath(const QString& path) const {
  for (size_t i = 0; i < items_.size(); ++i) {
    if (SamePath(items_[i].file_path, path)) return static_cast<int>(i);
  }
  return -1;
}

int PlaylistModel::RowOfIndex(int index) const {
  auto found = std::find(filtered_.begin(), filtered_.end(), index);
  return found == filtered_.end() ? -1 : static_cast<int>(found - filtered_.begin());
}

void PlaylistModel::SetCurrentByPath(const QString& path) {
  currentIndex_ = FindByPath(path);
  Redraw(false);
  const int row = currentIndex_ >= 0 ? RowOfIndex(currentIndex_) : -1;
  if (row >= 0 && view_ != nullptr) view_->EnsureRowVisible(row);
}

QString PlaylistModel::NextFile() {
  if (currentIndex_ < 0 || currentIndex_ >= static_cast<int>(items_.size()) - 1) return {};
  ++currentIndex_;
  Redraw(false);
  const int row = RowOfIndex(currentIndex_);
  if (row >= 0 && view_ != nullptr) view_->EnsureRowVisible(row);
  return items_[static_cast<size_t>(currentIndex_)].file_path;
}

QString PlaylistModel::PreviousFile() {
  if (currentIndex_ <= 0 || currentIndex_ > static_cast<int>(items_.size())) return {};
  --currentIndex_;
  Redraw(false);
  const int row = RowOfIndex(currentIndex_);
  if (row >= 0 && view_ != nullptr) view_->EnsureRowVisible(row);
  return items_[static_cast<size_t>(currentIndex_)].file_path;
}

void PlaylistModel::UpdateMetadata(const QString& path, double durationSeconds,
                                   const QString& codecInfo) {
  const int index = FindByPath(path);
  if (index < 0) return;
  PlaylistItem& item = items_[static_cast<size_t>(index)];
  item.duration = durationSeconds;
  if (!codecInfo.isEmpty()) item.codec_info = codecInfo;
  Redraw(true);
  // Ids go stale at the first save after a load; the updates then match no
  // row, silently, and the values reach the file with the next full save.
  // Ids are never reused, so a write kept out by another player and made
  // after a save can only miss, never hit another row.
  if (!database_.IsOpen() || item.id <= 0) return;
  writes_.Submit([id = item.id, durationSeconds, codecInfo](PlaylistDatabase& db) {
    db.UpdateDuration(id, durationSeconds);
    if (!codecInfo.isEmpty()) db.UpdateCodecInfo(id, codecInfo);
    return db.IsOpen();
  });
}

void PlaylistModel::SortByColumn(int column) {
  if (column != sortColumn_) {
    sortColumn_ = column;
    sortAscending_ = true;
  } else {
    sortAscending_ = !sortAscending_;
  }
  ApplySort();
}

void PlaylistModel::ApplySort() {
  if (sortColumn_ < 0 || items_.empty()) return;
  QString currentPath;
  const bool remembered = InRange(currentIndex_);
  if (remembered) currentPath = items_[static_cast<size_t>(currentIndex_)].file_path;
  const int column = sortColumn_;
  const bool ascending = sortAscending_;
  // Descending reverses the comparison, not the ascending result.
  std::sort(items_.begin(), items_.end(),
            [column, ascending](const PlaylistItem& a, const PlaylistItem& b) {
              const int order = CompareBy(column, a, b);
              return ascending ? order < 0 : order > 0;
            });
  if (remembered) currentIndex_ = FindByPath(currentPath);
  RebuildFilter();
  Redraw(false);
  SaveToDatabase();
}

void PlaylistModel::SortByName() {
  std::sort(items_.begin(), items_.end(), [](const PlaylistItem& a, const PlaylistItem& b) {
    return NaturalCompare(a.file_name, b.file_name) < 0;
  });
  // Read after the sort, on purpose: the marker keeps its row number (or
  // falls to an earlier copy of whatever path now sits there).
  if (InRange(currentIndex_))
    currentIndex_ = FindByPath(items_[static_cast<size_t>(currentIndex_)].file_path);
  RebuildFilter();
  Redraw(false);
  SaveToDatabase();
}

void PlaylistModel::MoveItem(int from, int to) {
  if (from == to || !InRange(from) || !InRange(to)) return;
  PlaylistItem moved = std::move(items_[static_cast<size_t>(from)]);
  items_.erase(items_.begin() + from);
  items_.insert(items_.begin() + to, std::move(moved));
  if (currentIndex_ == from) {
    currentIndex_ = to;
  } else if (from < to && currentIndex_ > from && currentIndex_ <= to) {
    --currentIndex_;
  } else if (from > to && currentIndex_ >= to && currentIndex_ < from) {
    ++currentIndex_;
  }
}

int PlaylistModel::FirstSelectedRow() const {
  if (view_ == nullptr) return -1;
  const std::vector<int> rows = view_->SelectedRows();
  for (int row : rows) {
    if (row >= 0 && row < static_cast<int>(filtered_.size())) return row;
  }
  return -1;
}

void PlaylistModel::SelectAfterMove(int row) {
  RebuildFilter();
  Redraw(false);
  if (view_ == nullptr) return;
  view_->ClearSelection();
  view_->SelectRow(row);
}

void PlaylistModel::MoveSelectedTop() {
  const int row = FirstSelectedRow();
  if (row <= 0) return;
  MoveItem(filtered_[static_cast<size_t>(row)], 0);
  SelectAfterMove(0);
}

void PlaylistModel::MoveSelectedUp() {
  const int row = FirstSelectedRow();
  if (row <= 0) return;
  // Swaps records, CurrentIndex untouched: the marker stays on its number.
  std::swap(items_[static_cast<size_t>(filtered_[static_cast<size_t>(row)])],
            items_[static_cast<size_t>(filtered_[static_cast<size_t>(row - 1)])]);
  SelectAfterMove(row - 1);
}

void PlaylistModel::MoveSelectedDown() {
  const int row = FirstSelectedRow();
  if (row < 0 || row >= static_cast<int>(filtered_.size()) - 1) return;
  std::swap(items_[static_cast<size_t>(filtered_[static_cast<size_t>(row)])],
            items_[static_cast<size_t>(filtered_[static_cast<size_t>(row + 1)])]);
  SelectAfterMove(row + 1);
}

void PlaylistModel::MoveSelectedBottom() {
  const int row = FirstSelectedRow();
  if (row < 0 || row >= static_cast<int>(filtered_.size()) - 1) return;
  MoveItem(filtered_[static_cast<size_t>(row)], static_cast<int>(items_.size()) - 1);
  SelectAfterMove(static_cast<int>(filtered_.size()) - 1);
}

void PlaylistModel::RemoveSelected() {
  if (view_ == nullptr) return;
  std::vector<int> indices;
  int firstRow = -1;
  for (int row : view_->SelectedRows()) {
    if (row < 0 || row >= static_cast<int>(filtered_.size())) continue;
    if (firstRow < 0) firstRow = row;
    indices.push_back(filtered_[static_cast<size_t>(row)]);
  }
  if (indices.empty()) return;
  std::sort(indices.begin(), indices.end(), std::greater<int>());
  indices.erase(std::unique(indices.begin(), indices.end()), indices.end());
  for (int index : indices) {
    if (index == currentIndex_) {
      currentIndex_ = -1;
    } else if (index < currentIndex_) {
      --currentIndex_;
    }
    items_.erase(items_.begin() + index);
  }
  RebuildFilter();
  Redraw(false);
  SaveToDatabase();
  const int rows = static_cast<int>(filtered_.size());
  if (rows > 0) view_->SelectRow(std::min(firstRow, rows - 1));
}

void PlaylistModel::RemoveDuplicates() {
  if (items_.empty()) return;
  QString currentPath;
  const bool remembered = InRange(currentIndex_);
  if (remembered) currentPath = items_[static_cast<size_t>(currentIndex_)].file_path;
  QSet<QString> seen;
  seen.reserve(static_cast<qsizetype>(items_.size()));
  std::vector<PlaylistItem> kept;
  kept.reserve(items_.size());
  for (PlaylistItem& item : items_) {
    const QString lowered = FoldCase(item.file_path);
    if (seen.contains(lowered)) continue;
    seen.insert(lowered);
    kept.push_back(std::move(item));
  }
  items_ = std::move(kept);
  currentIndex_ = -1;
  if (remembered) currentIndex_ = FindByPath(currentPath);
  RebuildFilter();
  Redraw(false);
  SaveToDatabase();
}

}  // namespace zelvaro
