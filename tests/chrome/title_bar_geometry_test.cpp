#include "chrome/title_bar_geometry.h"

#include <gtest/gtest.h>

namespace zelvaro::chrome {
namespace {

// 1x and 2x are read from the golden images; 1.25 is where truncation bites:
// every length on its own, gaps of 2, buttons of 35.
TEST(TitleBarGeometryTest, PartsSitWhereTheDesignPutsThemAtAFractionalScale) {
  const TitleBarLayout layout = TitleBarGeometry({1000, 40}, 1.25f, true);
  EXPECT_EQ(layout.logo, QRect(7, 6, 28, 28));
  EXPECT_EQ(layout.text, QRect(42, 0, 758, 40));
  // Pin, minimise, maximise, full screen, close, settings.
  const int lefts[kTitleBarButtonCount] = {792, 844, 881, 918, 955, 755};
  for (int i = 0; i < kTitleBarButtonCount; ++i)
    EXPECT_EQ(layout.buttons[i], QRect(lefts[i], 2, 35, 35)) << i;
  EXPECT_EQ(layout.icons[kTitleBarClose], QRect(962, 9, 20, 20));
}

TEST(TitleBarGeometryTest, TextStartsFurtherLeftWithoutALogo) {
  const TitleBarLayout layout = TitleBarGeometry({800, 32}, 1.0f, false);
  EXPECT_TRUE(layout.logo.isEmpty());
  EXPECT_EQ(layout.text.left(), 10);
  EXPECT_EQ(TitleBarGeometry({800, 32}, 2.0f, false).text.left(), 20);
}

TEST(TitleBarGeometryTest, HitTestingFollowsTheButtonsEdgesAndGaps) {
  const TitleBarLayout layout = TitleBarGeometry({800, 32}, 1.0f, true);
  EXPECT_EQ(TitleBarButtonAt(layout, {764, 16}), kTitleBarClose);  // left edge is in
  EXPECT_EQ(TitleBarButtonAt(layout, {791, 29}), kTitleBarClose);
  EXPECT_EQ(TitleBarButtonAt(layout, {792, 16}), -1);  // right edge is out
  EXPECT_EQ(TitleBarButtonAt(layout, {763, 16}), -1);  // the 2 px gap
  EXPECT_EQ(TitleBarButtonAt(layout, {665, 16}), -1);  // the wider gap before the pin
  EXPECT_EQ(TitleBarButtonAt(layout, {640, 16}), kTitleBarPin);
  EXPECT_EQ(TitleBarButtonAt(layout, {610, 16}), kTitleBarSettings);
  EXPECT_EQ(TitleBarButtonAt(layout, {770, 1}), -1);  // above the buttons
  EXPECT_EQ(TitleBarButtonAt(layout, {400, 16}), -1);
}

TEST(TitleBarGeometryTest, ResizeBandsReachUnderTheBarAlongTheWindowsEdges) {
  const QSize window(800, 600);
  EXPECT_EQ(TitleBarResizeEdges({0, 0}, window, 1.0f), Qt::TopEdge | Qt::LeftEdge);
  EXPECT_EQ(TitleBarResizeEdges({799, 3}, window, 1.0f), Qt::TopEdge | Qt::RightEdge);
  EXPECT_EQ(TitleBarResizeEdges({400, 7}, window, 1.0f), Qt::Edges(Qt::TopEdge));
  EXPECT_EQ(TitleBarResizeEdges({400, 8}, window, 1.0f), Qt::Edges());
  EXPECT_EQ(TitleBarResizeEdges({400, 15}, window, 2.0f), Qt::Edges(Qt::TopEdge));
  EXPECT_EQ(TitleBarResizeEdges({792, 20}, window, 1.0f), Qt::Edges(Qt::RightEdge));
}

}  // namespace
}  // namespace zelvaro::chrome
