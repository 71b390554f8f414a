#pragma once
// The two D-Bus faces of MprisService: org.mpris.MediaPlayer2 (the
// application) and org.mpris.MediaPlayer2.Player. They hold no state: every
// property is read from the service's current view of the player and every
// method is handed to the service. Created by MprisService as its children,
// interface thread only (QtDBus delivers calls on the thread of the object).

#include <QDBusAbstractAdaptor>
#include <QDBusObjectPath>
#include <QStringList>
#include <QVariantMap>

namespace zelvaro {

class MprisService;

class MprisRootAdaptor : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
  Q_PROPERTY(bool CanQuit READ CanQuit)
  Q_PROPERTY(bool CanRaise READ CanRaise)
  Q_PROPERTY(bool CanSetFullscreen READ CanSetFullscreen)
  Q_PROPERTY(bool Fullscreen READ Fullscreen WRITE SetFullscreen)
  Q_PROPERTY(bool HasTrackList READ HasTrackList)
  Q_PROPERTY(QString Identity READ Identity)
  Q_PROPERTY(QString DesktopEntry READ DesktopEntry)
  Q_PROPERTY(QStringList SupportedUriSchemes READ SupportedUriSchemes)
  Q_PROPERTY(QStringList SupportedMimeTypes READ SupportedMimeTypes)

 public:
  explicit MprisRootAdaptor(MprisService* service);

  bool CanQuit() const { return true; }
  bool CanRaise() const { return true; }
  bool CanSetFullscreen() const { return true; }
  bool Fullscreen() const;
  void SetFullscreen(bool on);
  bool HasTrackList() const { return false; }
  QString Identity() const;
  QString DesktopEntry() const;
  QStringList SupportedUriSchemes() const;
  QStringList SupportedMimeTypes() const;

 public slots:
  void Raise();
  void Quit();

 private:
  MprisService* service_;
};

class MprisPlayerAdaptor : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
  Q_PROPERTY(QString PlaybackStatus READ PlaybackStatus)
  Q_PROPERTY(double Rate READ Rate WRITE SetRate)
  Q_PROPERTY(double MinimumRate READ MinimumRate)
  Q_PROPERTY(double MaximumRate READ MaximumRate)
  Q_PROPERTY(QVariantMap Metadata READ Metadata)
  Q_PROPERTY(double Volume READ Volume WRITE SetVolume)
  Q_PROPERTY(qlonglong Position READ Position)
  Q_PROPERTY(bool CanGoNext READ CanGoNext)
  Q_PROPERTY(bool CanGoPrevious READ CanGoPrevious)
  Q_PROPERTY(bool CanPlay READ CanPlay)
  Q_PROPERTY(bool CanPause READ CanPause)
  Q_PROPERTY(bool CanSeek READ CanSeek)
  Q_PROPERTY(bool CanControl READ CanControl)

 public:
  explicit MprisPlayerAdaptor(MprisService* service);

  QString PlaybackStatus() const;
  double Rate() const;
  void SetRate(double rate);
  double MinimumRate() const;
  double MaximumRate() const;
  QVariantMap Metadata() const;
  double Volume() const;
  void SetVolume(double volume);
  qlonglong Position() const;
  bool CanGoNext() const;
  bool CanGoPrevious() const;
  bool CanPlay() const;
  bool CanPause() const;
  bool CanSeek() const;
  bool CanControl() const { return true; }

 public slots:
  void Play();
  void Pause();
  void PlayPause();
  void Stop();
  void Next();
  void Previous();
  void Seek(qlonglong offsetUs);
  void SetPosition(const QDBusObjectPath& trackId, qlonglong positionUs);
  void OpenUri(const QString& uri);

 signals:
  void Seeked(qlonglong positionUs);

 private:
  MprisService* service_;
};

}  // namespace zelvaro
