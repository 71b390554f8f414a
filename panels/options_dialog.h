#pragma once
// OptionsDialog: the modal settings dialog. The pages' titles in a list on
// the left, the chosen page beside it, Save and Cancel below. Save runs every
// page's Save in order and closes; Cancel closes and saves nothing (a
// language chosen meanwhile stays: it acted when chosen). See options_page.h
// for the pages' life.
//
// Interface thread only. The pages belong to the caller and must outlive the
// dialog; their widgets belong to the dialog.

#include "panels/options_page.h"

#include <QDialog>

#include <memory>
#include <vector>

class QListWidget;
class QPushButton;
class QStackedLayout;

namespace zelvaro {

class OptionsDialog : public QDialog {
  Q_OBJECT
 public:
  // An entry of the page list: inset from the list's sides and from its
  // neighbours, at 96 DPI.
  static constexpr int kEntrySideInset = 6;
  static constexpr int kEntryVerticalInset = 3;
  static constexpr int kEntryHeight = 32;
  static constexpr int kListWidth = 140;
  // The painted rectangle of an entry whose row is `row`.
  static QRect EntryRect(const QRect& row);

  OptionsDialog(const std::vector<std::unique_ptr<OptionsPage>>& pages, QWidget* parent);

  int currentPage() const { return current_; }
  void ShowPage(int index);
  QListWidget* pageList() const { return list_; }
  QPushButton* saveButton() const { return save_; }
  QPushButton* cancelButton() const { return cancel_; }

  // Renews the dialog's texts, the list's titles and each page's texts.
  void RefreshTexts();

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void SaveAll();

  const std::vector<std::unique_ptr<OptionsPage>>& pages_;
  QListWidget* list_;
  QWidget* pageArea_;
  QStackedLayout* stack_;
  QWidget* blank_;  // stands for a page without a widget
  QPushButton* save_;
  QPushButton* cancel_;
  int current_ = -1;
};

}  // namespace zelvaro
