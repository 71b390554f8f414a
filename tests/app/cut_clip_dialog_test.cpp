// The clip-cutting dialog on the real window with a real file: the range it
// edits shows as the seek bar's marks, its checks speak by the designed
// texts, and the cut runs beside playback, with cancel and without ffmpeg.

#include "app/cut_clip_dialog.h"
#include "app/commands.h"
#include "app/osd_formats.h"
#include "chrome/toolbar_window.h"
#include "engine/clip_cut.h"
#include "engine/graph_manager.h"
#include "foundation/language_manager.h"
#include "tests/app/shell_test_support.h"

#include <QLabel>
#include <QLineEdit>
#include <QTemporaryDir>

namespace zelvaro {

namespace {

constexpr int kWaitMs = 20'000;

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

class CutClipDialogTest : public QObject {
  Q_OBJECT

 private slots:
  void init() { QVERIFY(player_.Start()); }
  void cleanup() { player_.Stop(); }

  void theRangeIsEditedAsTheSeekBarsMarks() {
    QVERIFY(window_->OpenFile(test::FixturePath("cut_source.mp4")));
    // Paused, so the position the dialog takes is near the one sought.
    graph_->Pause();
    QVERIFY(graph_->Seek(2.0, true, 0));
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
  test::PlayerFixture player_;
  MainWindow*& window_ = player_.window;
  GraphManager*& graph_ = player_.graph;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::CutClipDialogTest)
#include "cut_clip_dialog_test.moc"
