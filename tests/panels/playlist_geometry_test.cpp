// The panel's window-free rules: where its parts are, the drop row and the
// reorder of a drag, and where it is placed beside the main window.

#include "panels/playlist_geometry.h"

#include <gtest/gtest.h>

namespace zelvaro::panels {
namespace {

TEST(PlaylistGeometry, EachTabLaysOutItsOwnPartsOnly) {
  for (float scale : {1.0f, 1.5f}) {
    const QSize client(static_cast<int>(420 * scale), static_cast<int>(500 * scale));
    const PlaylistPanelLayout list = PlaylistLayout(client, 0, scale);
    EXPECT_TRUE(list.groupCombo.isEmpty() && list.favoritesList.isEmpty());
    EXPECT_LT(list.search.bottom(), list.list.top());
    EXPECT_LT(list.list.bottom(), list.buttons[kMoveTop].top());
    EXPECT_EQ(list.buttons[kAddFiles].right(), client.width() - 1 - static_cast<int>(8 * scale));
    const PlaylistPanelLayout fav = PlaylistLayout(client, 1, scale);
    EXPECT_TRUE(fav.search.isEmpty() && fav.list.isEmpty() && fav.buttons[0].isEmpty());
    EXPECT_FALSE(fav.groupCombo.intersects(fav.addGroup));
  }
}

TEST(PlaylistGeometry, HitsAndFrameBandsFollowTheLayout) {
  const QSize client(420, 500);
  const PlaylistPanelLayout layout = PlaylistLayout(client, 0, 1.0f);
  EXPECT_EQ(HitTestPanel(layout, layout.close.center()), (PanelHit{PanelHit::kClose, 0}));
  EXPECT_EQ(HitTestPanel(layout, layout.tabs[1].center()), (PanelHit{PanelHit::kTab, 1}));
  EXPECT_EQ(HitTestPanel(layout, layout.buttons[kDelete].center()),
            (PanelHit{PanelHit::kButton, kDelete}));
  EXPECT_EQ(HitTestPanel(layout, layout.rowCount.center()), PanelHit{});

  struct Case {
    QPoint point;
    bool overChild;
    Qt::Edges edges;
    bool move;
  };
  const Case cases[] = {
      {{2, 2}, false, Qt::TopEdge | Qt::LeftEdge, false},
      {{419, 3}, false, Qt::TopEdge | Qt::RightEdge, false},
      {{2, 499}, false, Qt::LeftEdge, false},  // no bottom corners
      {{200, 497}, false, Qt::BottomEdge, false},
      {layout.buttons[kMoveTop].center(), false, {}, false},
      {{200, 20}, false, {}, true},  // empty panel moves the window
      {layout.list.center(), true, {}, false},
  };
  for (const Case& c : cases) {
    const PanelFrameHit hit = FrameHitTest(layout, client, c.point, c.overChild, 1.0f);
    EXPECT_EQ(hit.edges, c.edges) << c.point.x() << "," << c.point.y();
    EXPECT_EQ(hit.move, c.move) << c.point.x() << "," << c.point.y();
  }
}

TEST(PlaylistGeometry, DropRowIsTheNearerRowEdgeOrTheEnd) {
  struct Case {
    int hitRow;
    QPoint point;
    int expected;
  };
  // Rows 20 high; row 2 spans y 40..59; the list is 300 wide with 5 rows.
  const Case cases[] = {
      {2, {10, 45}, 2},    {2, {10, 50}, 3},     {-1, {10, 150}, 5},
      {-1, {-3, 150}, -1}, {-1, {300, 150}, -1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(DropRowAt(c.hitRow, c.hitRow * 20, 20, c.point, 300, 5), c.expected);
  }
}

TEST(PlaylistGeometry, ReorderMovesTheDraggedRunAndNothingMovesIntoItself) {
  struct Case {
    std::vector<int> moved;
    int dropRow;
    bool nothing;
    std::vector<int> order;
    int first;
  };
  const Case cases[] = {
      {{3, 4}, 0, false, {3, 4, 0, 1, 2, 5}, 0},
      {{0, 1}, 6, false, {2, 3, 4, 5, 0, 1}, 4},
      {{1, 4}, 3, false, {0, 2, 1, 4, 3, 5}, 2},
      {{2, 3}, 2, true, {}, 0},
      {{2, 3}, 4, true, {}, 0},
      {{2, 4}, 3, false, {0, 1, 2, 4, 3, 5}, 2},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(DropMovesNothing(c.moved, c.dropRow), c.nothing);
    if (c.nothing) continue;
    int first = -1;
    EXPECT_EQ(ReorderedIndices(6, c.moved, c.dropRow, &first), c.order);
    EXPECT_EQ(first, c.first);
  }
}

TEST(PlaylistGeometry, SnapDefaultTakesTheSideWithRoom) {
  const QRect work(0, 0, 1920, 1040);
  struct Case {
    QRect main;
    bool heightSync;
    int savedHeight;
    QRect expected;
    int side;
  };
  const Case cases[] = {
      {{100, 50, 800, 600}, true, 0, {900, 50, 420, 600}, 1},
      {{1400, 50, 500, 600}, true, 0, {980, 50, 420, 600}, 2},
      {{200, 50, 1600, 600}, false, 0, {0, 50, 420, 500}, 0},  // no room either side
      {{100, 50, 800, 600}, false, 333, {900, 50, 420, 333}, 1},
  };
  for (const Case& c : cases) {
    const PanelPlacement placement =
        SnapDefaultPlacement(c.main, work, c.heightSync, c.savedHeight, 1.0f);
    EXPECT_EQ(placement.rect, c.expected);
    EXPECT_EQ(placement.snapSide, c.side);
    EXPECT_EQ(placement.snapped, c.side != 0);
  }
}

TEST(PlaylistGeometry, RestoredPlacementStaysReachableAndSnapStateNeedsTouch) {
  const QRect work(0, 0, 1920, 1040);
  EXPECT_EQ(RestoredPanelRect({5000, -200, 420, 500}, work, 1.0f), QRect(1870, 0, 420, 500));
  EXPECT_EQ(RestoredPanelRect({-600, 2000, 420, 500}, work, 1.0f), QRect(0, 1010, 420, 500));
  EXPECT_EQ(RestoredPanelRect({300, 200, 420, 500}, work, 1.0f), QRect(300, 200, 420, 500));

  const QRect main(100, 100, 800, 600);
  EXPECT_EQ(SnapSideOf({904, 0, 420, 500}, main, 1.0f), 1);
  EXPECT_EQ(SnapSideOf({910, 0, 420, 500}, main, 1.0f), 0);  // within 15 but not 5
  EXPECT_EQ(SnapSideOf({-318, 0, 420, 500}, main, 1.0f), 2);
}

}  // namespace
}  // namespace zelvaro::panels
