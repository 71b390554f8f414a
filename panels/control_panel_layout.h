#pragma once
// Where the control panel's parts are: the title strip with its close
// button, the four tabs, the content area, and every control of each tab by
// its id. One table and one function serve painting, hit-testing and the
// placement of the child controls alike; pure arithmetic, callable from any
// thread. Lengths are design lengths at 96 DPI times the scale, truncated.

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QStringView>

#include <array>
#include <span>

namespace zelvaro::panels {

inline constexpr int kControlPanelTabCount = 4;
inline constexpr QSize kControlPanelDesignSize{340, 280};

enum class ControlKind { Label, ValueLabel, Slider, Button, CheckBox, Edit };

// One control of one tab. id 0: a plain label without an id. The text is a
// language key, or a fixed text when `fixed` is set.
struct ControlEntry {
  int tab;
  int id;
  ControlKind kind;
  QRect designRect;  // in the window, at 96 DPI
  QStringView text;
  bool fixed = false;
  int minimum = 0;  // sliders
  int maximum = 0;
};

// Every control, tab by tab, in creation order.
std::span<const ControlEntry> ControlPanelControls();
// The control with this id; null for 0 or an unknown id.
const ControlEntry* FindControl(int id);

struct ControlPanelLayout {
  QSize size;
  QRect titleStrip;
  QRect titleText;
  QRect closeButton;
  std::array<QRect, kControlPanelTabCount> tabs;
  QRect content;  // where the selected tab's group sits
};

ControlPanelLayout ControlPanelGeometry(float scale);
// A control's rectangle in the window at `scale`.
QRect ControlRect(const ControlEntry& control, float scale);

enum class ControlPanelHitKind { Drag, Close, Tab, Control };
struct ControlPanelHit {
  ControlPanelHitKind kind = ControlPanelHitKind::Drag;
  int tab = -1;  // for Tab
};
// What a press at `point` lands on; a control of another tab than
// `currentTab` is not there. Anything that is no tab, button or control
// drags the window.
ControlPanelHit ControlPanelHitTest(const ControlPanelLayout& layout, QPoint point, int currentTab,
                             float scale);

// The window's top-left on creation. Without a stored position: at the
// parent's right edge and top. With one: kept reachable on `workArea` (the
// work area of the monitor the stored rectangle is on), not wholly on it.
QPoint ControlPanelPosition(const QPoint* stored, QSize size, const QRect& parentFrame,
                            const QRect& workArea, float scale);

}  // namespace zelvaro::panels
