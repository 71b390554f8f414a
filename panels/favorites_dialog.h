#pragma once
// FavoritesDialog: the modal dialog that manages the favourites groups
// (mode 1) or chooses the group a favourite goes into (mode 0). A list of
// the groups with new, rename and delete, and Close, or OK and Cancel. It
// keeps the system's look: no dark theming. New group and rename ask for the
// name in a small modal pop-up limited to 50 characters.
//
// Changes reach the store at once, so Cancel undoes nothing; the caller
// refreshes what it shows afterwards. Interface thread only; the store must
// outlive the dialog.

#include <QDialog>

#include <optional>

class QListWidget;
class QPushButton;

namespace zelvaro {
class FavoritesDatabase;
}

namespace zelvaro::panels {

class FavoritesDialog : public QDialog {
  Q_OBJECT
 public:
  enum Mode { kChoose = 0, kManage = 1 };
  static constexpr int kMaxNameChars = 50;

  FavoritesDialog(FavoritesDatabase& favorites, Mode mode, QWidget* owner);

  // Runs the dialog; in choose mode the chosen group, else nothing.
  static std::optional<int> Choose(FavoritesDatabase& favorites, QWidget* owner);
  static void Manage(FavoritesDatabase& favorites, QWidget* owner);

  int ResultGroup() const { return resultGroup_; }
  QListWidget* groupList() const { return list_; }

  // The buttons' actions. NewGroup and Rename ask for the name with the
  // pop-up unless one is given.
  void NewGroup(std::optional<QString> name = std::nullopt);
  void Rename(std::optional<QString> name = std::nullopt);
  void Delete();
  void Ok();

  void FillList();
  void UpdateButtons();

 private:
  std::optional<QString> AskName(QStringView titleKey, QStringView labelKey,
                                 const QString& initial);

  FavoritesDatabase& favorites_;
  Mode mode_;
  int resultGroup_ = -1;
  QListWidget* list_ = nullptr;
  QPushButton* renameButton_ = nullptr;
  QPushButton* deleteButton_ = nullptr;
  QPushButton* okButton_ = nullptr;
};

}  // namespace zelvaro::panels
