#include "app/mpris_adaptors.h"

#include "app/mpris_service.h"
#include "foundation/desktop_entry.h"

namespace zelvaro {
namespace {

QVariant PlayerValue(MprisService* service, const char* name) {
  return service->View().player.value(QLatin1String(name));
}

}  // namespace

MprisRootAdaptor::MprisRootAdaptor(MprisService* service)
    : QDBusAbstractAdaptor(service), service_(service) {}

bool MprisRootAdaptor::Fullscreen() const {
  return service_->View().root.value(QStringLiteral("Fullscreen")).toBool();
}

void MprisRootAdaptor::SetFullscreen(bool on) {
  service_->SetFullscreen(on);
}

// The product's name and its desktop entry's, never translated.
QString MprisRootAdaptor::Identity() const {
  return QStringLiteral("Zelvaro");
}
QString MprisRootAdaptor::DesktopEntry() const {
  return QStringLiteral("zelvaro");
}

QStringList MprisRootAdaptor::SupportedUriSchemes() const {
  return {QStringLiteral("file"), QStringLiteral("http"), QStringLiteral("https"),
          QStringLiteral("mms"),  QStringLiteral("mmsh"), QStringLiteral("mmst"),
          QStringLiteral("rtsp"), QStringLiteral("rtmp")};
}

QStringList MprisRootAdaptor::SupportedMimeTypes() const {
  return MediaMimeTypes();
}

void MprisRootAdaptor::Raise() {
  service_->Raise();
}
void MprisRootAdaptor::Quit() {
  service_->Quit();
}

MprisPlayerAdaptor::MprisPlayerAdaptor(MprisService* service)
    : QDBusAbstractAdaptor(service), service_(service) {}

QString MprisPlayerAdaptor::PlaybackStatus() const {
  return PlayerValue(service_, "PlaybackStatus").toString();
}
double MprisPlayerAdaptor::Rate() const {
  return PlayerValue(service_, "Rate").toDouble();
}
void MprisPlayerAdaptor::SetRate(double rate) {
  service_->SetRate(rate);
}
double MprisPlayerAdaptor::MinimumRate() const {
  return MprisService::kMinimumRate;
}
double MprisPlayerAdaptor::MaximumRate() const {
  return MprisService::kMaximumRate;
}
QVariantMap MprisPlayerAdaptor::Metadata() const {
  return PlayerValue(service_, "Metadata").toMap();
}
double MprisPlayerAdaptor::Volume() const {
  return PlayerValue(service_, "Volume").toDouble();
}
void MprisPlayerAdaptor::SetVolume(double volume) {
  service_->SetVolume(volume);
}
qlonglong MprisPlayerAdaptor::Position() const {
  return service_->View().positionUs;
}
bool MprisPlayerAdaptor::CanGoNext() const {
  return PlayerValue(service_, "CanGoNext").toBool();
}
bool MprisPlayerAdaptor::CanGoPrevious() const {
  return PlayerValue(service_, "CanGoPrevious").toBool();
}
bool MprisPlayerAdaptor::CanPlay() const {
  return PlayerValue(service_, "CanPlay").toBool();
}
bool MprisPlayerAdaptor::CanPause() const {
  return PlayerValue(service_, "CanPause").toBool();
}
bool MprisPlayerAdaptor::CanSeek() const {
  return PlayerValue(service_, "CanSeek").toBool();
}

void MprisPlayerAdaptor::Play() {
  service_->Play();
}
void MprisPlayerAdaptor::Pause() {
  service_->Pause();
}
void MprisPlayerAdaptor::PlayPause() {
  service_->PlayPause();
}
void MprisPlayerAdaptor::Stop() {
  service_->Stop();
}
void MprisPlayerAdaptor::Next() {
  service_->Next();
}
void MprisPlayerAdaptor::Previous() {
  service_->Previous();
}
void MprisPlayerAdaptor::Seek(qlonglong offsetUs) {
  service_->SeekBy(offsetUs);
}
void MprisPlayerAdaptor::SetPosition(const QDBusObjectPath& trackId, qlonglong positionUs) {
  service_->SetPosition(trackId, positionUs);
}
void MprisPlayerAdaptor::OpenUri(const QString& uri) {
  service_->OpenUri(uri);
}

}  // namespace zelvaro
