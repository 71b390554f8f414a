#pragma once
// DarkMenu: the one look of every popup menu of the process (the main
// window's menus and submenus, the toolbar's speed menu, the context menus
// of line edits): dark background and frame, the separators' two lines, the
// check mark and submenu arrow in the text colour, item heights of 1.2 menu
// rows, no underlined access keys, and text after a tab drawn right-aligned.
// Nobody builds a look of their own: every QMenu takes this style when it is
// first polished.
//
// Interface thread only. InstallDarkMenus runs at main window creation,
// before any menu; RemoveDarkMenus at its destruction hands open menus back
// to the application's style. Both may be called more than once. The style
// is owned here, never by the menus that use it.

#include <QProxyStyle>

namespace zelvaro::chrome {

void InstallDarkMenus();
void RemoveDarkMenus();

// The style itself, for tests that paint a menu row by row.
class DarkMenuStyle : public QProxyStyle {
 public:
  DarkMenuStyle();

  // One menu row at 96 DPI before the 1.2 stretch, and the check glyph's box.
  static constexpr int kMenuItemHeight = 19;
  static constexpr int kCheckWidth = 15;
  static constexpr int kCheckHeight = 15;
  static constexpr int kSeparatorWidth = 100;
  static constexpr int kSeparatorHeight = 7;
  static constexpr int kFrameWidth = 3;
  static constexpr int kTextRightInset = 5;

  // The height of one item row: MenuItemHeight x 1.2, truncated.
  static int ItemHeight();
  // The text as drawn: every "&" removed, then cut at tabs.
  static QStringList DrawnParts(const QString& text);

  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget = nullptr) const override;
  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget = nullptr) const override;
  QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                         const QWidget* widget = nullptr) const override;
  int pixelMetric(PixelMetric metric, const QStyleOption* option = nullptr,
                  const QWidget* widget = nullptr) const override;
  int styleHint(StyleHint hint, const QStyleOption* option = nullptr,
                const QWidget* widget = nullptr,
                QStyleHintReturn* returnData = nullptr) const override;
};

}  // namespace zelvaro::chrome
