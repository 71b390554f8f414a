#include "app/media_hot_keys.h"

#include "app/commands.h"
#include "app/window_globals.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QEvent>
#include <QWidget>

namespace zelvaro {
namespace {

const QString kService = QStringLiteral("org.gnome.SettingsDaemon.MediaKeys");
const QString kPath = QStringLiteral("/org/gnome/SettingsDaemon/MediaKeys");
const QString kInterface = QStringLiteral("org.gnome.SettingsDaemon.MediaKeys");
const QString kApplication = QStringLiteral("zelvaro");

QDBusMessage Call(const QString& method) {
  return QDBusMessage::createMethodCall(kService, kPath, kInterface, method);
}

}  // namespace

MediaHotKeys::MediaHotKeys(QWidget* window, Callback onKey, QDBusConnection bus)
    : window_(window), onKey_(std::move(onKey)), bus_(std::move(bus)) {
  if (!bus_.isConnected()) return;
  bus_.connect(kService, kPath, kInterface, QStringLiteral("MediaPlayerKeyPressed"), this,
               SLOT(OnMediaPlayerKeyPressed(QString, QString)));
  window_->installEventFilter(this);
}

MediaHotKeys::~MediaHotKeys() {
  if (registered_) Unregister();
}

void MediaHotKeys::SetEnabled(bool enabled) {
  if (enabled == enabled_) return;
  enabled_ = enabled;
  if (enabled) {
    Register();
  } else if (registered_) {
    Unregister();
  }
}

bool MediaHotKeys::eventFilter(QObject* watched, QEvent* event) {
  if (watched == window_ && event->type() == QEvent::ActivationChange && enabled_ &&
      UnregisterOnDeactivate) {
    if (!window_->isActiveWindow()) {
      if (registered_) Unregister();
    } else {
      Register();
    }
  }
  return QObject::eventFilter(watched, event);
}

void MediaHotKeys::Register() {
  if (!bus_.isConnected()) return;
  QDBusMessage call = Call(QStringLiteral("GrabMediaPlayerKeys"));
  call << kApplication << quint32(0);
  bus_.asyncCall(call);
  registered_ = true;
}

void MediaHotKeys::Unregister() {
  QDBusMessage call = Call(QStringLiteral("ReleaseMediaPlayerKeys"));
  call << kApplication;
  bus_.asyncCall(call);
  registered_ = false;
}

void MediaHotKeys::OnMediaPlayerKeyPressed(const QString& application, const QString& key) {
  if (application != kApplication || !registered_) return;
  int id = 0;
  if (key == u"Play" || key == u"Pause") {
    id = ID_HOTKEY_PLAY_PAUSE;
  } else if (key == u"Stop") {
    id = ID_HOTKEY_STOP;
  } else if (key == u"Next") {
    id = ID_HOTKEY_NEXT;
  } else if (key == u"Previous") {
    id = ID_HOTKEY_PREV;
  }
  if (id != 0 && onKey_) onKey_(id);
}

}  // namespace zelvaro
