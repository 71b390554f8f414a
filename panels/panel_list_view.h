#pragma once
// PanelListView: the virtual list of the playlist panel (PlaylistList) and of
// its favourites tab (FavoritesList). The model holds no rows: it knows the
// row count and asks its owner for a cell's text when a row is painted, so a
// list of 100,000 items costs nothing until rows show. The view keeps nothing
// per row either: rows are all one height, so a row's place is arithmetic and
// a count change costs the same for ten rows as for 100,000 (a tree view
// would lay out an entry per row, megabytes the interface thread first has to
// touch). Rows are painted by hand: the owner gives each row's colours,
// selection shows as a frame only.
//
// The view also runs the reorder drag of the playlist (press, move past the
// drag distance, drop marker, auto-scroll, Esc or the right button cancel)
// and takes files dropped from a file manager; both end in the owner's
// callbacks. Enter, Delete, Esc and double clicks go to the owner too.
//
// Interface thread only. The owner (PlaylistWindow) owns the view as a child
// and must outlive nothing here: callbacks are plain functions it sets once.

#include <QAbstractItemView>
#include <QAbstractTableModel>
#include <QColor>
#include <QHeaderView>
#include <QStringList>

#include <functional>
#include <vector>

namespace zelvaro::panels {

class PanelListModel : public QAbstractTableModel {
  Q_OBJECT
 public:
  using CellText = std::function<QString(int row, int column)>;
  PanelListModel(CellText cellText, bool favorites, QObject* parent);

  // The row count changed; rows are added or removed at the end so the
  // scroll position stays.
  void SetRowCount(int rows);
  // Headings follow the language.
  void RefreshHeadings();

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  CellText cellText_;
  bool favorites_;
  int rows_ = 0;
};

// The colours of one row: text and background; an invalid background keeps
// the list's.
struct RowColors {
  QColor text;
  QColor background;
};

class PanelListView : public QAbstractItemView {
  Q_OBJECT
 public:
  PanelListView(PanelListModel* model, QWidget* parent);

  QHeaderView* header() const { return header_; }
  QRect visualRect(const QModelIndex& index) const override;
  void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;
  QModelIndex indexAt(const QPoint& point) const override;
  void reset() override;

  std::function<RowColors(int row)> rowColors;
  // Enter (first selected row) and double click.
  std::function<void(int row)> onActivate;
  std::function<void()> onDelete;
  std::function<void()> onEscape;
  // Reorder drag: allowed at all (null: never), and the drop.
  std::function<bool()> canReorder;
  std::function<void(std::vector<int> rows, int dropRow)> onReorder;
  // Local files dropped from outside, in their order.
  std::function<void(QStringList paths)> onFilesDropped;

  std::vector<int> SelectedRowList() const;
  void SelectSingleRow(int row, bool clearOthers);

  bool DragActive() const { return dragActive_; }
  int DropRow() const { return dropRow_; }
  // The list's point (viewport coordinates) of row `row`'s middle.
  QPoint RowCenter(int row) const;

 protected:
  QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
  int horizontalOffset() const override;
  int verticalOffset() const override;
  bool isIndexHidden(const QModelIndex&) const override { return false; }
  void setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) override;
  QRegion visualRegionForSelection(const QItemSelection& selection) const override;
  void updateGeometries() override;
  void scrollContentsBy(int dx, int dy) override;
  void rowsInserted(const QModelIndex& parent, int start, int end) override;
  void changeEvent(QEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void DrawRow(QPainter* painter, const QStyleOptionViewItem& option, int row) const;
  // The rows changed in number or order: scroll range, header, repaint.
  void Relayout();
  // The height every row takes: the tallest cell of the first row.
  int RowSizeHint() const;
  int RowCount() const;
  // The row at viewport height `y`, as the scroll position places rows; may
  // lie outside the rows.
  int RowAtY(int y) const;
  void UpdateDropRow(QPoint viewportPoint);
  void EndDrag(bool drop);

  QHeaderView* header_;
  int rowHeight_ = 0;
  // Rows or font changed since the height was measured.
  bool rowHeightStale_ = true;
  bool inGeometries_ = false;
  int pressRow_ = -1;
  QPoint pressPoint_;
  bool dragActive_ = false;
  std::vector<int> dragRows_;
  int dropRow_ = -1;
};

}  // namespace zelvaro::panels
