// Screenshot names, the folder and its fall-back, and the three ways a shot
// is written.

#include "app/screenshot.h"

#include "tests/support/temp_home.h"

#include <QCoreApplication>
#include <QFile>
#include <QImageReader>
#include <QStandardPaths>

#include <gtest/gtest.h>

namespace zelvaro {
namespace {

TEST(ScreenshotTest, NamesFollowTheOpenFile) {
  const QDateTime shot(QDate(2026, 1, 2), QTime(3, 4, 5));
  const struct {
    const char* path;
    const char* name;
  } cases[] = {
      {"/media/a.b.mkv", "a.b_20260102_030405.png"},
      {"/media/name", "name_20260102_030405.png"},
      {"C:\\clips\\x.avi", "x_20260102_030405.png"},
      {"https://host/live/stream.m3u8", "stream_20260102_030405.png"},
      {"/dotted.dir/plain", "plain_20260102_030405.png"},
      {"no-separator.mkv", "Screenshot_20260102_030405.png"},
      {"", "Screenshot_20260102_030405.png"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(ScreenshotFileName(QString::fromUtf8(c.path), shot), QString::fromUtf8(c.name))
        << c.path;
}

// Points the XDG pictures directory at `folder` for this home.
void SetPicturesDir(const test::TempHome& home, const QString& folder) {
  home.WriteFile(QStringLiteral("config/user-dirs.dirs"),
                 "XDG_PICTURES_DIR=\"" + folder.toUtf8() + "\"\n");
}

TEST(ScreenshotTest, FolderIsInThePicturesDirectoryOrFallsBack) {
  test::TempHome home;
  SetPicturesDir(home, home.Root() + QStringLiteral("/Pics"));
  EXPECT_EQ(ScreenshotFolder(), home.Root() + QStringLiteral("/Pics/Zelvaro/"));

  // A pictures directory below a plain file cannot be made, even as root.
  const QString blocker = home.WriteFile(QStringLiteral("blocker"), "x");
  SetPicturesDir(home, blocker + QStringLiteral("/Pics"));
  EXPECT_EQ(ScreenshotFolder(), QCoreApplication::applicationDirPath() + QLatin1Char('/'));
}

TEST(ScreenshotTest, WritesEachFormatUnderThePngName) {
  test::TempHome home;
  QImage image(64, 48, QImage::Format_RGB32);
  image.fill(QColor(200, 40, 90));
  const struct {
    uint32_t format;
    QByteArray decodedAs;
  } cases[] = {{0, "png"}, {1, "jpeg"}, {2, "bmp"}, {7, "png"}};
  for (const auto& c : cases) {
    const QString path = home.Root() + QStringLiteral("/shot%1.png").arg(c.format);
    ASSERT_TRUE(WriteScreenshot(image, path, c.format)) << c.format;
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    EXPECT_EQ(reader.format(), c.decodedAs) << c.format;
    const QImage back = reader.read();
    ASSERT_FALSE(back.isNull()) << c.format;
    const QColor centre = back.pixelColor(32, 24);
    EXPECT_NEAR(centre.red(), 200, 4) << c.format;
    EXPECT_NEAR(centre.blue(), 90, 4) << c.format;
  }
  EXPECT_FALSE(WriteScreenshot(QImage(), home.Root() + QStringLiteral("/none.png"), 0));
  EXPECT_FALSE(WriteScreenshot(image, home.Root() + QStringLiteral("/no/such/dir/a.png"), 2));
}

}  // namespace
}  // namespace zelvaro
