// The main window's geometry without a window: the frame's layout, the size
// each sizing command asks for at several scales, where the window lands on
// its work area, the magnet and the docked panel's place.

#include "app/window_sizing.h"

#include <gtest/gtest.h>

namespace zelvaro {
namespace {

const QRect kWork(0, 0, 1920, 1080);

TEST(WindowSizing, LayoutOfTheFrame) {
  struct Case {
    float scale;
    bool fullscreen;
    QRect titleBar, video, toolbar;
  };
  const Case cases[] = {
      {1.0f, false, {3, 3, 994, 32}, {3, 35, 994, 602}, {3, 637, 994, 60}},
      // 2x: border 6, title bar 64, toolbar 120.
      {2.0f, false, {6, 6, 988, 64}, {6, 70, 988, 504}, {6, 574, 988, 120}},
      {1.0f, true, {0, 0, 1000, 32}, {0, 0, 1000, 700}, {0, 640, 1000, 60}},
  };
  for (const Case& c : cases) {
    const MainWindowLayout layout =
        ComputeMainWindowLayout(QSize(1000, 700), c.fullscreen, c.scale);
    EXPECT_EQ(layout.titleBar, c.titleBar) << c.scale << c.fullscreen;
    EXPECT_EQ(layout.video, c.video) << c.scale << c.fullscreen;
    EXPECT_EQ(layout.toolbar, c.toolbar) << c.scale << c.fullscreen;
  }
}

TEST(WindowSizing, WindowForTheVideo) {
  struct Case {
    QSize video;
    int percent;
    float scale;
    QSize window;
  };
  const Case cases[] = {
      // Frame at 1x: 6 wide, 32 + 60 + 6 = 98 high.
      {{800, 450}, 25, 1.0f, {206, 210}},  // 450 / 4 = 112, truncated
      {{800, 450}, 150, 1.0f, {1206, 773}},
      // 1.5x: border 4 (4.5 truncated), title bar 48, toolbar 90.
      {{1280, 720}, 100, 1.5f, {1288, 866}},
      // 1.25x: border 3, title bar 40, toolbar 75.
      {{1280, 720}, 50, 1.25f, {646, 481}},
      // A turned 720p picture at 1x.
      {{720, 1280}, 100, 1.0f, {726, 1378}},
  };
  for (const Case& c : cases) {
    const MainWindowLayout frame = ComputeMainWindowLayout(QSize(), false, c.scale);
    EXPECT_EQ(WindowSizeForVideo(c.video, c.percent, frame), c.window)
        << c.percent << "% at " << c.scale;
  }
  // A quarter turn either way swaps the sides; a half turn does not.
  for (int degrees : {90, 270, -90})
    EXPECT_EQ(DisplayedVideoSize({1280, 720}, degrees), QSize(720, 1280)) << degrees;
  EXPECT_EQ(DisplayedVideoSize({1280, 720}, 180), QSize(1280, 720));
}

TEST(WindowSizing, WindowForTheMonitor) {
  struct Case {
    QSize video;
    int percent;
    QSize window;
  };
  const Case cases[] = {
      // Box 1434 x 712: a 16:9 picture is limited by the height.
      {{1280, 720}, 75, {1271, 810}},
      // Box 570 x 226: a tall picture, by the height too.
      {{720, 1280}, 30, {133, 324}},
      // Box 858 x 388: a 2.4:1 picture, by the width.
      {{1920, 800}, 45, {864, 455}},
  };
  const MainWindowLayout frame = ComputeMainWindowLayout(QSize(), false, 1.0f);
  for (const Case& c : cases) {
    EXPECT_EQ(WindowSizeForMonitor(c.video, kWork.size(), c.percent, frame), c.window) << c.percent;
  }
  EXPECT_EQ(WindowSizeWithoutVideo(kWork.size(), 50), QSize(960, 540));
  EXPECT_EQ(WindowSizeWithoutVideo(kWork.size(), 200), kWork.size());
}

TEST(WindowSizing, CenterAndPlaceKeepsTheCentreInsideTheWorkArea) {
  struct Case {
    QRect window;
    QSize size;
    QRect placed;
  };
  const Case cases[] = {
      {{100, 100, 800, 600}, {400, 300}, {300, 250, 400, 300}},
      // Pushed in from the left and top, then from the right and bottom.
      {{0, 0, 200, 200}, {600, 400}, {0, 0, 600, 400}},
      {{1700, 900, 200, 150}, {600, 400}, {1320, 680, 600, 400}},
      // 4K at 200%: larger than the work area, top-left kept in it.
      {{100, 100, 800, 600}, {7686, 4418}, {0, 0, 7686, 4418}},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(CenterAndPlace(c.window, c.size, kWork), c.placed) << c.size.width();
  }
}

TEST(WindowSizing, MagnetPullsToTheWorkAreaEdges) {
  const QRect work(0, 0, 1920, 1040);
  struct Case {
    QPoint at;
    int width;
    int distance;
    QPoint landed;
  };
  const Case cases[] = {
      {{9, 300}, 800, 10, {0, 300}},        // within 9 px of the left edge
      {{10, 300}, 800, 10, {10, 300}},      // 10 px is not within 10
      {{-9, 300}, 800, 10, {0, 300}},       // past the edge pulls back too
      {{1115, 300}, 800, 10, {1120, 300}},  // right edge
      {{300, 437}, 800, 10, {300, 440}},    // bottom edge
      {{300, 5}, 800, 10, {300, 0}},        // top edge
      {{3, 3}, 800, 0, {3, 3}},             // magnet off
      {{2, 300}, 1915, 10, {5, 300}},       // near both sides: the right wins
  };
  for (const Case& c : cases) {
    const QRect moved(c.at, QSize(c.width, 600));
    EXPECT_EQ(MagnetRect(moved, work, c.distance), QRect(c.landed, moved.size()))
        << c.at.x() << "," << c.at.y();
  }
}

TEST(WindowSizing, DockedPanelStandsBesideTheWindow) {
  const QRect main(100, 100, 800, 600);  // right edge at 900
  EXPECT_EQ(DockedSide(QRect(903, 400, 420, 500), main, 5), 1);
  EXPECT_EQ(DockedSide(QRect(905, 400, 420, 500), main, 5), 0);
  EXPECT_EQ(DockedSide(QRect(-322, 0, 420, 500), main, 5), 2);  // right edge at 98
  EXPECT_EQ(DockedSide(QRect(300, 300, 420, 500), main, 5), 0);

  const QRect panel(950, 250, 420, 500);
  EXPECT_EQ(DockedPanelRect(panel, main, 1, true), QRect(900, 100, 420, 600));
  EXPECT_EQ(DockedPanelRect(panel, main, 2, false), QRect(-320, 250, 420, 500));
  EXPECT_EQ(DockedPanelRect(panel, main, 0, true), panel);
}

}  // namespace
}  // namespace zelvaro
