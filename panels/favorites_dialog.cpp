#include "panels/favorites_dialog.h"

#include "app/dpi.h"
#include "app/osd_formats.h"
#include "chrome/chrome_paint.h"
#include "foundation/language_manager.h"
#include "library/favorites_database.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QStyle>

namespace zelvaro::panels {
namespace {

constexpr int kWidth = 350;
constexpr int kHeight = 320;
constexpr int kMargin = 10;
constexpr int kButtonWidth = 80;
constexpr int kButtonHeight = 26;
constexpr int kBottomButtonWidth = 90;
constexpr int kFontHeight = 14;
constexpr int kPopupWidth = 280;
constexpr int kPopupHeight = 90;

QString Text(QStringView key) {
  return LanguageManager::GetString(key);
}

// The system's look, whatever the application's palette is.
void UseSystemLook(QWidget* widget) {
  widget->setPalette(widget->style()->standardPalette());
  widget->setFont(chrome::DesignFont(Scaled(kFontHeight)));
}

}  // namespace

FavoritesDialog::FavoritesDialog(FavoritesDatabase& favorites, Mode mode, QWidget* owner)
    : QDialog(owner), favorites_(favorites), mode_(mode) {
  UseSystemLook(this);
  setWindowTitle(Text(mode == kManage ? u"Favorites.TitleManage" : u"Favorites.TitleAdd"));
  const int w = Scaled(kWidth);
  const int m = Scaled(kMargin);
  const int bh = Scaled(kButtonHeight);
  const int bw = Scaled(kButtonWidth);
  setFixedSize(w, Scaled(kHeight));

  list_ = new QListWidget(this);
  list_->setGeometry(m, m, w - 2 * m, Scaled(kHeight) - 5 * m - 2 * bh);
  connect(list_, &QListWidget::currentRowChanged, this, [this] { UpdateButtons(); });
  connect(list_, &QListWidget::itemDoubleClicked, this, [this] {
    if (mode_ == kChoose) Ok();
  });

  const int rowY = list_->geometry().bottom() + 1 + m;
  const int gap = (w - 2 * m - 3 * bw) / 2;
  auto button = [&](QStringView key, int x, int y, int width) {
    auto* b = new QPushButton(Text(key), this);
    b->setGeometry(x, y, width, bh);
    b->setAutoDefault(false);
    return b;
  };
  QPushButton* newButton = button(u"Favorites.ButtonNewGroup", m, rowY, bw);
  renameButton_ = button(u"Favorites.ButtonRename", m + bw + gap, rowY, bw);
  deleteButton_ = button(u"Favorites.ButtonDelete", m + 2 * (bw + gap), rowY, bw);
  connect(newButton, &QPushButton::clicked, this, [this] { NewGroup(); });
  connect(renameButton_, &QPushButton::clicked, this, [this] { Rename(); });
  connect(deleteButton_, &QPushButton::clicked, this, [this] { Delete(); });

  const int bottomY = rowY + bh + m;
  const int bbw = Scaled(kBottomButtonWidth);
  const int x0 = (w - 2 * bbw - m) / 2;
  okButton_ =
      button(mode == kManage ? u"Favorites.ButtonClose" : u"Favorites.ButtonOK", x0, bottomY, bbw);
  okButton_->setDefault(true);
  connect(okButton_, &QPushButton::clicked, this, [this] { Ok(); });
  if (mode == kChoose) {
    QPushButton* cancel = button(u"Favorites.ButtonCancel", x0 + bbw + m, bottomY, bbw);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  }
  FillList();
}

std::optional<int> FavoritesDialog::Choose(FavoritesDatabase& favorites, QWidget* owner) {
  FavoritesDialog dialog(favorites, kChoose, owner);
  if (dialog.exec() != QDialog::Accepted || dialog.ResultGroup() < 0) return std::nullopt;
  return dialog.ResultGroup();
}

void FavoritesDialog::Manage(FavoritesDatabase& favorites, QWidget* owner) {
  FavoritesDialog dialog(favorites, kManage, owner);
  dialog.exec();
}

void FavoritesDialog::FillList() {
  const int remembered = list_->currentRow();
  list_->clear();
  for (const FavoriteGroup& group : favorites_.Groups()) list_->addItem(group.name);
  if (remembered >= 0 && remembered < list_->count()) {
    list_->setCurrentRow(remembered);
  } else if (list_->count() > 0) {
    list_->setCurrentRow(0);
  }
  UpdateButtons();
}

void FavoritesDialog::UpdateButtons() {
  const bool selected = list_->currentRow() >= 0;
  renameButton_->setEnabled(selected);
  deleteButton_->setEnabled(selected);
  if (mode_ == kChoose) okButton_->setEnabled(selected);
}

void FavoritesDialog::Ok() {
  if (mode_ == kManage) {
    accept();
    return;
  }
  const int row = list_->currentRow();
  if (row >= 0) {
    resultGroup_ = row;
    accept();
    return;
  }
  if (list_->count() > 0) return;
  if (QMessageBox::question(this, Text(u"Favorites.TitleFavorites"),
                            Text(u"Favorites.ConfirmCreateGroup")) == QMessageBox::Yes) {
    NewGroup();
  }
}

std::optional<QString> FavoritesDialog::AskName(QStringView titleKey, QStringView labelKey,
                                                const QString& initial) {
  QDialog popup(this);
  UseSystemLook(&popup);
  popup.setWindowTitle(Text(titleKey));
  popup.setFixedSize(Scaled(kPopupWidth), Scaled(kPopupHeight));
  auto* label = new QLabel(Text(labelKey), &popup);
  label->setGeometry(Scaled(10), Scaled(10), Scaled(70), Scaled(24));
  auto* edit = new QLineEdit(initial, &popup);
  edit->setObjectName(QStringLiteral("GroupNameEdit"));
  edit->setMaxLength(kMaxNameChars);
  edit->setGeometry(Scaled(85), Scaled(10), Scaled(185), Scaled(24));
  edit->selectAll();
  const int x0 = (Scaled(kPopupWidth) - 2 * Scaled(kButtonWidth) - Scaled(10)) / 2;
  auto* ok = new QPushButton(Text(u"Favorites.ButtonOK"), &popup);
  ok->setGeometry(x0, Scaled(44), Scaled(kButtonWidth), Scaled(kButtonHeight));
  ok->setDefault(true);
  auto* cancel = new QPushButton(Text(u"Favorites.ButtonCancel"), &popup);
  cancel->setGeometry(x0 + Scaled(90), Scaled(44), Scaled(kButtonWidth), Scaled(kButtonHeight));
  connect(ok, &QPushButton::clicked, &popup, &QDialog::accept);
  connect(cancel, &QPushButton::clicked, &popup, &QDialog::reject);
  edit->setFocus();
  if (popup.exec() != QDialog::Accepted) return std::nullopt;
  return edit->text();
}

void FavoritesDialog::NewGroup(std::optional<QString> name) {
  if (!name) name = AskName(u"Favorites.TitleNewGroup", u"Favorites.LabelGroupName", QString());
  if (!name || name->isEmpty()) return;
  if (favorites_.AddGroup(name->left(kMaxNameChars))) {
    FillList();
    list_->setCurrentRow(list_->count() - 1);
    UpdateButtons();
  } else {
    QMessageBox::warning(this, Text(u"Favorites.Error"), Text(u"Favorites.ErrorDuplicateName"));
  }
}

void FavoritesDialog::Rename(std::optional<QString> name) {
  const int row = list_->currentRow();
  const std::vector<FavoriteGroup>& groups = favorites_.Groups();
  if (row < 0 || row >= static_cast<int>(groups.size())) return;
  const QString old = groups[static_cast<size_t>(row)].name;
  if (!name) name = AskName(u"Favorites.TitleRename", u"Favorites.LabelNewName", old);
  // Exact comparison: a change of case alone is a rename.
  if (!name || name->isEmpty() || *name == old) return;
  if (favorites_.RenameGroup(row, name->left(kMaxNameChars))) {
    FillList();
  } else {
    QMessageBox::warning(this, Text(u"Favorites.Error"), Text(u"Favorites.ErrorDuplicateName"));
  }
}

void FavoritesDialog::Delete() {
  const int row = list_->currentRow();
  const std::vector<FavoriteGroup>& groups = favorites_.Groups();
  if (row < 0 || row >= static_cast<int>(groups.size())) return;
  const QString name = groups[static_cast<size_t>(row)].name;
  // The default group is known only by its name in the present language.
  if (name == Text(u"Favorites.DefaultGroup")) {
    QMessageBox::information(this, Text(u"Favorites.TitleDeleteGroup"),
                             Text(u"Favorites.ErrorCannotDeleteDefault"));
    return;
  }
  if (QMessageBox::question(this, Text(u"Favorites.TitleDeleteGroup"),
                            FormatKey(u"Favorites.ConfirmDeleteFormat", name)) !=
      QMessageBox::Yes) {
    return;
  }
  favorites_.DeleteGroup(row);
  FillList();
}

}  // namespace zelvaro::panels
