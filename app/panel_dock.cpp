#include "app/panel_dock.h"

#include "app/window_sizing.h"
#include "chrome/design_length.h"
#include "foundation/settings.h"

#include <QGuiApplication>

namespace zelvaro {
namespace {

void WriteInt(QStringView name, int value) {
  if (!name.isEmpty()) Settings::SetDword(name, static_cast<uint32_t>(value));
}

}  // namespace

bool ClientPlacesWindows() {
  return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

PanelDock::PanelDock(QWidget* panel, bool follows, PanelSettingNames names)
    : panel_(panel), follows_(follows), names_(names) {}

QRect PanelDock::Rect() const {
  return panel_ ? panel_->frameGeometry() : QRect();
}

void PanelDock::Place(const QRect& rect) {
  if (!panel_ || !ClientPlacesWindows()) return;
  // move() places the frame; resize() sizes what is inside it.
  const QSize frameExtra = panel_->frameGeometry().size() - panel_->size();
  panel_->move(rect.topLeft());
  if (rect.size() != Rect().size()) panel_->resize(rect.size() - frameExtra);
}

void PanelDock::UpdateSnapState(const QRect& mainRect, float scale) {
  if (!panel_ || !follows_) return;
  SnapSide = DockedSide(Rect(), mainRect, chrome::ScaledLength(kDockDistance, scale));
  Snapped = SnapSide != 0;
}

void PanelDock::Follow(const QRect& mainRect, bool heightSync) {
  if (!follows_ || !Snapped || !IsShown()) return;
  const QRect placed = DockedPanelRect(Rect(), mainRect, SnapSide, heightSync);
  if (placed != Rect()) Place(placed);
}

void PanelDock::ShiftBy(QPoint delta) {
  if (!follows_ || !Snapped || !IsShown() || delta.isNull()) return;
  Place(Rect().translated(delta));
}

void PanelDock::HideForFullscreen() {
  wasVisible_ = IsShown();
  if (!wasVisible_) return;
  savedRect_ = Rect();
  savedSnapped_ = Snapped;
  savedSnapSide_ = SnapSide;
  WriteInt(names_.x, savedRect_.x());
  WriteInt(names_.y, savedRect_.y());
  WriteInt(names_.w, savedRect_.width());
  WriteInt(names_.h, savedRect_.height());
  WriteInt(names_.snapped, Snapped ? 1 : 0);
  WriteInt(names_.snapSide, SnapSide);
  WriteInt(names_.visible, 0);
  panel_->hide();
}

void PanelDock::RestoreAfterFullscreen() {
  if (!wasVisible_ || !panel_) return;
  wasVisible_ = false;
  Place(savedRect_);
  Snapped = savedSnapped_;
  SnapSide = savedSnapSide_;
  panel_->show();
  panel_->raise();
}

}  // namespace zelvaro
