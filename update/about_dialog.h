#pragma once
// AboutDialog: the program's name, version, description and licence texts,
// with buttons for the update check, the home page and closing.
//
// Interface thread only. Modal; the caller owns it (on the stack with exec()).
// The update button starts a check by hand and the dialog stays open; with no
// update server configured it says so instead.

#include <QDialog>
#include <QString>

#include <cstdint>

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace zelvaro {

class AboutDialog : public QDialog {
  Q_OBJECT
 public:
  explicit AboutDialog(QWidget* parent = nullptr);

  // "Version 1.2.3" from an `appver` value (major * 10000 + minor * 100 +
  // patch); a patch of 0 is left out, and 0 reads as "Version 1.0".
  static QString VersionText(uint32_t appver);
  // A licence file as text: UTF-16 LE after FF FE, else UTF-8 with or without
  // its BOM. Missing or empty files give an empty string.
  static QString ReadLicenseFile(const QString& path);
  // License.txt and License2.txt from beside the executable, else from
  // ../share/zelvaro/, joined by a blank line.
  static QString LicenseText();

  QPushButton* UpdateButton() const { return updateButton_; }
  QLabel* StatusLabel() const { return status_; }

 private:
  void CheckForUpdates();
  void OpenHomePage();

  QPushButton* updateButton_ = nullptr;
  QLabel* status_ = nullptr;
};

}  // namespace zelvaro
