#include "chrome/popup_placement.h"
#include "chrome/icon_tint.h"

#include <gtest/gtest.h>

namespace zelvaro::chrome {
namespace {

const QRect kWork(0, 0, 1920, 1040);

TEST(PopupPlacementTest, TooltipStaysInsideTheWorkArea) {
  struct Case {
    QPoint cursor;
    QSize size;
    float scale;
    QPoint expected;
  } cases[] = {
      {{100, 100}, {80, 24}, 1.0f, {100, 118}},     // below and right of the cursor
      {{1900, 100}, {80, 24}, 1.0f, {1816, 118}},   // flips left, 4 px gap
      {{100, 1030}, {80, 24}, 1.0f, {100, 1002}},   // flips above
      {{1900, 1030}, {80, 24}, 2.0f, {1812, 998}},  // both, gaps scaled
      {{100, 100}, {4000, 24}, 1.0f, {0, 118}},     // longer than the screen: clamped left
  };
  for (const Case& c : cases) {
    EXPECT_EQ(TooltipPosition(c.cursor, c.size, kWork, c.scale), c.expected)
        << c.cursor.x() << "," << c.cursor.y();
  }
}

TEST(PopupPlacementTest, PreviewPopupStaysInsideTheWorkAreaAtBothEnds) {
  const QSize popup(164, 114);
  EXPECT_EQ(PreviewPopupPosition(960, 900, popup, kWork, 1.0f), QPoint(878, 781));
  EXPECT_EQ(PreviewPopupPosition(3, 900, popup, kWork, 1.0f), QPoint(0, 781));
  EXPECT_EQ(PreviewPopupPosition(1918, 900, popup, kWork, 1.0f), QPoint(1920 - 164, 781));
  EXPECT_EQ(PreviewPopupPosition(960, 50, popup, kWork, 1.0f).y(), 0);
  EXPECT_EQ(PreviewPopupPosition(960, 900, popup, QRect(1920, 0, 1280, 1024), 1.0f).x(), 1920);
}

TEST(IconTintTest, MultipliesColourAndKeepsAlpha) {
  QImage icon(2, 1, QImage::Format_ARGB32);
  icon.setPixel(0, 0, qRgba(255, 255, 255, 255));
  icon.setPixel(1, 0, qRgba(0, 0, 0, 0));
  const QImage tinted =
      TintedImage(icon, QColor(0xC8, 0x64, 0x00)).convertToFormat(QImage::Format_ARGB32);
  EXPECT_EQ(tinted.pixel(0, 0), qRgba(0xC8, 0x64, 0x00, 255));
  EXPECT_EQ(qAlpha(tinted.pixel(1, 0)), 0);
  EXPECT_TRUE(TintedImage(QImage(), Qt::white).isNull());
}

}  // namespace
}  // namespace zelvaro::chrome
