// File association against a private XDG home: what reaches mimeapps.list
// and the desktop entry, the earlier default kept and restored, other lines
// surviving byte for byte, and a real client (xdg-mime) reading the result.

#include "panels/file_associations.h"
#include "foundation/desktop_entry.h"
#include "foundation/media_types.h"
#include "foundation/settings.h"
#include "panels/mime_apps_list.h"
#include "tests/support/read_file.h"
#include "tests/support/temp_home.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>

#include <gtest/gtest.h>

namespace zelvaro {
namespace {

namespace fa = FileAssociations;

void WriteAll(const QString& path, const QByteArray& bytes) {
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
  file.write(bytes);
}

// What a desktop's own client answers, or nothing when xdg-utils is absent.
std::optional<QString> XdgMimeDefault(const test::TempHome& home, const QString& type) {
  const QString tool = QStandardPaths::findExecutable(QStringLiteral("xdg-mime"));
  if (tool.isEmpty()) return std::nullopt;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  // The generic lookup, not a desktop's own tool, and only the private home.
  for (const char* name : {"XDG_CURRENT_DESKTOP", "DESKTOP_SESSION", "KDE_FULL_SESSION",
                           "GNOME_DESKTOP_SESSION_ID", "XDG_MENU_PREFIX"}) {
    environment.remove(QString::fromLatin1(name));
  }
  environment.insert(QStringLiteral("XDG_CONFIG_DIRS"), home.Root() + QStringLiteral("/none"));
  environment.insert(QStringLiteral("XDG_DATA_DIRS"), home.Root() + QStringLiteral("/none"));
  QProcess process;
  process.setProcessEnvironment(environment);
  process.start(tool, {QStringLiteral("query"), QStringLiteral("default"), type});
  if (!process.waitForFinished(30000)) return QString();
  return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

class FileAssociationsTest : public testing::Test {
 protected:
  void SetUp() override {
    // Another player, installed for this user, whose default Zelvaro replaces.
    home_.WriteFile(QStringLiteral("data/applications/other-player.desktop"),
                    "[Desktop Entry]\nType=Application\nName=Other\nExec=true %U\n"
                    "MimeType=video/x-matroska;\n");
  }

  QString Exec() const { return QCoreApplication::applicationFilePath(); }

  test::TempHome home_;
};

// A list as people keep them: comments, odd spacing, unknown groups, other
// applications' entries.
const QByteArray kHandKeptList =
    "# kept by hand\n"
    "[Default Applications]\n"
    "video/x-matroska=other-player.desktop\n"
    "  audio/mpeg =  music.desktop;  \n"
    "\n"
    "[Added Associations]\n"
    "video/x-matroska=other-player.desktop;\n"
    "image/png=viewer.desktop;\n"
    "\n"
    "[X-Unknown Group]\n"
    "; not a comment to this format, kept all the same\n"
    "key = value\n";

TEST_F(FileAssociationsTest, RegisteringReplacesTheDefaultAndUnregisteringRestoresIt) {
  WriteAll(fa::MimeAppsListPath(), kHandKeptList);

  ASSERT_TRUE(fa::RegisterExtension(QStringLiteral("mkv"), Exec()));
  ASSERT_TRUE(fa::RegisterExtension(QStringLiteral("mkv"), Exec()));  // keeps the first backup
  EXPECT_TRUE(fa::IsExtensionRegistered(QStringLiteral("mkv")));
  EXPECT_FALSE(fa::IsExtensionRegistered(QStringLiteral("mp4")));

  const MimeAppsList list = MimeAppsList::Parse(test::ReadFileBytes(fa::MimeAppsListPath()));
  EXPECT_EQ(list.Value(QStringLiteral("Default Applications"), QStringLiteral("video/x-matroska")),
            QStringLiteral("zelvaro.desktop"));
  EXPECT_EQ(list.Value(QStringLiteral("Added Associations"), QStringLiteral("video/x-matroska")),
            QStringLiteral("zelvaro.desktop;other-player.desktop;"));
  QString backup;
  ASSERT_TRUE(Settings::GetBackupString(u".mkv", &backup));
  EXPECT_EQ(backup, QStringLiteral("other-player.desktop"));

  const QString entry = QString::fromUtf8(test::ReadFileBytes(fa::DesktopFilePath()));
  EXPECT_TRUE(entry.contains(QStringLiteral("Exec=") + Exec() + QStringLiteral(" %U\n")));
  EXPECT_TRUE(entry.contains(QStringLiteral("video/x-matroska;")));
  if (auto answer = XdgMimeDefault(home_, QStringLiteral("video/x-matroska"))) {
    EXPECT_EQ(*answer, QStringLiteral("zelvaro.desktop"));
  }

  ASSERT_TRUE(fa::UnregisterExtension(QStringLiteral("mkv")));
  EXPECT_EQ(test::ReadFileBytes(fa::MimeAppsListPath()), kHandKeptList);
  EXPECT_FALSE(Settings::GetBackupString(u".mkv", &backup));
  EXPECT_FALSE(fa::IsExtensionRegistered(QStringLiteral("mkv")));
  if (auto answer = XdgMimeDefault(home_, QStringLiteral("video/x-matroska"))) {
    EXPECT_EQ(*answer, QStringLiteral("other-player.desktop"));
  }
}

TEST_F(FileAssociationsTest, EveryShapeOfListSurvivesARoundTripOfAllExtensions) {
  struct Case {
    const char* name;
    QByteArray bytes;
    bool present;
  };
  const Case cases[] = {
      {"no file", "", false},
      {"empty file", "", true},
      {"hand kept", kHandKeptList, true},
      {"CRLF, no final line end", "[Default Applications]\r\nvideo/mp4=a.desktop;b.desktop;", true},
      {"groups twice, Zelvaro listed later",
       "[Added Associations]\nvideo/mp4=a.desktop;zelvaro.desktop;\n[Added Associations]\nx/y=z\n",
       true},
      {"only unknown groups", "[X-A]\nk=v\n\n[X-B]\n", true},
  };
  QStringList all;
  for (const auto& table : {VideoExtensions(), AudioExtensions()}) {
    for (QStringView extension : table) all << extension.toString();
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    test::TempHome home;
    if (c.present) WriteAll(fa::MimeAppsListPath(), c.bytes);
    const int registered = fa::RegisterExtensions(all, Exec());
    EXPECT_GT(registered, 40);
    EXPECT_EQ(fa::RegisteredExtensions(all).size(), registered);
    ASSERT_TRUE(fa::UnregisterExtensions(all));
    EXPECT_TRUE(fa::RegisteredExtensions(all).isEmpty());
    QByteArray expected = c.bytes;
    // Zelvaro's own entry in the list was Zelvaro's to take away.
    expected.replace("a.desktop;zelvaro.desktop;", "a.desktop;");
    EXPECT_EQ(test::ReadFileBytes(fa::MimeAppsListPath()), expected);
  }
}

TEST_F(FileAssociationsTest, ExtensionsResolveToTheirMediaType) {
  const std::pair<const char*, const char*> cases[] = {
      {"mkv", "video/x-matroska"}, {"mka", "audio/x-matroska"}, {"ts", "video/mp2t"},
      {"MP4", "video/mp4"},        {"flac", "audio/flac"},      {"tak", ""},
  };
  for (const auto& [extension, type] : cases) {
    EXPECT_EQ(AssociationMimeType(QString::fromLatin1(extension)), QString::fromLatin1(type))
        << extension;
  }
  // No type, nothing to bind: the status tells the truth.
  EXPECT_FALSE(fa::RegisterExtension(QStringLiteral("tak"), Exec()));
  EXPECT_FALSE(fa::IsExtensionRegistered(QStringLiteral("tak")));
}

TEST_F(FileAssociationsTest, AnUnwritableConfigFolderRegistersNothing) {
  // A file where the folder should be: no write can succeed, not even as root.
  const QString blocker = home_.WriteFile(QStringLiteral("blocker"), "x");
  qputenv("XDG_CONFIG_HOME", QFile::encodeName(blocker + QStringLiteral("/config")));
  EXPECT_FALSE(fa::RegisterExtension(QStringLiteral("mkv"), Exec()));
  EXPECT_FALSE(fa::IsExtensionRegistered(QStringLiteral("mkv")));
  EXPECT_FALSE(QFile::exists(fa::MimeAppsListPath()));
}

TEST_F(FileAssociationsTest, TheDesktopEntryValidates) {
  const QString validator = QStandardPaths::findExecutable(QStringLiteral("desktop-file-validate"));
  if (validator.isEmpty()) GTEST_SKIP() << "desktop-file-validate is not installed";
  for (const QString& exec : {Exec(), home_.Root() + QStringLiteral("/with space/zelvaro")}) {
    ASSERT_TRUE(fa::RegisterExtension(QStringLiteral("mp4"), exec));
    QProcess process;
    process.start(validator, {fa::DesktopFilePath()});
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardOutput().toStdString();
    EXPECT_EQ(process.readAllStandardOutput(), QByteArray()) << exec.toStdString();
  }
  EXPECT_TRUE(QString::fromUtf8(test::ReadFileBytes(fa::DesktopFilePath()))
                  .contains(QStringLiteral("Exec=\"") + home_.Root() +
                            QStringLiteral("/with space/zelvaro\" %U")));
}

}  // namespace
}  // namespace zelvaro
