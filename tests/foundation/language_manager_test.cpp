// LanguageManager: which files are listed, how a file is read, which language
// is chosen at start, and the shipped language files themselves.

#include "foundation/language_manager.h"
#include "foundation/media_types.h"
#include "foundation/setting_names.h"
#include "foundation/settings.h"
#include "tests/support/temp_home.h"
#include "tests/support/test_paths.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <set>

namespace zelvaro {
namespace {

QByteArray LanguageFile(const char* id, const char* name, const QByteArray& body = {}) {
  return QByteArray("[Language]\nId=") + id + "\nName=" + name + "\n" + body;
}

class LanguageManagerTest : public testing::Test {
 protected:
  LanguageManagerTest() { Manager().ResetForTesting(); }
  ~LanguageManagerTest() override { Manager().ResetForTesting(); }

  static LanguageManager& Manager() { return LanguageManager::Instance(); }
  QString BaseDir() const { return home_.Root() + QStringLiteral("/res/"); }
  QString AddFile(const QString& name, const QByteArray& bytes) {
    return home_.WriteFile(QStringLiteral("res/Language/") + name, bytes);
  }
  std::set<QString> ListedIds() {
    Manager().Initialize(BaseDir(), QLocale::English);
    std::set<QString> ids;
    for (const LanguageInfo& info : Manager().GetLanguages()) ids.insert(info.Id);
    return ids;
  }

  test::TempHome home_;
};

TEST_F(LanguageManagerTest, OnlyCompleteFilesWithinTheSizeLimitAreListed) {
  QByteArray atLimit = LanguageFile("at", "At limit", "[OSD]\nPlay=");
  atLimit += QByteArray(65536 - atLimit.size(), 'x');
  QByteArray overLimit = LanguageFile("over", "Over", "[OSD]\nPlay=");
  overLimit += QByteArray(65537 - overLimit.size(), 'x');
  AddFile(QStringLiteral("at.ini"), atLimit);
  AddFile(QStringLiteral("over.ini"), overLimit);
  AddFile(QStringLiteral("idonly.ini"), "[Language]\nId=idonly\n");
  AddFile(QStringLiteral("nameonly.ini"), "[Language]\nName=Name only\n");
  AddFile(QStringLiteral("indented.ini"),
          "\xEF\xBB\xBF  \t[Language]  \r\n Id = indented\r\nName=Indented\r\n");
  AddFile(QStringLiteral("late.ini"), "[OSD]\nPlay=x\n[Language]\nName=Late\nId=late\n");
  AddFile(QStringLiteral("cut.ini"), "[Language]\nId=cut\n[OSD]\nName=Not the language name\n");
  AddFile(QStringLiteral("empty.ini"), "");
  AddFile(QStringLiteral("bomonly.ini"), "\xEF\xBB\xBF");
  AddFile(QStringLiteral("notini.txt"), LanguageFile("txt", "Text"));
  EXPECT_EQ(ListedIds(), (std::set<QString>{QStringLiteral("at"), QStringLiteral("indented"),
                                            QStringLiteral("late")}));
}

TEST_F(LanguageManagerTest, LinesAreReadByTheFileRules) {
  const QString path = AddFile(QStringLiteral("en.ini"),
                               "Orphan=before any section\r\n"
                               "[Language]\rId=en\rName=English\r"
                               "[OSD]\n"
                               "Play=Playing\n"
                               "  ;x=1\n"
                               ";Comment=ignored\n"
                               "#Also=ignored\n"
                               "=no name\n"
                               "Equation = a=b  \n"
                               "Multi=one\\ntwo\\tthree\n"
                               "Odd=back\\\\n\n"
                               "NoEquals\n"
                               "Play=Replaced later\n"
                               "[ Spaced ]\n"
                               "Key=\tvalue with tab\n");
  ASSERT_TRUE(Manager().LoadLanguageFile(path));
  EXPECT_EQ(Manager().Lookup(u"OSD.Play"), QStringLiteral("Replaced later"));
  EXPECT_EQ(Manager().Lookup(u"OSD.;x"), QStringLiteral("1"));  // indented ';' is data
  EXPECT_EQ(Manager().Lookup(u"OSD.;Comment"), QStringLiteral("OSD.;Comment"));
  EXPECT_EQ(Manager().Lookup(u"OSD."), QStringLiteral("no name"));
  EXPECT_EQ(Manager().Lookup(u"OSD.Equation"), QStringLiteral("a=b"));
  EXPECT_EQ(Manager().Lookup(u"OSD.Multi"), QStringLiteral("one\ntwo\tthree"));
  EXPECT_EQ(Manager().Lookup(u"OSD.Odd"), QStringLiteral("back\\\n"));
  EXPECT_EQ(Manager().Lookup(u" Spaced .Key"), QStringLiteral("value with tab"));
  EXPECT_EQ(Manager().Lookup(u"Language.Id"), QStringLiteral("en"));
  EXPECT_EQ(Manager().Lookup(u".Orphan"), QStringLiteral(".Orphan"));
  EXPECT_EQ(Manager().Lookup(u"Menu.Missing"), QStringLiteral("Menu.Missing"));
  // A file that fails to load keeps the previous table.
  EXPECT_FALSE(Manager().LoadLanguageFile(AddFile(QStringLiteral("bom.ini"), "\xEF\xBB\xBF")));
  EXPECT_FALSE(Manager().LoadLanguageFile(home_.Root() + QStringLiteral("/missing.ini")));
  EXPECT_EQ(Manager().Lookup(u"OSD.Equation"), QStringLiteral("a=b"));
}

TEST_F(LanguageManagerTest, StartUpChoosesSettingThenSystemThenEnglishThenFirst) {
  AddFile(QStringLiteral("en.ini"), LanguageFile("en", "English", "[OSD]\nPlay=Play\n"));
  AddFile(QStringLiteral("ko.ini"), LanguageFile("ko", "Korean", "[OSD]\nPlay=재생\n"));
  AddFile(QStringLiteral("ja.ini"), LanguageFile("ja", "Japanese", "[OSD]\nPlay=再生\n"));

  Manager().Initialize(BaseDir(), QLocale::Korean);
  EXPECT_EQ(Manager().GetCurrentLanguage(), QStringLiteral("ko"));
  EXPECT_EQ(LanguageManager::GetString(u"OSD.Play"), QStringLiteral("재생"));
  Manager().Initialize(BaseDir(), QLocale::Japanese);  // once only
  EXPECT_EQ(Manager().GetCurrentLanguage(), QStringLiteral("ko"));

  Manager().ResetForTesting();
  ASSERT_TRUE(Settings::SetString(setting::kLanguage, u"ja"));
  Manager().Initialize(BaseDir(), QLocale::Korean);
  EXPECT_EQ(Manager().GetCurrentLanguage(), QStringLiteral("ja"));

  // A saved id without a file: the system language rules and the setting stays.
  Manager().ResetForTesting();
  ASSERT_TRUE(Settings::SetString(setting::kLanguage, u"fr"));
  Manager().Initialize(BaseDir(), QLocale::German);
  EXPECT_EQ(Manager().GetCurrentLanguage(), QStringLiteral("en"));
  EXPECT_EQ(Settings::GetStringOr(setting::kLanguage, QString()), QStringLiteral("fr"));
}

TEST_F(LanguageManagerTest, WithoutEnglishTheFirstFileIsTakenAndWithoutFilesKeysShow) {
  AddFile(QStringLiteral("de.ini"), LanguageFile("de", "Deutsch", "[OSD]\nPlay=Wiedergabe\n"));
  Manager().Initialize(BaseDir(), QLocale::French);
  EXPECT_EQ(Manager().GetCurrentLanguage(), QStringLiteral("de"));
  // The one built-in text: a face for the interface when the file names none.
  EXPECT_FALSE(LanguageManager::GetString(u"App.FontName").isEmpty());
  EXPECT_NE(LanguageManager::GetString(u"App.FontName"), QStringLiteral("App.FontName"));

  Manager().ResetForTesting();
  QFile::remove(BaseDir() + QStringLiteral("Language/de.ini"));
  Manager().Initialize(BaseDir(), QLocale::French);
  EXPECT_EQ(Manager().GetCurrentLanguage(), QStringLiteral("en"));
  EXPECT_EQ(LanguageManager::GetString(u"OSD.Play"), QStringLiteral("OSD.Play"));
  EXPECT_EQ(MediaFilter().size(), 4);  // built from keys, still usable
}

TEST_F(LanguageManagerTest, SwitchingLanguageReloadsSavesAndRebuildsTheFilters) {
  AddFile(QStringLiteral("en.ini"),
          LanguageFile("en", "English", "[FileDialog]\nAllFiles=All files\nAllMedia=All media\n"));
  AddFile(QStringLiteral("ko.ini"),
          LanguageFile("ko", "Korean", "[FileDialog]\nAllFiles=모든 파일\n"));
  Manager().Initialize(BaseDir(), QLocale::English);
  EXPECT_TRUE(MediaFilter().front().startsWith(QStringLiteral("All media (*.mkv *.mka ")));
  EXPECT_EQ(MediaFilter().back(), QStringLiteral("All files (*)"));

  Manager().SetLanguage(QStringLiteral("xx"));  // unknown: nothing changes
  EXPECT_EQ(Manager().GetCurrentLanguage(), QStringLiteral("en"));
  EXPECT_FALSE(Settings::GetStringOr(setting::kLanguage, QString()) == QStringLiteral("xx"));

  Manager().SetLanguage(QStringLiteral("ko"));
  EXPECT_EQ(Manager().GetCurrentLanguage(), QStringLiteral("ko"));
  EXPECT_EQ(Settings::GetStringOr(setting::kLanguage, QString()), QStringLiteral("ko"));
  EXPECT_EQ(MediaFilter().back(), QStringLiteral("모든 파일 (*)"));
  EXPECT_EQ(SubtitleFilter().back(), QStringLiteral("모든 파일 (*)"));
  EXPECT_EQ(LanguageManager::GetString(u"FileDialog.AllMedia"),
            QStringLiteral("FileDialog.AllMedia"));
}

TEST_F(LanguageManagerTest, OfTwoFilesWithOneIdTheFirstListedWins) {
  AddFile(QStringLiteral("a.ini"), LanguageFile("en", "English A", "[OSD]\nPlay=A\n"));
  AddFile(QStringLiteral("b.ini"), LanguageFile("en", "English B", "[OSD]\nPlay=B\n"));
  Manager().Initialize(BaseDir(), QLocale::English);
  const auto languages = Manager().GetLanguages();
  ASSERT_EQ(languages.size(), 2u);
  EXPECT_EQ(LanguageManager::GetString(u"OSD.Play"), languages.front().Name.right(1));
}

// --- The shipped language files -------------------------------------------

QString ShippedLanguageDir() {
  return test::SourceDir() + QStringLiteral("/Language/");
}

std::map<QString, QString> LoadShipped(const QString& id) {
  LanguageManager& manager = LanguageManager::Instance();
  manager.ResetForTesting();
  test::TempHome home;
  manager.Initialize(test::SourceDir(), QLocale::English);
  manager.SetLanguage(id);
  std::map<QString, QString> table;
  QFile file(ShippedLanguageDir() + id + QStringLiteral(".ini"));
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << id.toStdString();
  QString section;
  for (const QByteArray& raw : file.readAll().split('\n')) {
    const QString line = QString::fromUtf8(raw).trimmed();
    if (line.startsWith(u'[')) section = line.mid(1, line.size() - 2);
    const qsizetype equals = line.indexOf(u'=');
    if (line.startsWith(u';') || equals <= 0 || section.isEmpty()) continue;
    const QString key = section + u'.' + line.left(equals).trimmed();
    table[key] = manager.Lookup(key);
  }
  manager.ResetForTesting();
  return table;
}

// printf conversions in order, so a translation cannot reorder or drop one.
QStringList Conversions(const QString& text) {
  static const QRegularExpression conversion(
      QStringLiteral("%[-+ #0]*[0-9]*(?:\\.[0-9]+)?(?:l|ll|h)?[a-zA-Z%]"));
  QStringList found;
  for (const auto& match : conversion.globalMatch(text)) found << match.captured();
  return found;
}

// Every "Section.Name" the code asks for is in English, and the other two
// have every English key with the same printf conversions, so no label ever
// shows a bare key and no translation reorders or drops a conversion.
TEST(ShippedLanguagesTest, AllThreeHoldEveryKeyOfTheCodeWithItsPlaceholders) {
  const auto english = LoadShipped(QStringLiteral("en"));
  ASSERT_GT(english.size(), 250u);
  std::set<QString> sections;
  for (const auto& [key, text] : english) sections.insert(key.section(u'.', 0, 0));
  const QRegularExpression literal(QStringLiteral("\"([A-Za-z]+)\\.([A-Za-z0-9_]+)\""));
  int asked = 0;
  for (const QString& folder :
       {QStringLiteral("app"), QStringLiteral("engine"), QStringLiteral("subtitles"),
        QStringLiteral("lyrics"), QStringLiteral("library"), QStringLiteral("chrome"),
        QStringLiteral("panels"), QStringLiteral("foundation"), QStringLiteral("update")}) {
    QDirIterator it(test::SourceDir() + u'/' + folder,
                    {QStringLiteral("*.cpp"), QStringLiteral("*.h")}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
      QFile file(it.next());
      if (!file.open(QIODevice::ReadOnly)) continue;
      for (const auto& match : literal.globalMatch(QString::fromUtf8(file.readAll()))) {
        if (sections.count(match.captured(1)) == 0) continue;
        const QString key = match.captured(1) + u'.' + match.captured(2);
        EXPECT_EQ(english.count(key), 1u) << "en.ini lacks " << key.toStdString();
        ++asked;
      }
    }
  }
  EXPECT_GT(asked, 0);
  for (const QString& id : {QStringLiteral("ko"), QStringLiteral("ja")}) {
    const auto other = LoadShipped(id);
    for (const auto& [key, text] : english) {
      auto it = other.find(key);
      ASSERT_NE(it, other.end()) << id.toStdString() << " lacks " << key.toStdString();
      EXPECT_NE(it->second, key) << id.toStdString() << " does not load " << key.toStdString();
      // Only format keys go through printf; "30% of screen" is plain text.
      if (!key.contains(QStringLiteral("Format"))) continue;
      EXPECT_EQ(Conversions(it->second), Conversions(text))
          << id.toStdString() << " " << key.toStdString();
    }
    EXPECT_EQ(other.size(), english.size()) << id.toStdString();
  }
}

}  // namespace
}  // namespace zelvaro
