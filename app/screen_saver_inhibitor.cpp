#include "app/screen_saver_inhibitor.h"

#include "foundation/language_manager.h"
#include "foundation/trace.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QVariantMap>

namespace zelvaro {
namespace {

const QString kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kScreenSaverService = QStringLiteral("org.freedesktop.ScreenSaver");
const QString kScreenSaverPath = QStringLiteral("/org/freedesktop/ScreenSaver");
// The portal's flags: 4 suspend, 8 idle.
constexpr quint32 kInhibitSuspendIdle = 4 | 8;
constexpr int kExitCallTimeoutMs = 1000;

QString Reason() {
  return QStringLiteral("Playing a video");
}

}  // namespace

ScreenSaverInhibitor::ScreenSaverInhibitor(QDBusConnection bus) : bus_(std::move(bus)) {}

ScreenSaverInhibitor::~ScreenSaverInhibitor() {
  wanted_ = false;
  exiting_ = true;
  // The watcher delivers its answer before this returns; a cookie in it is
  // handed back at once (exiting_).
  if (inFlight_ != nullptr) inFlight_->waitForFinished();
  Release(true);
}

void ScreenSaverInhibitor::SetWanted(bool wanted) {
  wanted_ = wanted;
  if (asking_ || nobodyToAsk_ || !bus_.isConnected()) return;
  if (wanted && via_ == Via::None) {
    AskPortal();
  } else if (!wanted && via_ != Via::None) {
    Release(false);
  }
}

void ScreenSaverInhibitor::AskPortal() {
  asking_ = true;
  QDBusMessage call = QDBusMessage::createMethodCall(
      kPortalService, QStringLiteral("/org/freedesktop/portal/desktop"),
      QStringLiteral("org.freedesktop.portal.Inhibit"), QStringLiteral("Inhibit"));
  call << QString() << kInhibitSuspendIdle << QVariantMap{{QStringLiteral("reason"), Reason()}};
  inFlight_ = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
  connect(inFlight_, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* w) {
    if (inFlight_ == w) {
      inFlight_ = nullptr;
      w->deleteLater();
    }
    const QDBusPendingReply<QDBusObjectPath> reply = *w;
    if (reply.isError()) {
      Trace("[Zelvaro] Portal inhibit refused (%s)\n", qPrintable(reply.error().name()));
      asking_ = false;
      if (wanted_) AskScreenSaver();
      return;
    }
    Granted(Via::Portal, 0, reply.value());
  });
}

void ScreenSaverInhibitor::AskScreenSaver() {
  asking_ = true;
  QDBusMessage call = QDBusMessage::createMethodCall(
      kScreenSaverService, kScreenSaverPath, kScreenSaverService, QStringLiteral("Inhibit"));
  call << QStringLiteral("zelvaro") << Reason();
  inFlight_ = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
  connect(inFlight_, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* w) {
    if (inFlight_ == w) {
      inFlight_ = nullptr;
      w->deleteLater();
    }
    const QDBusPendingReply<quint32> reply = *w;
    if (reply.isError()) {
      Trace("[Zelvaro] No screen saver to inhibit (%s)\n", qPrintable(reply.error().name()));
      asking_ = false;
      // Not asked again on every tick of the session.
      nobodyToAsk_ = true;
      return;
    }
    Granted(Via::ScreenSaver, reply.value(), {});
  });
}

void ScreenSaverInhibitor::Granted(Via via, quint32 cookie, const QDBusObjectPath& request) {
  asking_ = false;
  via_ = via;
  cookie_ = cookie;
  request_ = request;
  // The video may have stopped while we asked.
  if (!wanted_) Release(exiting_);
}

void ScreenSaverInhibitor::Release(bool wait) {
  if (via_ == Via::None) return;
  QDBusMessage call =
      via_ == Via::Portal
          ? QDBusMessage::createMethodCall(kPortalService, request_.path(),
                                           QStringLiteral("org.freedesktop.portal.Request"),
                                           QStringLiteral("Close"))
          : QDBusMessage::createMethodCall(kScreenSaverService, kScreenSaverPath,
                                           kScreenSaverService, QStringLiteral("UnInhibit"));
  if (via_ == Via::ScreenSaver) call << cookie_;
  via_ = Via::None;
  if (wait) {
    bus_.call(call, QDBus::Block, kExitCallTimeoutMs);
  } else {
    bus_.asyncCall(call);
  }
}

}  // namespace zelvaro
