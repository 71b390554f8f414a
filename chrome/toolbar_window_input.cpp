// The toolbar's mouse: buttons that act on release over themselves, the
// seek bar and volume drags, the chips' menus, the preview popup, tooltips,
// and the gestures it hands to the main window.

#include "app/commands.h"
#include "app/dpi.h"
#include "app/messages.h"
#include "chrome/chrome_host.h"
#include "chrome/thumbnail_popup.h"
#include "chrome/toolbar_window.h"
#include "chrome/tooltip_window.h"
#include "foundation/language_manager.h"

#include <QCursor>
#include <QMenu>
#include <QMouseEvent>
#include <QTimer>
#include <QWindow>

#include <cmath>

namespace zelvaro::chrome {
namespace {

struct ButtonAction {
  int message;
  const char16_t* tooltipKey;
};

// By button index; the play button's tooltip follows IsPlaying.
constexpr ButtonAction kButtonActions[kToolbarButtonCount] = {
    {WM_PLAYER_PLAY_PAUSE, u"Toolbar.Play"},
    {WM_PLAYER_STOP, u"Toolbar.Stop"},
    {WM_PLAYER_PREV_KEYFRAME, u"Toolbar.Previous"},
    {WM_PLAYER_NEXT_KEYFRAME, u"Toolbar.Next"},
    {WM_PLAYER_OPEN_DIALOG, u"Toolbar.Open"},
    {WM_PLAYER_ROTATE_LEFT, u"Toolbar.RotateLeft"},
    {WM_PLAYER_ROTATE_RIGHT, u"Toolbar.RotateRight"},
    {WM_PLAYER_FLIP_H, u"Toolbar.FlipH"},
    {WM_PLAYER_FLIP_V, u"Toolbar.FlipV"},
    {WM_PLAYER_TOGGLE_PLAYLIST, u"Toolbar.Playlist"},
    {WM_PLAYER_TOGGLE_CONTROL_PANEL, u"Toolbar.ControlPanel"},
    {WM_PLAYER_SUBTITLE_MENU, u"Toolbar.Subtitle"},
};

struct SpeedPreset {
  int id;
  const char16_t* key;
  double speed;
};

constexpr SpeedPreset kSpeedPresets[] = {
    {ID_SPEED_PRESET_FIRST + 0, u"Toolbar.Speed025", 0.25},
    {ID_SPEED_PRESET_FIRST + 1, u"Toolbar.Speed050", 0.5},
    {ID_SPEED_PRESET_FIRST + 2, u"Toolbar.Speed075", 0.75},
    {ID_SPEED_PRESET_FIRST + 3, u"Toolbar.Speed090", 0.9},
    {ID_SPEED_PRESET_FIRST + 4, u"Toolbar.Speed100", 1.0},
    {ID_SPEED_PRESET_FIRST + 5, u"Toolbar.Speed110", 1.1},
    {ID_SPEED_PRESET_FIRST + 6, u"Toolbar.Speed125", 1.25},
    {ID_SPEED_PRESET_FIRST + 7, u"Toolbar.Speed150", 1.5},
    {ID_SPEED_PRESET_FIRST + 8, u"Toolbar.Speed175", 1.75},
    {ID_SPEED_PRESET_FIRST + 9, u"Toolbar.Speed200", 2.0},
    {ID_SPEED_PRESET_FIRST + 10, u"Toolbar.Speed300", 3.0},
    {ID_SPEED_PRESET_FIRST + 11, u"Toolbar.Speed400", 4.0},
};
static_assert(ID_SPEED_PRESET_FIRST + 11 == ID_SPEED_PRESET_LAST);

QString ButtonTooltip(int index, const ToolbarState& state) {
  if (index == kButtonPlayPause && state.IsPlaying) {
    return LanguageManager::GetString(u"Toolbar.Pause");
  }
  return LanguageManager::GetString(kButtonActions[index].tooltipKey);
}

qintptr SeekParameter(double fraction) {
  return static_cast<qintptr>(fraction * 10000);
}

}  // namespace

qintptr ToolbarWindow::Send(int message, qintptr wParam, qintptr lParam) {
  return host_ ? host_->SendPlayerMessage(message, wParam, lParam) : 0;
}

void ToolbarWindow::mousePressEvent(QMouseEvent* event) {
  const QPoint point = event->position().toPoint();
  switch (event->button()) {
    case Qt::LeftButton:
      LeftPress(point, event->globalPosition().toPoint());
      break;
    case Qt::MiddleButton:
      if (host_) host_->ToggleFullscreen();
      break;
    default:
      break;
  }
}

void ToolbarWindow::LeftPress(QPoint point, QPoint global) {
  if (!speedChipRect_.isEmpty() && ContainsWithEdges(speedChipRect_, point)) {
    OpenSpeedMenu(global);
    return;
  }
  if (!audioChipRect_.isEmpty() && audioChipRect_.contains(point)) {
    const QPoint corner = mapToGlobal(audioChipRect_.topLeft());
    Send(WM_PLAYER_AUDIO_MENU, corner.x(), corner.y());
    return;
  }
  if (state_.Duration > 0 && geometry_.InSeekPressZone(point) &&
      Send(WM_PLAYER_QUERY_SEEKABLE) != 0) {
    seekDragging_ = true;
    seekDragMoved_ = false;
    lastDragPoint_ = point;
    const double fraction = geometry_.FractionAt(point.x());
    SetProgressNow(fraction);
    Send(WM_PLAYER_SEEK_FRACTION, SeekParameter(fraction));
    return;
  }
  if (geometry_.InSpeakerPressZone(point)) {
    state_.Muted = !state_.Muted;
    update(geometry_.VolumeAreaRect());
    Send(WM_PLAYER_SET_MUTE, state_.Muted ? 1 : 0);
    return;
  }
  if (geometry_.InVolumePressZone(point)) {
    volumeDragging_ = true;
    SetVolumeFromDrag(point.x());
    return;
  }
  const int button = geometry_.ButtonAt(point);
  if (button >= 0) {
    pressedButton_ = button;
    update(geometry_.ButtonRects[button]);
    return;
  }
  if (!state_.Fullscreen) {
    // The empty bar moves the window, as its title bar would.
    if (host_) host_->BeginWindowMove(this, global);
  }
}

void ToolbarWindow::SetProgressNow(double fraction) {
  const double old = state_.Progress;
  state_.Progress = fraction;
  repaint(geometry_.SeekChangeRect(old, fraction));
}

void ToolbarWindow::SetVolumeFromDrag(int x) {
  const int volume = geometry_.VolumeAt(x);
  if (volume != state_.Volume) {
    state_.Volume = volume;
    update(geometry_.VolumeAreaRect());
  }
  Send(WM_PLAYER_SET_VOLUME, volume);
}

void ToolbarWindow::mouseMoveEvent(QMouseEvent* event) {
  const QPoint point = event->position().toPoint();
  const QPoint global = event->globalPosition().toPoint();

  const bool overChip = (!speedChipRect_.isEmpty() && ContainsWithEdges(speedChipRect_, point)) ||
                        (!audioChipRect_.isEmpty() && audioChipRect_.contains(point));
  if (overChip != handCursor_) {
    handCursor_ = overChip;
    if (overChip) {
      setCursor(Qt::PointingHandCursor);
    } else {
      unsetCursor();
    }
  }

  if (!seekDragging_) {
    if (PreviewAllowed(point)) {
      ShowPreview(PreviewAnchor(global), geometry_.FractionAt(point.x()));
    } else {
      HidePreview();
    }
  }

  const int hover = geometry_.ButtonAt(point);
  if (hover != hoverButton_) {
    if (hoverButton_ >= 0) update(geometry_.ButtonRects[hoverButton_]);
    if (hover >= 0) update(geometry_.ButtonRects[hover]);
    hoverButton_ = hover;
    if (hover < 0) tooltip_->Hide();
  }
  if (hover >= 0 && !state_.Fullscreen) tooltip_->Show(global, ButtonTooltip(hover, state_));

  if (seekDragging_ && point != lastDragPoint_) {
    seekDragMoved_ = true;
    lastDragPoint_ = point;
    const double fraction = geometry_.FractionAt(point.x());
    SetProgressNow(fraction);
    Send(WM_PLAYER_SEEK_FRACTION, SeekParameter(fraction));
    if (previewEnabled_ && frames_.GetFrame) ShowPreview(PreviewAnchor(global), fraction);
  }
  if (volumeDragging_) SetVolumeFromDrag(point.x());
}

void ToolbarWindow::mouseReleaseEvent(QMouseEvent* event) {
  const QPoint point = event->position().toPoint();
  if (event->button() == Qt::RightButton) {
    if (!geometry_.OnControl(point) && host_) {
      host_->ShowContextMenuAt(event->globalPosition().toPoint());
    }
    return;
  }
  if (event->button() != Qt::LeftButton) return;
  if (seekDragging_) {
    seekDragging_ = false;
    lastDragPoint_ = QPoint(-1, -1);
    if (seekDragMoved_) Send(WM_PLAYER_SEEK_FRACTION, SeekParameter(state_.Progress));
    seekDragMoved_ = false;
    return;
  }
  if (volumeDragging_) {
    volumeDragging_ = false;
    Send(WM_PLAYER_SET_VOLUME, state_.Volume);
    return;
  }
  if (pressedButton_ >= 0) {
    const int pressed = pressedButton_;
    pressedButton_ = -1;
    update(geometry_.ButtonRects[pressed]);
    if (geometry_.ButtonAt(point) == pressed) ActivateButton(pressed);
  }
}

void ToolbarWindow::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  const QPoint point = event->position().toPoint();
  if (!geometry_.OnControl(point)) {
    Send(WM_PLAYER_PLAY_PAUSE);
    return;
  }
  // The second click of a quick pair on a control counts as a click of its own.
  LeftPress(point, event->globalPosition().toPoint());
}

void ToolbarWindow::leaveEvent(QEvent*) {
  if (hoverButton_ >= 0) update(geometry_.ButtonRects[hoverButton_]);
  hoverButton_ = -1;
  tooltip_->Hide();
  HidePreview();
}

void ToolbarWindow::hideEvent(QHideEvent*) {
  // The tip and the popup are windows of their own and would stay behind a
  // bar that full screen hides.
  tooltip_->Hide();
  HidePreview();
}

void ToolbarWindow::ActivateButton(int index) {
  if (index == kButtonSubtitle) {
    const QPoint corner = mapToGlobal(geometry_.ButtonRects[index].topLeft());
    Send(WM_PLAYER_SUBTITLE_MENU, corner.x(), corner.y());
    return;
  }
  Send(kButtonActions[index].message);
}

void ToolbarWindow::RefreshTexts() {
  if (tooltip_->IsShown() && hoverButton_ >= 0) {
    tooltip_->Show(QCursor::pos(), ButtonTooltip(hoverButton_, state_));
  }
  update();
}

void ToolbarWindow::OpenSpeedMenu(QPoint global) {
  if (speedMenu_) speedMenu_->close();
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  auto add = [menu](int id, const char16_t* key) {
    QAction* action = menu->addAction(LanguageManager::GetString(key));
    action->setData(id);
    return action;
  };
  add(ID_SPEED_RESET, u"Toolbar.SpeedReset");
  menu->addSeparator();
  add(ID_SPEED_DOWN, u"Toolbar.SpeedDown");
  add(ID_SPEED_UP, u"Toolbar.SpeedUp");
  menu->addSeparator();
  for (const SpeedPreset& preset : kSpeedPresets) {
    QAction* action = add(preset.id, preset.key);
    action->setCheckable(true);
    action->setChecked(std::fabs(state_.Speed - preset.speed) < 0.01);
  }
  connect(menu, &QMenu::triggered, this, [this](QAction* action) {
    if (host_) host_->SendCommand(action->data().toInt());
  });
  speedMenu_ = menu;
  menu->popup(global);
}

bool ToolbarWindow::PreviewAllowed(QPoint point) const {
  return state_.Duration > 0 && geometry_.InPreviewZone(point) && previewEnabled_ &&
         frames_.GetFrame;
}

QPoint ToolbarWindow::PreviewAnchor(QPoint global) const {
  return QPoint(global.x(), mapToGlobal(QPoint(0, geometry_.SeekTop)).y());
}

void ToolbarWindow::SetPreviewFrames(bool enabled, PreviewFrames frames) {
  previewEnabled_ = enabled;
  frames_ = std::move(frames);
  if (!previewEnabled_ || !frames_.GetFrame) {
    HidePreview();
  } else if (isVisible()) {
    PreparePopup();
  }
}

void ToolbarWindow::PreparePopup() {
  if (popup_ != nullptr || !previewEnabled_ || !frames_.GetFrame) return;
  popup_ = new ThumbnailPopup(this);
  popup_->Prepare();
}

void ToolbarWindow::showEvent(QShowEvent*) {
  // Once the player is on screen, the popup is made ahead of the first hover.
  QTimer::singleShot(0, this, [this] { PreparePopup(); });
}

void ToolbarWindow::ShowPreview(QPoint globalPos, double fraction) {
  if (!previewEnabled_ || !frames_.GetFrame || (frames_.Ready && !frames_.Ready())) return;
  if (popup_ == nullptr) popup_ = new ThumbnailPopup(this);
  int width = 0;
  int height = 0;
  const QImage frame = frames_.GetFrame(fraction, &width, &height);
  popup_->ShowAt(globalPos, frame, QSize(width, height), state_.Duration, fraction);
}

void ToolbarWindow::HidePreview() {
  if (popup_) popup_->Clear();
}

void ToolbarWindow::OnPreviewFrameReady() {
  if (popup_ == nullptr || !popup_->isVisible() || popup_->Fraction() < 0 || !frames_.GetFrame) {
    return;
  }
  int width = 0;
  int height = 0;
  const QImage frame = frames_.GetFrame(popup_->Fraction(), &width, &height);
  popup_->UpdatePicture(frame, QSize(width, height));
}

}  // namespace zelvaro::chrome
