// The settings store: the reader rules callers depend on, what reaches the
// file, damaged files, and two processes writing at once.

#include "foundation/settings.h"
#include "foundation/setting_names.h"
#include "foundation/settings_document.h"
#include "tests/support/child_process.h"
#include "tests/support/read_file.h"
#include "tests/support/temp_home.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <thread>

#include <signal.h>

namespace zelvaro {
namespace {

class SettingsTest : public testing::Test {
 protected:
  // Writes the store's file by hand, as another program or an old version would.
  void WriteStoreFile(const QByteArray& text) {
    QDir().mkpath(QFileInfo(Settings::StoreFilePath()).absolutePath());
    QFile file(Settings::StoreFilePath());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
  }

  test::TempHome home_;
};

TEST_F(SettingsTest, FreshInstallReadsNothingAndCreatesNothing) {
  uint32_t volume = 50;
  QString language = QStringLiteral("untouched");
  EXPECT_FALSE(Settings::GetDword(setting::kVolume, &volume));
  EXPECT_FALSE(Settings::GetString(setting::kLanguage, &language));
  EXPECT_FALSE(Settings::GetBackupString(u".mkv", &language));
  EXPECT_EQ(volume, 50u);
  EXPECT_EQ(language, QStringLiteral("untouched"));
  EXPECT_FALSE(QFileInfo::exists(QFileInfo(Settings::StoreFilePath()).absolutePath()));
}

TEST_F(SettingsTest, ValuesRoundTripWithTheirTypesKeptApart) {
  ASSERT_TRUE(Settings::SetDword(setting::kWindowX, static_cast<uint32_t>(-120)));
  ASSERT_TRUE(Settings::SetString(setting::kLanguage, u"ko"));
  uint32_t x = 0;
  QString text;
  ASSERT_TRUE(Settings::GetDword(setting::kWindowX, &x));
  EXPECT_EQ(static_cast<int32_t>(x), -120);
  ASSERT_TRUE(Settings::GetString(setting::kLanguage, &text));
  EXPECT_EQ(text, QStringLiteral("ko"));

  // A value of the other type reads as absent and leaves the variable alone.
  uint32_t preset = 7;
  QString presetText = QStringLiteral("keep");
  EXPECT_FALSE(Settings::GetDword(setting::kLanguage, &preset));
  EXPECT_FALSE(Settings::GetString(setting::kWindowX, &presetText));
  EXPECT_EQ(preset, 7u);
  EXPECT_EQ(presetText, QStringLiteral("keep"));

  // A stored 0 is a real value, not a default.
  ASSERT_TRUE(Settings::SetDword(setting::kSubOutline, 0));
  uint32_t outline = 25;
  EXPECT_TRUE(Settings::GetDword(setting::kSubOutline, &outline));
  EXPECT_EQ(outline, 0u);

  // Names compare with case ignored, as the values always have.
  uint32_t sameX = 0;
  EXPECT_TRUE(Settings::GetDword(u"windowx", &sameX));
  EXPECT_EQ(sameX, x);
  // An empty name is refused rather than written as a line no reader takes.
  EXPECT_FALSE(Settings::SetDword(u"", 1));
  EXPECT_TRUE(Settings::GetDword(setting::kWindowX, &sameX));
}

TEST_F(SettingsTest, MainStringsStopAt511CharactersBackupStringsDoNot) {
  const QString fits(511, QLatin1Char('a'));
  const QString tooLong(512, QLatin1Char('b'));
  ASSERT_TRUE(Settings::SetString(setting::kWelcomeMsg, fits));
  ASSERT_TRUE(Settings::SetString(setting::kInstallPath, tooLong));
  QString value = QStringLiteral("default");
  EXPECT_TRUE(Settings::GetString(setting::kWelcomeMsg, &value));
  EXPECT_EQ(value, fits);
  value = QStringLiteral("default");
  EXPECT_FALSE(Settings::GetString(setting::kInstallPath, &value));
  EXPECT_EQ(value, QStringLiteral("default"));

  const QString longBackup(5000, QChar(0xD55C));  // 한 x 5000
  ASSERT_TRUE(Settings::SetBackupString(u".mkv", longBackup));
  EXPECT_TRUE(Settings::GetBackupString(u".mkv", &value));
  EXPECT_EQ(value, longBackup);
}

TEST_F(SettingsTest, TextSurvivesTheFileWhateverItHolds) {
  const QString tricky =
      QStringLiteral("\"quoted\" back\\slash\nnew line\ttab = \u00e9\u4e2d\U0001F3B5 ");
  ASSERT_TRUE(Settings::SetString(setting::kWelcomeMsg, tricky));
  ASSERT_TRUE(Settings::SetBackupString(u" odd=name[#", tricky));
  QString value;
  ASSERT_TRUE(Settings::GetString(setting::kWelcomeMsg, &value));
  EXPECT_EQ(value, tricky);
  ASSERT_TRUE(Settings::GetBackupString(u" odd=name[#", &value));
  EXPECT_EQ(value, tricky);
  // The file must still parse as a whole after holding such text.
  EXPECT_TRUE(SettingsDocument::Parse(test::ReadFileBytes(Settings::StoreFilePath())).has_value());
}

TEST_F(SettingsTest, ReaderRulesApplyToValuesWrittenByOthers) {
  ASSERT_TRUE(Settings::SetDword(setting::kVolume, 10));
  uint32_t number = 0;
  ASSERT_TRUE(Settings::GetDword(setting::kVolume, &number));
  // Written after a read: the next read sees it.
  WriteStoreFile(
      "[Zelvaro]\n"
      "Volume=dword:77\n"
      "Language=expand_sz:\"$HOME/ko\"\n"
      "NoTerminator=sz:hex:6b006f00\n"
      "OddLength=sz:hex:6b006f0000\n"
      "Empty=sz:hex:\n"
      "EarlyNul=sz:hex:6b0000006f000000\n"
      "Small=binary:01000000\n"
      "[Backup]\n"
      ".avi=sz:hex:\n"
      ".mp4=sz:hex:0000\n");
  ASSERT_TRUE(Settings::GetDword(setting::kVolume, &number));
  EXPECT_EQ(number, 77u);
  QString value;
  ASSERT_TRUE(Settings::GetString(setting::kLanguage, &value));
  EXPECT_EQ(value, QStringLiteral("$HOME/ko"));  // accepted, never expanded
  value = QStringLiteral("kept");
  EXPECT_FALSE(Settings::GetString(u"NoTerminator", &value));
  EXPECT_FALSE(Settings::GetString(u"OddLength", &value));
  EXPECT_EQ(value, QStringLiteral("kept"));
  EXPECT_TRUE(Settings::GetString(u"Empty", &value));
  EXPECT_TRUE(value.isEmpty());
  EXPECT_TRUE(Settings::GetString(u"EarlyNul", &value));
  EXPECT_EQ(value, QStringLiteral("k"));
  number = 9;
  EXPECT_FALSE(Settings::GetDword(u"Small", &number));  // binary never passes for a DWORD
  EXPECT_EQ(number, 9u);
  EXPECT_FALSE(Settings::GetBackupString(u".avi", &value));  // no characters at all
  EXPECT_TRUE(Settings::GetBackupString(u".mp4", &value));
  EXPECT_TRUE(value.isEmpty());
}

TEST_F(SettingsTest, BackupValuesAreDeletedOnlyWhenPresent) {
  ASSERT_TRUE(Settings::SetBackupString(u".mkv", u"Old.Player.mkv"));
  ASSERT_TRUE(Settings::SetString(setting::kLanguage, u"ja"));
  EXPECT_TRUE(Settings::DeleteBackupValue(u".MKV"));
  EXPECT_FALSE(Settings::DeleteBackupValue(u".mkv"));
  QString value;
  EXPECT_FALSE(Settings::GetBackupString(u".mkv", &value));
  EXPECT_TRUE(Settings::GetString(setting::kLanguage, &value));  // the main scope is untouched
  // The two scopes do not see each other's values.
  EXPECT_FALSE(Settings::GetBackupString(setting::kLanguage, &value));
}

TEST_F(SettingsTest, DamagedFileMeansDefaultsAndIsKeptAsideOnTheNextWrite) {
  const QByteArray damaged = "[Zelvaro]\nVolume=dword:80\n\xff\xfe\n";  // not UTF-8
  WriteStoreFile(damaged);
  uint32_t volume = 50;
  EXPECT_FALSE(Settings::GetDword(setting::kVolume, &volume));
  EXPECT_EQ(volume, 50u);

  ASSERT_TRUE(Settings::SetDword(setting::kMuted, 1));
  const QFileInfo store(Settings::StoreFilePath());
  const QStringList aside =
      store.dir().entryList({store.fileName() + QStringLiteral(".damaged-*")});
  ASSERT_EQ(aside.size(), 1);
  EXPECT_EQ(test::ReadFileBytes(store.dir().filePath(aside.front())), damaged);  // byte for byte
  uint32_t muted = 0;
  EXPECT_TRUE(Settings::GetDword(setting::kMuted, &muted));
  EXPECT_FALSE(Settings::GetDword(setting::kVolume, &volume));
}

// One bad line among twenty values costs that line only, and a write keeps
// it for whoever wrote it.
TEST_F(SettingsTest, AnUnreadableLineIsSkippedAndKept) {
  QByteArray text = "[Zelvaro]\n";
  for (int i = 0; i < 20; ++i) {
    text += i == 7 ? QByteArray("Value7=qword:12 <- edited by hand\n")
                   : "Value" + QByteArray::number(i) + "=dword:" + QByteArray::number(i * 3) + '\n';
  }
  WriteStoreFile(text);
  auto readAll = [] {
    int readable = 0;
    for (int i = 0; i < 20; ++i) {
      uint32_t value = 0;
      if (Settings::GetDword(QStringLiteral("Value%1").arg(i), &value) && value == i * 3u)
        ++readable;
    }
    return readable;
  };
  EXPECT_EQ(readAll(), 19);
  ASSERT_TRUE(Settings::SetDword(setting::kMuted, 1));
  EXPECT_EQ(readAll(), 19);
  EXPECT_TRUE(test::ReadFileBytes(Settings::StoreFilePath())
                  .contains("\nValue7=qword:12 <- edited by hand\n"));
  const QFileInfo store(Settings::StoreFilePath());
  EXPECT_TRUE(store.dir().entryList({QStringLiteral("*.damaged-*")}).isEmpty());
}

// Each unreadable line is skipped, goes back into the section it stood in,
// and a second round trip changes nothing.
TEST(SettingsDocumentTest, UnreadableLinesAreSkippedAndKeptInTheirSection) {
  const char* bad[] = {
      "Volume=dword:1",  // before any section
      "Volume=dword:-1",
      "Volume=dword:4294967296",
      "Volume=dword:",
      "Volume=qword:1",
      "Name=sz:\"unterminated",
      "Name=sz:\"a\"b\"",
      "Name=sz:\"bad \\q escape\"",
      "Blob=binary:abc",
      "=dword:1",
      "no equals sign",
  };
  for (const char* line : bad) {
    const bool outside = std::strcmp(line, bad[0]) == 0;
    const QByteArray text = outside ? QByteArray(line) + "\n[Zelvaro]\nGood=dword:2\n"
                                    : "[Zelvaro]\n" + QByteArray(line) + "\nGood=dword:2\n";
    auto document = SettingsDocument::Parse(text);
    ASSERT_TRUE(document.has_value()) << line;
    ASSERT_NE(document->Find(SettingScope::Main, u"Good"), nullptr) << line;
    EXPECT_EQ(document->Find(SettingScope::Main, u"Volume"), nullptr) << line;
    const QByteArray written = document->Serialize();
    EXPECT_TRUE(written.contains('\n' + QByteArray(line) + '\n')) << written.toStdString();
    EXPECT_EQ(outside, written.indexOf(line) < written.indexOf("[Zelvaro]")) << line;
    EXPECT_EQ(SettingsDocument::Parse(written)->Serialize(), written) << line;
  }
  // What an unknown section holds stays out of ours.
  auto other = SettingsDocument::Parse("[Zelvaro]\nA=dword:1\n[Other]\nB=dword:2\n");
  ASSERT_TRUE(other.has_value());
  EXPECT_EQ(other->Find(SettingScope::Main, u"B"), nullptr);
  EXPECT_EQ(other->KeptLineCount(), 2);
  EXPECT_FALSE(SettingsDocument::Parse("[Zelvaro]\nA=dword:1\n\xc3\x28\n").has_value());
  EXPECT_TRUE(
      SettingsDocument::Parse("# comment\r\n\r\n[Zelvaro]\r\nA=dword:0x10\r\n").has_value());
}

// Whatever the program stores must come back identical after a save and a
// load; random names, text and bytes find the escaping mistakes.
TEST(SettingsDocumentTest, RandomDocumentsSurviveSerialization) {
  QRandomGenerator random(20261121);
  auto randomText = [&random](int maxLength) {
    QString text;
    const int length = static_cast<int>(random.bounded(maxLength + 1));
    for (int i = 0; i < length; ++i) {
      const char16_t pool[] = {u'a',  u'=',   u'"',   u'\\',  u'[',   u'#',   u' ',   u'\n', u'\r',
                               u'\t', 0x0000, 0x00e9, 0xD55C, 0xD83C, 0xDFB5, 0xFFFF, u'u',  u'0'};
      text.append(QChar(pool[random.bounded(static_cast<quint32>(std::size(pool)))]));
    }
    return text;
  };
  for (int round = 0; round < 200; ++round) {
    SettingsDocument document;
    for (int i = 0; i < 8; ++i) {
      QString name = randomText(6);
      if (name.isEmpty()) name = QStringLiteral("n");
      const auto scope = random.bounded(2) ? SettingScope::Main : SettingScope::Backup;
      switch (random.bounded(4)) {
        case 0:
          document.Set(scope, name, StoredValue::Dword(random.generate()));
          break;
        case 1:
          document.Set(scope, name, StoredValue::String(randomText(20)));
          break;
        case 2: {
          QByteArray bytes(static_cast<int>(random.bounded(9)), '\0');
          for (char& b : bytes) b = static_cast<char>(random.bounded(256));
          document.Set(scope, name, StoredValue{SettingType::ExpandString, bytes});
          break;
        }
        default:
          document.Set(scope, name, StoredValue{SettingType::Binary, QByteArray("\x00\x01", 2)});
      }
    }
    const QByteArray text = document.Serialize();
    auto parsed = SettingsDocument::Parse(text);
    ASSERT_TRUE(parsed.has_value()) << text.toStdString();
    EXPECT_EQ(parsed->Serialize(), text);
  }
}

// Two players writing at once: each child process is this binary running the
// Writer case below with its own prefix.
constexpr char kWriterPrefixVariable[] = "ZELVARO_SETTINGS_WRITER_PREFIX";
constexpr int kWritesPerProcess = 300;

TEST(SettingsStressTest, Writer) {
  const QByteArray prefix = qgetenv(kWriterPrefixVariable);
  if (prefix.isEmpty()) GTEST_SKIP() << "runs only as a child of TwoProcessesLoseNothing";
  for (int i = 0; i < kWritesPerProcess; ++i) {
    ASSERT_TRUE(Settings::SetDword(QString::fromLatin1(prefix) + QString::number(i), i));
  }
}

TEST(SettingsStressTest, TwoProcessesLoseNothing) {
  test::TempHome home;
  std::vector<std::unique_ptr<QProcess>> writers;
  for (const char* prefix : {"First", "Second"}) {
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QString::fromLatin1(kWriterPrefixVariable), QString::fromLatin1(prefix));
    environment.insert(QStringLiteral("ZELVARO_TEST_SHARED_HOME"), QStringLiteral("1"));
    process->setProcessEnvironment(environment);
    process->setProcessChannelMode(QProcess::ForwardedChannels);
    process->start(QCoreApplication::applicationFilePath(),
                   {QStringLiteral("--gtest_filter=SettingsStressTest.Writer")});
    writers.push_back(std::move(process));
  }
  for (auto& process : writers) {
    ASSERT_TRUE(process->waitForFinished(120000));
    EXPECT_EQ(process->exitCode(), 0);
  }
  for (const QString& prefix : {QStringLiteral("First"), QStringLiteral("Second")}) {
    for (int i = 0; i < kWritesPerProcess; ++i) {
      uint32_t value = 0xFFFFFFFF;
      ASSERT_TRUE(Settings::GetDword(prefix + QString::number(i), &value))
          << prefix.toStdString() << i;
      EXPECT_EQ(value, static_cast<uint32_t>(i));
    }
  }
  const QFileInfo store(Settings::StoreFilePath());
  EXPECT_TRUE(
      store.dir().entryList({QStringLiteral("*.damaged-*"), QStringLiteral("*.tmp-*")}).isEmpty());
}

// A player killed (SIGKILL) at random moments of a settings write: after
// each kill the file reads whole, the value being written is the old one or
// the new one, never a part, every other value is untouched, and the next
// write leaves no temporary file of the dead writer behind.
TEST(SettingsKillTest, KilledAtRandomMomentsTheFileIsOldOrNewNeverAMix) {
  test::TempHome home;
  constexpr int kRounds = 100;
  // Big enough that a write takes a while, so kills land inside one.
  constexpr int kBigChars = 50000;
  const QString bigA(kBigChars, u'A');
  const QString bigB(kBigChars, u'B');
  ASSERT_TRUE(Settings::SetDword(u"Untouched", 1234));
  ASSERT_TRUE(Settings::SetBackupString(u"Big", bigA));
  QRandomGenerator random(20261124);
  int killsMidWrite = 0;
  for (int round = 0; round < kRounds; ++round) {
    int channel[2];
    ASSERT_EQ(::pipe(channel), 0);
    const pid_t child = test::ForkChild([&] {
      ::close(channel[0]);
      for (int write = 0;; ++write) {
        if (!Settings::SetBackupString(u"Big", write % 2 == 0 ? bigB : bigA)) return 10;
        test::WriteByte(channel[1], 'W');
      }
    });
    ::close(channel[1]);
    // Two writes to learn how long one takes, then a kill somewhere inside one.
    ASSERT_EQ(test::ReadByte(channel[0], 30000), 'W');
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(test::ReadByte(channel[0], 30000), 'W');
    const auto writeTime = std::chrono::steady_clock::now() - start;
    std::this_thread::sleep_for(writeTime * random.bounded(1000) / 1000);
    ::kill(child, SIGKILL);
    ASSERT_EQ(test::WaitForExit(child), -SIGKILL) << "round " << round;
    ::close(channel[0]);
    const QFileInfo store(Settings::StoreFilePath());
    if (!store.dir().entryList({QStringLiteral("*.tmp-*")}).isEmpty()) ++killsMidWrite;

    QString big;
    ASSERT_TRUE(Settings::GetBackupString(u"Big", &big)) << "round " << round;
    EXPECT_TRUE(big == bigA || big == bigB) << "round " << round << ": " << big.size() << " chars";
    EXPECT_EQ(Settings::GetDwordOr(u"Untouched", 0), 1234u) << "round " << round;
  }
  RecordProperty("KillsMidWrite", killsMidWrite);
  // The restarted player's next write clears what the dead ones left.
  ASSERT_TRUE(Settings::SetDword(u"Untouched", 1234));
  const QFileInfo store(Settings::StoreFilePath());
  const QStringList leftOver =
      store.dir().entryList({QStringLiteral("*.damaged-*"), QStringLiteral("*.tmp-*")});
  EXPECT_TRUE(leftOver.isEmpty()) << leftOver.join(u' ').toStdString();
}

}  // namespace
}  // namespace zelvaro
