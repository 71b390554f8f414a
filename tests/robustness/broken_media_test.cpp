// Damaged media as one playlist in the real main window: every entry ends
// (or is passed over) within its length and a margin, the next one plays,
// and the window keeps answering a key throughout. The files come from
// make_broken_media.py at test time; a failure names the entry, and the
// generator makes the same file again.

#include "app/messages.h"
#include "engine/graph_manager.h"
#include "library/playlist_model.h"
#include "tests/app/shell_test_support.h"

#include <QKeyEvent>
#include <QProcess>
#include <QTemporaryDir>

namespace zelvaro {

namespace {

// Each source lasts 2 s; an entry may take 5 s beyond that.
constexpr int kEntryLimitMs = (2 + 5) * 1000;

// Generates the corpus into `dir`; the paths in playing order.
QStringList MakeBrokenMedia(const QString& dir) {
  QProcess generator;
  generator.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  generator.start(
      QStringLiteral("python3"),
      {test::SourceDir() + QStringLiteral("/tests/robustness/make_broken_media.py"), dir});
  if (!generator.waitForFinished(300000) || generator.exitCode() != 0) return {};
  return QString::fromUtf8(generator.readAllStandardOutput()).split(u'\n', Qt::SkipEmptyParts);
}

// Mute is toggled through the window's event queue, as a user's key is; the
// toggle is seen only once the queue reaches it.
bool ToggleMuteByKey(MainWindow* window) {
  const bool before = window->graph()->Muted();
  QCoreApplication::postEvent(window, new QKeyEvent(QEvent::KeyPress, Qt::Key_M, Qt::NoModifier));
  QCoreApplication::postEvent(window, new QKeyEvent(QEvent::KeyRelease, Qt::Key_M, Qt::NoModifier));
  return QTest::qWaitFor([&] { return window->graph()->Muted() != before; }, 1000);
}

}  // namespace

class BrokenMediaTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { QVERIFY(player_.Start()); }
  void cleanup() { player_.Stop(); }

  void aPlaylistOfDamagedFilesPlaysThroughAnsweringKeys() {
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QStringList paths = MakeBrokenMedia(dir.path());
    QVERIFY2(paths.size() >= 100, qPrintable(QString::number(paths.size())));
    MainWindow* window = player_.window;
    GraphManager* graph = player_.graph;
    QVERIFY(test::ActivatePlayer(window));
    PlaylistModel* playlist = window->playlist();
    playlist->Clear();
    for (const QString& path : paths) playlist->AddFile(path);
    playlist->RebuildFilter();
    QCOMPARE(playlist->Items().size(), static_cast<size_t>(paths.size()));

    const int last = static_cast<int>(paths.size()) - 1;
    window->PostPlayerMessage(WM_PLAYER_PLAY_INDEX, 0);
    QTRY_VERIFY_WITH_TIMEOUT(playlist->CurrentIndex() >= 0, kEntryLimitMs);
    int entries = 0;
    for (;;) {
      const int index = playlist->CurrentIndex();
      const QString name = paths.value(index).section(u'/', -1);
      QVERIFY2(ToggleMuteByKey(window),
               qPrintable(QStringLiteral("no answer to a key on ") + name));
      auto moved = [&] {
        return playlist->CurrentIndex() != index || graph->State() == 0 ||
               graph->CurrentPath().isEmpty();
      };
      QVERIFY2(QTest::qWaitFor(moved, kEntryLimitMs),
               qPrintable(QStringLiteral("stuck on ") + name));
      ++entries;
      if (playlist->CurrentIndex() == index) break;
      QVERIFY2(playlist->CurrentIndex() > index,
               qPrintable(QStringLiteral("went back from ") + name));
    }
    // The list ran to its end, and the player still answers there.
    QCOMPARE(playlist->CurrentIndex(), last);
    QVERIFY(ToggleMuteByKey(window));
    qInfo("%d of %d entries seen playing; the others were passed over at once", entries, last + 1);
  }

 private:
  test::PlayerFixture player_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::BrokenMediaTest)
#include "broken_media_test.moc"
