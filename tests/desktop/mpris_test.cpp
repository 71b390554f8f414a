// The player as an MPRIS client sees it: playerctl (a real client) reads and
// drives it, and a second connection to the private session bus watches the
// signals it sends (Seeked, PropertiesChanged) and calls SetPosition.

#include "app/commands.h"
#include "app/mpris_service.h"
#include "engine/graph_manager.h"
#include "library/playlist_model.h"
#include "tests/app/shell_test_support.h"
#include "tests/support/test_paths.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace zelvaro {
namespace {

constexpr int kWaitMs = 15000;
// What a desktop panel may wait for a pause to show.
constexpr int kAnnounceBudgetMs = 100;
const QString kPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString kPlayer = QStringLiteral("org.mpris.MediaPlayer2.Player");

const QStringList kEpisodes{QStringLiteral("Episode 1.mp4"), QStringLiteral("Episode 2.mp4")};

// Runs playerctl without blocking the event loop, which answers its calls.
QString Playerctl(const QStringList& arguments) {
  QProcess process;
  process.start(QStringLiteral("playerctl"), QStringList{"-p", "zelvaro"} + arguments);
  if (!QTest::qWaitFor([&] { return process.state() == QProcess::NotRunning; }, kWaitMs)) {
    process.kill();
    process.waitForFinished();
    return QStringLiteral("<timed out>");
  }
  return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

// Signals as another program on the bus receives them.
class Observer : public QObject {
  Q_OBJECT
 public:
  Observer() : bus_(QDBusConnection::connectToBus(QDBusConnection::SessionBus, "observer")) {
    bus_.connect(QString(), kPath, kPlayer, QStringLiteral("Seeked"), this,
                 SLOT(OnSeeked(qlonglong)));
    bus_.connect(QString(), kPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                 QStringLiteral("PropertiesChanged"), this,
                 SLOT(OnPropertiesChanged(QString, QVariantMap, QStringList)));
  }
  ~Observer() override { QDBusConnection::disconnectFromBus(QStringLiteral("observer")); }

  // Calls a Player method and waits for its answer; false on an error.
  bool Call(const QString& method, const QVariantList& arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.mpris.MediaPlayer2.zelvaro"), kPath, kPlayer, method);
    call.setArguments(arguments);
    QDBusPendingCallWatcher watcher(bus_.asyncCall(call));
    return QTest::qWaitFor([&] { return watcher.isFinished(); }, kWaitMs) && !watcher.isError();
  }

  QVariantMap Metadata() {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.mpris.MediaPlayer2.zelvaro"), kPath,
        QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    call << kPlayer << QStringLiteral("Metadata");
    QDBusPendingCallWatcher watcher(bus_.asyncCall(call));
    if (!QTest::qWaitFor([&] { return watcher.isFinished(); }, kWaitMs) || watcher.isError()) {
      return {};
    }
    const QVariant value = watcher.reply().arguments().value(0).value<QDBusVariant>().variant();
    return qdbus_cast<QVariantMap>(value.value<QDBusArgument>());
  }

  QList<qlonglong> seeked;
  QList<QVariantMap> playerChanges;

 private slots:
  void OnSeeked(qlonglong positionUs) { seeked << positionUs; }
  void OnPropertiesChanged(const QString& interface, const QVariantMap& changed,
                           const QStringList&) {
    if (interface == kPlayer) playerChanges << changed;
  }

 private:
  QDBusConnection bus_;
};

class MprisTest : public QObject {
  Q_OBJECT
 private slots:
  void init() {
    QVERIFY(player_.Start());
    episodes_ = test::MakeSeries(*player_.home, QStringLiteral("series"), kEpisodes);
    QVERIFY(window_->OpenFile(episodes_.front()));
    QTRY_VERIFY_WITH_TIMEOUT(window_->graph()->GetPosition() > 0.2, kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(window_->playlist()->Items().size(), size_t{2}, kWaitMs);
  }
  void cleanup() { player_.Stop(); }

  void PlayerctlReadsAndDrivesThePlayer() {
    if (QStandardPaths::findExecutable(QStringLiteral("playerctl")).isEmpty()) {
      QSKIP("playerctl is not installed (Debian package playerctl)");
    }
    Observer observer;
    QCOMPARE(Playerctl({"status"}), QStringLiteral("Playing"));
    const QStringList metadata =
        Playerctl({"metadata", "--format", "{{xesam:title}}|{{mpris:length}}|{{xesam:url}}"})
            .split(u'|');
    QCOMPARE(metadata.size(), 3);
    QCOMPARE(metadata[0], QStringLiteral("Episode 1"));
    QVERIFY2(std::abs(metadata[1].toLongLong() - 5'000'000) < 200'000, qPrintable(metadata[1]));
    QCOMPARE(metadata[2], QUrl::fromLocalFile(episodes_.front()).toString(QUrl::FullyEncoded));

    Playerctl({"play-pause"});
    QCOMPARE(window_->graph()->State(), 1);
    QCOMPARE(Playerctl({"status"}), QStringLiteral("Paused"));

    Playerctl({"position", "3"});
    QVERIFY(std::abs(window_->graph()->GetPosition() - 3.0) < 0.3);
    QTRY_COMPARE_WITH_TIMEOUT(observer.seeked.size(), 1, kWaitMs);
    QVERIFY(std::abs(observer.seeked.front() - 3'000'000) < 300'000);

    Playerctl({"volume", "0.3"});
    QCOMPARE(window_->graph()->Volume(), 0.3f);
    QCOMPARE(Playerctl({"volume"}), QStringLiteral("0.300000"));

    Playerctl({"next"});
    QTRY_COMPARE_WITH_TIMEOUT(window_->graph()->CurrentPath(), episodes_[1], kWaitMs);
    QTRY_COMPARE_WITH_TIMEOUT(Playerctl({"metadata", "xesam:title"}), QStringLiteral("Episode 2"),
                              kWaitMs);

    // A tagged file is named by its tags.
    QVERIFY(window_->OpenFile(test::FixturePath("cover_art.mp3")));
    QTRY_COMPARE_WITH_TIMEOUT(
        Playerctl({"metadata", "--format", "{{xesam:title}}|{{xesam:artist}}|{{xesam:album}}"}),
        QStringLiteral("Fixture Tone|Zelvaro Tests|Fixtures"), kWaitMs);
  }

  // A key's pause and volume step, in one turn of the loop: one signal with
  // both, at once.
  void ChangesAreAnnouncedAtOnceAndTogether() {
    Observer observer;
    window_->OnCommand(ID_KEY_VOLUME_DOWN);
    window_->OnCommand(ID_PLAY_PAUSE);
    QTRY_VERIFY_WITH_TIMEOUT(!observer.playerChanges.isEmpty(), kAnnounceBudgetMs);
    const QVariantMap first = observer.playerChanges.front();
    QCOMPARE(first.value(QStringLiteral("PlaybackStatus")).toString(), QStringLiteral("Paused"));
    QVERIFY(first.contains(QStringLiteral("Volume")));
    // The next change comes alone: the ticks in between (a paused player's
    // position and the rest unchanged) said nothing.
    window_->OnCommand(ID_PLAY_PAUSE);
    QTRY_COMPARE_WITH_TIMEOUT(observer.playerChanges.size(), 2, kWaitMs);
    QCOMPARE(observer.playerChanges[1].keys(), QStringList{QStringLiteral("PlaybackStatus")});
  }

  // Every jump is told, whoever makes it; SetPosition obeys only for the
  // current track and a place inside it.
  void JumpsAreToldAndStaleTracksIgnored() {
    Observer observer;
    window_->OnCommand(ID_PLAY_PAUSE);
    QCOMPARE(window_->graph()->State(), 1);
    window_->OnCommand(ID_KEY_SEEK_FORWARD);
    QTRY_COMPARE_WITH_TIMEOUT(observer.seeked.size(), 1, kWaitMs);

    const QString track =
        observer.Metadata().value(QStringLiteral("mpris:trackid")).value<QDBusObjectPath>().path();
    QVERIFY(track.startsWith(u"/org/zelvaro/track/"));
    struct Case {
      const char* name;
      QString trackId;
      qlonglong positionUs;
      double expectedSeconds;
    };
    const Case cases[] = {
        {"current track", track, 1'000'000, 1.0},
        {"stale track", QStringLiteral("/org/zelvaro/track/999"), 4'000'000, 1.0},
        {"past the end", track, 60'000'000, 1.0},
        {"negative", track, -1, 1.0},
        {"current again", track, 2'500'000, 2.5},
    };
    for (const Case& c : cases) {
      QVERIFY2(observer.Call(QStringLiteral("SetPosition"),
                             {QVariant::fromValue(QDBusObjectPath(c.trackId)), c.positionUs}),
               c.name);
      QVERIFY2(std::abs(window_->graph()->GetPosition() - c.expectedSeconds) < 0.3, c.name);
    }
    // The keyed jump and the two obeyed calls.
    QTRY_COMPARE_WITH_TIMEOUT(observer.seeked.size(), 3, kWaitMs);
    QVERIFY(std::abs(observer.seeked.last() - 2'500'000) < 300'000);
  }

  // A clock reading against the last: only a position the playing could not
  // have reached is a jump, however late the picture runs.
  void JumpsAreToldFromStallsAndJitter() {
    const auto view = [](qint64 positionUs, bool running, double rate = 1.0) {
      MprisView v;
      v.positionUs = positionUs;
      v.running = running;
      v.rate = rate;
      return v;
    };
    struct Case {
      const char* name;
      MprisView before, now;
      qint64 elapsedUs;
      bool jumped;
    } cases[] = {
        {"on time", view(10'000'000, true), view(10'250'000, true), 250'000, false},
        {"stalled for seconds", view(10'000'000, true), view(10'000'000, true), 4'000'000, false},
        {"a frame behind the last", view(10'000'000, true), view(9'960'000, true), 2'000'000,
         false},
        {"forward", view(10'000'000, true), view(15'250'000, true), 250'000, true},
        {"back past the last", view(10'000'000, true), view(8'900'000, true), 250'000, true},
        {"back within a slow look", view(10'000'000, true), view(9'500'000, true), 4'000'000, true},
        {"twice as fast", view(10'000'000, true, 2.0), view(14'000'000, true), 2'000'000, false},
        {"paused and still", view(10'000'000, false), view(10'000'000, false), 4'000'000, false},
        {"paused and moved", view(10'000'000, false), view(10'040'000, false), 250'000, true},
    };
    for (const Case& c : cases) {
      QVERIFY2(PositionJumped(c.before, c.now, c.elapsedUs) == c.jumped, c.name);
    }
  }

 private:
  test::PlayerFixture player_;
  MainWindow*& window_ = player_.window;
  QStringList episodes_;
};

}  // namespace
}  // namespace zelvaro

QTEST_MAIN(zelvaro::MprisTest)
#include "mpris_test.moc"
