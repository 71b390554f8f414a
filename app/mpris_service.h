#pragma once
// MprisService: the player on the session bus as org.mpris.MediaPlayer2.zelvaro
// (object /org/mpris/MediaPlayer2), the door through which a Linux desktop's
// panel, lock screen, media keys and tools such as playerctl reach a player.
// It publishes the root and Player interfaces (mpris_adaptors.h).
//
// Interface thread only: QtDBus delivers the calls there, and every call goes
// through MainWindow::OnCommand or the window's own operations, so a command
// from the bus does what the same command from a key does. Qt sends no
// PropertiesChanged for adaptors: Refresh compares the player with what was
// last announced and queues the differences, sent as one signal per interface
// when control returns to the event loop, so a burst of changes is one
// message. Seeked goes out for every jump of the position, whoever made it
// (bar, key, A-B loop or the bus).
//
// The title, artist and album are the tags the playing graph has seen; a
// cover is written to a file of the runtime directory on a detached worker,
// which reports back through a WorkerMailbox, for mpris:artUrl, and is
// removed with the service. The service borrows the window, which outlives
// it.

#include "app/worker_mailbox.h"
#include "engine/input_tags.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantMap>

#include <memory>

namespace zelvaro {

class MainWindow;
class MprisPlayerAdaptor;

// What the two interfaces show at one moment; Position stands apart because
// MPRIS clients follow it by Seeked and the rate, never by PropertiesChanged.
struct MprisView {
  QVariantMap root;
  QVariantMap player;
  qint64 positionUs = 0;
  QString trackId;
  bool running = false;  // the position moves by itself
  double rate = 1.0;
};

// Whether the position moved other than by playing between two looks, when
// `elapsedUs` apart on the same track. A position that falls behind the
// clock without going back (a stall, a slow decoder, a late frame) is no
// jump: clients would draw a seek the user never made.
bool PositionJumped(const MprisView& before, const MprisView& now, qint64 elapsedUs);

class MprisService : public QObject {
  Q_OBJECT
 public:
  static constexpr double kMinimumRate = 0.1;
  static constexpr double kMaximumRate = 4.0;
  static constexpr const char* kObjectPath = "/org/mpris/MediaPlayer2";

  explicit MprisService(MainWindow& window, QDBusConnection bus = QDBusConnection::sessionBus());
  ~MprisService() override;

  // The bus name taken: org.mpris.MediaPlayer2.zelvaro, or an instance name
  // when another player holds that one; empty without a session bus.
  const QString& serviceName() const { return serviceName_; }

  // Call after anything that may have changed what the player shows.
  void Refresh();
  // What the player shows now; follows a new file or cover on the way.
  MprisView View();

  // The adaptors' methods. Out-of-range values are ignored, as MPRIS asks.
  void Play();
  void Pause();
  void PlayPause();
  void Stop();
  void Next();
  void Previous();
  void SeekBy(qint64 offsetUs);
  // Only when `trackId` is the current track and the position lies in it.
  void SetPosition(const QDBusObjectPath& trackId, qint64 positionUs);
  void OpenUri(const QString& uri);
  void SetRate(double rate);
  void SetVolume(double volume);
  void SetFullscreen(bool on);
  void Raise();
  void Quit();

 private:
  QVariantMap Metadata(const QString& path, const QString& trackId, double durationSeconds,
                       const InputTags& tags) const;
  // A new input is a new track; a new cover starts the worker for its file.
  void FollowMedia(const QString& path);
  void FollowCover();
  void SendPending();
  void AfterJump();

  MainWindow& window_;
  QDBusConnection bus_;
  QString serviceName_;
  MprisPlayerAdaptor* playerAdaptor_ = nullptr;  // a child; Qt deletes it
  std::shared_ptr<WorkerMailbox> mailbox_;

  // The input the track id belongs to.
  QString mediaPath_;
  int trackNumber_ = 0;
  qint64 coverKey_ = 0;
  QString coverPath_;

  // What was last announced, what waits to be, and where the position was.
  QVariantMap announcedRoot_;
  QVariantMap announcedPlayer_;
  QVariantMap pendingRoot_;
  QVariantMap pendingPlayer_;
  QTimer sendTimer_;
  bool haveBaseline_ = false;
  bool baselineSettled_ = false;
  bool jumpRequested_ = false;
  MprisView baseline_;
  QElapsedTimer sinceBaseline_;
};

}  // namespace zelvaro
