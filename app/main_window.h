#pragma once
// MainWindow: the hub of the player. One frameless top-level window that owns
// the engine and every panel, turns commands and the player's messages into
// calls on GraphManager and the panels, and is the only place where they
// meet: panels never call each other.
//
// Interface thread only. Other threads reach it by queued calls to
// PostPlayerMessage; a result posted by a worker belongs to the window once
// delivered. Owned panels may be absent (not built yet, or failed to create):
// every handler tests the pointers it uses, and a command that needs a
// missing piece does nothing and says nothing.

#include "app/messages.h"

#include <QPointer>
#include <QRect>
#include <QTimer>
#include <QWidget>

#include <memory>

namespace zelvaro {

class GraphManager;
class OsdOverlay;
class VideoRenderer;

class MainWindow : public QWidget {
  Q_OBJECT
 public:
  MainWindow();
  ~MainWindow() override;

  // Reads the window settings, builds the children and the engine, and
  // places the window. False when the window cannot be made.
  bool Create();

  // Open and play flow.
  bool OpenFile(const QString& path);
  void PlayPause();
  void Stop();

  void ToggleFullscreen();
  void LayoutChildren();

  // The single command dispatcher (commands.h).
  void OnCommand(int id);
  // The player's own messages (messages.h); returns the message's result.
  qintptr OnPlayerMessage(int message, qintptr wParam = 0, qintptr lParam = 0);
  // Safe from any thread: delivers the message on the interface thread.
  void PostPlayerMessage(int message, qintptr wParam = 0, qintptr lParam = 0);

  GraphManager* graph() const { return graph_.get(); }
  VideoRenderer* videoWindow() const { return videoWindow_; }
  bool fullscreen() const { return fullscreen_; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;

 private:
  void ReadWindowSettings();
  void RestorePlacement();
  void SavePanels();
  void SaveWindowAndSettings();
  // Saves the window and the settings, stops the timers and the engine, and
  // ends the event loop; the objects go when the window is deleted.
  void Destroy();
  void OnGraphEvent(long eventCode);
  void OnTimer(int id);
  Qt::Edges ResizeEdgesAt(const QPoint& position) const;

  std::unique_ptr<GraphManager> graph_;
  VideoRenderer* videoWindow_ = nullptr;  // a child: Qt deletes it with the window
  OsdOverlay* osdOverlay_ = nullptr;      // a child of the video window

  bool fullscreen_ = false;
  bool closing_ = false;
  QRect normalGeometry_;  // the last normal rectangle, for the settings
  QTimer positionTimer_;  // 1001
  QTimer frameTimer_;     // 1006
  int magnetDistance_ = 10;
  double lastSpeed_ = 1.0;
};

}  // namespace zelvaro
