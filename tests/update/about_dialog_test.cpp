// The about dialog and the update prompts on a real display: texts, licence
// files, and the button's check reaching the server and coming back as a box
// on the interface thread.

#include "update/about_dialog.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/support/http_test_server.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"
#include "update/update_checker.h"
#include "update/update_prompts.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QStringEncoder>
#include <QTest>

#include <memory>

#include <signal.h>

namespace zelvaro {

class AboutDialogTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { LanguageManager::Instance().Initialize(); }

  void versionAndLicenceTexts() {
    const std::pair<uint, const char*> versions[] = {{0, "Version 1.0"},
                                                     {20000, "Version 2.0"},
                                                     {10001, "Version 1.0.1"},
                                                     {10203, "Version 1.2.3"}};
    for (const auto& [appver, text] : versions) QCOMPARE(AboutDialog::VersionText(appver), text);

    const QString text = QStringLiteral("Lizenz é");
    const std::pair<QByteArray, QString> files[] = {
        {text.toUtf8(), text},
        {QByteArray("\xEF\xBB\xBF") + text.toUtf8(), text},
        {QStringEncoder(QStringConverter::Utf16LE, QStringEncoder::Flag::WriteBom)(text), text},
        {QByteArray(), QString()},
    };
    test::TempHome home;
    for (const auto& [bytes, expected] : files) {
      QCOMPARE(AboutDialog::ReadLicenseFile(home.WriteFile(QStringLiteral("L.txt"), bytes)),
               expected);
    }
    QCOMPARE(AboutDialog::ReadLicenseFile(home.Root() + QStringLiteral("/missing.txt")), QString());

    // Without an endpoint the button says so.
    AboutDialog dialog;
    dialog.show();
    QTest::mouseClick(dialog.UpdateButton(), Qt::LeftButton);
    QCOMPARE(dialog.StatusLabel()->text(),
             LanguageManager::GetString(u"About.UpdateNotConfigured"));
  }

  // The button's check goes to the server on its own thread; its answer comes
  // back as a box owned by the dialog.
  void updateButtonChecksAndShowsTheAnswer() {
    test::TempHome home;
    test::HttpTestServer server;
    server.Route("/api/zelvaro/v1/checkUpdate",
                 {.body = "{\"result\":\"success\",\"data\":{\"update_available\":false}}"});
    Settings::SetString(setting::kUpdateEndpoint, server.Url(QString()));
    AboutDialog dialog;
    UpdateChecker::Instance().SetUi(MessageBoxUpdateUi::Create(&dialog));
    dialog.show();
    QTest::mouseClick(dialog.UpdateButton(), Qt::LeftButton);
    QMessageBox* box = nullptr;
    QTRY_VERIFY_WITH_TIMEOUT(
        (box = dialog.findChild<QMessageBox*>(QStringLiteral("UpdateMessage"))) != nullptr, 10000);
    QCOMPARE(box->text(), LanguageManager::GetString(u"Update.LatestVersion"));
    QCOMPARE(box->windowTitle(), LanguageManager::GetString(u"Update.AppTitle"));
    box->button(QMessageBox::Ok)->click();
    UpdateChecker::Instance().Shutdown();
  }

  // A question left open when its owner closes answers no, and nothing is fetched.
  void questionAnswersNoWhenTheOwnerCloses() {
    test::TempHome home;
    test::HttpTestServer server;
    server.Route("/pkg", {.body = "x"});
    const QByteArray reply =
        QStringLiteral(
            "{\"result\":\"success\",\"data\":{\"update_available\":true,"
            "\"release_notes\":\"New\\\\nthings\",\"download_url\":\"%1\","
            "\"download_save_as\":\"%TEMP%/zelvaro-about-test/pkg\",\"sha256\":\"%2\"}}")
            .arg(server.Url(QStringLiteral("/pkg")), QString(64, u'a'))
            .toUtf8();
    server.Route("/api/zelvaro/v1/checkUpdate", {.body = reply});
    Settings::SetString(setting::kUpdateEndpoint, server.Url(QString()));
    auto owner = std::make_unique<QWidget>();
    owner->show();
    UpdateChecker::Instance().SetUi(MessageBoxUpdateUi::Create(owner.get()));
    UpdateChecker::Instance().StartCheck(/*silent=*/true);
    QMessageBox* box = nullptr;
    QTRY_VERIFY_WITH_TIMEOUT(
        (box = owner->findChild<QMessageBox*>(QStringLiteral("UpdateMessage"))) != nullptr, 10000);
    QCOMPARE(box->text(), QStringLiteral("New\nthings"));
    owner.reset();
    UpdateChecker::Instance().Shutdown();
    // The check ends without fetching: the record of the finished check is published.
    QTRY_VERIFY_WITH_TIMEOUT(UpdateChecker::Instance().LastInfo().UpdateAvailable, 10000);
    QCOMPARE(server.RequestCount(), 1);
  }

  // The real program with a server that never finishes its reply: closing
  // does not wait for the check. Waiting for it would take the reply's 15 s
  // time-out; the bound leaves room for the player's own shutdown on a busy
  // machine.
  void closingWhileACheckHangsExitsAtOnce() {
    test::TempHome home;
    test::HttpTestServer server;
    server.Route("/api/zelvaro/v1/checkUpdate", {.body = "{",
                                                 .bodySize = 1ll << 30,
                                                 .sendContentLength = false,
                                                 .trickleBytesPerSecond = 10});
    Settings::SetString(setting::kUpdateEndpoint, server.Url(QString()));
    QProcess player;
    player.setProcessChannelMode(QProcess::ForwardedChannels);
    player.start(test::BinDir() + QStringLiteral("/zelvaro"), {});
    QVERIFY(player.waitForStarted(10000));
    QTRY_COMPARE_WITH_TIMEOUT(server.RequestCount(), 1, 20000);
    QCOMPARE(::kill(static_cast<pid_t>(player.processId()), SIGTERM), 0);
    QVERIFY(player.waitForFinished(5000));
    QCOMPARE(player.exitCode(), 0);
  }
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::AboutDialogTest)
#include "about_dialog_test.moc"
