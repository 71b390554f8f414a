// The options dialog on real widgets: each page loads what is stored and
// saves exactly what the user changed, Cancel saves nothing, the file types
// page binds and reads back, and a language switch retitles the dialog and
// the main window at once.

#include "panels/options_dialog.h"
#include "app/commands.h"
#include "app/dpi.h"
#include "app/file_info_window.h"
#include "app/window_globals.h"
#include "chrome/title_bar_geometry.h"
#include "chrome/title_bar_window.h"
#include "chrome/tooltip_window.h"
#include "foundation/language_manager.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "panels/file_assoc_options.h"
#include "panels/file_associations.h"
#include "panels/general_options.h"
#include "tests/app/shell_test_support.h"
#include "tests/support/read_file.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QSlider>
#include <QTreeWidget>

namespace zelvaro {
namespace {

using G = GeneralOptions;

// The three pages and a shown dialog over them.
struct Fixture {
  std::vector<std::unique_ptr<OptionsPage>> pages;
  std::unique_ptr<OptionsDialog> dialog;

  Fixture() {
    pages.push_back(std::make_unique<GeneralOptions>());
    pages.push_back(std::make_unique<OtherOptions>());
    pages.push_back(std::make_unique<FileAssocOptions>());
    dialog = std::make_unique<OptionsDialog>(pages, nullptr);
    dialog->show();
  }
  GeneralOptions* general() const { return static_cast<GeneralOptions*>(pages[0].get()); }
  FileAssocOptions* types() const { return static_cast<FileAssocOptions*>(pages[2].get()); }
  template <typename W>
  W* Control(int id) const {
    return qobject_cast<W*>(general()->control(id));
  }
};

}  // namespace

class OptionsDialogTest : public QObject {
  Q_OBJECT

 private slots:
  void initTestCase() {
    QVERIFY(LanguageManager::Instance().Initialize(test::SourceDir(), QLocale::English));
  }
  void init() {
    home_ = std::make_unique<test::TempHome>();
    LanguageManager::Instance().SetLanguage(QStringLiteral("en"));
    RememberWindowPos = true;
    SeekbarThumbnailPreview = false;
    GlobalMediaKeys = false;
    UnregisterOnDeactivate = true;
  }
  void cleanup() {
    test::StopPlayer();
    home_.reset();
  }

  void generalPageLoadsTheStoreAndSavesOnlyWhatChanged() {
    Settings::SetDword(setting::kKeyframeSeek, 0);
    Settings::SetDword(setting::kAudioNormalize, 1);
    Settings::SetDword(setting::kAudioBoost, 150);
    GlobalMediaKeys = true;
    RememberWindowPos = false;
    Fixture f;

    const std::pair<int, bool> shown[] = {
        {G::kRememberWindowPos, false},     {G::kSeekbarThumbnail, false},
        {G::kKeyframeSeek, false},          {G::kPlaylistRestore, true},
        {G::kPlaylistHeightSync, true},     {G::kGlobalMediaKeys, true},
        {G::kUnregisterOnDeactivate, true}, {G::kAudioNormalize, true},
        {G::kAudioNormalizeRecover, true},  {G::kResumePlayback, true},
    };
    for (const auto& [id, checked] : shown) {
      QCOMPARE(f.Control<QCheckBox>(id)->isChecked(), checked);
      QVERIFY(!f.Control<QCheckBox>(id)->text().isEmpty());
    }
    QCOMPARE(f.Control<QSlider>(G::kMaxNormFactor)->value(), 200);
    QCOMPARE(f.Control<QLabel>(G::kMaxNormFactorValue)->text(), QStringLiteral("2.0x"));
    QCOMPARE(f.Control<QLabel>(G::kBoostValue)->text(), QStringLiteral("2.5x"));
    QCOMPARE(f.Control<QComboBox>(G::kLanguage)->currentData().toString(), QStringLiteral("en"));

    // Media keys off greys the release flag, which keeps its value.
    f.Control<QCheckBox>(G::kGlobalMediaKeys)->setChecked(false);
    QVERIFY(!f.Control<QCheckBox>(G::kUnregisterOnDeactivate)->isEnabled());
    f.Control<QCheckBox>(G::kPlaylistRestore)->setChecked(false);
    f.Control<QCheckBox>(G::kResumePlayback)->setChecked(false);
    f.Control<QCheckBox>(G::kSeekbarThumbnail)->setChecked(true);
    f.Control<QSlider>(G::kBoost)->setValue(0);
    QCOMPARE(f.Control<QLabel>(G::kBoostValue)->text(), QStringLiteral("Off"));
    f.Control<QSlider>(G::kMaxNormFactor)->setValue(400);
    QCOMPARE(f.Control<QLabel>(G::kMaxNormFactorValue)->text(), QStringLiteral("4.0x"));
    f.Control<QSlider>(G::kMaxNormFactor)->setValue(200);  // back: not a change

    QSignalSpy accepted(f.dialog.get(), &QDialog::accepted);
    f.dialog->saveButton()->click();
    QCOMPARE(accepted.count(), 1);

    const std::pair<QStringView, std::optional<uint32_t>> stored[] = {
        {setting::kPlaylistRestoreOnStartup, 0},
        {setting::kResumePlayback, 0},
        {setting::kAudioBoost, 0},
        {setting::kKeyframeSeek, 0},
        {setting::kAudioNormalize, 1},
        {setting::kPlaylistHeightSync, std::nullopt},  // unchanged: never written
        {setting::kAudioMaxNormFactor, std::nullopt},
        {setting::kAudioNormalizeRecover, std::nullopt},
    };
    for (const auto& [name, expected] : stored) {
      uint32_t value = 0;
      const bool present = Settings::GetDword(name, &value);
      QVERIFY2(present == expected.has_value(), qPrintable(name.toString()));
      if (expected) QCOMPARE(value, *expected);
    }
    QCOMPARE(GlobalMediaKeys, false);
    QCOMPARE(UnregisterOnDeactivate, true);
    QCOMPARE(SeekbarThumbnailPreview, true);
    QCOMPARE(RememberWindowPos, false);
  }

  void cancelWritesNothing() {
    Settings::SetDword(setting::kAudioBoost, 50);
    const QByteArray before = test::ReadFileBytes(Settings::StoreFilePath());
    {
      Fixture f;
      for (int id :
           {G::kRememberWindowPos, G::kKeyframeSeek, G::kGlobalMediaKeys, G::kAudioNormalize}) {
        f.Control<QCheckBox>(id)->toggle();
      }
      f.Control<QSlider>(G::kBoost)->setValue(300);
      QSignalSpy rejected(f.dialog.get(), &QDialog::rejected);
      f.dialog->cancelButton()->click();
      QCOMPARE(rejected.count(), 1);
    }
    QCOMPARE(test::ReadFileBytes(Settings::StoreFilePath()), before);
    QCOMPARE(RememberWindowPos, true);
    QCOMPARE(GlobalMediaKeys, false);
  }

  void pagesAreShownByTheirEntries() {
    Fixture f;
    QCOMPARE(f.dialog->pageList()->count(), 3);
    for (int i = 0; i < 3; ++i) {
      f.dialog->pageList()->setCurrentRow(i);
      QCOMPARE(f.dialog->currentPage(), i);
      QVERIFY(f.pages[i]->widget()->isVisible());
    }
  }

  void fileTypesPageBindsAndReadsBack() {
    Fixture f;
    QTreeWidget* list = f.types()->list();
    QCOMPARE(list->topLevelItemCount(), FileAssocOptions::ListedExtensions().size());
    QCOMPARE(list->findItems(QStringLiteral("mka"), Qt::MatchExactly).size(), 1);

    // One check, then the buttons; the status is read back each time.
    const QString on = QStringLiteral("Associated");
    const QString off = QStringLiteral("Not associated");
    auto item = [list](const char* extension) {
      return list->findItems(QString::fromLatin1(extension), Qt::MatchExactly).value(0);
    };
    item("mkv")->setCheckState(0, Qt::Checked);
    QTRY_VERIFY_WITH_TIMEOUT(!f.types()->Busy(), 10000);
    QCOMPARE(item("mkv")->text(1), on);
    QVERIFY(FileAssociations::IsExtensionRegistered(QStringLiteral("mkv")));
    QCOMPARE(item("mp3")->text(1), off);

    struct Step {
      int button;
      const char* video;
      const char* audio;
      bool videoOn;
      bool audioOn;
    };
    const Step steps[] = {
        {FileAssocOptions::kRegisterAudio, "mp4", "flac", false, true},
        {FileAssocOptions::kRegisterVideo, "mp4", "flac", true, true},
        {FileAssocOptions::kUnregisterAll, "mkv", "flac", false, false},
        {FileAssocOptions::kRegisterAll, "webm", "opus", true, true},
    };
    for (const Step& step : steps) {
      qobject_cast<QPushButton*>(f.types()->control(step.button))->click();
      QTRY_VERIFY_WITH_TIMEOUT(!f.types()->Busy(), 10000);
      QCOMPARE(item(step.video)->text(1), step.videoOn ? on : off);
      QCOMPARE(item(step.audio)->text(1), step.audioOn ? on : off);
      QCOMPARE(item(step.video)->checkState(0), step.videoOn ? Qt::Checked : Qt::Unchecked);
    }

    // A config folder that cannot be written: the status says so.
    item("mkv")->setCheckState(0, Qt::Unchecked);
    QTRY_VERIFY_WITH_TIMEOUT(!f.types()->Busy(), 10000);
    const QString blocker = home_->WriteFile(QStringLiteral("blocker"), "x");
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(blocker + QStringLiteral("/config")));
    item("mkv")->setCheckState(0, Qt::Checked);
    QTRY_VERIFY_WITH_TIMEOUT(!f.types()->Busy(), 10000);
    QCOMPARE(item("mkv")->text(1), off);
    QCOMPARE(item("mkv")->checkState(0), Qt::Unchecked);
  }

  // Through the main window's command: the modal dialog, switched to Korean
  // and then Japanese, retitles itself, its pages and the open report window
  // at once; Cancel keeps the language. A tip on show follows a switch too.
  void languageSwitchRetitlesOpenWindowsAtOnce() {
    MainWindow* window = test::StartPlayer();
    QVERIFY(window);
    QVERIFY(window->OpenFile(test::PatternClip()));
    window->OnCommand(ID_FILE_INFO);
    QTRY_VERIFY_WITH_TIMEOUT(window->fileInfoWindow(), 20000);
    FileInfoWindow* info = window->fileInfoWindow();

    // Per language: the dialog's title, Save, the first entry, the report's
    // title and its copy button; the first check's text apart.
    std::vector<QStringList> seen;
    QStringList checks;
    test::ModalHandler handler([&](QWidget* modal) {
      auto* dialog = qobject_cast<OptionsDialog*>(modal);
      if (!dialog) return;
      auto* combo = dialog->findChild<QComboBox*>();
      for (const char* id : {"ko", "ja"}) {
        combo->setCurrentIndex(combo->findData(QString::fromLatin1(id)));
        seen.push_back({dialog->windowTitle(), dialog->saveButton()->text(),
                        dialog->pageList()->item(0)->text(), info->windowTitle(),
                        info->copyButton()->text()});
        checks << dialog->findChild<QCheckBox*>()->text();
      }
      dialog->cancelButton()->click();
    });
    window->OnCommand(ID_SETTINGS);
    QCOMPARE(handler.handled(), 1);
    QCOMPARE(seen.size(), size_t{2});
    QCOMPARE(seen[0], (QStringList{u"설정"_qs, u"저장"_qs, u"일반"_qs, u"미디어 정보"_qs,
                                   u"클립보드에 복사"_qs}));
    QCOMPARE(seen[1], (QStringList{u"設定"_qs, u"保存"_qs, u"全般"_qs, u"メディア情報"_qs,
                                   u"クリップボードにコピー"_qs}));
    QVERIFY(!checks.contains(u"Remember window position and size"_qs));
    QVERIFY(checks[0] != checks[1]);
    QCOMPARE(LanguageManager::Instance().GetCurrentLanguage(), QStringLiteral("ja"));

    chrome::TitleBarWindow* bar = window->titleBar();
    QTest::mouseMove(bar, bar->Layout().buttons[chrome::kTitleBarSettings].center());
    QTRY_VERIFY(bar->Tooltip()->IsShown());
    QCOMPARE(bar->Tooltip()->Text(), u"設定"_qs);
    SwitchLanguage(QStringLiteral("ko"));
    QCOMPARE(bar->Tooltip()->Text(), u"설정"_qs);
    QCOMPARE(info->windowTitle(), u"미디어 정보"_qs);
  }

 private:
  std::unique_ptr<test::TempHome> home_;
};

}  // namespace zelvaro

QTEST_MAIN(zelvaro::OptionsDialogTest)
#include "options_dialog_test.moc"
