// The favourites dialog and tab at their limits: 50 groups, 100 items, and
// the default group that cannot be deleted. A process of its own, since the
// favourites store is a process singleton.

#include "panels/favorites_dialog.h"
#include "foundation/language_manager.h"
#include "library/favorites_database.h"
#include "library/playlist_model.h"
#include "panels/panel_list_view.h"
#include "panels/playlist_window.h"
#include "tests/app/shell_test_support.h"

#include <QListWidget>

namespace zelvaro {

class FavoritesDialogTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { home_ = std::make_unique<test::TempHome>(); }

  void cleanup() {
    test::StopPlayer();
    home_.reset();
  }

  void favouritesStopAtTheirLimits() {
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    FavoritesDatabase& favorites = FavoritesDatabase::Instance();
    panels::FavoritesDialog dialog(favorites, panels::FavoritesDialog::kManage, window);
    while (favorites.Groups().size() < size_t{FavoritesDatabase::kMaxGroups}) {
      dialog.NewGroup(QStringLiteral("Group %1").arg(favorites.Groups().size()));
    }
    QCOMPARE(dialog.groupList()->count(), FavoritesDatabase::kMaxGroups);
    {
      test::MessageBoxAnswerer answer(QMessageBox::Ok);
      dialog.NewGroup(QStringLiteral("One too many"));
      QCOMPARE(answer.answered(), 1);
      QCOMPARE(answer.text(), LanguageManager::GetString(u"Favorites.ErrorDuplicateName"));
    }
    QCOMPARE(favorites.Groups().size(), size_t{FavoritesDatabase::kMaxGroups});
    // The default group keeps its name's protection.
    dialog.groupList()->setCurrentRow(0);
    {
      test::MessageBoxAnswerer answer(QMessageBox::Ok);
      dialog.Delete();
      QCOMPARE(answer.text(), LanguageManager::GetString(u"Favorites.ErrorCannotDeleteDefault"));
    }
    QCOMPARE(favorites.Groups().size(), size_t{FavoritesDatabase::kMaxGroups});

    std::vector<PlaylistItem> items(FavoritesDatabase::kMaxItems + 1);
    for (size_t i = 0; i < items.size(); ++i) {
      items[i].file_path = QStringLiteral("/m/%1.mp4").arg(i);
      items[i].file_name = QStringLiteral("%1.mp4").arg(i);
    }
    window->playlist()->SetItems(std::move(items));
    panels::PlaylistWindow* panel = window->playlistWindow();
    QVERIFY(panel);
    panel->playlistList()->selectAll();
    panel->AddSelectedToFavorites();
    QCOMPARE(favorites.Groups()[0].items.size(), size_t{FavoritesDatabase::kMaxItems});
  }

 private:
  std::unique_ptr<test::TempHome> home_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::FavoritesDialogTest)
#include "favorites_dialog_test.moc"
