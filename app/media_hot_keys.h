#pragma once
// MediaHotKeys: the media keys taken from the desktop while the player wants
// them (the GlobalMediaKeys setting). The MPRIS service already lets every
// desktop reach the player; this asks a desktop that hands its media keys to
// one application at a time (GNOME's settings daemon,
// org.gnome.SettingsDaemon.MediaKeys) to give them to Zelvaro first, and
// turns each key it reports into an ID_HOTKEY_* command. With
// UnregisterOnDeactivate the keys go back when the window loses activation
// and are taken again when it gains it.
//
// Interface thread only. Calls are asynchronous and their failures silent:
// on a desktop without that service nothing happens. Borrows the window.

#include <QDBusConnection>
#include <QObject>

#include <functional>

class QWidget;

namespace zelvaro {

class MediaHotKeys : public QObject {
  Q_OBJECT
 public:
  using Callback = std::function<void(int commandId)>;
  MediaHotKeys(QWidget* window, Callback onKey,
               QDBusConnection bus = QDBusConnection::sessionBus());
  ~MediaHotKeys() override;

  // Follows the GlobalMediaKeys setting; cheap when nothing changed.
  void SetEnabled(bool enabled);
  bool enabled() const { return enabled_; }
  bool registered() const { return registered_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private slots:
  void OnMediaPlayerKeyPressed(const QString& application, const QString& key);

 private:
  void Register();
  void Unregister();

  QWidget* window_;
  Callback onKey_;
  QDBusConnection bus_;
  bool enabled_ = false;
  bool registered_ = false;
};

}  // namespace zelvaro
