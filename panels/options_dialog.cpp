#include "panels/options_dialog.h"

#include "app/dpi.h"
#include "chrome/chrome_palette.h"
#include "foundation/language_manager.h"
#include "panels/dark_dialog.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QStackedLayout>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

namespace zelvaro {
namespace {

// Entries as framed tiles: selected, hovered or plain.
class EntryDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override {
    using namespace chrome;
    const QRect entry = OptionsDialog::EntryRect(option.rect);
    QColor fill = kOptionsEntry;
    if (option.state & QStyle::State_Selected) {
      fill = kOptionsEntrySelected;
    } else if (option.state & QStyle::State_MouseOver) {
      fill = kOptionsEntryHovered;
    }
    painter->save();
    painter->fillRect(entry, fill);
    painter->setPen(kOptionsEntryFrame);
    painter->drawRect(entry.adjusted(0, 0, -1, -1));
    painter->setPen(kDialogText);
    painter->setFont(option.font);
    painter->drawText(entry.adjusted(Scaled(8), 0, -Scaled(4), 0),
                      Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                      index.data(Qt::DisplayRole).toString());
    painter->restore();
  }

  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    const QSize text = QStyledItemDelegate::sizeHint(option, index);
    return QSize(text.width() + Scaled(2 * OptionsDialog::kEntrySideInset + 12),
                 std::max(text.height(), Scaled(OptionsDialog::kEntryHeight)));
  }
};

}  // namespace

QRect OptionsDialog::EntryRect(const QRect& row) {
  return row.adjusted(Scaled(kEntrySideInset), Scaled(kEntryVerticalInset),
                      -Scaled(kEntrySideInset), -Scaled(kEntryVerticalInset));
}

OptionsDialog::OptionsDialog(const std::vector<std::unique_ptr<OptionsPage>>& pages,
                             QWidget* parent)
    : QDialog(parent), pages_(pages) {
  setObjectName(QStringLiteral("OptionsDialog"));
  ApplyDarkDialogStyle(this);

  list_ = new QListWidget(this);
  list_->setItemDelegate(new EntryDelegate(list_));
  list_->setMouseTracking(true);
  list_->viewport()->setAttribute(Qt::WA_Hover);
  list_->setFrameShape(QFrame::NoFrame);
  list_->setFixedWidth(Scaled(kListWidth));
  pageArea_ = new QWidget(this);
  stack_ = new QStackedLayout(pageArea_);
  stack_->setContentsMargins(0, 0, 0, 0);
  blank_ = new QWidget(pageArea_);
  stack_->addWidget(blank_);

  save_ = new QPushButton(this);
  cancel_ = new QPushButton(this);
  save_->setDefault(true);
  connect(save_, &QPushButton::clicked, this, &OptionsDialog::SaveAll);
  connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);

  auto* body = new QHBoxLayout;
  body->addWidget(list_);
  body->addWidget(pageArea_, 1);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(save_);
  buttons->addWidget(cancel_);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(body, 1);
  layout->addLayout(buttons);

  for (const auto& page : pages_) {
    list_->addItem(page->Title());
    if (page->Create(pageArea_, pageArea_->rect())) {
      stack_->addWidget(page->widget());
      page->Load();
    }
  }
  connect(list_, &QListWidget::currentRowChanged, this, &OptionsDialog::ShowPage);
  RefreshTexts();
  list_->setCurrentRow(0);
  // The largest page decides the size, and no smaller is allowed.
  setMinimumSize(sizeHint());
}

void OptionsDialog::ShowPage(int index) {
  if (index < 0 || index >= static_cast<int>(pages_.size())) return;
  current_ = index;
  QWidget* page = pages_[index]->widget();
  stack_->setCurrentWidget(page ? page : blank_);
}

void OptionsDialog::RefreshTexts() {
  setWindowTitle(LanguageManager::GetString(u"Options.DialogTitle"));
  setFont(QFont(LanguageManager::GetString(u"App.FontName"), 10));
  save_->setText(LanguageManager::GetString(u"Options.ButtonSave"));
  cancel_->setText(LanguageManager::GetString(u"Options.ButtonCancel"));
  for (int i = 0; i < static_cast<int>(pages_.size()) && i < list_->count(); ++i) {
    list_->item(i)->setText(pages_[i]->Title());
    pages_[i]->RefreshTexts();
  }
}

void OptionsDialog::changeEvent(QEvent* event) {
  QDialog::changeEvent(event);
  if (event->type() == QEvent::LanguageChange) RefreshTexts();
}

void OptionsDialog::SaveAll() {
  for (const auto& page : pages_) page->Save();
  accept();
}

}  // namespace zelvaro
