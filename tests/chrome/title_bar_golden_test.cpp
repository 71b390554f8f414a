// The title bar's look at 1x and 2x: logo, a media title, the pin on.

#include "app/dpi.h"
#include "tests/chrome/title_bar_test_support.h"
#include "tests/support/golden_image.h"
#include "tests/support/temp_home.h"

#include <QTest>

namespace zelvaro::chrome {

class TitleBarGoldenTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() { test::LoadEnglish(); }
  void cleanup() { DpiScale = 1.0f; }

  void looksAsDesigned_data() {
    QTest::addColumn<float>("scale");
    QTest::addColumn<QString>("golden");
    QTest::newRow("1x") << 1.0f << QStringLiteral("chrome/golden/title_bar_1x.png");
    QTest::newRow("2x") << 2.0f << QStringLiteral("chrome/golden/title_bar_2x.png");
  }

  void looksAsDesigned() {
    QFETCH(float, scale);
    QFETCH(QString, golden);
    DpiScale = scale;
    test::TitleBarFixture f(Scaled(800));
    f.bar->SetTitles(QStringLiteral("Harbour at dusk (2019).mkv"), QString());
    f.bar->SetAlwaysOnTop(true);
    const QImage shot = f.bar->grab().toImage();
    QCOMPARE(shot.size(), QSize(Scaled(800), Scaled(32)));
    QString why;
    QVERIFY2(test::MatchesGolden(shot, golden, &why), qPrintable(why));
  }

 private:
  test::TempHome home_;
};

}  // namespace zelvaro::chrome

QTEST_MAIN(zelvaro::chrome::TitleBarGoldenTest)
#include "title_bar_golden_test.moc"
