#pragma once
// ToolbarWindow: the bar along the bottom of the player. Its upper row is the
// seek bar (with the A-B marks and the preview popup above it) and the volume
// slider with the speaker; its lower row the buttons, the time text and the
// information chips. Wholly hand-painted, no child widgets. It holds no
// playback logic: the main window writes a ToolbarState into it, and it
// reports what the user did through the ChromeHost (player messages, command
// ids, the context menu and full screen); the main window answers at once.
//
// Threads: interface thread only; the thumbnail generator's frame-ready
// callback arrives there too. Ownership: the host and the generator are
// borrowed and must outlive the toolbar, or be replaced first (SetPreview
// with null before the generator goes). The tooltip, the preview popup and
// the speed menu are children of the toolbar.

#include "chrome/toolbar_chips.h"
#include "chrome/toolbar_geometry.h"
#include "chrome/toolbar_state.h"

#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QMenu>
#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

namespace zelvaro {
class ThumbnailGenerator;
}

namespace zelvaro::chrome {

class ChromeHost;
class IconSet;
class ThumbnailPopup;
class TooltipWindow;

// What the preview asks of a thumbnail generator; both empty without one.
// GetFrame returns the picture for a fraction if it is at hand (a null image
// otherwise) and the size to show it at.
struct PreviewFrames {
  std::function<bool()> Ready;
  std::function<QImage(double fraction, int* width, int* height)> GetFrame;
};

class ToolbarWindow : public QWidget {
  Q_OBJECT
 public:
  static constexpr int kDesignHeight = kToolbarDesignHeight;

  ToolbarWindow(ChromeHost* host, QWidget* parent);
  ~ToolbarWindow() override;

  const ToolbarState& State() const { return state_; }
  // Takes a whole state and repaints only what changed: a position tick
  // repaints the time text (when its text changes) and the thumb's path.
  // While the seek bar is dragged the drag keeps its own Progress.
  void Apply(const ToolbarState& state);
  void SetVolume(int percent);  // clamped to 0..100
  void SetMuted(bool muted);
  void SetSubtitleEnabled(bool enabled);
  void SetSubtitlePresent(bool present);
  void SetABMarks(double a, double b);  // a value outside 0..1 becomes 0

  // PreviewEnabled and Thumbnails. Registers the toolbar's frame-ready hook
  // with the generator.
  void SetPreview(bool enabled, ThumbnailGenerator* thumbnails);
  // The same through plain functions, for any source of pictures.
  void SetPreviewFrames(bool enabled, PreviewFrames frames);
  // A picture asked for earlier is ready: asks again for the point on show.
  void OnPreviewFrameReady();

  bool SeekDragging() const { return seekDragging_; }
  // Shows or moves the popup for `fraction`, centred on the global x and
  // standing above the global y (the seek bar's top).
  void ShowPreview(QPoint globalPos, double fraction);
  void HidePreview();

  // What tests look at.
  const ToolbarGeometry& Geometry() const { return geometry_; }
  int HoverButton() const { return hoverButton_; }
  QRect SpeedChipRect() const { return speedChipRect_; }
  QRect AudioChipRect() const { return audioChipRect_; }
  const TooltipWindow* Tooltip() const { return tooltip_; }
  // After a language switch: a tip on show takes the new text at once.
  void RefreshTexts();
  ThumbnailPopup* Popup() const { return popup_; }
  QMenu* SpeedMenu() const { return speedMenu_; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void Relayout();
  QString TimeText() const;
  QRect TimeTextRect(const QString& text) const;

  void PaintSeekBar(QPainter& painter) const;
  void PaintButtons(QPainter& painter, const QRegion& dirty) const;
  void PaintChips(QPainter& painter, const QRegion& dirty) const;
  void PaintVolume(QPainter& painter) const;

  void LeftPress(QPoint point, QPoint global);
  void ActivateButton(int index);
  void OpenSpeedMenu(QPoint global);
  void SetProgressNow(double fraction);
  void SetVolumeFromDrag(int x);
  bool PreviewAllowed(QPoint point) const;
  void PreparePopup();
  QPoint PreviewAnchor(QPoint global) const;
  qintptr Send(int message, qintptr wParam = 0, qintptr lParam = 0);

  ChromeHost* host_;
  float scale_;
  ToolbarState state_;
  ToolbarGeometry geometry_;
  std::vector<ToolbarChip> chips_;
  bool chipsOnShow_ = false;

  std::unique_ptr<IconSet> icons_;
  QFont timeFont_;
  QFont chipFont_;
  QFontMetrics timeMetrics_;
  QFontMetrics chipMetrics_;
  QString timeText_;
  QRect timeTextRect_;

  // Interaction.
  int hoverButton_ = -1;
  int pressedButton_ = -1;
  bool seekDragging_ = false;
  bool seekDragMoved_ = false;
  bool volumeDragging_ = false;
  QPoint lastDragPoint_{-1, -1};
  // Kept from the last layout that showed the chips, so a click there still
  // opens its menu after the window narrows.
  QRect speedChipRect_;
  QRect audioChipRect_;
  bool handCursor_ = false;

  TooltipWindow* tooltip_;
  bool previewEnabled_ = true;
  PreviewFrames frames_;
  ThumbnailPopup* popup_ = nullptr;  // made at first use
  QPointer<QMenu> speedMenu_;
};

}  // namespace zelvaro::chrome
