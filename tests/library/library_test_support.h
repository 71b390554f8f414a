#pragma once
// Shared tools of the library tests: a private home per test (its own
// settings and playlist.db), real files in a temporary folder, a recording
// PlaylistView, raw SQLite reads that bypass the store, and a wait that
// pumps the event loop until a condition holds or a time-out passes.

#include "library/playlist_database.h"
#include "library/playlist_view.h"
#include "tests/support/read_file.h"
#include "tests/support/temp_home.h"
#include "tests/support/wait_until.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <ostream>

// Readable QString values in failure messages.
inline void PrintTo(const QString& text, std::ostream* out) {
  *out << '"' << text.toStdString() << '"';
}

namespace zelvaro::test {

class LibraryTest : public ::testing::Test {
 protected:
  // playlist.db of this test's home.
  QString DbPath() const { return home_.DataHome() + QStringLiteral("/zelvaro/playlist.db"); }
  // The folder of this test's media files, made with the first of them.
  QString MediaDir() const { return home_.Root() + QStringLiteral("/media"); }
  // Creates `name` in MediaDir() with `bytes` bytes; returns its path.
  QString MakeFile(const QString& name, int bytes = 0) const;
  std::vector<QString> MakeFiles(const QStringList& names) const;
  // Many names for one empty file (hard links): thousands of directory
  // entries without the cost of thousands of new files.
  std::vector<QString> MakeLinkedFiles(const QStringList& names) const;
  // The rows of `table` in playlist.db, counted on a connection of its own.
  int Rows(const std::string& table) const;

  TempHome home_;
};

// Runs `sql` on a separate raw connection to `dbPath` and returns the first
// column of each row as text (NULL as "<null>").
std::vector<std::string> QueryColumn(const QString& dbPath, const std::string& sql);
// Runs statements on a separate raw connection; true when all succeed.
bool ExecRaw(const QString& dbPath, const std::string& sql);

// A PlaylistView that records what the model asked of it and holds a
// selection the test sets.
class RecordingView : public PlaylistView {
 public:
  void SetRowCount(int rows) override { rowCounts.push_back(rows); }
  void Redraw(bool erase) override { (erase ? erasingRedraws : plainRedraws)++; }
  void EnsureRowVisible(int row) override { visibleRows.push_back(row); }
  std::vector<int> SelectedRows() const override { return selection; }
  void ClearSelection() override {
    selection.clear();
    ++clearSelections;
  }
  void SelectRow(int row) override {
    selection.push_back(row);
    selectedRows.push_back(row);
  }
  void OnMetadataProgress(int done, int total) override { progress.emplace_back(done, total); }

  std::vector<int> rowCounts;
  int erasingRedraws = 0;
  int plainRedraws = 0;
  std::vector<int> visibleRows;
  std::vector<int> selection;
  std::vector<int> selectedRows;  // every SelectRow call, in order
  int clearSelections = 0;
  std::vector<std::pair<int, int>> progress;
};

// An item as a list holds it before its attributes are read: the name is the
// path's last part.
inline PlaylistItem Item(const QString& path, uint64_t size = 0, double duration = 0,
                         uint64_t date = 0) {
  PlaylistItem item;
  item.file_path = path;
  item.file_name = path.mid(path.lastIndexOf(u'/') + 1);
  item.file_size = size;
  item.duration = duration;
  item.file_date = date;
  return item;
}

// The paths of a list of items, for compact comparisons.
QStringList PathsOf(const std::vector<PlaylistItem>& items);

}  // namespace zelvaro::test
