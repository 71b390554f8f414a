#include "panels/control_panel_layout.h"

#include "chrome/design_length.h"

#include <algorithm>
#include <array>

namespace zelvaro::panels {
namespace {

using chrome::ScaledLength;
using K = ControlKind;

constexpr int kTitleHeight = 28;
constexpr int kTitleTextLeft = 10;
constexpr int kTabTop = 32;
constexpr int kTabHeight = 24;
constexpr int kMargin = 8;
constexpr int kContentTop = 62;

// Placement limits on creation.
constexpr int kKeepRightReach = 50;
constexpr int kKeepLeftReach = 50;
constexpr int kAboveTopAllowed = 10;
constexpr int kKeepBottomReach = 30;

// Rows of the picture tab: label, slider, value, reset.
constexpr int PictureRow(int row) {
  return 70 + row * 30;
}

const std::array kControls = std::to_array<ControlEntry>({
    // Playback: speed and A-B.
    {0, 0, K::Label, {12, 70, 70, 22}, u"ControlPanel.LabelSpeed"},
    {0, 9060, K::Button, {86, 70, 28, 22}, u"-", true},
    {0, 9063, K::ValueLabel, {118, 70, 54, 22}, u"1.00x", true},
    {0, 9061, K::Button, {176, 70, 28, 22}, u"+", true},
    {0, 9062, K::Button, {212, 70, 64, 22}, u"ControlPanel.ButtonSpeedReset"},
    {0, 0, K::Label, {12, 106, 160, 20}, u"ControlPanel.LabelABRepeat"},
    {0, 9064, K::Edit, {12, 130, 80, 22}, u"--:--:--", true},
    {0, 9065, K::Button, {96, 130, 60, 22}, u"ControlPanel.ButtonABStart"},
    {0, 0, K::Label, {160, 130, 12, 22}, u"~", true},
    {0, 9066, K::Edit, {176, 130, 80, 22}, u"--:--:--", true},
    {0, 9067, K::Button, {260, 130, 60, 22}, u"ControlPanel.ButtonABEnd"},
    {0, 9068, K::Button, {12, 164, 80, 24}, u"ControlPanel.ButtonABClear"},
    {0, 9069, K::Button, {96, 164, 110, 24}, u"ControlPanel.ButtonCutClip"},
    // Video: the picture.
    {1, 0, K::Label, {12, PictureRow(0), 76, 22}, u"ControlPanel.LabelBrightness"},
    {1, 9020, K::Slider, {90, PictureRow(0), 150, 22}, {}, false, 0, 200},
    {1, 9021, K::ValueLabel, {244, PictureRow(0), 36, 22}, u"0", true},
    {1, 9022, K::Button, {284, PictureRow(0), 44, 22}, u"ControlPanel.ButtonReset"},
    {1, 0, K::Label, {12, PictureRow(1), 76, 22}, u"ControlPanel.LabelContrast"},
    {1, 9023, K::Slider, {90, PictureRow(1), 150, 22}, {}, false, 0, 200},
    {1, 9024, K::ValueLabel, {244, PictureRow(1), 36, 22}, u"0", true},
    {1, 9025, K::Button, {284, PictureRow(1), 44, 22}, u"ControlPanel.ButtonReset"},
    {1, 0, K::Label, {12, PictureRow(2), 76, 22}, u"ControlPanel.LabelSaturation"},
    {1, 9026, K::Slider, {90, PictureRow(2), 150, 22}, {}, false, 0, 200},
    {1, 9027, K::ValueLabel, {244, PictureRow(2), 36, 22}, u"0", true},
    {1, 9028, K::Button, {284, PictureRow(2), 44, 22}, u"ControlPanel.ButtonReset"},
    {1, 0, K::Label, {12, PictureRow(3), 76, 22}, u"ControlPanel.LabelHue"},
    {1, 9029, K::Slider, {90, PictureRow(3), 150, 22}, {}, false, 0, 200},
    {1, 9030, K::ValueLabel, {244, PictureRow(3), 36, 22}, u"0", true},
    {1, 9031, K::Button, {284, PictureRow(3), 44, 22}, u"ControlPanel.ButtonReset"},
    {1, 9032, K::Button, {12, 196, 110, 24}, u"ControlPanel.ButtonCapture"},
    // Audio.
    {2, 0, K::Label, {12, 70, 76, 22}, u"ControlPanel.LabelVolume"},
    {2, 9010, K::Slider, {90, 70, 180, 22}, {}, false, 0, 100},
    {2, 9011, K::ValueLabel, {274, 70, 54, 22}, u"100%", true},
    {2, 9070, K::CheckBox, {12, 100, 150, 22}, u"ControlPanel.AudioNormalize"},
    {2, 9071, K::CheckBox, {166, 100, 162, 22}, u"ControlPanel.AudioNormRecover"},
    {2, 0, K::Label, {12, 130, 76, 22}, u"ControlPanel.AudioMaxNorm"},
    {2, 9072, K::Slider, {90, 130, 180, 22}, {}, false, 100, 400},
    {2, 9073, K::ValueLabel, {274, 130, 54, 22}, u"2.0x", true},
    {2, 0, K::Label, {12, 160, 76, 22}, u"ControlPanel.AudioBoost"},
    {2, 9074, K::Slider, {90, 160, 180, 22}, {}, false, 0, 300},
    {2, 9075, K::ValueLabel, {274, 160, 54, 22}, u"ControlPanel.AudioBoostNone"},
    // Subtitles: style, position, sync.
    {3, 0, K::Label, {12, 70, 60, 22}, u"ControlPanel.LabelFont"},
    {3, 9041, K::ValueLabel, {76, 70, 252, 22}, {}, true},
    {3, 9040, K::Button, {76, 98, 140, 24}, u"ControlPanel.ButtonChangeFont"},
    {3, 0, K::Label, {12, 134, 60, 22}, u"ControlPanel.LabelPosition"},
    {3, 9043, K::Button, {76, 134, 28, 22}, u"▲", true},
    {3, 9044, K::Button, {108, 134, 28, 22}, u"▼", true},
    {3, 9045, K::Button, {140, 134, 28, 22}, u"◄", true},
    {3, 9046, K::Button, {172, 134, 28, 22}, u"►", true},
    {3, 0, K::Label, {12, 168, 60, 22}, u"ControlPanel.LabelSync"},
    {3, 9047, K::Button, {76, 168, 48, 22}, u"-0.5s", true},
    {3, 9048, K::Button, {128, 168, 48, 22}, u"+0.5s", true},
    {3, 9049, K::Button, {180, 168, 64, 22}, u"ControlPanel.ButtonSubDelayReset"},
    {3, 9050, K::ValueLabel, {248, 168, 60, 22}, u"0.0s", true},
});

QRect ScaledRect(const QRect& design, float scale) {
  return QRect(ScaledLength(design.x(), scale), ScaledLength(design.y(), scale),
               ScaledLength(design.width(), scale), ScaledLength(design.height(), scale));
}

}  // namespace

std::span<const ControlEntry> ControlPanelControls() {
  return kControls;
}

const ControlEntry* FindControl(int id) {
  if (id == 0) return nullptr;
  for (const ControlEntry& control : kControls) {
    if (control.id == id) return &control;
  }
  return nullptr;
}

ControlPanelLayout ControlPanelGeometry(float scale) {
  const auto s = [scale](int length) { return ScaledLength(length, scale); };
  ControlPanelLayout layout;
  layout.size = QSize(s(kControlPanelDesignSize.width()), s(kControlPanelDesignSize.height()));
  layout.titleStrip = QRect(0, 0, layout.size.width(), s(kTitleHeight));
  layout.closeButton =
      QRect(layout.size.width() - s(kTitleHeight), 0, s(kTitleHeight), s(kTitleHeight));
  layout.titleText =
      QRect(s(kTitleTextLeft), 0, layout.closeButton.left() - s(kTitleTextLeft), s(kTitleHeight));
  // The tabs share the row evenly; the last takes what truncation leaves.
  const int rowWidth = s(kControlPanelDesignSize.width() - 2 * kMargin);
  const int tabWidth = rowWidth / kControlPanelTabCount;
  for (int tab = 0; tab < kControlPanelTabCount; ++tab) {
    const int left = s(kMargin) + tab * tabWidth;
    const int width = tab == kControlPanelTabCount - 1 ? rowWidth - tab * tabWidth : tabWidth;
    layout.tabs[static_cast<size_t>(tab)] = QRect(left, s(kTabTop), width, s(kTabHeight));
  }
  layout.content = QRect(s(kMargin), s(kContentTop), rowWidth,
                         layout.size.height() - s(kContentTop) - s(kMargin));
  return layout;
}

QRect ControlRect(const ControlEntry& control, float scale) {
  return ScaledRect(control.designRect, scale);
}

ControlPanelHit ControlPanelHitTest(const ControlPanelLayout& layout, QPoint point, int currentTab,
                             float scale) {
  if (layout.closeButton.contains(point)) return {ControlPanelHitKind::Close, -1};
  for (int tab = 0; tab < kControlPanelTabCount; ++tab) {
    if (layout.tabs[static_cast<size_t>(tab)].contains(point)) return {ControlPanelHitKind::Tab, tab};
  }
  for (const ControlEntry& control : kControls) {
    if (control.tab != currentTab || control.kind == ControlKind::Label ||
        control.kind == ControlKind::ValueLabel)
      continue;
    if (ControlRect(control, scale).contains(point)) return {ControlPanelHitKind::Control, -1};
  }
  return {};
}

QPoint ControlPanelPosition(const QPoint* stored, QSize size, const QRect& parentFrame,
                            const QRect& workArea, float scale) {
  if (stored == nullptr) return QPoint(parentFrame.right() + 1, parentFrame.top());
  const auto s = [scale](int length) { return ScaledLength(length, scale); };
  const int workRight = workArea.right() + 1;
  const int workBottom = workArea.bottom() + 1;
  int x = std::min(stored->x(), workRight - s(kKeepRightReach));
  if (x + size.width() < workArea.left() + s(kKeepLeftReach)) x = workArea.left();
  int y = stored->y();
  if (y < workArea.top() - s(kAboveTopAllowed)) y = workArea.top();
  y = std::min(y, workBottom - s(kKeepBottomReach));
  return QPoint(x, y);
}

}  // namespace zelvaro::panels
