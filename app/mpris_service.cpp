#include "app/mpris_service.h"

#include "app/commands.h"
#include "app/main_window.h"
#include "app/messages.h"
#include "app/mpris_adaptors.h"
#include "engine/graph_manager.h"
#include "foundation/desktop_entry.h"
#include "library/playlist_model.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QUrl>

#include <cmath>
#include <cstdlib>
#include <thread>

namespace zelvaro {
namespace {

const QString kService = QStringLiteral("org.mpris.MediaPlayer2.zelvaro");
const QString kRootInterface = QStringLiteral("org.mpris.MediaPlayer2");
const QString kPlayerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
const QString kNoTrack = QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack");

// A playing position may lag or lead its expected place by this much (query
// granularity, a late timer) before it counts as a jump; a paused one may not
// move at all.
constexpr qint64 kPlayingJumpToleranceUs = 1'000'000;
constexpr qint64 kPausedJumpToleranceUs = 1'000;
// How far a playing position may read behind the last one (the shown frame
// against the clock) and still count as the same run.
constexpr qint64 kPlayingJitterUs = 100'000;

qint64 ToUs(double seconds) {
  return static_cast<qint64>(std::llround(seconds * 1e6));
}

QString StatusName(int state, bool open) {
  if (!open || state == 0) return QStringLiteral("Stopped");
  return state == 2 ? QStringLiteral("Playing") : QStringLiteral("Paused");
}

// Keys present in `now` whose values differ from `before`, into `pending`.
void CollectChanges(const QVariantMap& before, const QVariantMap& now, QVariantMap* pending) {
  for (auto it = now.constBegin(); it != now.constEnd(); ++it) {
    auto old = before.constFind(it.key());
    if (old == before.constEnd() || old.value() != it.value())
      pending->insert(it.key(), it.value());
  }
}

}  // namespace

bool PositionJumped(const MprisView& before, const MprisView& now, qint64 elapsedUs) {
  if (!before.running)
    return std::llabs(now.positionUs - before.positionUs) > kPausedJumpToleranceUs;
  const qint64 expectedUs =
      before.positionUs + static_cast<qint64>(static_cast<double>(elapsedUs) * before.rate);
  const bool fellBehind =
      now.positionUs >= before.positionUs - kPlayingJitterUs && now.positionUs <= expectedUs;
  return !fellBehind && std::llabs(now.positionUs - expectedUs) > kPlayingJumpToleranceUs;
}

MprisService::MprisService(MainWindow& window, QDBusConnection bus)
    : window_(window), bus_(std::move(bus)), mailbox_(std::make_shared<WorkerMailbox>(this)) {
  // The MIME list reads the MIME database once; not on the interface thread.
  std::thread([] { MediaMimeTypes(); }).detach();
  sendTimer_.setSingleShot(true);
  sendTimer_.setInterval(0);
  connect(&sendTimer_, &QTimer::timeout, this, &MprisService::SendPending);
  if (!bus_.isConnected()) return;
  new MprisRootAdaptor(this);
  playerAdaptor_ = new MprisPlayerAdaptor(this);
  if (!bus_.registerObject(QString::fromLatin1(kObjectPath), this)) return;
  // A second player takes an instance name, as MPRIS allows.
  for (const QString& name : {kService, kService + QStringLiteral(".instance") +
                                            QString::number(QCoreApplication::applicationPid())}) {
    if (bus_.registerService(name)) {
      serviceName_ = name;
      break;
    }
  }
  const MprisView view = View();
  announcedRoot_ = view.root;
  announcedPlayer_ = view.player;
}

MprisService::~MprisService() {
  mailbox_->Close();
  if (!serviceName_.isEmpty()) bus_.unregisterService(serviceName_);
  bus_.unregisterObject(QString::fromLatin1(kObjectPath));
  if (!coverPath_.isEmpty()) QFile::remove(coverPath_);
}

MprisView MprisService::View() {
  MprisView view;
  GraphManager* graph = window_.graph();
  const QString path = graph ? graph->CurrentPath() : QString();
  FollowMedia(path);
  FollowCover();
  const bool open = !path.isEmpty();
  const int state = graph ? graph->State() : 0;
  const double duration = open ? graph->GetDuration() : 0.0;
  view.positionUs = open ? ToUs(graph->GetPosition()) : 0;
  view.rate = graph ? graph->Speed() : 1.0;
  view.running = open && state == 2 && !graph->IsBuffering();
  view.trackId = open ? QStringLiteral("/org/zelvaro/track/%1").arg(trackNumber_) : kNoTrack;

  view.root.insert(QStringLiteral("Fullscreen"), window_.fullscreen());

  const PlaylistModel* list = window_.playlist();
  const int index = list ? list->CurrentIndex() : -1;
  const int count = list ? static_cast<int>(list->Items().size()) : 0;
  const bool favorites = window_.favoriteRun().Active();
  QVariantMap& player = view.player;
  player.insert(QStringLiteral("PlaybackStatus"), StatusName(state, open));
  player.insert(QStringLiteral("Rate"), view.rate);
  player.insert(QStringLiteral("Metadata"),
                Metadata(path, view.trackId, duration, open ? graph->GetInputTags() : InputTags{}));
  player.insert(QStringLiteral("Volume"), graph ? static_cast<double>(graph->Volume()) : 0.0);
  player.insert(QStringLiteral("CanGoNext"), favorites || (index >= 0 && index + 1 < count));
  player.insert(QStringLiteral("CanGoPrevious"), favorites || index > 0);
  player.insert(QStringLiteral("CanPlay"), open || !window_.recentFiles().empty());
  player.insert(QStringLiteral("CanPause"), open);
  player.insert(QStringLiteral("CanSeek"),
                open && window_.OnPlayerMessage(WM_PLAYER_QUERY_SEEKABLE) != 0);
  return view;
}

QVariantMap MprisService::Metadata(const QString& path, const QString& trackId,
                                   double durationSeconds, const InputTags& tags) const {
  QVariantMap metadata;
  metadata.insert(QStringLiteral("mpris:trackid"), QVariant::fromValue(QDBusObjectPath(trackId)));
  if (path.isEmpty()) return metadata;
  if (durationSeconds > 0) metadata.insert(QStringLiteral("mpris:length"), ToUs(durationSeconds));
  const bool url = IsUrl(path);
  metadata.insert(QStringLiteral("xesam:url"),
                  url ? path : QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded));
  QString title = tags.title;
  if (title.isEmpty()) title = url ? path : QFileInfo(path).completeBaseName();
  metadata.insert(QStringLiteral("xesam:title"), title);
  if (!tags.artist.isEmpty())
    metadata.insert(QStringLiteral("xesam:artist"), QStringList{tags.artist});
  if (!tags.album.isEmpty()) metadata.insert(QStringLiteral("xesam:album"), tags.album);
  if (!coverPath_.isEmpty()) {
    metadata.insert(QStringLiteral("mpris:artUrl"), QUrl::fromLocalFile(coverPath_).toString());
  }
  return metadata;
}

void MprisService::Refresh() {
  if (serviceName_.isEmpty()) return;
  const MprisView now = View();
  CollectChanges(announcedRoot_, now.root, &pendingRoot_);
  CollectChanges(announcedPlayer_, now.player, &pendingPlayer_);
  announcedRoot_ = now.root;
  announcedPlayer_ = now.player;

  // A jump is a position away from where the clock says it should be, on
  // the same track; a new track announces itself by its metadata instead.
  // Just after playing starts or stops, and after a jump, the reported
  // position still settles (clock against shown frame), so that moment only
  // sets the baseline.
  const bool settled = baselineSettled_ && now.running == baseline_.running;
  bool jumped = false;
  if (haveBaseline_ && now.trackId == baseline_.trackId && now.trackId != kNoTrack &&
      (settled || jumpRequested_)) {
    const bool stopped =
        now.player.value(QStringLiteral("PlaybackStatus")).toString() == u"Stopped";
    if (jumpRequested_ ||
        (!stopped && PositionJumped(baseline_, now, sinceBaseline_.nsecsElapsed() / 1000))) {
      emit playerAdaptor_->Seeked(now.positionUs);
      jumped = true;
    }
  }
  jumpRequested_ = false;
  // A seek lands on the target, then on the frame there.
  baselineSettled_ = haveBaseline_ && now.running == baseline_.running && !jumped;
  baseline_ = now;
  haveBaseline_ = true;
  sinceBaseline_.start();
  if ((!pendingRoot_.isEmpty() || !pendingPlayer_.isEmpty()) && !sendTimer_.isActive()) {
    sendTimer_.start();
  }
}

void MprisService::SendPending() {
  const std::pair<const QString*, QVariantMap*> groups[] = {{&kRootInterface, &pendingRoot_},
                                                            {&kPlayerInterface, &pendingPlayer_}};
  for (const auto& [interface, changed] : groups) {
    if (changed->isEmpty()) continue;
    QDBusMessage signal = QDBusMessage::createSignal(
        QString::fromLatin1(kObjectPath), QStringLiteral("org.freedesktop.DBus.Properties"),
        QStringLiteral("PropertiesChanged"));
    signal << *interface << *changed << QStringList();
    bus_.send(signal);
    changed->clear();
  }
}

void MprisService::FollowMedia(const QString& path) {
  if (path == mediaPath_) return;
  mediaPath_ = path;
  ++trackNumber_;
}

void MprisService::FollowCover() {
  const QImage& art = window_.albumArt();
  const qint64 key = art.isNull() ? 0 : art.cacheKey();
  if (key == coverKey_) return;
  coverKey_ = key;
  if (!coverPath_.isEmpty()) QFile::remove(coverPath_);
  coverPath_.clear();
  if (key == 0) return;
  QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
  if (folder.isEmpty()) folder = QDir::tempPath();
  // A new name for each picture, so a client that caches by address reloads.
  const QString target = QStringLiteral("%1/zelvaro-cover-%2-%3.png")
                             .arg(folder)
                             .arg(QCoreApplication::applicationPid())
                             .arg(key);
  std::thread([mailbox = mailbox_, image = art, target, key, service = this] {
    if (!image.save(target, "PNG")) return;
    const bool posted = mailbox->Post([service, target, key] {
      if (service->coverKey_ != key) {
        QFile::remove(target);
        return;
      }
      service->coverPath_ = target;
      service->Refresh();
    });
    if (!posted) QFile::remove(target);
  }).detach();
}

void MprisService::AfterJump() {
  jumpRequested_ = true;
  Refresh();
}

void MprisService::Play() {
  GraphManager* graph = window_.graph();
  if (graph && graph->State() == 2 && !graph->CurrentPath().isEmpty()) return;
  window_.OnCommand(ID_MEDIA_PLAY_PAUSE);
}

void MprisService::Pause() {
  GraphManager* graph = window_.graph();
  if (graph && graph->State() == 2) window_.OnCommand(ID_MEDIA_PLAY_PAUSE);
}

void MprisService::PlayPause() {
  window_.OnCommand(ID_MEDIA_PLAY_PAUSE);
}
void MprisService::Stop() {
  window_.OnCommand(ID_MEDIA_STOP);
}
void MprisService::Next() {
  window_.OnCommand(ID_MEDIA_NEXT);
}
void MprisService::Previous() {
  window_.OnCommand(ID_MEDIA_PREV);
}

void MprisService::SeekBy(qint64 offsetUs) {
  GraphManager* graph = window_.graph();
  if (!graph || graph->CurrentPath().isEmpty()) return;
  const double duration = graph->GetDuration();
  const double target = graph->GetPosition() + static_cast<double>(offsetUs) / 1e6;
  if (duration > 0 && target >= duration) {
    // Beyond the end means the next track.
    window_.OnCommand(ID_MEDIA_NEXT);
    return;
  }
  graph->Seek(std::max(0.0, target), false, 0);
  AfterJump();
}

void MprisService::SetPosition(const QDBusObjectPath& trackId, qint64 positionUs) {
  GraphManager* graph = window_.graph();
  if (!graph || graph->CurrentPath().isEmpty()) return;
  if (trackId.path() != View().trackId) return;
  const double target = static_cast<double>(positionUs) / 1e6;
  if (positionUs < 0 || target > graph->GetDuration()) return;
  graph->Seek(target, false, 0);
  AfterJump();
}

void MprisService::OpenUri(const QString& uri) {
  const QUrl url(uri);
  if (url.isLocalFile()) {
    window_.OpenFile(url.toLocalFile());
  } else if (IsUrl(uri)) {
    window_.OpenUrl(uri);
  }
  Refresh();
}

void MprisService::SetRate(double rate) {
  GraphManager* graph = window_.graph();
  if (!graph || rate < kMinimumRate || rate > kMaximumRate) return;
  graph->SetSpeed(rate);
  Refresh();
}

void MprisService::SetVolume(double volume) {
  const int percent = static_cast<int>(std::lround(std::clamp(volume, 0.0, 1.0) * 100.0));
  window_.OnPlayerMessage(WM_PLAYER_SET_VOLUME, percent);
  Refresh();
}

void MprisService::SetFullscreen(bool on) {
  if (on != window_.fullscreen()) window_.ToggleFullscreen();
  Refresh();
}

void MprisService::Raise() {
  // Out of the task bar, but a fullscreen or maximised window stays so.
  if (window_.isMinimized()) window_.setWindowState(window_.windowState() & ~Qt::WindowMinimized);
  window_.show();
  window_.raise();
  window_.activateWindow();
}

void MprisService::Quit() {
  // After this call has returned: exiting destroys the service and its adaptors.
  QMetaObject::invokeMethod(
      &window_, [window = &window_] { window->OnCommand(ID_EXIT); }, Qt::QueuedConnection);
}

}  // namespace zelvaro
