#include "chrome/title_bar_geometry.h"

#include <gtest/gtest.h>

namespace zelvaro::chrome {
namespace {

struct Expected {
  float scale;
  QSize bar;
  QRect logo;
  QRect text;
  QRect buttons[kTitleBarButtonCount];  // pin, minimise, maximise, full screen, close, settings
  QRect closeIcon;
};

TEST(TitleBarGeometryTest, PartsSitWhereTheDesignPutsThemAtEachScale) {
  const Expected cases[] = {
      {1.0f,
       {800, 32},
       {6, 5, 22, 22},
       {34, 0, 606, 32},
       {{632, 2, 28, 28},
        {674, 2, 28, 28},
        {704, 2, 28, 28},
        {734, 2, 28, 28},
        {764, 2, 28, 28},
        {602, 2, 28, 28}},
       {770, 8, 16, 16}},
      {2.0f,
       {1600, 64},
       {12, 10, 44, 44},
       {68, 0, 1212, 64},
       {{1264, 4, 56, 56},
        {1348, 4, 56, 56},
        {1408, 4, 56, 56},
        {1468, 4, 56, 56},
        {1528, 4, 56, 56},
        {1204, 4, 56, 56}},
       {1540, 16, 32, 32}},
      // 1.25 truncates every length on its own: gaps of 2, buttons of 35.
      {1.25f,
       {1000, 40},
       {7, 6, 28, 28},
       {42, 0, 758, 40},
       {{792, 2, 35, 35},
        {844, 2, 35, 35},
        {881, 2, 35, 35},
        {918, 2, 35, 35},
        {955, 2, 35, 35},
        {755, 2, 35, 35}},
       {962, 9, 20, 20}},
  };
  for (const Expected& c : cases) {
    SCOPED_TRACE(c.scale);
    const TitleBarLayout layout = TitleBarGeometry(c.bar, c.scale, true);
    EXPECT_EQ(layout.logo, c.logo);
    EXPECT_EQ(layout.text, c.text);
    for (int i = 0; i < kTitleBarButtonCount; ++i) EXPECT_EQ(layout.buttons[i], c.buttons[i]) << i;
    EXPECT_EQ(layout.icons[kTitleBarClose], c.closeIcon);
  }
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
