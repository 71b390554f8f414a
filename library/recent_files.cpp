#include "library/recent_files.h"

#include "foundation/shell_paths.h"

#include <QFile>

#include <algorithm>

#include <sys/stat.h>

namespace zelvaro {

void RecentFiles::Load() {
  entries_ = database_.LoadRecentFiles(kMaxEntries);
  // Relative rows of older builds: their row stays and newer openings push
  // it out of the newest ten.
  std::erase_if(entries_, [](const QString& path) { return !IsAbsoluteInputPath(path); });
}

void RecentFiles::Record(const QString& givenPath) {
  const QString path = AbsoluteInputPath(givenPath);
  if (path.isEmpty()) return;
  writes_.Submit([path](PlaylistDatabase& db) { return db.AddRecentFile(path) >= 0; });
  auto found = std::find(entries_.begin(), entries_.end(), path);
  if (found != entries_.end()) entries_.erase(found);
  entries_.insert(entries_.begin(), path);
  if (entries_.size() > static_cast<size_t>(kMaxEntries)) entries_.pop_back();
}

void RecentFiles::RemoveEntry(int index) {
  if (index < 0 || index >= static_cast<int>(entries_.size())) return;
  const QString path = entries_[static_cast<size_t>(index)];
  if (database_.IsOpen() && !path.isEmpty()) {
    writes_.Submit([path](PlaylistDatabase& db) {
      db.RemoveRecentFile(path);
      return db.IsOpen();
    });
  }
  entries_.erase(entries_.begin() + index);
}

void RecentFiles::Clear() {
  entries_.clear();
  if (database_.IsOpen()) {
    writes_.Submit([](PlaylistDatabase& db) {
      db.ClearRecentFiles();
      return db.IsOpen();
    });
  }
}

bool PathExists(const QString& path) {
  if (path.isEmpty()) return false;
  struct stat info {};
  return ::lstat(QFile::encodeName(path).constData(), &info) == 0;
}

}  // namespace zelvaro
