#include "app/cut_clip_dialog.h"

#include "app/dpi.h"
#include "app/osd_formats.h"
#include "engine/clip_cut.h"
#include "engine/external_tool.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/shell_paths.h"

#include <QCloseEvent>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace zelvaro {
namespace {

constexpr int kMaxTimeChars = 64;
constexpr double kArrowStepSeconds = 0.1;
constexpr int kProgressSteps = 1000;
constexpr int kParentRightGap = 20;
constexpr int kParentTopGap = 50;
constexpr int64_t k100nsPerSecond = 10'000'000;

QString Text(QStringView key) {
  return LanguageManager::GetString(key);
}

QString IdName(int id) {
  return QString::number(id);
}

}  // namespace

CutClipDialog::CutClipDialog(QWidget* mainWindow, GraphManager* graph,
                             std::function<void()> marksChanged)
    : QDialog(mainWindow), graph_(graph), marksChanged_(std::move(marksChanged)) {
  setAttribute(Qt::WA_DeleteOnClose);
  setModal(false);
  setWindowTitle(Text(u"CutClip.Title"));
  setFont(QFont(Text(u"App.FontName"), 10));
  pickSavePath_ = [this](const QString& proposed, const QString& filter) {
    return QFileDialog::getSaveFileName(this, Text(u"CutClip.SaveDialogTitle"), proposed, filter);
  };
  showFile_ = [](const QString& path) { ShowInExplorer(path); };
  BuildControls();

  if (graph_) {
    duration_ = graph_->GetDuration();
    if (graph_->MarkA() >= 1 && graph_->MarkB() > graph_->MarkA()) {
      start_ = static_cast<double>(graph_->MarkA()) / k100nsPerSecond;
      end_ = static_cast<double>(graph_->MarkB()) / k100nsPerSecond;
    } else {
      start_ = graph_->GetPosition();
      end_ = duration_;
    }
  }
  Refresh();
  adjustSize();
  PlaceBesideParent();
}

CutClipDialog::~CutClipDialog() = default;

void CutClipDialog::BuildControls() {
  auto* layout = new QVBoxLayout(this);
  auto* grid = new QGridLayout();
  layout->addLayout(grid);

  const auto addRow = [&](int row, QStringView labelKey, int editId, int nowId, int upId,
                          int downId, double* field) {
    grid->addWidget(new QLabel(Text(labelKey), this), row, 0);
    auto* edit = new QLineEdit(this);
    edit->setObjectName(IdName(editId));
    edit->setMaxLength(kMaxTimeChars);
    edit->setMinimumWidth(edit->fontMetrics().horizontalAdvance(QStringLiteral("00:00:00.0000")));
    grid->addWidget(edit, row, 1);
    connect(edit, &QLineEdit::editingFinished, this,
            [this, edit, field] { TakeEdit(edit, field); });

    auto* now = new QPushButton(Text(u"CutClip.ButtonCurrentPosition"), this);
    now->setObjectName(IdName(nowId));
    now->setAutoDefault(false);
    grid->addWidget(now, row, 2);
    connect(now, &QPushButton::clicked, this, [this, field] {
      if (!graph_) return;
      field == &start_ ? SetStart(graph_->GetPosition()) : SetEnd(graph_->GetPosition());
    });

    const auto addArrow = [&](int id, Qt::ArrowType arrow, double step, int column) {
      auto* button = new QToolButton(this);
      button->setObjectName(IdName(id));
      button->setArrowType(arrow);
      grid->addWidget(button, row, column);
      connect(button, &QToolButton::clicked, this, [this, field, step] {
        const double value = std::clamp(*field + step, 0.0, std::max(duration_, 0.0));
        field == &start_ ? SetStart(value) : SetEnd(value);
      });
    };
    addArrow(upId, Qt::UpArrow, kArrowStepSeconds, 3);
    addArrow(downId, Qt::DownArrow, -kArrowStepSeconds, 4);
    return edit;
  };
  startEdit_ = addRow(0, u"CutClip.LabelStart", kCutStartEdit, kCutStartNow, kCutStartUp,
                      kCutStartDown, &start_);
  endEdit_ = addRow(1, u"CutClip.LabelEnd", kCutEndEdit, kCutEndNow, kCutEndUp, kCutEndDown, &end_);

  auto* lengthRow = new QHBoxLayout();
  lengthRow->addWidget(new QLabel(Text(u"CutClip.LabelLength"), this));
  lengthLabel_ = new QLabel(FormatClipTime(0), this);
  lengthLabel_->setObjectName(IdName(kCutLength));
  lengthRow->addWidget(lengthLabel_);
  lengthRow->addStretch();
  layout->addLayout(lengthRow);

  auto* note = new QLabel(Text(u"CutClip.Note"), this);
  note->setWordWrap(true);
  layout->addWidget(note);

  progress_ = new QProgressBar(this);
  progress_->setRange(0, kProgressSteps);
  progress_->setVisible(false);
  layout->addWidget(progress_);

  auto* buttons = new QHBoxLayout();
  buttons->addStretch();
  cutButton_ = new QPushButton(Text(u"CutClip.ButtonCut"), this);
  cutButton_->setObjectName(IdName(kCutOk));
  cutButton_->setDefault(true);
  cancelButton_ = new QPushButton(Text(u"CutClip.ButtonCancel"), this);
  cancelButton_->setObjectName(IdName(kCutCancel));
  cancelButton_->setAutoDefault(false);
  buttons->addWidget(cutButton_);
  buttons->addWidget(cancelButton_);
  layout->addLayout(buttons);
  connect(cutButton_, &QPushButton::clicked, this, &CutClipDialog::Cut);
  connect(cancelButton_, &QPushButton::clicked, this, &CutClipDialog::reject);
}

QWidget* CutClipDialog::Control(int id) const {
  return findChild<QWidget*>(IdName(id), Qt::FindDirectChildrenOnly);
}

bool CutClipDialog::IsCutting() const {
  return task_ && task_->IsRunning();
}

void CutClipDialog::PlaceBesideParent() {
  const QWidget* parent = parentWidget();
  if (!parent) return;
  const QRect frame = parent->frameGeometry();
  move(frame.right() + 1 - frameGeometry().width() - Scaled(kParentRightGap),
       frame.top() + Scaled(kParentTopGap));
}

void CutClipDialog::SetStart(double seconds) {
  start_ = seconds;
  Refresh();
}

void CutClipDialog::SetEnd(double seconds) {
  end_ = seconds;
  Refresh();
}

void CutClipDialog::TakeEdit(QLineEdit* edit, double* field) {
  const double value = ParseClipTime(edit->text().left(kMaxTimeChars));
  // A value outside the file is dropped: the old one shows again.
  if (value >= 0 && value <= duration_) *field = value;
  Refresh();
}

void CutClipDialog::Refresh() {
  startEdit_->setText(FormatClipTime(start_));
  endEdit_->setText(FormatClipTime(end_));
  lengthLabel_->setText(FormatClipTime(std::max(end_ - start_, 0.0)));
  if (!graph_) return;
  // Start and end may cross while editing; the marks follow all the same
  // and only the cut refuses.
  graph_->SetMarks(static_cast<int64_t>(start_ * k100nsPerSecond),
                   static_cast<int64_t>(end_ * k100nsPerSecond));
  if (marksChanged_) marksChanged_();
}

void CutClipDialog::Cut() {
  if (IsCutting()) return;
  const QString errorTitle = Text(u"CutClip.ErrorTitle");
  if (!graph_) {
    ShowMessage(QMessageBox::Critical, errorTitle, Text(u"CutClip.ErrorNoGraphManager"));
    return;
  }
  if (start_ >= end_) {
    ShowMessage(QMessageBox::Warning, errorTitle, Text(u"CutClip.ErrorInvalidTimeRange"));
    return;
  }
  const QString source = graph_->CurrentPath();
  if (source.isEmpty()) {
    ShowMessage(QMessageBox::Critical, errorTitle, Text(u"CutClip.ErrorNoOpenFile"));
    return;
  }

  const ClipOutputName proposed = ProposeClipOutput(source, QDateTime::currentDateTime());
  // The texts carry their own patterns in brackets, which is what the file
  // dialog reads.
  const QString filter = FormatKey(u"CutClip.FilterVideoFormat", proposed.extension) +
                         QStringLiteral(";;") + Text(u"CutClip.FilterAllFiles");
  const QString proposedPath = proposed.directory.isEmpty()
                                   ? proposed.fileName
                                   : QDir(proposed.directory).filePath(proposed.fileName);
  const QString output = pickSavePath_ ? pickSavePath_(proposedPath, filter) : QString();
  if (output.isEmpty()) return;

  task_ = graph_->CutToFile(start_, end_, output);
  if (!task_) {
    ShowMessage(QMessageBox::Critical, errorTitle, Text(u"CutClip.FailTitle"));
    return;
  }
  const double lengthSeconds = end_ - start_;
  connect(task_.get(), &ExternalToolTask::Progress, this, [this, lengthSeconds](double seconds) {
    progress_->setValue(
        std::clamp(static_cast<int>(seconds / lengthSeconds * kProgressSteps), 0, kProgressSteps));
  });
  connect(task_.get(), &ExternalToolTask::Finished, this,
          [this, output](const ExternalToolResult& result) {
            FinishCut(result.Succeeded(), result.outcome == ExternalToolOutcome::Cancelled, output);
          });
  SetCutting(true);
  task_->Start();
}

void CutClipDialog::FinishCut(bool succeeded, bool cancelled, const QString& path) {
  SetCutting(false);
  if (cancelled) return;  // the user asked for it; nothing to say
  if (!succeeded) {
    ShowMessage(QMessageBox::Critical, Text(u"CutClip.ErrorTitle"), Text(u"CutClip.FailTitle"));
    return;
  }
  ShowMessage(QMessageBox::Information, Text(u"CutClip.SuccessTitle"),
              FormatKey(u"CutClip.SuccessMessageFormat", path));
  if (showFile_) showFile_(path);
  close();
}

void CutClipDialog::SetCutting(bool cutting) {
  progress_->setValue(0);
  progress_->setVisible(cutting);
  cutButton_->setEnabled(!cutting);
  for (const int id : {kCutStartEdit, kCutEndEdit, kCutStartNow, kCutEndNow, kCutStartUp,
                       kCutStartDown, kCutEndUp, kCutEndDown}) {
    Control(id)->setEnabled(!cutting);
  }
}

void CutClipDialog::ShowMessage(QMessageBox::Icon icon, const QString& title, const QString& text) {
  lastMessage_ = {icon, title, text};
  // Not modal to the application: playback and the main window go on while
  // the box waits. After a success the dialog goes, so the box belongs to
  // the main window.
  QWidget* owner = icon == QMessageBox::Information && parentWidget() ? parentWidget() : this;
  auto* box = new QMessageBox(icon, title, text, QMessageBox::Ok, owner);
  box->setObjectName(QStringLiteral("CutClipMessage"));
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setWindowModality(Qt::NonModal);
  box->show();
}

void CutClipDialog::reject() {
  // Cancel while cutting stops the cut; otherwise it closes the dialog.
  if (IsCutting()) {
    task_->Cancel();
    return;
  }
  QDialog::reject();
}

void CutClipDialog::closeEvent(QCloseEvent* event) {
  // Closing stops a cut under way; its partial file is removed.
  if (task_) task_->Cancel();
  QDialog::closeEvent(event);
}

}  // namespace zelvaro
