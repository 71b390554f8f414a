#include "chrome/toolbar_window.h"

#include "app/dpi.h"
#include "app/osd_formats.h"
#include "chrome/chrome_paint.h"
#include "chrome/chrome_palette.h"
#include "chrome/thumbnail_popup.h"
#include "chrome/tooltip_window.h"

#include <QPaintEvent>
#include <QPainter>

#include <algorithm>

namespace zelvaro::chrome {
namespace {

constexpr int kTimeFontHeight = 18;
constexpr int kChipFontHeight = 20;
constexpr int kChipFontWidth = 7;
constexpr int kChipRadius = 3;
constexpr int kVolumeColourFrom = 51;

QStringList IconNames() {
  return {QStringLiteral("play.png"),
          QStringLiteral("pause.png"),
          QStringLiteral("stop.png"),
          QStringLiteral("previous.png"),
          QStringLiteral("next.png"),
          QStringLiteral("open.png"),
          QStringLiteral("rotate_left.png"),
          QStringLiteral("rotate_right.png"),
          QStringLiteral("playlist.png"),
          QStringLiteral("settings.png"),
          QStringLiteral("flip_horizontal.png"),
          QStringLiteral("flip_vertical.png"),
          QStringLiteral("subtitle.png"),
          QStringLiteral("subtitle_off.png"),
          QStringLiteral("speaker_0.png"),
          QStringLiteral("speaker_1.png"),
          QStringLiteral("speaker_2.png"),
          QStringLiteral("speaker_mute.png")};
}

QString ButtonIcon(int index, const ToolbarState& state) {
  switch (index) {
    case kButtonPlayPause:
      return state.IsPlaying ? QStringLiteral("pause.png") : QStringLiteral("play.png");
    case kButtonStop:
      return QStringLiteral("stop.png");
    case kButtonPrevious:
      return QStringLiteral("previous.png");
    case kButtonNext:
      return QStringLiteral("next.png");
    case kButtonOpen:
      return QStringLiteral("open.png");
    case kButtonRotateLeft:
      return QStringLiteral("rotate_left.png");
    case kButtonRotateRight:
      return QStringLiteral("rotate_right.png");
    case kButtonFlipH:
      return QStringLiteral("flip_horizontal.png");
    case kButtonFlipV:
      return QStringLiteral("flip_vertical.png");
    case kButtonPlaylist:
      return QStringLiteral("playlist.png");
    case kButtonControlPanel:
      return QStringLiteral("settings.png");
    default:
      return state.SubtitleEnabled && state.SubtitlePresent ? QStringLiteral("subtitle.png")
                                                            : QStringLiteral("subtitle_off.png");
  }
}

QString SpeakerIcon(const ToolbarState& state) {
  if (state.Muted) return QStringLiteral("speaker_mute.png");
  if (state.Volume == 0) return QStringLiteral("speaker_0.png");
  if (state.Volume < 50) return QStringLiteral("speaker_1.png");
  return QStringLiteral("speaker_2.png");
}

bool ChipsDiffer(const ToolbarState& a, const ToolbarState& b) {
  return a.VideoText != b.VideoText || a.AudioText != b.AudioText ||
         a.HardwareDecoding != b.HardwareDecoding || a.AudioChannels != b.AudioChannels ||
         a.Speed != b.Speed;
}

double MarkOrZero(double value) {
  return value >= 0.0 && value <= 1.0 ? value : 0.0;
}

}  // namespace

ToolbarWindow::ToolbarWindow(ChromeHost* host, QWidget* parent)
    : QWidget(parent),
      host_(host),
      scale_(DpiScale),
      icons_(std::make_unique<IconSet>(IconNames())),
      timeFont_(DesignFont(Scaled(kTimeFontHeight))),
      chipFont_(DesignFont(Scaled(kChipFontHeight), Scaled(kChipFontWidth))),
      timeMetrics_(timeFont_),
      chipMetrics_(chipFont_),
      tooltip_(new TooltipWindow(this)) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setFocusPolicy(Qt::NoFocus);
  setFixedHeight(Scaled(kDesignHeight));
  timeText_ = TimeText();
  Relayout();
}

ToolbarWindow::~ToolbarWindow() = default;

void ToolbarWindow::Relayout() {
  chips_ = ToolbarChips(state_);
  std::vector<int> widths;
  widths.reserve(chips_.size());
  for (const ToolbarChip& chip : chips_)
    widths.push_back(chipMetrics_.horizontalAdvance(chip.Text));
  geometry_ = ComputeToolbarGeometry(width(), scale_, state_.HasVideo, widths);
  chipsOnShow_ = geometry_.ChipsShown && !chips_.empty();
  if (chipsOnShow_) {
    for (size_t i = 0; i < chips_.size(); ++i) {
      if (chips_[i].Kind == ChipKind::Speed) speedChipRect_ = geometry_.ChipRects[i];
      if (chips_[i].Kind == ChipKind::Audio) audioChipRect_ = geometry_.ChipRects[i];
    }
  }
  timeTextRect_ = TimeTextRect(timeText_);
}

QString ToolbarWindow::TimeText() const {
  if (state_.IsLive && state_.Duration <= 0) {
    return QStringLiteral("LIVE  ") + FormatOsdTime(state_.Position);
  }
  if (state_.Duration > 0) {
    return FormatOsdTime(state_.Position) + QStringLiteral(" / ") + FormatOsdTime(state_.Duration);
  }
  return FormatOsdTime(state_.Position);
}

QRect ToolbarWindow::TimeTextRect(const QString& text) const {
  if (!geometry_.TimeTextShown) return {};
  // A pixel of slack each side for glyphs that overhang their advance.
  return QRect(geometry_.TimeTextX - 1, geometry_.TimeTextY,
               timeMetrics_.horizontalAdvance(text) + 2, timeMetrics_.height());
}

void ToolbarWindow::Apply(const ToolbarState& next) {
  const ToolbarState old = state_;
  state_ = next;
  state_.Volume = std::clamp(state_.Volume, 0, 100);
  if (seekDragging_) state_.Progress = old.Progress;
  if (volumeDragging_) state_.Volume = old.Volume;

  if (state_.Fullscreen && !old.Fullscreen) tooltip_->Hide();
  const QString text = TimeText();
  if (old.HasVideo != state_.HasVideo || ChipsDiffer(old, state_)) {
    timeText_ = text;
    Relayout();
    update();
    return;
  }

  QRegion dirty;
  if (text != timeText_) {
    dirty += timeTextRect_;
    timeText_ = text;
    timeTextRect_ = TimeTextRect(timeText_);
    dirty += timeTextRect_;
  }
  if (old.MarkA != state_.MarkA || old.MarkB != state_.MarkB || old.IsLive != state_.IsLive) {
    dirty += geometry_.SeekRowRect();
  } else if (geometry_.XAt(old.Progress) != geometry_.XAt(state_.Progress)) {
    dirty += geometry_.SeekChangeRect(old.Progress, state_.Progress);
  }
  if (old.Volume != state_.Volume || old.Muted != state_.Muted) {
    dirty += geometry_.VolumeAreaRect();
  }
  if (old.IsPlaying != state_.IsPlaying) dirty += geometry_.ButtonRects[kButtonPlayPause];
  if (old.SubtitleEnabled != state_.SubtitleEnabled ||
      old.SubtitlePresent != state_.SubtitlePresent) {
    dirty += geometry_.ButtonRects[kButtonSubtitle];
  }
  if (!dirty.isEmpty()) update(dirty);
}

void ToolbarWindow::SetVolume(int percent) {
  ToolbarState next = state_;
  next.Volume = percent;
  Apply(next);
}

void ToolbarWindow::SetMuted(bool muted) {
  ToolbarState next = state_;
  next.Muted = muted;
  Apply(next);
}

void ToolbarWindow::SetSubtitleEnabled(bool enabled) {
  ToolbarState next = state_;
  next.SubtitleEnabled = enabled;
  Apply(next);
}

void ToolbarWindow::SetSubtitlePresent(bool present) {
  ToolbarState next = state_;
  next.SubtitlePresent = present;
  Apply(next);
}

void ToolbarWindow::SetABMarks(double a, double b) {
  ToolbarState next = state_;
  next.MarkA = MarkOrZero(a);
  next.MarkB = MarkOrZero(b);
  Apply(next);
}

void ToolbarWindow::resizeEvent(QResizeEvent*) {
  Relayout();
}

void ToolbarWindow::paintEvent(QPaintEvent* event) {
  const QRegion& dirty = event->region();
  QPainter painter(this);
  painter.fillRect(event->rect(), kToolbarBackground);
  if (dirty.intersects(geometry_.SeekRowRect())) PaintSeekBar(painter);
  const QRect separator(0, geometry_.SeparatorY, width(), geometry_.SeparatorHeight);
  if (dirty.intersects(separator)) painter.fillRect(separator, kRowSeparator);
  PaintButtons(painter, dirty);
  if (geometry_.TimeTextShown && dirty.intersects(timeTextRect_)) {
    painter.setFont(timeFont_);
    painter.setPen(kTimeText);
    painter.drawText(QPoint(geometry_.TimeTextX, geometry_.TimeTextY + timeMetrics_.ascent()),
                     timeText_);
  }
  if (chipsOnShow_) PaintChips(painter, dirty);
  if (dirty.intersects(geometry_.VolumeAreaRect())) PaintVolume(painter);
}

void ToolbarWindow::PaintSeekBar(QPainter& painter) const {
  const ToolbarGeometry& g = geometry_;
  painter.fillRect(QRect(g.SeekLeft, g.LineTop, g.SeekRight - g.SeekLeft, g.LineHeight),
                   kSeekTrack);
  // The played colour starts at mark A once A is set.
  const double a = state_.MarkA;
  const double b = state_.MarkB;
  if (state_.Progress > std::max(a, 0.0)) {
    const int from = g.XAt(a);
    painter.fillRect(QRect(from, g.LineTop, g.XAt(state_.Progress) - from, g.LineHeight),
                     kSeekPlayed);
  }
  if (a > 0 && b > 0 && b > a) {
    painter.fillRect(QRect(g.XAt(a), g.MarkTop, g.XAt(b) - g.XAt(a), g.MarkHeight), kSeekABRange);
  }
  if (a > 0) {
    painter.fillRect(QRect(g.XAt(a) - g.MarkWidth / 2, g.MarkTop, g.MarkWidth, g.MarkHeight),
                     kSeekMarkA);
  }
  if (b > 0) {
    painter.fillRect(QRect(g.XAt(b) - g.MarkWidth / 2, g.MarkTop, g.MarkWidth, g.MarkHeight),
                     kSeekMarkB);
  }
  if (!state_.IsLive) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kSeekThumb);
    painter.drawEllipse(g.SeekThumbRect(state_.Progress));
    painter.restore();
  }
}

void ToolbarWindow::PaintButtons(QPainter& painter, const QRegion& dirty) const {
  const bool subtitleOn = state_.SubtitleEnabled && state_.SubtitlePresent;
  for (int i = 0; i < kToolbarButtonCount; ++i) {
    const QRect& rect = geometry_.ButtonRects[i];
    if (rect.isEmpty() || !dirty.intersects(rect)) continue;
    const bool hovered = hoverButton_ == i;
    QColor tint = hovered ? kTintHovered : kTintNormal;
    if (i == kButtonSubtitle && subtitleOn) {
      tint = hovered ? kTintSubtitleOnHovered : kTintSubtitleOnNormal;
    }
    if (pressedButton_ == i) tint = kTintPressed;
    icons_->Draw(painter, ButtonIcon(i, state_), geometry_.IconRects[i], tint);
  }
}

void ToolbarWindow::PaintChips(QPainter& painter, const QRegion& dirty) const {
  const qreal radius = static_cast<int>(kChipRadius * scale_);
  painter.setFont(chipFont_);
  for (size_t i = 0; i < chips_.size(); ++i) {
    const QRect& rect = geometry_.ChipRects[i];
    if (!dirty.intersects(rect)) continue;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kChipBackground);
    painter.drawRoundedRect(rect, radius, radius);
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(chips_[i].Colour);
    const QRect text = rect.adjusted(geometry_.ChipTextInset, 0, 0, 0);
    painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, chips_[i].Text);
  }
}

void ToolbarWindow::PaintVolume(QPainter& painter) const {
  const ToolbarGeometry& g = geometry_;
  const QRect& slider = g.VolumeRect;
  painter.fillRect(QRect(slider.left(), g.LineTop, slider.width(), g.LineHeight), kVolumeTrack);
  painter.fillRect(QRect(g.VolumeTickX, g.VolumeTickTop, g.SeparatorHeight,
                         g.VolumeTickBottom - g.VolumeTickTop),
                   kVolumeCentreTick);
  painter.fillRect(QRect(slider.left(), g.LineTop, g.VolumeLevelWidth(state_.Volume), g.LineHeight),
                   state_.Volume < kVolumeColourFrom ? kVolumeLevelLow : kVolumeLevelHigh);
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(kVolumeThumb);
  painter.drawEllipse(g.VolumeThumbRect(state_.Volume));
  painter.restore();
  icons_->Draw(painter, SpeakerIcon(state_), g.SpeakerRect,
               state_.Muted ? kTintSpeakerMuted : kTintSpeaker);
}

}  // namespace zelvaro::chrome
