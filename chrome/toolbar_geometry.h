#pragma once
// Where everything on the toolbar is, as one pure function of the client
// width, the scale, whether there is video and the widths of the chips'
// texts. The toolbar paints from it and hit-tests against it, and tests ask
// it where things are, so what is drawn and what is hit never disagree.
// Lengths are design lengths times the scale, truncated. Any thread.

#include <QPoint>
#include <QRect>

#include <array>
#include <span>
#include <vector>

namespace zelvaro::chrome {

// Buttons by index; the numbers are the design's, not the order on screen.
enum ToolbarButton : int {
  kButtonPlayPause = 0,
  kButtonStop = 1,
  kButtonPrevious = 2,
  kButtonNext = 3,
  kButtonOpen = 4,
  kButtonRotateLeft = 5,
  kButtonRotateRight = 6,
  kButtonFlipH = 7,
  kButtonFlipV = 8,
  kButtonPlaylist = 9,
  kButtonControlPanel = 10,
  kButtonSubtitle = 11,
  kToolbarButtonCount = 12,
};

inline constexpr int kToolbarDesignHeight = 60;

struct ToolbarGeometry {
  int Width = 0;
  float Scale = 1.0f;

  std::array<QRect, kToolbarButtonCount> ButtonRects;  // empty when hidden
  std::array<QRect, kToolbarButtonCount> IconRects;    // 20s square, centred
  int TimeTextX = 0;
  int TimeTextY = 0;  // top of the text cell
  bool TimeTextShown = false;
  bool ChipsShown = false;  // by width; the chips also need a video or audio text
  int ChipStartX = 0;
  std::vector<QRect> ChipRects;  // one per given text width, left to right
  int ChipTextInset = 0;

  int SeparatorY = 0;
  int SeparatorHeight = 0;

  int SeekLeft = 0;
  int SeekRight = 0;
  int SeekTop = 0;
  int SeekBottom = 0;
  int LineTop = 0;  // the 2s track of the seek bar and the volume slider
  int LineHeight = 0;
  int MarkTop = 0;  // the A and B marks and the range between them
  int MarkHeight = 0;
  int MarkWidth = 0;
  int ThumbRadius = 0;  // seek and volume thumbs

  QRect VolumeRect;  // the slider's track width, y 7s..17s
  int VolumeTickX = 0;
  int VolumeTickTop = 0;
  int VolumeTickBottom = 0;
  QRect SpeakerRect;

  // (x - SeekLeft) / (SeekRight - SeekLeft), clamped to 0..1.
  double FractionAt(int x) const;
  // SeekLeft + (SeekRight - SeekLeft) x fraction, truncated.
  int XAt(double fraction) const;
  // The seek thumb's circle for a fraction (its top at SeekTop).
  QRect SeekThumbRect(double fraction) const;
  // The volume thumb's circle at a percent.
  QRect VolumeThumbRect(int percent) const;
  int VolumeLevelWidth(int percent) const;
  // The percent for an x on the slider, clamped to 0..100.
  int VolumeAt(int x) const;
  // The whole seek row that changes with the marks, the progress and the thumb.
  QRect SeekRowRect() const;
  // What a move of the thumb from one fraction to another repaints.
  QRect SeekChangeRect(double from, double to) const;
  QRect VolumeAreaRect() const;  // slider, thumb and speaker

  // Index of the button under `point`, or -1.
  int ButtonAt(QPoint point) const;
  // A press that seeks: 7s around the bar, edges included.
  bool InSeekPressZone(QPoint point) const;
  // Hovering that previews: the bar's width, 5s above and below it.
  bool InPreviewZone(QPoint point) const;
  bool InSpeakerPressZone(QPoint point) const;
  bool InVolumePressZone(QPoint point) const;
  // On a control: a button, or the seek bar, speaker or slider grown by 5s.
  // Double and right clicks act only off the controls.
  bool OnControl(QPoint point) const;
};

// `chipTextWidths`: the text width of each chip shown, left to right; empty
// when there are none.
ToolbarGeometry ComputeToolbarGeometry(int width, float scale, bool hasVideo,
                                       std::span<const int> chipTextWidths = {});

// A rectangle's test with its right and bottom edges included.
bool ContainsWithEdges(const QRect& rect, QPoint point);

}  // namespace zelvaro::chrome
