#pragma once
// Where everything of the playlist panel is, and the window-free rules of the
// panel: the layout of both tabs, what a point hits, the resize bands, the
// drop row of a reorder drag, the reorder itself, and the placement beside the
// main window. Painting, hit-testing and the tests all ask these functions, so
// what is drawn and what is hit never disagree.
//
// Pure functions of their arguments; any thread. Lengths take the scale as a
// value (the window passes DpiScale) and are truncated like every interface
// length.

#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>

#include <array>
#include <vector>

namespace zelvaro::panels {

inline constexpr int kPanelDesignWidth = 420;
inline constexpr int kPanelDesignHeight = 500;
inline constexpr int kPanelMinimumDesign = 300;
inline constexpr int kSnapDistanceDesign = 15;

// Bottom buttons of the playlist tab, in their order.
enum PlaylistButton { kMoveTop, kMoveUp, kMoveDown, kMoveBottom, kAddFiles, kDelete };
// Bottom buttons of the favourites tab.
enum FavoriteButton { kFavMoveUp, kFavMoveDown, kFavAdd, kFavDelete };

struct PlaylistPanelLayout {
  QRect title;
  QRect close;
  std::array<QRect, 2> tabs;
  // Playlist tab; empty while the favourites tab is active.
  QRect search;
  QRect list;
  std::array<QRect, 6> buttons;
  QRect rowCount;
  // Favourites tab; empty while the playlist tab is active.
  QRect groupCombo;
  QRect addGroup;
  QRect favoritesList;
  std::array<QRect, 4> favButtons;
  QRect favRowCount;
};

PlaylistPanelLayout PlaylistLayout(QSize client, int activeTab, float scale);

// A painted part under a point. `index` is the tab or button number.
struct PanelHit {
  enum Kind { kNone, kClose, kTab, kButton, kAddGroup, kFavButton } kind = kNone;
  int index = -1;
  bool operator==(const PanelHit&) const = default;
};
PanelHit HitTestPanel(const PlaylistPanelLayout& layout, QPoint point);

// What a press at `point` does to the frameless window: resize by the bands
// (no bottom corners), nothing over painted parts and children, or a move
// over empty panel. `overChild` says a child control lies under the point.
struct PanelFrameHit {
  Qt::Edges edges;
  bool move = false;
};
PanelFrameHit FrameHitTest(const PlaylistPanelLayout& layout, QSize client, QPoint point,
                           bool overChild, float scale);

// The insertion row of a reorder drag at list point (x, y): `hitRow` is the
// row under the point (-1 off rows) with its top and height.
int DropRowAt(int hitRow, int rowTop, int rowHeight, QPoint point, int listWidth, int rowCount);

// True when dropping the (ascending) rows at `dropRow` would leave them where
// they are: a run without gaps dropped onto itself or right behind itself.
bool DropMovesNothing(const std::vector<int>& sortedRows, int dropRow);

// The list order after moving the items `moved` (indices, ascending) so they
// stand, in their order, before index `target` (count = end). The result
// holds old indices in their new order; `firstMoved` receives where the first
// moved item lands.
std::vector<int> ReorderedIndices(int count, const std::vector<int>& moved, int target,
                                  int* firstMoved);

// Placement beside the main window. SnapSide: 0 none, 1 right, 2 left.
struct PanelPlacement {
  QRect rect;
  int snapSide = 0;
  bool snapped = false;
};
// Right of the main window, top aligned; left when the right has no room on
// the work area; at work.left, undocked, when neither has.
PanelPlacement SnapDefaultPlacement(const QRect& mainRect, const QRect& work, bool heightSync,
                                    int savedHeight, float scale);
// A saved rectangle pulled back onto its monitor's work area.
QRect RestoredPanelRect(const QRect& saved, const QRect& work, float scale);
// UpdateSnapState: 1 or 2 when the panel touches that side (within 5s), else 0.
int SnapSideOf(const QRect& panel, const QRect& mainRect, float scale);

}  // namespace zelvaro::panels
