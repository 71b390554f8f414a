#pragma once
// The "Open URL" dialog: one line for the address, Open and Cancel. Modal;
// interface thread only.

#include <QDialog>

class QLineEdit;

namespace zelvaro {

class UrlDialog : public QDialog {
  Q_OBJECT
 public:
  // `initialText` starts selected, so typing replaces it.
  explicit UrlDialog(const QString& initialText, QWidget* parent = nullptr);

  // The text as the user confirmed it, at most 2048 characters.
  QString text() const;
  QLineEdit* edit() const { return edit_; }

 private:
  QLineEdit* edit_ = nullptr;
};

}  // namespace zelvaro
