#include "app/url_dialog.h"

#include "foundation/language_manager.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace zelvaro {
namespace {
constexpr int kMaxUrlLength = 2048;
}  // namespace

UrlDialog::UrlDialog(const QString& initialText, QWidget* parent) : QDialog(parent) {
  setWindowTitle(LanguageManager::GetString(u"URLDialog.Title"));
  setFont(QFont(LanguageManager::GetString(u"App.FontName"), 10));
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(new QLabel(LanguageManager::GetString(u"URLDialog.Label"), this));
  edit_ = new QLineEdit(this);
  edit_->setMaxLength(kMaxUrlLength);
  edit_->setText(initialText);
  edit_->selectAll();
  edit_->setMinimumWidth(edit_->fontMetrics().averageCharWidth() * 70);
  layout->addWidget(edit_);
  auto* buttons = new QDialogButtonBox(this);
  QPushButton* open = buttons->addButton(LanguageManager::GetString(u"URLDialog.ButtonOpen"),
                                         QDialogButtonBox::AcceptRole);
  buttons->addButton(LanguageManager::GetString(u"URLDialog.ButtonCancel"),
                     QDialogButtonBox::RejectRole);
  open->setDefault(true);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  layout->addWidget(buttons, 0, Qt::AlignCenter);
  edit_->setFocus();
}

QString UrlDialog::text() const { return edit_->text().left(kMaxUrlLength); }

}  // namespace zelvaro
