// The playlist panel on the real main window: a long list opening without
// formatting what does not show, the search filter, Enter and Delete, a
// reorder drag by the real pointer surviving a restart, files dropped from
// outside, the favourites tab's run and the limits of the favourites, and its
// look. The favourites store is a process singleton, so one test here uses it.

#include "panels/playlist_window.h"
#include "app/commands.h"
#include "app/favorite_run.h"
#include "app/messages.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "library/favorites_database.h"
#include "library/playlist_model.h"
#include "panels/favorites_dialog.h"
#include "panels/panel_list_view.h"
#include "panels/playlist_rows.h"
#include "tests/app/shell_test_support.h"
#include "tests/app/x_pointer.h"
#include "tests/support/golden_image.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QScrollBar>
#include <QUrl>

namespace zelvaro {
namespace {

QStringList ItemPaths(const PlaylistModel& playlist) {
  QStringList paths;
  for (const PlaylistItem& item : playlist.Items()) paths << item.file_path;
  return paths;
}

PlaylistItem Item(const QString& path, uint64_t size = 0, double duration = 0) {
  PlaylistItem item;
  item.file_path = path;
  item.file_name = path.section(u'/', -1);
  item.file_size = size;
  item.duration = duration;
  return item;
}

// The panel shown beside a main window made small enough to leave it room.
panels::PlaylistWindow* ShowPanel(MainWindow* window) {
  window->setGeometry(100, 100, 700, 560);
  panels::PlaylistWindow* panel = window->playlistWindow();
  if (panel == nullptr) return nullptr;
  window->OnPlayerMessage(WM_PLAYER_TOGGLE_PLAYLIST);
  if (!QTest::qWaitForWindowExposed(panel)) return nullptr;
  // Xvfb has no window manager to activate what is clicked; the key map
  // routes keys by the active window.
  QApplication::setActiveWindow(panel);
  if (!QTest::qWaitFor([panel] { return QApplication::activeWindow() == panel; }, 5000)) {
    return nullptr;
  }
  return panel;
}

QPoint GlobalRowPoint(panels::PanelListView* list, int row, int dy = 0) {
  return list->viewport()->mapToGlobal(list->RowCenter(row) + QPoint(0, dy));
}

}  // namespace

class PlaylistWindowTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { QVERIFY(p_.Start()); }
  void cleanup() { p_.Stop(); }

  void aLongListFormatsOnlyTheRowsItShows() {
    MainWindow* window = p_.window;
    std::vector<PlaylistItem> items;
    for (int i = 0; i < 100000; ++i) {
      items.push_back(Item(QStringLiteral("/media/%1 clip %2.mp4")
                               .arg(i % 2 ? QStringLiteral("x") : QStringLiteral("y"))
                               .arg(i)));
    }
    window->playlist()->SetItems(std::move(items));
    const long long before = panels::PlaylistCellsFormatted();
    panels::PlaylistWindow* panel = ShowPanel(window);
    QVERIFY(panel);
    panels::PanelListView* list = panel->playlistList();
    QTRY_VERIFY(panels::PlaylistCellsFormatted() > before);
    QCOMPARE(list->model()->rowCount(), 100000);
    // A few paints of the shown rows, nowhere near the whole list.
    QVERIFY2(panels::PlaylistCellsFormatted() - before < 2000,
             qPrintable(QString::number(panels::PlaylistCellsFormatted() - before)));

    // The arrows move the current row and the list follows it, a row at a
    // time past either edge (the player keeps the other keys).
    list->setFocus();
    const int page = list->verticalScrollBar()->pageStep();
    const struct {
      int from;
      Qt::Key key;
      int row, top;
    } moves[] = {{page - 1, Qt::Key_Down, page, 1}, {1, Qt::Key_Up, 0, 0}};
    for (const auto& move : moves) {
      list->setCurrentIndex(list->model()->index(move.from, 0));
      QTest::keyClick(list, move.key);
      QCOMPARE(list->currentIndex().row(), move.row);
      QCOMPARE(list->verticalScrollBar()->value(), move.top);
      QVERIFY(list->viewport()->rect().contains(list->visualRect(list->currentIndex())));
    }
    QTest::keyClick(list, Qt::Key_A, Qt::ControlModifier);
    QCOMPARE(panel->SelectedRows().size(), size_t{100000});
    panel->searchEdit()->setFocus();
    QTest::keyClicks(panel->searchEdit(), QStringLiteral("x"));
    QCOMPARE(list->model()->rowCount(), 50000);
  }

  void dropSearchEnterDeleteAndPlacement() {
    const QStringList show =
        test::MakeSeries(*p_.home, QStringLiteral("show"),
                         {QStringLiteral("Alpha 1.mp4"), QStringLiteral("Beta 2.mp4"),
                          QStringLiteral("Gamma 3.mp4")});
    MainWindow* window = p_.window;
    window->playlist()->AddFile(show[0]);
    window->playlist()->RebuildFilter();
    panels::PlaylistWindow* panel = ShowPanel(window);
    QVERIFY(panel);
    // SnapDefault: right of the main window, top aligned, docked.
    QCOMPARE(panel->geometry().topLeft(), QPoint(800, 100));
    QVERIFY(panel->Snapped());
    panels::PanelListView* list = panel->playlistList();

    // Files dropped from outside are appended.
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(show[1]), QUrl::fromLocalFile(show[2])});
    QDragEnterEvent enter(QPoint(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, {});
    QCoreApplication::sendEvent(list->viewport(), &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(QPointF(10, 10), Qt::CopyAction, &mime, Qt::LeftButton, {});
    QCoreApplication::sendEvent(list->viewport(), &drop);
    QCOMPARE(ItemPaths(*window->playlist()), show);
    QCOMPARE(list->model()->rowCount(), 3);

    // The filter follows each key typed.
    panel->searchEdit()->setFocus();
    struct Step {
      QString typed;
      int rows;
    };
    for (const Step& step : {Step{QStringLiteral("a"), 3}, Step{QStringLiteral("m"), 1}}) {
      QTest::keyClicks(panel->searchEdit(), step.typed);
      QCOMPARE(list->model()->rowCount(), step.rows);
    }
    QCOMPARE(list->model()->data(list->model()->index(0, 0)).toString(),
             QStringLiteral("Gamma 3.mp4"));

    // Enter plays the selected row: the row's index in the whole list.
    list->SelectSingleRow(0, true);
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Return);
    QTRY_COMPARE_WITH_TIMEOUT(window->graph()->CurrentPath(), show[2], 10000);
    QCOMPARE(window->playlist()->CurrentIndex(), 2);

    panel->searchEdit()->clear();
    QCOMPARE(list->model()->rowCount(), 3);
    list->SelectSingleRow(1, true);
    QTest::keyClick(list, Qt::Key_Delete);
    QCOMPARE(ItemPaths(*window->playlist()), (QStringList{show[0], show[2]}));

    // A moved panel's place is saved on hiding and comes back on showing.
    const QRect moved(300, 200, 400, 350);
    panel->setGeometry(moved);
    QVERIFY(!panel->Snapped());
    QTest::keyClick(list, Qt::Key_Escape);
    QVERIFY(!panel->isVisible());
    QTRY_COMPARE(Settings::GetDwordOr(setting::kPlaylistVisible, 1), 0u);
    QCOMPARE(Settings::GetDwordOr(setting::kPlaylistW, 0), 400u);
    window->OnPlayerMessage(WM_PLAYER_TOGGLE_PLAYLIST);
    QVERIFY(QTest::qWaitForWindowExposed(panel));
    QCOMPARE(panel->geometry(), moved);
  }

  void dragOfTwoRowsToTheTopReordersAndIsSaved() {
    Display* display = test::XTestDisplay();
    if (display == nullptr) QSKIP("needs X11 with XTEST");
    QStringList paths;
    for (int i = 0; i < 6; ++i) paths << p_.home->WriteFile(QStringLiteral("f/%1.mp4").arg(i), "x");
    PlaylistModel* model = p_.window->playlist();
    for (const QString& path : paths) model->AddFile(path);
    model->RebuildFilter();
    panels::PlaylistWindow* panel = ShowPanel(p_.window);
    QVERIFY(panel);
    panels::PanelListView* list = panel->playlistList();
    list->SelectSingleRow(3, true);
    list->SelectSingleRow(4, false);

    // Pressing on a selected row drags the whole selection; the top half
    // of row 0 puts it before that row.
    const int rowHeight = list->visualRect(list->model()->index(0, 0)).height();
    test::XMovePointer(display, GlobalRowPoint(list, 3));
    XTestFakeButtonEvent(display, 1, True, CurrentTime);
    XFlush(display);
    for (int row = 2; row >= 0; --row) {
      test::XMovePointer(display, GlobalRowPoint(list, row, -rowHeight / 4));
      QTRY_COMPARE(list->DropRow(), row);
    }
    XTestFakeButtonEvent(display, 1, False, CurrentTime);
    XFlush(display);
    const QStringList moved{paths[3], paths[4], paths[0], paths[1], paths[2], paths[5]};
    QTRY_COMPARE(ItemPaths(*model), moved);
    QCOMPARE(panel->SelectedRows(), (std::vector<int>{0, 1}));
    test::StopPlayer();
    MainWindow* again = test::StartPlayer();
    QVERIFY(again);
    QCOMPARE(ItemPaths(*again->playlist()), moved);
  }

  void favouritesTabRunsAGroupAndStopsAtTheLimits() {
    const QStringList show = test::MakeSeries(
        *p_.home, QStringLiteral("fav"), {QStringLiteral("One.mp4"), QStringLiteral("Two.mp4")});
    MainWindow* window = p_.window;
    FavoritesDatabase& favorites = FavoritesDatabase::Instance();
    for (int i = 1; i <= 4; ++i) QVERIFY(favorites.AddGroup(QStringLiteral("G%1").arg(i)));
    QVERIFY(favorites.AddItem(0, show[1], 0.0));
    QVERIFY(favorites.AddItem(4, show[0], 0.0));
    QVERIFY(favorites.AddItem(4, show[1], 2.0));
    panels::PlaylistWindow* panel = ShowPanel(window);
    QVERIFY(panel);
    panel->SetActiveTab(1);
    QCOMPARE(panel->groupCombo()->count(), 5);
    emit panel->groupCombo()->activated(4);
    panels::PanelListView* list = panel->favoritesList();
    QCOMPARE(list->model()->rowCount(), 2);
    QCOMPARE(list->model()->data(list->model()->index(1, 2)).toString(), QStringLiteral("0:02"));

    // Enter on a favourite not yet on the playlist adds it and starts the run.
    list->SelectSingleRow(0, true);
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Return);
    QTRY_COMPARE_WITH_TIMEOUT(window->graph()->CurrentPath(), show[0], 10000);
    QVERIFY(window->favoriteRun().Active());
    QCOMPARE(window->favoriteRun().Group(), 4);

    // Next walks the group, not the playlist, from the favourite's position.
    window->OnCommand(ID_MEDIA_NEXT);
    QTRY_COMPARE_WITH_TIMEOUT(window->graph()->CurrentPath(), show[1], 10000);
    QTRY_VERIFY(window->graph()->GetPosition() >= 1.9);
    QCOMPARE(window->favoriteRun().Row(), 1);
    QCOMPARE(list->SelectedRowList(), std::vector<int>{1});
    QCOMPARE(favorites.Groups()[0].items.size(), size_t{1});
    QCOMPARE(favorites.Groups()[4].items.size(), size_t{2});

    // The dialog refuses a group past the limit and the default group's
    // deletion, each with a message.
    panels::FavoritesDialog dialog(favorites, panels::FavoritesDialog::kManage, window);
    while (favorites.Groups().size() < size_t{FavoritesDatabase::kMaxGroups}) {
      dialog.NewGroup(QStringLiteral("Group %1").arg(favorites.Groups().size()));
    }
    QCOMPARE(dialog.groupList()->count(), FavoritesDatabase::kMaxGroups);
    dialog.groupList()->setCurrentRow(0);
    for (const auto& [act, message] :
         {std::pair<std::function<void()>, QStringView>{[&] { dialog.NewGroup(u"One more"_qs); },
                                                        u"Favorites.ErrorDuplicateName"},
          {[&] { dialog.Delete(); }, u"Favorites.ErrorCannotDeleteDefault"}}) {
      test::MessageBoxAnswerer answer(QMessageBox::Ok);
      act();
      QCOMPARE(answer.answered(), 1);
      QCOMPARE(answer.text(), LanguageManager::GetString(message));
      QCOMPARE(favorites.Groups().size(), size_t{FavoritesDatabase::kMaxGroups});
    }
    // Adding the playlist's selection to the shown group stops at its limit.
    std::vector<PlaylistItem> items;
    for (int i = 0; i <= FavoritesDatabase::kMaxItems; ++i)
      items.push_back(Item(QStringLiteral("/m/%1.mp4").arg(i)));
    window->playlist()->SetItems(std::move(items));
    panel->playlistList()->selectAll();
    panel->AddSelectedToFavorites();
    QCOMPARE(favorites.Groups()[4].items.size(), size_t{FavoritesDatabase::kMaxItems});
  }

  void panelLooksAsDesigned() {
    MainWindow* window = p_.window;
    PlaylistModel* model = window->playlist();
    std::vector<PlaylistItem> items{
        Item(QStringLiteral("/m/Clip one.mp4"), 1536, 75),
        Item(QStringLiteral("/m/Song.mp3"), 4u << 20, 200),
        Item(QStringLiteral("/m/Clip two.mkv"), 3u << 30, 4000),
        Item(QStringLiteral("/m/Clip three.webm"), 900, 0),
    };
    model->SetItems(std::move(items));
    model->SetCurrentIndex(2);
    panels::PlaylistWindow* panel = ShowPanel(window);
    QVERIFY(panel);
    panel->resize(420, 300);
    panel->searchEdit()->setFocus();
    QTest::keyClicks(panel->searchEdit(), QStringLiteral("clip"));
    panel->playlistList()->SelectSingleRow(0, true);
    QTest::mouseMove(panel, panel->Layout().buttons[panels::kAddFiles].center());
    QTRY_VERIFY(panel->size() == QSize(420, 300));
    QString why;
    QVERIFY2(test::MatchesGolden(panel->grab().toImage(),
                                 QStringLiteral("panels/golden/playlist.png"), &why),
             qPrintable(why));
  }

 private:
  test::PlayerFixture p_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::PlaylistWindowTest)
#include "playlist_window_test.moc"
