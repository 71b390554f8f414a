// The window's features that run ffmpeg beside playback, on real files.
// Subtitle streams inside the file, chosen from the subtitle menu and read
// back from the picture, on both routes: the graph route (the splitter's
// samples into libass) and the external one (ffmpeg extracts a temporary
// file). The clips are dark grey; their SubRip lines stand at the bottom and
// their ASS lines (a fade and a move) at the top, cues at 1-3 s and 4-5 s, so
// where text shows tells which track is on; a picture track (a Blu-ray
// stream written by hand) shows a red rectangle from 1 s to 3 s, scaled from
// its 1920x1080 canvas to where it belongs. And the clip-cutting dialog: the
// range it edits shows as the seek bar's marks, its checks speak by the
// designed texts, and the cut runs beside playback, with cancel and without
// ffmpeg.

#include "app/commands.h"
#include "app/cut_clip_dialog.h"
#include "app/osd_formats.h"
#include "chrome/toolbar_window.h"
#include "engine/clip_cut.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/app/shell_test_support.h"
#include "tests/support/pgs_writer.h"
#include "video/video_renderer.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>

namespace zelvaro {
namespace {

constexpr int kWaitMs = 20'000;

constexpr int kTextLevelMin = 180;  // the clip's grey is 48
constexpr int kEnoughTextPixels = 20;

struct Look {
  int64_t time100ns = -1;
  int above = 0;  // text pixels in the upper half of the picture
  int below = 0;
  int red = 0;     // pixels of the picture track's rectangle
  QPointF centre;  // theirs, as a fraction of the picture
  int pixels = 0;
};

Look LookAt(VideoRenderer* renderer) {
  Look look;
  look.time100ns = renderer->Counters().lastPaintedTime100ns;
  const QImage image = renderer->DisplayedImage().convertToFormat(QImage::Format_RGB32);
  look.pixels = image.width() * image.height();
  double sumX = 0, sumY = 0;
  for (int y = 0; y < image.height(); ++y) {
    const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      const int r = qRed(row[x]), g = qGreen(row[x]), b = qBlue(row[x]);
      if (r >= 180 && g <= 80 && b <= 80) {
        ++look.red;
        sumX += x;
        sumY += y;
      } else if (r >= kTextLevelMin && g >= kTextLevelMin && b >= kTextLevelMin) {
        ++(y < image.height() / 2 ? look.above : look.below);
      }
    }
  }
  if (look.red > 0)
    look.centre = {sumX / look.red / image.width(), sumY / look.red / image.height()};
  return look;
}

bool ShowsNothing(const Look& look) {
  return look.above + look.below + look.red == 0;
}

// The picture track's rectangle covers the middle half across and the third
// quarter down: an eighth of the picture.
enum class Where { Above, Below, Rectangle };

bool InCue(int64_t time100ns) {
  const double seconds = time100ns / 1e7;
  return (seconds > 1.25 && seconds < 2.75) || (seconds > 4.1 && seconds < 4.9);
}

bool ShowsOnly(const Look& look, Where where) {
  if (where == Where::Rectangle) {
    return look.red > look.pixels / 8 * 0.9 && std::abs(look.centre.x() - 0.5) < 0.03 &&
           std::abs(look.centre.y() - 0.625) < 0.03 && look.above + look.below == 0;
  }
  const int wanted = where == Where::Above ? look.above : look.below;
  const int other = where == Where::Above ? look.below : look.above;
  return wanted >= kEnoughTextPixels && other == 0 && look.red == 0;
}

void Type(CutClipDialog* dialog, int id, const QString& text) {
  auto* edit = qobject_cast<QLineEdit*>(dialog->Control(id));
  edit->setText(text);
  emit edit->editingFinished();
}

void Click(CutClipDialog* dialog, int id) {
  QTest::mouseClick(dialog->Control(id), Qt::LeftButton);
}

QString Shown(CutClipDialog* dialog, int id) {
  if (auto* edit = qobject_cast<QLineEdit*>(dialog->Control(id))) return edit->text();
  return qobject_cast<QLabel*>(dialog->Control(id))->text();
}

}  // namespace

class MainWindowToolsTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QVERIFY(media_.isValid());
    test::PgsRectangle rectangle;
    rectangle.rect = QRect(480, 540, 960, 270);
    rectangle.y = 63, rectangle.cr = 240, rectangle.cb = 102;  // red
    rectangle.showMs = 1000;
    rectangle.hideMs = 3000;
    QFile sup(media_.filePath("red.sup"));
    QVERIFY(sup.open(QIODevice::WriteOnly));
    sup.write(test::MakePgsStream(rectangle));
    sup.close();
    QProcess ffmpeg;
    ffmpeg.start("ffmpeg", {"-nostdin", "-v", "error", "-y", "-i",
                            test::FixturePath("embedded_srt.mkv"), "-i", sup.fileName(), "-map",
                            "0:v", "-map", "1", "-c", "copy", media_.filePath("pgs.mkv")});
    QVERIFY(ffmpeg.waitForFinished(30'000));
    QCOMPARE(ffmpeg.exitCode(), 0);
  }
  void init() { QVERIFY(player_.Start()); }
  void cleanup() { player_.Stop(); }

  void aChosenTrackShowsAtItsCues_data() {
    QTest::addColumn<uint>("method");
    QTest::addColumn<QString>("file");
    QTest::addColumn<int>("track");
    QTest::addColumn<Where>("where");
    const struct {
      const char* name;
      QString file;
      int track;
      Where where;
    } files[] = {{"ass", test::FixturePath("embedded_ass.mkv"), 0, Where::Above},
                 {"srt", test::FixturePath("embedded_srt.mkv"), 0, Where::Below},
                 {"mov_text", test::FixturePath("embedded_movtext.mp4"), 0, Where::Below},
                 {"pgs", media_.filePath("pgs.mkv"), 0, Where::Rectangle}};
    for (const uint method : {1u, 0u}) {
      for (const auto& f : files) {
        QTest::addRow("%s %s", method == 1 ? "graph" : "external", f.name)
            << method << f.file << f.track << f.where;
      }
    }
  }

  void aChosenTrackShowsAtItsCues() {
    QFETCH(uint, method);
    QFETCH(QString, file);
    QFETCH(int, track);
    QFETCH(Where, where);
    Settings::SetDword(setting::kEmbeddedSubtitleMethod, method);
    QVERIFY(window_->OpenFile(file));
    graph_->Pause();
    QVERIFY(graph_->GetSubtitleTrackCount() > track);
    window_->OnCommand(ID_SUBTITLE_TRACK_FIRST + track);
    QTRY_COMPARE_WITH_TIMEOUT(window_->embeddedSubtitleIndex(), track, kWaitMs);

    // Before the first cue nothing shows; inside it, the line in its place.
    VideoRenderer* video = window_->videoWindow();
    QTRY_VERIFY_WITH_TIMEOUT(LookAt(video).time100ns >= 0, kWaitMs);
    QVERIFY(ShowsNothing(LookAt(video)));
    QVERIFY(graph_->Play());
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
          const Look look = LookAt(video);
          return InCue(look.time100ns) && ShowsOnly(look, where);
        }(),
        kWaitMs);
    // Between the cues the picture is clear again.
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
          const Look look = LookAt(video);
          return look.time100ns > 32'000'000 && look.time100ns < 38'000'000 && ShowsNothing(look);
        }(),
        kWaitMs);
  }

  void switchingTracksReplacesTheText_data() {
    QTest::addColumn<uint>("method");
    QTest::newRow("graph") << 1u;
    QTest::newRow("external") << 0u;
  }

  void switchingTracksReplacesTheText() {
    QFETCH(uint, method);
    Settings::SetDword(setting::kEmbeddedSubtitleMethod, method);
    QVERIFY(window_->OpenFile(test::FixturePath("embedded_two.mkv")));
    graph_->Pause();
    window_->OnCommand(ID_SUBTITLE_TRACK_FIRST);
    QTRY_COMPARE_WITH_TIMEOUT(window_->embeddedSubtitleIndex(), 0, kWaitMs);
    QVERIFY(graph_->Play());
    VideoRenderer* video = window_->videoWindow();
    QTRY_VERIFY_WITH_TIMEOUT(ShowsOnly(LookAt(video), Where::Below), kWaitMs);

    window_->OnCommand(ID_SUBTITLE_TRACK_FIRST + 1);
    QTRY_COMPARE_WITH_TIMEOUT(window_->embeddedSubtitleIndex(), 1, kWaitMs);
    QTRY_VERIFY_WITH_TIMEOUT(ShowsOnly(LookAt(video), Where::Above), kWaitMs);
  }

  void theSubtitleSettingsChooseTheStartingTrack_data() {
    QTest::addColumn<int>("mode");  // −1: the setting is absent
    QTest::addColumn<QString>("languages");
    QTest::addColumn<int>("track");
    QTest::newRow("no mode") << -1 << "kor" << -1;
    QTest::newRow("no subtitles") << 0 << "kor" << -1;
    QTest::newRow("preferred language") << 2 << "kor" << 1;
    QTest::newRow("second preference") << 2 << "fre, eng" << 0;
  }

  void theSubtitleSettingsChooseTheStartingTrack() {
    QFETCH(int, mode);
    QFETCH(QString, languages);
    QFETCH(int, track);
    Settings::SetDword(setting::kEmbeddedSubtitleMethod, 1);
    if (mode >= 0) Settings::SetDword(setting::kLavSubtitleMode, static_cast<uint32_t>(mode));
    Settings::SetString(setting::kLavPreferredSubLanguages, languages);
    // English SubRip and Korean ASS, no side file.
    QVERIFY(window_->OpenFile(test::FixturePath("multitrack.mkv")));
    QCOMPARE(window_->embeddedSubtitleIndex(), track);
  }

  void aSeekIntoACueShowsItOnTheGraphRoute() {
    Settings::SetDword(setting::kEmbeddedSubtitleMethod, 1);
    QVERIFY(window_->OpenFile(test::FixturePath("embedded_late_cue.mkv")));
    graph_->Pause();
    window_->OnCommand(ID_SUBTITLE_TRACK_FIRST);
    QTRY_COMPARE_WITH_TIMEOUT(window_->embeddedSubtitleIndex(), 0, kWaitMs);
    // The cue runs from 60 s to 80 s; the demuxer starts reading near 70 s.
    QVERIFY(graph_->Seek(70.0, false, 0));
    QVERIFY(graph_->Play());
    VideoRenderer* video = window_->videoWindow();
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
          const Look look = LookAt(video);
          return look.time100ns > 700'000'000 && ShowsOnly(look, Where::Below);
        }(),
        kWaitMs);
  }

  void theExternalRouteWritesTheDesignedTemporaryFile() {
    QVERIFY(window_->OpenFile(test::FixturePath("embedded_ass.mkv")));
    bool loaded = false;
    QVERIFY(graph_->ExtractEmbeddedSubtitle(0, [&](bool ok) { loaded = ok; }));
    QTRY_VERIFY_WITH_TIMEOUT(loaded, kWaitMs);
    QFile extracted(QDir(QDir::tempPath()).filePath("Zelvaro_embedded_sub.ass"));
    QVERIFY(extracted.open(QIODevice::ReadOnly));
    QVERIFY(extracted.readAll().contains("\\move(160,20,160,40)"));

    // A stream that is not there starts nothing.
    QVERIFY(!graph_->ExtractEmbeddedSubtitle(5));
    QVERIFY(!graph_->GrabEmbeddedSubtitle(5));
  }

  void theRangeIsEditedAsTheSeekBarsMarks() {
    QVERIFY(window_->OpenFile(test::FixturePath("cut_source.mp4")));
    // Paused, so the position the dialog takes is near the one sought.
    graph_->Pause();
    QVERIFY(graph_->Seek(2.0, true, 0));
    QTRY_VERIFY_WITH_TIMEOUT(qAbs(graph_->GetPosition() - 2.0) < 0.05, kWaitMs);
    window_->OnCommand(ID_CUT_CLIP);
    CutClipDialog* dialog = window_->cutClipDialog();
    QVERIFY(dialog && dialog->isVisible());
    QVERIFY(qAbs(ParseClipTime(Shown(dialog, kCutStartEdit)) - 2.0) < 0.05);
    QCOMPARE(Shown(dialog, kCutEndEdit), FormatClipTime(graph_->GetDuration()));
    const auto& bar = window_->toolbar()->State();
    QTRY_VERIFY(qAbs(bar.MarkA - 0.2) < 0.01 && qAbs(bar.MarkB - 1.0) < 0.01);

    Type(dialog, kCutStartEdit, "3");
    Type(dialog, kCutEndEdit, "10");
    Click(dialog, kCutEndDown);
    Click(dialog, kCutEndDown);
    QCOMPARE(Shown(dialog, kCutEndEdit), QStringLiteral("00:00:09.800"));
    Type(dialog, kCutEndEdit, "1:00");  // beyond the file: the old value stays
    QCOMPARE(Shown(dialog, kCutEndEdit), QStringLiteral("00:00:09.800"));
    Click(dialog, kCutStartUp);
    QCOMPARE(Shown(dialog, kCutLength), QStringLiteral("00:00:06.700"));
    QCOMPARE(graph_->MarkA(), 31'000'000);
    QTRY_VERIFY(qAbs(bar.MarkA - 0.31) < 0.01 && qAbs(bar.MarkB - 0.98) < 0.01);

    // Marks set elsewhere leave the fields; the dialog's next change wins.
    graph_->SetMarks(10'000'000, 20'000'000);
    Click(dialog, kCutEndUp);
    QCOMPARE(graph_->MarkA(), 31'000'000);
    QCOMPARE(graph_->MarkB(), 99'000'000);

    // A second command brings the same dialog forward.
    window_->OnCommand(ID_CUT_CLIP);
    QCOMPARE(window_->cutClipDialog(), dialog);
  }

  void refusalsSpeakByTheirKeys() {
    QVERIFY(window_->OpenFile(test::FixturePath("cut_source.mp4")));
    window_->OnCommand(ID_CUT_CLIP);
    CutClipDialog* dialog = window_->cutClipDialog();
    QTemporaryDir dir;
    int asked = 0;
    dialog->SetSavePathPicker([&](const QString&, const QString&) {
      ++asked;
      return dir.filePath("out.mp4");
    });

    Type(dialog, kCutStartEdit, "4");
    Type(dialog, kCutEndEdit, "4");
    Click(dialog, kCutOk);
    QCOMPARE(dialog->LastMessage().text,
             LanguageManager::GetString(u"CutClip.ErrorInvalidTimeRange"));
    QCOMPARE(dialog->LastMessage().icon, QMessageBox::Warning);
    QCOMPARE(asked, 0);

    // Without ffmpeg the cut fails at once with the designed text.
    Type(dialog, kCutEndEdit, "6");
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", "/nonexistent");
    Click(dialog, kCutOk);
    qputenv("PATH", path);
    QCOMPARE(asked, 1);
    QCOMPARE(dialog->LastMessage().text, LanguageManager::GetString(u"CutClip.FailTitle"));
    QCOMPARE(dialog->LastMessage().title, LanguageManager::GetString(u"CutClip.ErrorTitle"));
    QVERIFY(!dialog->IsCutting());
    QVERIFY(window_->cutClipDialog());
  }

  void aCancelledCutLeavesNoFileAndPlaybackGoesOn() {
    QVERIFY(window_->OpenFile(test::FixturePath("long_lowres.mkv")));
    window_->OnCommand(ID_CUT_CLIP);
    CutClipDialog* dialog = window_->cutClipDialog();
    QTemporaryDir dir;
    const QString output = dir.filePath("long cut.mkv");
    dialog->SetSavePathPicker([&](const QString&, const QString&) { return output; });
    Type(dialog, kCutStartEdit, "0");
    Type(dialog, kCutEndEdit, "590");
    QVERIFY(graph_->Play());

    Click(dialog, kCutOk);
    QVERIFY(dialog->IsCutting());
    QVERIFY(!dialog->Control(kCutOk)->isEnabled());
    Click(dialog, kCutCancel);  // while cutting, Cancel stops the cut
    QTRY_VERIFY_WITH_TIMEOUT(!dialog->IsCutting(), kWaitMs);
    QVERIFY(!QFile::exists(output));
    QVERIFY(window_->cutClipDialog());
    QVERIFY(dialog->Control(kCutOk)->isEnabled());

    QCOMPARE(graph_->State(), 2);
    const double before = graph_->GetPosition();
    QTRY_VERIFY_WITH_TIMEOUT(graph_->GetPosition() > before + 0.3, kWaitMs);
  }

  void aFinishedCutIsReportedShownAndClosesTheDialog() {
    QVERIFY(window_->OpenFile(test::FixturePath("cut_source.mkv")));
    window_->OnCommand(ID_CUT_CLIP);
    QPointer<CutClipDialog> dialog = window_->cutClipDialog();
    QTemporaryDir dir;
    QString proposed;
    dialog->SetSavePathPicker([&](const QString& path, const QString&) {
      proposed = path;
      return dir.filePath(QFileInfo(path).fileName());
    });
    QString shown;
    dialog->SetShowFile([&](const QString& path) { shown = path; });
    Type(dialog, kCutStartEdit, "3");
    Type(dialog, kCutEndEdit, "7");
    Click(dialog, kCutOk);
    QTRY_VERIFY_WITH_TIMEOUT(dialog.isNull(), kWaitMs);

    QVERIFY(proposed.startsWith(test::FixtureDir() + "/cut_source_cut_"));
    QVERIFY(proposed.endsWith(".mkv"));
    QVERIFY(QFile::exists(shown));
    QCOMPARE(QFileInfo(shown).dir(), QDir(dir.path()));
    auto* box = window_->findChild<QMessageBox*>("CutClipMessage");
    QVERIFY(box);
    QCOMPARE(box->text(), FormatKey(u"CutClip.SuccessMessageFormat", shown));
    QCOMPARE(box->icon(), QMessageBox::Information);
  }

 private:
  QTemporaryDir media_;
  test::PlayerFixture player_;
  MainWindow*& window_ = player_.window;
  GraphManager*& graph_ = player_.graph;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::MainWindowToolsTest)
#include "main_window_tools_test.moc"
