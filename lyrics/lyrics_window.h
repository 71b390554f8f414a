#pragma once
// LyricsWindow: the painted lyrics panel, a frameless tool window owned by
// the main window. It lists the lines of the current lyrics, marks the line
// at the playing position and keeps it in the middle of the view, seeks when
// a line is clicked, and applies an offset of its own in half-second steps.
//
// The main window writes it directly (SetData, SetSearching, SetPosition on
// its 100 ms timer) and owns it; the panel reaches the player only through
// the seek callback it is given. It reads and writes its own placement
// (LyricsX, LyricsY, LyricsW, LyricsH) and LyricsVisible when the user
// closes it. Interface thread only.

#include "chrome/chrome_paint.h"
#include "lyrics/lyrics_data.h"
#include "lyrics/lyrics_panel_geometry.h"

#include <QFont>
#include <QWidget>

#include <functional>

namespace zelvaro {

class LyricsWindow : public QWidget {
  Q_OBJECT
 public:
  static constexpr int kDesignWidth = 300;
  static constexpr int kDesignHeight = 450;

  // `seek` receives seconds from the start of the file.
  LyricsWindow(QWidget* owner, std::function<void(double seconds)> seek);

  // Shows the panel at its stored place, or beside the owner when that is
  // missing or off every screen; hiding saves the place first.
  void Show(bool show);
  // Show(false), and the panel stays closed at the next start.
  void Hide();
  void SavePlacement() const;
  // Where Show(true) puts the panel now.
  QRect PlacementRect() const;

  // A copy of `data`; the line, scroll and following start over. The user
  // offset stays until reset.
  void SetData(const LyricsData& data);
  // No lines, not searching: the panel says there are no lyrics.
  void Clear();
  void SetSearching(bool searching);
  // The playing position; true when the marked line changed.
  bool SetPosition(int64_t positionMs);
  void RefreshFonts();

  // Where everything is, for painting, hit-testing and tests.
  LyricsPanelLayout Layout() const;
  int LineAt(QPoint point) const { return LyricsLineAt(Layout(), point); }

  const LyricsData& Data() const { return data_; }
  int CurrentLine() const { return currentLine_; }
  int64_t PositionMs() const { return positionMs_; }
  int UserOffsetMs() const { return userOffsetMs_; }
  bool Searching() const { return searching_; }
  bool AutoScroll() const { return autoScroll_; }
  int ScrollY() const { return scrollY_; }
  // "Offset: +0.5s" as the bottom row shows it.
  QString OffsetText() const;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  // Takes the settled scroll position from the layout (following, range).
  void Settle();
  void PaintList(QPainter& painter, const LyricsPanelLayout& layout) const;
  void PaintBottom(QPainter& painter, const LyricsPanelLayout& layout) const;
  void UpdateHover(QPoint point);

  std::function<void(double)> seek_;
  chrome::IconSet icons_;
  QFont normalFont_;
  QFont boldFont_;
  QFont smallFont_;
  int lineHeight_ = 0;

  LyricsData data_;
  int currentLine_ = -1;
  int64_t positionMs_ = 0;
  int userOffsetMs_ = 0;
  bool searching_ = false;
  int scrollY_ = 0;
  bool autoScroll_ = true;

  bool thumbHot_ = false;
  bool thumbDragging_ = false;
  int dragStartY_ = 0;
  int dragStartScroll_ = 0;
  bool closeHot_ = false;
  bool closePressed_ = false;
  int hotLine_ = -1;
  int hotButton_ = kLyricsNoButton;
  int pressedButton_ = kLyricsNoButton;
};

}  // namespace zelvaro
