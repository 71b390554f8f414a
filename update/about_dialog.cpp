#include "update/about_dialog.h"

#include "app/dpi.h"
#include "foundation/app_paths.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "update/update_checker.h"

#include <QDesktopServices>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QStringDecoder>
#include <QTabWidget>
#include <QUrl>
#include <QVBoxLayout>

namespace zelvaro {
namespace {

constexpr char kHomePageUrl[] = "https://zelvaro.org/";
constexpr int kDialogWidth = 460;
constexpr int kLicenseHeight = 200;
constexpr int kTitlePixelSize = 20;

QString Text(QStringView key) {
  return LanguageManager::GetString(key);
}

}  // namespace

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
  setObjectName(QStringLiteral("AboutDialog"));
  setWindowTitle(Text(u"About.Title"));

  auto* name = new QLabel(QStringLiteral("Zelvaro"), this);
  QFont titleFont = name->font();
  titleFont.setPixelSize(Scaled(kTitlePixelSize));
  titleFont.setBold(true);
  name->setFont(titleFont);
  auto* version = new QLabel(VersionText(Settings::GetDwordOr(setting::kAppver, 0)), this);
  version->setObjectName(QStringLiteral("Version"));
  auto* description = new QLabel(Text(u"About.Description"), this);
  description->setWordWrap(true);

  auto* tabs = new QTabWidget(this);
  auto* license = new QPlainTextEdit(this);
  license->setObjectName(QStringLiteral("License"));
  license->setReadOnly(true);
  license->setMinimumHeight(Scaled(kLicenseHeight));
  const QString licenseText = LicenseText();
  if (!licenseText.isEmpty()) license->setPlainText(licenseText);
  tabs->addTab(license, Text(u"About.LicenseTab"));

  auto* copyright = new QLabel(Text(u"About.Copyright"), this);
  status_ = new QLabel(this);
  status_->setObjectName(QStringLiteral("Status"));
  status_->setWordWrap(true);

  updateButton_ = new QPushButton(Text(u"About.CheckUpdate"), this);
  auto* homeButton = new QPushButton(Text(u"About.Homepage"), this);
  auto* closeButton = new QPushButton(Text(u"About.Close"), this);
  closeButton->setDefault(true);
  connect(updateButton_, &QPushButton::clicked, this, &AboutDialog::CheckForUpdates);
  connect(homeButton, &QPushButton::clicked, this, &AboutDialog::OpenHomePage);
  connect(closeButton, &QPushButton::clicked, this, &QDialog::accept);

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(updateButton_);
  buttons->addWidget(homeButton);
  buttons->addStretch(1);
  buttons->addWidget(closeButton);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(name);
  layout->addWidget(version);
  layout->addWidget(description);
  layout->addWidget(tabs, 1);
  layout->addWidget(copyright);
  layout->addWidget(status_);
  layout->addLayout(buttons);
  resize(Scaled(kDialogWidth), sizeHint().height());

  // Centred in the work area of the screen the owner is on.
  QScreen* screen = parent != nullptr ? parent->screen() : this->screen();
  if (screen != nullptr) {
    QRect frame = geometry();
    frame.moveCenter(screen->availableGeometry().center());
    move(frame.topLeft());
  }
}

QString AboutDialog::VersionText(uint32_t appver) {
  if (appver == 0) return QStringLiteral("Version 1.0");
  const uint32_t major = appver / 10000;
  const uint32_t minor = appver % 10000 / 100;
  const uint32_t patch = appver % 100;
  if (patch == 0) return QStringLiteral("Version %1.%2").arg(major).arg(minor);
  return QStringLiteral("Version %1.%2.%3").arg(major).arg(minor).arg(patch);
}

QString AboutDialog::ReadLicenseFile(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return {};
  QByteArray bytes = file.readAll();
  if (bytes.isEmpty()) return {};
  if (bytes.startsWith("\xFF\xFE")) {
    QStringDecoder decoder(QStringDecoder::Utf16LE);
    return decoder.decode(bytes.mid(2));
  }
  if (bytes.startsWith("\xEF\xBB\xBF")) bytes.remove(0, 3);
  return QString::fromUtf8(bytes);
}

QString AboutDialog::LicenseText() {
  const QString besideExecutable = ExecutableDir() + u'/';
  const QString shared = ExecutableDir() + QStringLiteral("/../share/zelvaro/");
  const QString dir = QFileInfo::exists(besideExecutable + QStringLiteral("License.txt")) ||
                              !QFileInfo::exists(shared + QStringLiteral("License.txt"))
                          ? besideExecutable
                          : shared;
  QString text = ReadLicenseFile(dir + QStringLiteral("License.txt"));
  const QString second = ReadLicenseFile(dir + QStringLiteral("License2.txt"));
  if (!second.isEmpty()) {
    if (!text.isEmpty()) text += QStringLiteral("\n\n");
    text += second;
  }
  return text;
}

void AboutDialog::CheckForUpdates() {
  if (!UpdateChecker::IsConfigured()) {
    status_->setText(Text(u"About.UpdateNotConfigured"));
    return;
  }
  status_->clear();
  UpdateChecker::Instance().StartCheck(/*silent=*/false);
}

void AboutDialog::OpenHomePage() {
  QDesktopServices::openUrl(QUrl(QString::fromLatin1(kHomePageUrl)));
}

}  // namespace zelvaro
