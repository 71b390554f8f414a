// Paths, text conversion, the media tables and the download helper.

#include "foundation/app_paths.h"
#include "foundation/download.h"
#include "foundation/media_types.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "foundation/shell_paths.h"
#include "foundation/text_conversion.h"
#include "tests/support/http_test_server.h"
#include "tests/support/read_file.h"
#include "tests/support/temp_home.h"
#include "tests/support/wait_until.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <gtest/gtest.h>

#include <thread>

namespace zelvaro {
namespace {

TEST(MediaTypesTest, ScannedExtensionsAndPatterns) {
  EXPECT_TRUE(IsSupportedExtension(u".MKV"));
  EXPECT_FALSE(IsSupportedExtension(u".mka"));  // offered for association, not scanned
  EXPECT_FALSE(IsSupportedExtension(u"mkv"));   // the point is part of the extension
  EXPECT_TRUE(VideoPatternList().startsWith(QStringLiteral("*.mkv;*.mka;*.mks;*.mk3d;")));
  EXPECT_TRUE(AudioPatternList().endsWith(QStringLiteral(";*.ac3;*.eac3")));
}

TEST(TextConversionTest, RoundTripsAndSurvivesBadInput) {
  const QString text = QStringLiteral("Ab\u00e9\uD55C\u4e2d\U0001F3B5");
  EXPECT_EQ(Utf8ToWide(WideToUtf8(text)), text);
  EXPECT_EQ(WideToUtf8(text), std::string("Ab\xC3\xA9\xED\x95\x9C\xE4\xB8\xAD\xF0\x9F\x8E\xB5"));
  EXPECT_TRUE(WideToUtf8(u"").empty());
  EXPECT_TRUE(Utf8ToWide("").isEmpty());
  EXPECT_TRUE(Utf8CStrToWide(nullptr).isEmpty());
  EXPECT_EQ(Utf8CStrToWide("x\xFFy"), QStringLiteral("x\uFFFDy"));
}

TEST(PathsTest, MacrosExpandOnceEachInTheirOrder) {
  test::TempHome home;
  const QString temp = QDir::tempPath();
  EXPECT_EQ(ExpandPathMacros(u"%TEMP%/a;%TEMP%/b"), temp + QStringLiteral("/a;%TEMP%/b"));
  EXPECT_EQ(
      ExpandPathMacros(u"%EXEDIR%/x"),
      QFileInfo(QCoreApplication::applicationFilePath()).absolutePath() + QStringLiteral("/x"));
  EXPECT_EQ(ExpandPathMacros(u"%APPDATA%/f"), home.DataHome() + QStringLiteral("/f"));
  EXPECT_EQ(ExpandPathMacros(u"%temp%"), QStringLiteral("%temp%"));  // case matters
  EXPECT_EQ(ExpandPathMacros(u"%T"), QStringLiteral("%T"));
  ASSERT_TRUE(Settings::SetString(setting::kInstallPath, u"/opt/zelvaro"));
  EXPECT_EQ(ExpandPathMacros(u"%INST_DIR%/bin/%EXEDIR%"),
            QStringLiteral("/opt/zelvaro/bin/") +
                QFileInfo(QCoreApplication::applicationFilePath()).absolutePath());
}

TEST(PathsTest, InstallDirectoryIsTheSettingOrTheDataFolder) {
  test::TempHome home;
  const QString expected = home.DataHome() + QStringLiteral("/zelvaro");
  EXPECT_EQ(GetInstallDir(), expected);
  EXPECT_TRUE(QFileInfo(expected).isDir());
  EXPECT_EQ(GetInstallDir(), expected);  // again, with the folder present
  ASSERT_TRUE(Settings::SetString(setting::kInstallPath, u"relative/as/it/stands"));
  EXPECT_EQ(GetInstallDir(), QStringLiteral("relative/as/it/stands"));
}

TEST(PathsTest, SymbolicLinksResolveToTheirTarget) {
  test::TempHome home;
  const QString target = home.WriteFile(QStringLiteral("media/movie.mkv"), "x");
  const QString link = home.Root() + QStringLiteral("/link.mkv");
  const QString chain = home.Root() + QStringLiteral("/chain.mkv");
  const QString dangling = home.Root() + QStringLiteral("/dangling.mkv");
  ASSERT_TRUE(QFile::link(target, link));
  ASSERT_TRUE(QFile::link(link, chain));
  ASSERT_TRUE(QFile::link(home.Root() + QStringLiteral("/gone.mkv"), dangling));
  EXPECT_EQ(ResolveShortcut(link), QFileInfo(target).canonicalFilePath());
  EXPECT_EQ(ResolveShortcut(chain), QFileInfo(target).canonicalFilePath());
  EXPECT_EQ(ResolveShortcut(dangling), home.Root() + QStringLiteral("/gone.mkv"));
  EXPECT_EQ(ResolveShortcut(target), target);
  EXPECT_EQ(ResolveShortcut(QStringLiteral("a")), QStringLiteral("a"));
}

// A stand-in desktop file manager on the test's own session bus.
class FileManagerService : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
 public:
  QStringList shown;
 public slots:
  void ShowItems(const QStringList& uris, const QString&) { shown += uris; }
};

TEST(ShowInExplorerTest, SelectsTheFileThroughTheFileManager) {
  QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) GTEST_SKIP() << "no session bus (run under dbus-run-session)";
  test::TempHome home;
  const QString file = home.WriteFile(QStringLiteral("Episode 1.mkv"), "x");
  FileManagerService service;
  ASSERT_TRUE(bus.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &service,
                                 QDBusConnection::ExportAllSlots));
  ASSERT_TRUE(bus.registerService(QStringLiteral("org.freedesktop.FileManager1")));
  EXPECT_TRUE(ShowInExplorer(file));
  EXPECT_TRUE(test::WaitUntil([&] { return !service.shown.isEmpty(); }));
  EXPECT_EQ(service.shown, QStringList{QUrl::fromLocalFile(file).toString()});
  bus.unregisterService(QStringLiteral("org.freedesktop.FileManager1"));
  bus.unregisterObject(QStringLiteral("/org/freedesktop/FileManager1"));
}

TEST(ShowInExplorerTest, AMissingFileOpensItsFolder) {
  test::TempHome home;
  // The desktop's folder opener, replaced for the test by a script that
  // records what it was asked to open.
  const QString record = home.Root() + QStringLiteral("/opened.txt");
  const QString bin = home.Root() + QStringLiteral("/bin");
  QDir().mkpath(bin);
  const QString opener =
      home.WriteFile(QStringLiteral("bin/xdg-open"),
                     "#!/bin/sh\nprintf '%s' \"$1\" > \"" + QFile::encodeName(record) + "\"\n");
  QFile::setPermissions(opener, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
  const QByteArray oldPath = qgetenv("PATH");
  qputenv("PATH", QFile::encodeName(bin) + ':' + oldPath);

  EXPECT_TRUE(ShowInExplorer(home.Root() + QStringLiteral("/gone/away.mkv")));
  EXPECT_TRUE(test::WaitUntil([&] { return QFileInfo(record).size() > 0; }));
  EXPECT_EQ(test::ReadFileBytes(record), QFile::encodeName(home.Root() + QStringLiteral("/gone")));
  EXPECT_FALSE(ShowInExplorer(QStringLiteral("no-folder-part.mkv")));
  qputenv("PATH", oldPath);
}

class DownloadTest : public testing::Test {
 protected:
  QString Target() const { return home_.Root() + QStringLiteral("/download.bin"); }
  test::TempHome home_;
  test::HttpTestServer server_;
};

TEST_F(DownloadTest, SavesTheBodyAndCountsAnErrorPageAsADownload) {
  QByteArray body(300000, '\0');
  for (int i = 0; i < body.size(); ++i) body[i] = static_cast<char>(i * 7);
  server_.Route("/file", {.body = body, .contentType = "application/octet-stream"});
  ASSERT_TRUE(DownloadToFile(server_.Url(QStringLiteral("/file")), Target(), "Zelvaro-test"));
  EXPECT_EQ(test::ReadFileBytes(Target()), body);
  ASSERT_EQ(server_.RequestCount(), 1);
  EXPECT_TRUE(server_.Requests().front().headers.contains("User-Agent: Zelvaro-test"));

  ASSERT_TRUE(DownloadToFile(server_.Url(QStringLiteral("/missing")), Target(), "Zelvaro-test"));
  EXPECT_EQ(test::ReadFileBytes(Target()), QByteArray("not found"));
}

TEST_F(DownloadTest, RefusesPlainHttpAwayFromLoopbackAndRedirectsToIt) {
  EXPECT_TRUE(IsAllowedDownloadUrl(QStringLiteral("https://updates.example.org/x")));
  EXPECT_TRUE(IsAllowedDownloadUrl(QStringLiteral("http://127.0.0.1:8080/x")));
  EXPECT_TRUE(IsAllowedDownloadUrl(QStringLiteral("http://localhost/x")));
  EXPECT_TRUE(IsAllowedDownloadUrl(QStringLiteral("http://[::1]/x")));
  EXPECT_FALSE(IsAllowedDownloadUrl(QStringLiteral("http://10.0.0.1/x")));
  EXPECT_FALSE(IsAllowedDownloadUrl(QStringLiteral("http://127.example.org/x")));
  EXPECT_FALSE(IsAllowedDownloadUrl(QStringLiteral("ftp://127.0.0.1/x")));
  EXPECT_FALSE(IsAllowedDownloadUrl(QStringLiteral("file:///etc/passwd")));
  EXPECT_FALSE(DownloadToFile(QStringLiteral("http://192.0.2.1/x"), Target(), "Zelvaro-test"));

  server_.Route(
      "/moved",
      {.status = 302, .headers = {{"Location", server_.Url(QStringLiteral("/file")).toUtf8()}}});
  server_.Route("/file", {.body = "payload"});
  EXPECT_FALSE(DownloadToFile(server_.Url(QStringLiteral("/moved")), Target(), "Zelvaro-test"));
  EXPECT_EQ(server_.RequestCount(), 1);  // the plain-http hop was never made
}

TEST_F(DownloadTest, StopsPastTheSizeLimitWithOrWithoutALength) {
  server_.Route("/announced", {.bodySize = 2 * 1024 * 1024});
  server_.Route("/unannounced", {.bodySize = 2 * 1024 * 1024, .sendContentLength = false});
  EXPECT_FALSE(
      DownloadToFile(server_.Url(QStringLiteral("/announced")), Target(), "t", 1024 * 1024));
  EXPECT_FALSE(
      DownloadToFile(server_.Url(QStringLiteral("/unannounced")), Target(), "t", 1024 * 1024));
  EXPECT_LE(QFileInfo(Target()).size(), 1024 * 1024);
  EXPECT_TRUE(
      DownloadToFile(server_.Url(QStringLiteral("/announced")), Target(), "t", 4 * 1024 * 1024));
}

TEST_F(DownloadTest, FailsCleanlyOnADeadServerABadTargetOrACancel) {
  server_.Route("/slow", {.body = "late", .delayMs = 60000});
  EXPECT_FALSE(DownloadToFile(QStringLiteral("http://127.0.0.1:1/x"), Target(), "t"));
  EXPECT_FALSE(DownloadToFile(server_.Url(QStringLiteral("/slow")),
                              home_.Root() + QStringLiteral("/no/such/folder/file"), "t"));

  std::atomic<bool> cancel{false};
  std::thread canceller([&] {
    while (server_.RequestCount() == 0) std::this_thread::yield();
    cancel = true;
  });
  EXPECT_FALSE(DownloadToFile(server_.Url(QStringLiteral("/slow")), Target(), "t",
                              kDefaultDownloadLimitBytes, &cancel));
  canceller.join();
}

}  // namespace
}  // namespace zelvaro

#include "paths_test.moc"
