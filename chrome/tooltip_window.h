#pragma once
// TooltipWindow: the chrome's hand-painted tip, a pale yellow box with a
// black frame and text that follows the cursor over a button. Shown at once on each call: the bars
// call Show as the pointer moves over a button and Hide when it leaves.
// Each bar owns one. Interface thread only.

#include <QFont>
#include <QString>
#include <QWidget>

namespace zelvaro::chrome {

// A small top-level window of `owner` (a tool-tip window, so Wayland places
// it as a popup of the player) that never takes the focus or the mouse and
// paints every pixel itself: the tooltip and the seek bar's preview.
class PassivePopup : public QWidget {
  Q_OBJECT
 public:
  explicit PassivePopup(QWidget* owner);
};

class TooltipWindow : public PassivePopup {
  Q_OBJECT
 public:
  explicit TooltipWindow(QWidget* owner);

  // Sizes the tip to `text` and shows it near the global point `cursor`,
  // inside the work area of that point's screen. Empty text hides it.
  void Show(QPoint cursor, const QString& text);
  void Hide();

  bool IsShown() const { return shown_; }
  const QString& Text() const { return text_; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QString text_;
  QFont font_;
  bool shown_ = false;
};

// The work area (available geometry) of the screen under or nearest `point`.
QRect WorkAreaAt(QPoint point);

}  // namespace zelvaro::chrome
