// Cost of the playlist work that runs on the interface thread, against the
// targets of the Library issue (2-core machine):
//   ReplaceWithSeries, folder of 5,000 matching files, until it returns  < 50 ms
//   SaveToDatabase of 10,000 items                                       < 200 ms
//   RebuildFilter over 100,000 items with a one-letter search            < 20 ms
//   LoadItems of 10,000 rows                                             < 100 ms
// Runs against a temporary XDG_DATA_HOME and XDG_CONFIG_HOME on real files and
// a real SQLite database. Prints the median and the worst of several runs.

#include "library/file_time.h"
#include "library/playlist_database.h"
#include "library/playlist_model.h"
#include "library/series_files.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

using namespace zelvaro;

namespace {

struct Figures {
  double medianMs = 0;
  double worstMs = 0;
};

Figures Measure(int runs, const std::function<void()>& prepare, const std::function<void()>& body) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) {
    prepare();
    const auto start = std::chrono::steady_clock::now();
    body();
    const std::chrono::duration<double, std::milli> elapsed =
        std::chrono::steady_clock::now() - start;
    times.push_back(elapsed.count());
  }
  std::sort(times.begin(), times.end());
  return {times[times.size() / 2], times.back()};
}

void Report(const char* what, const Figures& figures, double targetMs) {
  std::printf("%-58s median %8.2f ms  worst %8.2f ms  target < %5.0f ms  %s\n", what,
              figures.medianMs, figures.worstMs, targetMs,
              figures.medianMs < targetMs ? "ok" : "OVER");
}

// Paths and names shaped like a real library: a deep folder, a long name.
std::vector<PlaylistItem> RealisticItems(int count) {
  std::vector<PlaylistItem> items;
  items.reserve(static_cast<size_t>(count));
  const char* words[] = {"Documentary", "Travel", "Concert", "Lecture", "Series", "Family"};
  for (int i = 0; i < count; ++i) {
    PlaylistItem item;
    item.file_name = QStringLiteral("%1 %2 - Part %3 [1080p].mkv")
                         .arg(QLatin1String(words[i % 6]))
                         .arg(2000 + i % 25)
                         .arg(i);
    item.file_path =
        QStringLiteral("/home/user/Videos/Collection %1/").arg(i % 40) + item.file_name;
    item.file_size = 700000000ULL + static_cast<uint64_t>(i) * 1234567ULL;
    item.duration = 1200.0 + i % 3000;
    item.file_date = CurrentFileTime() - static_cast<uint64_t>(i) * 10000000ULL;
    item.codec_info = QStringLiteral("H.264/AAC");
    items.push_back(std::move(item));
  }
  return items;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  QTemporaryDir home;
  setenv("XDG_DATA_HOME", QFile::encodeName(home.path() + QStringLiteral("/data")).constData(), 1);
  setenv("XDG_CONFIG_HOME", QFile::encodeName(home.path() + QStringLiteral("/config")).constData(),
         1);

  PlaylistDatabase database;
  if (!database.Open()) {
    std::fprintf(stderr, "cannot open the database in %s\n", qPrintable(home.path()));
    return 1;
  }

  // 1. ReplaceWithSeries on a folder of 5,000 matching files (and a few others).
  const QString folder = home.path() + QStringLiteral("/media/");
  QDir().mkpath(folder);
  for (int i = 0; i < 5000; ++i) {
    QFile file(folder + QStringLiteral("My Show %1 [1080p].mkv").arg(10000 + i));
    file.open(QIODevice::WriteOnly);
  }
  for (int i = 0; i < 50; ++i) {
    QFile file(folder + QStringLiteral("Other %1.srt").arg(i));
    file.open(QIODevice::WriteOnly);
  }
  const QString opened = folder + QStringLiteral("My Show 12345 [1080p].mkv");
  {
    PlaylistModel model(database);
    const Figures series = Measure(
        9, [&] { model.StopWorker(); }, [&] { model.ReplaceWithSeries(opened); });
    Report("ReplaceWithSeries, 5,000 matching files (until it returns)", series, 50);
    if (model.Items().size() != 5000 || model.CurrentIndex() != 2345) {
      std::fprintf(stderr, "unexpected series: %zu items, current %d\n", model.Items().size(),
                   model.CurrentIndex());
      return 1;
    }
    // For information: its two big parts, the folder scan and the save.
    const Figures scan = Measure(
        9, [] {}, [&] { FindSeriesFiles(opened); });
    const Figures save = Measure(
        9, [] {}, [&] { model.SaveToDatabase(); });
    std::printf("  (of which FindSeriesFiles %.2f ms, SaveToDatabase of 5,000 items %.2f ms)\n",
                scan.medianMs, save.medianMs);
    // For information: the background worker's whole run.
    const auto start = std::chrono::steady_clock::now();
    model.ReplaceWithSeries(opened);
    while (model.IsWorkerRunning()) QThread::usleep(200);
    const std::chrono::duration<double, std::milli> workerMs =
        std::chrono::steady_clock::now() - start;
    std::printf("  (ReplaceWithSeries plus the metadata worker's 5,000 reads: %.1f ms)\n",
                workerMs.count());
  }

  // 2. SaveToDatabase of 10,000 items.
  PlaylistModel model(database);
  model.SetItems(RealisticItems(10000));
  const Figures save = Measure(
      7, [] {}, [&] { model.SaveToDatabase(); });
  Report("SaveToDatabase, 10,000 items (one transaction, commit)", save, 200);

  // 3. LoadItems of 10,000 rows.
  size_t loaded = 0;
  const Figures load = Measure(
      9, [] {}, [&] { loaded = database.LoadItems().size(); });
  Report("LoadItems, 10,000 rows", load, 100);
  if (loaded != 10000) {
    std::fprintf(stderr, "loaded %zu rows\n", loaded);
    return 1;
  }

  // For information: a start's Open, which checks an existing file (quick_check).
  const Figures open = Measure(
      5, [&] { database.Close(); }, [&] { database.Open(); });
  std::printf("  (Open of the 10,000-row file, with its integrity check: median %.2f ms)\n",
              open.medianMs);

  // 4. RebuildFilter over 100,000 items with a one-letter search.
  model.SetItems(RealisticItems(100000));
  model.SetSearchText(QStringLiteral("o"));
  const Figures filter = Measure(
      15, [] {}, [&] { model.RebuildFilter(); });
  Report("RebuildFilter, 100,000 items, one-letter search", filter, 20);
  std::printf("  (%zu of 100,000 rows match \"o\")\n", model.Filtered().size());
  return 0;
}
