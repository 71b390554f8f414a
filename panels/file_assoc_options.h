#pragma once
// FileAssocOptions: the file types page of the options dialog. A list of the
// video and audio extensions with a check and a status each, and four
// buttons (associate all, remove all, associate video, associate audio).
// Every change acts at once (file_associations.h); the dialog's Save and
// Cancel do not matter here. Errors are not shown: the status column is read
// back after each change and tells the truth.
//
// Interface thread; the file work of a change runs on a worker thread and
// the list is read back when it ends. The page is disabled meanwhile.

#include "panels/options_page.h"

#include <QStringList>

#include <functional>

class QLabel;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace zelvaro {

class FileAssocOptions : public OptionsPage {
 public:
  enum Control {
    kHeader = 1060,
    kDescription = 1061,
    kRegisterAll = 1062,
    kUnregisterAll = 1063,
    kRegisterVideo = 1064,
    kRegisterAudio = 1065,
    kList = 1066,
  };

  FileAssocOptions() : OptionsPage(u"FileAssocOptions.PageTitle") {}

  bool Create(QWidget* parent, const QRect& area) override;
  // Fills the list from what is registered now.
  void Load() override;
  void Save() override {}
  void RefreshTexts() override;

  QWidget* control(int id) const;
  QTreeWidget* list() const { return list_; }
  // A change is being written.
  bool Busy() const { return busy_; }

  // Video then audio, each extension once ("mka" stands in both tables).
  static QStringList ListedExtensions();

 private:
  void OnItemChanged(QTreeWidgetItem* item, int column);
  void RunJob(std::function<void()> work);

  QLabel* header_ = nullptr;
  QLabel* description_ = nullptr;
  QPushButton* buttons_[4] = {};
  QTreeWidget* list_ = nullptr;
  bool filling_ = false;
  bool busy_ = false;
};

}  // namespace zelvaro
