#include "chrome/toolbar_geometry.h"

#include "chrome/design_length.h"

#include <algorithm>

namespace zelvaro::chrome {
namespace {

// Design lengths.
constexpr int kButtonTop = 27;
constexpr int kButtonSide = 30;
constexpr int kIconSide = 20;
constexpr int kSlot = 40;
constexpr int kFirstButtonLeft = 6;
constexpr int kTimeTextLeft = 216;
constexpr int kTimeTextTop = 32;
constexpr int kTransformLeft = 316;
constexpr int kControlPanelFromRight = 36;
constexpr int kSeparatorTop = 25;
constexpr int kRowCentre = 12;
constexpr int kLineHeight = 2;
constexpr int kMarkHeight = 10;
constexpr int kMarkWidth = 2;
constexpr int kThumbRadius = 5;
constexpr int kSeekLeft = 10;
constexpr int kSeekRightFromRight = 150;
constexpr int kSeekTop = 7;
constexpr int kSeekBottom = 17;
constexpr int kSeekPressMargin = 7;
constexpr int kPreviewMargin = 5;
constexpr int kControlMargin = 5;
constexpr int kVolumeWidth = 80;
constexpr int kVolumeRightGap = 20;
constexpr int kVolumeTop = 7;
constexpr int kVolumeBottom = 17;
constexpr int kTickTop = 8;
constexpr int kTickBottom = 16;
constexpr int kSpeakerSide = 16;
constexpr int kSpeakerGap = 25;
constexpr int kVolumePressMargin = 7;
constexpr int kChipTop = 32;
constexpr int kChipHeight = 18;
constexpr int kChipPadding = 6;
constexpr int kChipGap = 6;
constexpr int kChipAreaFromRight = 130;
constexpr int kChipSlot = 40;

// Bare pixel widths from which things show.
constexpr int kTimeTextMinWidth = 560;
constexpr int kChipsMinWidth = 952;
constexpr int kControlPanelMinWidth = 346;
constexpr int kPlaylistMinWidth = 400;
constexpr int kSubtitleMinWidth = 650;
constexpr int kTransformMinWidth[] = {1020, 1080, 1140, 1198};

QRect FromEdges(int left, int top, int right, int bottom) {
  return QRect(left, top, right - left, bottom - top);
}

}  // namespace

bool ContainsWithEdges(const QRect& rect, QPoint point) {
  return point.x() >= rect.left() && point.x() <= rect.left() + rect.width() &&
         point.y() >= rect.top() && point.y() <= rect.top() + rect.height();
}

ToolbarGeometry ComputeToolbarGeometry(int width, float scale, bool hasVideo,
                                       std::span<const int> chipTextWidths) {
  auto s = [scale](int designLength) { return ScaledLength(designLength, scale); };
  // The width is scaled too before the comparison, so at any scale the
  // thresholds read as bare pixels of the client width.
  auto wide = [&](int threshold) { return static_cast<int>(width * scale) >= s(threshold); };

  ToolbarGeometry g;
  g.Width = width;
  g.Scale = scale;

  const int buttonTop = s(kButtonTop);
  const int side = s(kButtonSide);
  auto place = [&](int index, int left) {
    g.ButtonRects[index] = QRect(left, buttonTop, side, side);
    const int icon = s(kIconSide);
    g.IconRects[index] = QRect(left + (side - icon) / 2, buttonTop + (side - icon) / 2, icon, icon);
  };
  for (int i = kButtonPlayPause; i <= kButtonOpen; ++i) place(i, s(kFirstButtonLeft + i * kSlot));
  int slot = s(kTransformLeft);
  for (int i = 0; i < 4; ++i) {
    if (!hasVideo || !wide(kTransformMinWidth[i])) continue;
    place(kButtonRotateLeft + i, slot);
    slot += s(kSlot);
  }
  const int controlPanelLeft = width - s(kControlPanelFromRight);
  if (wide(kControlPanelMinWidth)) place(kButtonControlPanel, controlPanelLeft);
  if (wide(kPlaylistMinWidth)) place(kButtonPlaylist, controlPanelLeft - s(kSlot));
  if (wide(kSubtitleMinWidth)) place(kButtonSubtitle, controlPanelLeft - 2 * s(kSlot));

  g.TimeTextX = s(kTimeTextLeft);
  g.TimeTextY = s(kTimeTextTop);
  g.TimeTextShown = width >= kTimeTextMinWidth;

  g.ChipsShown = width >= kChipsMinWidth;
  const int chipCount = static_cast<int>(chipTextWidths.size());
  g.ChipStartX = width - s(kChipAreaFromRight) - chipCount * s(kChipSlot);
  g.ChipTextInset = s(kChipPadding);
  int chipX = g.ChipStartX;
  for (int textWidth : chipTextWidths) {
    const int chipWidth = textWidth + 2 * s(kChipPadding);
    g.ChipRects.emplace_back(chipX, s(kChipTop), chipWidth, s(kChipHeight));
    chipX += chipWidth + s(kChipGap);
  }

  g.SeparatorY = s(kSeparatorTop);
  g.SeparatorHeight = std::max(1, s(1));

  g.SeekLeft = s(kSeekLeft);
  g.SeekRight = width - s(kSeekRightFromRight);
  g.SeekTop = s(kSeekTop);
  g.SeekBottom = s(kSeekBottom);
  g.LineHeight = s(kLineHeight);
  g.LineTop = s(kRowCentre) - g.LineHeight / 2;
  g.MarkHeight = s(kMarkHeight);
  g.MarkTop = s(kRowCentre) - g.MarkHeight / 2;
  g.MarkWidth = s(kMarkWidth);
  g.ThumbRadius = s(kThumbRadius);

  const int volumeRight = width - s(kVolumeRightGap);
  const int volumeLeft = volumeRight - s(kVolumeWidth);
  g.VolumeRect = FromEdges(volumeLeft, s(kVolumeTop), volumeRight, s(kVolumeBottom));
  g.VolumeTickX = volumeLeft + s(kVolumeWidth) / 2;
  g.VolumeTickTop = s(kTickTop);
  g.VolumeTickBottom = s(kTickBottom);
  const int speaker = s(kSpeakerSide);
  g.SpeakerRect = QRect(volumeLeft - s(kSpeakerGap), s(kRowCentre) - speaker / 2, speaker, speaker);
  return g;
}

double ToolbarGeometry::FractionAt(int x) const {
  if (SeekRight <= SeekLeft) return 0.0;
  const double fraction = static_cast<double>(x - SeekLeft) / (SeekRight - SeekLeft);
  return std::clamp(fraction, 0.0, 1.0);
}

int ToolbarGeometry::XAt(double fraction) const {
  return SeekLeft + static_cast<int>((SeekRight - SeekLeft) * fraction);
}

QRect ToolbarGeometry::SeekThumbRect(double fraction) const {
  return QRect(XAt(fraction) - ThumbRadius, SeekTop, 2 * ThumbRadius, 2 * ThumbRadius);
}

int ToolbarGeometry::VolumeLevelWidth(int percent) const {
  return percent * VolumeRect.width() / 100;
}

QRect ToolbarGeometry::VolumeThumbRect(int percent) const {
  const int x = VolumeRect.left() + VolumeLevelWidth(percent);
  return QRect(x - ThumbRadius, VolumeRect.top(), 2 * ThumbRadius, 2 * ThumbRadius);
}

int ToolbarGeometry::VolumeAt(int x) const {
  if (VolumeRect.width() <= 0) return 0;
  return std::clamp((x - VolumeRect.left()) * 100 / VolumeRect.width(), 0, 100);
}

QRect ToolbarGeometry::SeekRowRect() const {
  // Anti-aliased edges of the thumb spill a pixel past its box.
  const int pad = ThumbRadius + 2;
  return FromEdges(SeekLeft - pad, SeekTop - 2, SeekRight + pad, SeekBottom + 2);
}

QRect ToolbarGeometry::SeekChangeRect(double from, double to) const {
  const int pad = ThumbRadius + 2;
  const int a = XAt(std::min(from, to));
  const int b = XAt(std::max(from, to));
  return FromEdges(a - pad, SeekTop - 2, b + pad, SeekBottom + 2);
}

QRect ToolbarGeometry::VolumeAreaRect() const {
  const int pad = ThumbRadius + 2;
  return FromEdges(SpeakerRect.left() - 1, 0, VolumeRect.right() + 1 + pad, SeparatorY);
}

int ToolbarGeometry::ButtonAt(QPoint point) const {
  for (int i = 0; i < kToolbarButtonCount; ++i) {
    if (!ButtonRects[i].isEmpty() && ButtonRects[i].contains(point)) return i;
  }
  return -1;
}

bool ToolbarGeometry::InSeekPressZone(QPoint point) const {
  const int m = static_cast<int>(kSeekPressMargin * Scale);
  return ContainsWithEdges(FromEdges(SeekLeft - m, SeekTop - m, SeekRight + m, SeekBottom + m),
                           point);
}

bool ToolbarGeometry::InPreviewZone(QPoint point) const {
  const int m = static_cast<int>(kPreviewMargin * Scale);
  return ContainsWithEdges(FromEdges(SeekLeft, SeekTop - m, SeekRight, SeekBottom + m), point);
}

bool ToolbarGeometry::InSpeakerPressZone(QPoint point) const {
  const int m = static_cast<int>(kVolumePressMargin * Scale);
  return SpeakerRect.adjusted(-m, -m, m, m).contains(point);
}

bool ToolbarGeometry::InVolumePressZone(QPoint point) const {
  const int m = static_cast<int>(kVolumePressMargin * Scale);
  return VolumeRect.adjusted(-m, -m, m, m).contains(point);
}

bool ToolbarGeometry::OnControl(QPoint point) const {
  const int m = static_cast<int>(kControlMargin * Scale);
  const QRect seek = FromEdges(SeekLeft, SeekTop, SeekRight, SeekBottom);
  return ButtonAt(point) >= 0 || seek.adjusted(-m, -m, m, m).contains(point) ||
         SpeakerRect.adjusted(-m, -m, m, m).contains(point) ||
         VolumeRect.adjusted(-m, -m, m, m).contains(point);
}

}  // namespace zelvaro::chrome
