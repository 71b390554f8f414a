#include "panels/file_assoc_options.h"

#include "foundation/language_manager.h"
#include "foundation/media_types.h"
#include "panels/file_associations.h"

#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QThread>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace zelvaro {
namespace {

QStringList Extensions(std::span<const QStringView> table) {
  QStringList list;
  for (QStringView extension : table) list << extension.toString();
  return list;
}

struct ButtonRow {
  int id;
  const char16_t* key;
};
constexpr ButtonRow kButtons[] = {
    {FileAssocOptions::kRegisterAll, u"FileAssocOptions.RegisterAll"},
    {FileAssocOptions::kUnregisterAll, u"FileAssocOptions.UnregisterAll"},
    {FileAssocOptions::kRegisterVideo, u"FileAssocOptions.RegisterVideo"},
    {FileAssocOptions::kRegisterAudio, u"FileAssocOptions.RegisterAudio"},
};

}  // namespace

QStringList FileAssocOptions::ListedExtensions() {
  QStringList listed = Extensions(VideoExtensions());
  for (const QString& extension : Extensions(AudioExtensions())) {
    if (!listed.contains(extension)) listed << extension;
  }
  return listed;
}

bool FileAssocOptions::Create(QWidget* parent, const QRect& area) {
  page_ = new QWidget(parent);
  page_->setObjectName(QStringLiteral("FileAssocOptions"));
  header_ = new QLabel(page_);
  QFont bold = header_->font();
  bold.setBold(true);
  header_->setFont(bold);
  description_ = new QLabel(page_);
  description_->setWordWrap(true);
  auto* grid = new QGridLayout;
  for (int i = 0; i < 4; ++i) {
    buttons_[i] = new QPushButton(page_);
    grid->addWidget(buttons_[i], i / 2, i % 2);
  }
  list_ = new QTreeWidget(page_);
  list_->setColumnCount(2);
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->setSelectionBehavior(QAbstractItemView::SelectRows);
  list_->setAlternatingRowColors(true);
  list_->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);

  auto* layout = new QVBoxLayout(page_);
  layout->addWidget(header_);
  layout->addWidget(description_);
  layout->addLayout(grid);
  layout->addWidget(list_, 1);
  page_->setGeometry(area);

  const QStringList video = Extensions(VideoExtensions());
  const QStringList audio = Extensions(AudioExtensions());
  const std::function<void()> actions[] = {
      [video, audio] {
        FileAssociations::RegisterExtensions(video);
        FileAssociations::RegisterExtensions(audio);
      },
      [video, audio] {
        FileAssociations::UnregisterExtensions(video);
        FileAssociations::UnregisterExtensions(audio);
      },
      [video] { FileAssociations::RegisterExtensions(video); },
      [audio] { FileAssociations::RegisterExtensions(audio); },
  };
  for (int i = 0; i < 4; ++i) {
    QObject::connect(buttons_[i], &QPushButton::clicked, page_,
                     [this, action = actions[i]] { RunJob(action); });
  }
  QObject::connect(list_, &QTreeWidget::itemChanged, page_,
                   [this](QTreeWidgetItem* item, int column) { OnItemChanged(item, column); });
  RefreshTexts();
  return true;
}

QWidget* FileAssocOptions::control(int id) const {
  if (id == kHeader) return header_;
  if (id == kDescription) return description_;
  if (id == kList) return list_;
  for (int i = 0; i < 4; ++i) {
    if (kButtons[i].id == id) return buttons_[i];
  }
  return nullptr;
}

void FileAssocOptions::Load() {
  if (!page_) return;
  const QString registered = LanguageManager::GetString(u"FileAssocOptions.StatusRegistered");
  const QString notRegistered = LanguageManager::GetString(u"FileAssocOptions.StatusNotRegistered");
  const QStringList listed = ListedExtensions();
  const QStringList on = FileAssociations::RegisteredExtensions(listed);
  filling_ = true;
  list_->clear();
  for (const QString& extension : listed) {
    auto* item = new QTreeWidgetItem(list_);
    const bool isOn = on.contains(extension);
    item->setText(0, extension);
    item->setText(1, isOn ? registered : notRegistered);
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    item->setCheckState(0, isOn ? Qt::Checked : Qt::Unchecked);
  }
  filling_ = false;
}

void FileAssocOptions::RefreshTexts() {
  if (!page_) return;
  header_->setText(LanguageManager::GetString(u"FileAssocOptions.Header"));
  description_->setText(LanguageManager::GetString(u"FileAssocOptions.Description"));
  for (int i = 0; i < 4; ++i) buttons_[i]->setText(LanguageManager::GetString(kButtons[i].key));
  list_->setHeaderLabels({LanguageManager::GetString(u"FileAssocOptions.ColumnExtension"),
                          LanguageManager::GetString(u"FileAssocOptions.ColumnStatus")});
  if (!busy_) Load();
}

void FileAssocOptions::OnItemChanged(QTreeWidgetItem* item, int column) {
  if (filling_ || column != 0 || busy_) return;
  const QString extension = item->text(0);
  if (item->checkState(0) == Qt::Checked) {
    RunJob([extension] { FileAssociations::RegisterExtension(extension); });
  } else {
    RunJob([extension] { FileAssociations::UnregisterExtension(extension); });
  }
}

void FileAssocOptions::RunJob(std::function<void()> work) {
  if (busy_) return;
  busy_ = true;
  page_->setEnabled(false);
  QThread* thread = QThread::create(std::move(work));
  QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
  // With the page as context: a dialog closed meanwhile gets no call.
  QObject::connect(thread, &QThread::finished, page_, [this] {
    FileAssociations::NotifyDesktop();
    busy_ = false;
    page_->setEnabled(true);
    Load();
  });
  thread->start();
}

}  // namespace zelvaro
