#pragma once
// TitleBarWindow: the painted caption along the top of the frameless main
// window: the logo, the application and media titles, and six buttons (pin,
// minimise, maximise or restore, full screen, close, settings). It moves the
// window through the system's move, maximises and restores it, and drags it
// out of a maximised state. Playback-free: what is not a window gesture goes
// to the ChromeHost, which must outlive the bar.
//
// The main window owns it as a child, sets its titles and full-screen state,
// and lays it out; the bar keeps its own height. Its tooltip is a child
// object it owns. Interface thread only.

#include "chrome/chrome_paint.h"
#include "chrome/title_bar_geometry.h"

#include <QFont>
#include <QPoint>
#include <QRect>
#include <QString>
#include <QWidget>

namespace zelvaro::chrome {

class ChromeHost;
class TooltipWindow;

class TitleBarWindow : public QWidget {
  Q_OBJECT
 public:
  static constexpr int kDesignHeight = kTitleBarDesignHeight;

  TitleBarWindow(ChromeHost* host, QWidget* parent);

  // `extraTitle` is shown in preference to `mediaTitle`; the application's
  // own title stays "Zelvaro".
  void SetTitles(const QString& mediaTitle, const QString& extraTitle);
  void SetFullscreen(bool on);
  bool AlwaysOnTop() const { return alwaysOnTop_; }
  // Keeps the main window above others, or lets it go.
  void SetAlwaysOnTop(bool on);

  // Maximises the main window, keeping its normal rectangle, or puts it back
  // there.
  void ToggleMaximize();
  // Puts a maximised main window back to its normal rectangle; else nothing.
  void Restore();

  // Where everything is, for painting, hit-testing and tests.
  TitleBarLayout Layout() const;

  // The title line as painted: the application title, then the separator and
  // the second title (elided to fit) when there is one, with where each
  // begins. Empty strings for missing parts.
  struct TitleText {
    QString app;
    QString separator;
    QString second;
    int appX = 0;
    int separatorX = 0;
    int secondX = 0;
  };
  TitleText TitleTextLayout() const;

  int HoverButton() const { return hoverButton_; }
  int PressedButton() const { return pressedButton_; }
  const TooltipWindow* Tooltip() const { return tooltip_; }
  // After a language switch: a tip on show takes the new text at once.
  void RefreshTexts();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;

 private:
  void PaintButton(QPainter& painter, const TitleBarLayout& layout, int index) const;
  void Act(int button);
  void UpdateHover(QPoint position, QPoint globalPosition);
  QString TooltipText(int button) const;
  bool MainWindowZoomed() const;
  Qt::Edges ResizeEdgesAt(QPoint position) const;
  void DragOutOfMaximized(QPoint globalPosition);

  ChromeHost* host_;
  TooltipWindow* tooltip_;
  IconSet icons_;
  QFont font_;
  QString appTitle_;
  QString mediaTitle_;
  QString extraTitle_;
  bool alwaysOnTop_ = false;
  bool fullscreen_ = false;
  // Taken before maximising; the window's own state says whether it is.
  QRect normalGeometry_;
  bool moveArmed_ = false;
  bool pendingDrag_ = false;
  QPoint dragStart_;  // global
  int dragStartY_ = 0;
  int hoverButton_ = -1;
  int pressedButton_ = -1;
};

}  // namespace zelvaro::chrome
