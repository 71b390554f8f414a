#pragma once
// ScreenSaverInhibitor: keeps the screen saver and idle sleep away while a
// video plays. It asks the XDG desktop portal (org.freedesktop.portal.Inhibit,
// idle and suspend) and, where there is none, org.freedesktop.ScreenSaver.
//
// Interface thread only. Calls are asynchronous, so a slow or absent service
// never holds the window; SetWanted may change its mind while a request is on
// the way, and the answer is then handed back at once. Every inhibition that
// was granted is released: when it is no longer wanted, and at the latest in
// the destructor, which waits (briefly) for a request still in flight.

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QObject>

class QDBusPendingCallWatcher;

namespace zelvaro {

class ScreenSaverInhibitor : public QObject {
  Q_OBJECT
 public:
  explicit ScreenSaverInhibitor(QDBusConnection bus = QDBusConnection::sessionBus());
  ~ScreenSaverInhibitor() override;

  // True while a video plays; cheap to call on every tick.
  void SetWanted(bool wanted);
  // An inhibition is held (granted and not yet released).
  bool Held() const { return via_ != Via::None; }

 private:
  enum class Via { None, Portal, ScreenSaver };
  void AskPortal();
  void AskScreenSaver();
  void Granted(Via via, quint32 cookie, const QDBusObjectPath& request);
  // `wait`: at exit, the call must leave before the connection goes.
  void Release(bool wait);

  QDBusConnection bus_;
  bool wanted_ = false;
  bool asking_ = false;
  bool exiting_ = false;
  bool nobodyToAsk_ = false;  // neither the portal nor a screen saver answered
  Via via_ = Via::None;
  quint32 cookie_ = 0;
  QDBusObjectPath request_;
  QDBusPendingCallWatcher* inFlight_ = nullptr;
};

}  // namespace zelvaro
