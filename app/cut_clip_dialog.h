#pragma once
// CutClipDialog: the modeless clip-cutting dialog beside the main window. It
// edits a start and an end time of the open file, shows the range on the seek
// bar as the A-B marks while it is edited (every change sets GraphManager's
// marks and calls `marksChanged`), and cuts the range into a new file with a
// stream copy. The copy runs on a thread of its own (an ExternalToolTask):
// the dialog shows its progress and a cancel button meanwhile, and playback
// goes on. A cut that succeeds is reported, its folder shown in the file
// manager, and the dialog closes; one that fails is reported and the dialog
// stays.
//
// Interface thread only. The main window owns the dialog (a Qt child that
// deletes itself when closed); the GraphManager is borrowed and outlives it.
// Controls carry their designed identifiers as object names ("8001", ...).

#include <QDialog>
#include <QMessageBox>
#include <QString>

#include <functional>
#include <memory>

class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;

namespace zelvaro {

class ExternalToolTask;
class GraphManager;

enum CutClipControl {
  kCutStartEdit = 8001,
  kCutEndEdit = 8002,
  kCutStartNow = 8003,
  kCutEndNow = 8004,
  kCutStartUp = 8005,
  kCutStartDown = 8006,
  kCutEndUp = 8007,
  kCutEndDown = 8008,
  kCutLength = 8009,
  kCutOk = 1,
  kCutCancel = 2,
};

class CutClipDialog : public QDialog {
  Q_OBJECT
 public:
  // The save dialog: the proposed full path and the filter string in, the
  // chosen path out (empty: the user cancelled).
  using SavePathPicker = std::function<QString(const QString& proposed, const QString& filter)>;
  struct Message {
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString title;
    QString text;
  };

  CutClipDialog(QWidget* mainWindow, GraphManager* graph, std::function<void()> marksChanged);
  ~CutClipDialog() override;

  double Start() const { return start_; }
  double End() const { return end_; }
  bool IsCutting() const;
  // The designed control of an identifier (CutClipControl); null for others.
  QWidget* Control(int id) const;
  // The last message box shown, for whoever needs to know what was said.
  const Message& LastMessage() const { return lastMessage_; }

  void SetSavePathPicker(SavePathPicker picker) { pickSavePath_ = std::move(picker); }
  // What shows a finished clip; ShowInExplorer unless replaced.
  void SetShowFile(std::function<void(const QString&)> show) { showFile_ = std::move(show); }

  // Button 1: checks the range and cuts.
  void Cut();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void reject() override;

 private:
  void BuildControls();
  // Places the dialog at the main window's right edge, 50 down.
  void PlaceBesideParent();
  void SetStart(double seconds);
  void SetEnd(double seconds);
  // Rewrites both edits and the length, and pushes the range as the marks.
  void Refresh();
  void TakeEdit(QLineEdit* edit, double* field);
  void FinishCut(bool succeeded, bool cancelled, const QString& path);
  void SetCutting(bool cutting);
  void ShowMessage(QMessageBox::Icon icon, const QString& title, const QString& text);

  GraphManager* graph_;
  std::function<void()> marksChanged_;
  SavePathPicker pickSavePath_;
  std::function<void(const QString&)> showFile_;
  double start_ = 0.0;
  double end_ = 0.0;
  double duration_ = 0.0;
  QLineEdit* startEdit_ = nullptr;
  QLineEdit* endEdit_ = nullptr;
  QLabel* lengthLabel_ = nullptr;
  QProgressBar* progress_ = nullptr;
  QPushButton* cutButton_ = nullptr;
  QPushButton* cancelButton_ = nullptr;
  std::unique_ptr<ExternalToolTask> task_;
  Message lastMessage_;
};

}  // namespace zelvaro
