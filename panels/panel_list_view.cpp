#include "panels/panel_list_view.h"

#include "app/dpi.h"
#include "chrome/chrome_palette.h"
#include "panels/playlist_geometry.h"
#include "panels/playlist_rows.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QUrl>

#include <algorithm>

namespace zelvaro::panels {
namespace {

constexpr int kCellInset = 6;
constexpr int kAutoScrollBand = 20;
constexpr int kDropLineWidth = 3;
constexpr int kDropLineInset = 2;
constexpr int kHeaderTextInset = 8;
constexpr int kHeaderSeparatorInset = 4;

QStringList LocalFiles(const QMimeData* mime) {
  QStringList paths;
  if (mime == nullptr || !mime->hasUrls()) return paths;
  for (const QUrl& url : mime->urls()) {
    if (url.isLocalFile()) paths << url.toLocalFile();
  }
  return paths;
}

// The header painted in the panel's colours: separators between columns,
// text inset on both sides, a line along the bottom.
class PanelHeader : public QHeaderView {
 public:
  explicit PanelHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {}

 protected:
  void paintSection(QPainter* painter, const QRect& rect, int section) const override {
    painter->save();
    painter->fillRect(rect, chrome::kPanelHeaderBackground);
    painter->setPen(chrome::kPanelTabFrame);
    const int x = rect.right();
    painter->drawLine(x, rect.top() + kHeaderSeparatorInset, x,
                      rect.bottom() - kHeaderSeparatorInset);
    painter->drawLine(rect.left(), rect.bottom(), rect.right(), rect.bottom());
    painter->setPen(chrome::kPanelText);
    const QRect textRect = rect.adjusted(kHeaderTextInset, 0, -kHeaderTextInset, 0);
    const QString text = model()->headerData(section, Qt::Horizontal).toString();
    painter->drawText(textRect, Qt::AlignLeft | Qt::AlignVCenter,
                      painter->fontMetrics().elidedText(text, Qt::ElideRight, textRect.width()));
    painter->restore();
  }
};

}  // namespace

PanelListModel::PanelListModel(CellText cellText, bool favorites, QObject* parent)
    : QAbstractTableModel(parent), cellText_(std::move(cellText)), favorites_(favorites) {}

void PanelListModel::SetRowCount(int rows) {
  rows = std::max(rows, 0);
  if (rows > rows_) {
    beginInsertRows({}, rows_, rows - 1);
    rows_ = rows;
    endInsertRows();
  } else if (rows < rows_) {
    beginRemoveRows({}, rows, rows_ - 1);
    rows_ = rows;
    endRemoveRows();
  }
}

void PanelListModel::RefreshHeadings() {
  emit headerDataChanged(Qt::Horizontal, 0, kColumnCount - 1);
}

int PanelListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : rows_;
}

int PanelListModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumnCount;
}

QVariant PanelListModel::data(const QModelIndex& index, int role) const {
  if (role != Qt::DisplayRole || !index.isValid()) return {};
  return cellText_(index.row(), index.column());
}

QVariant PanelListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  return ColumnHeading(section, favorites_);
}

PanelListView::PanelListView(PanelListModel* model, QWidget* parent) : QTreeView(parent) {
  setHeader(new PanelHeader(this));
  setModel(model);
  setRootIsDecorated(false);
  setItemsExpandable(false);
  setUniformRowHeights(true);
  setAllColumnsShowFocus(true);
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setFrameShape(QFrame::NoFrame);
  setDragEnabled(false);
  setAcceptDrops(true);
  viewport()->setAcceptDrops(true);
  setContextMenuPolicy(Qt::CustomContextMenu);
  header()->setStretchLastSection(true);
  header()->setSectionsMovable(false);
  header()->setSortIndicatorShown(false);
  const int widths[kColumnCount] = {180, 70, 60, 75};
  for (int column = 0; column < kColumnCount; ++column) {
    header()->resizeSection(column, Scaled(widths[column]));
  }
  QPalette colours = palette();
  colours.setColor(QPalette::Base, chrome::kPanelListBackground);
  colours.setColor(QPalette::Window, chrome::kPanelListBackground);
  colours.setColor(QPalette::Text, chrome::kPanelText);
  setPalette(colours);
  viewport()->setAutoFillBackground(true);
}

std::vector<int> PanelListView::SelectedRowList() const {
  std::vector<int> rows;
  if (selectionModel() == nullptr) return rows;
  for (const QItemSelectionRange& range : selectionModel()->selection()) {
    for (int row = range.top(); row <= range.bottom(); ++row) rows.push_back(row);
  }
  std::sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  return rows;
}

void PanelListView::SelectSingleRow(int row, bool clearOthers) {
  if (row < 0 || row >= model()->rowCount()) return;
  const QModelIndex index = model()->index(row, 0);
  auto flags = QItemSelectionModel::Select | QItemSelectionModel::Rows;
  if (clearOthers) flags |= QItemSelectionModel::Clear;
  selectionModel()->select(index, flags);
  selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
}

QPoint PanelListView::RowCenter(int row) const {
  const QRect rect = visualRect(model()->index(row, 0));
  return QPoint(viewport()->width() / 2, rect.center().y());
}

void PanelListView::drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const {
  const int row = index.row();
  const RowColors colours = rowColors ? rowColors(row) : RowColors{};
  const QRect rowRect(0, option.rect.top(), viewport()->width(), option.rect.height());
  const bool special = colours.background.isValid();
  painter->fillRect(rowRect, special ? colours.background : chrome::kPanelListBackground);
  painter->setPen(colours.text.isValid() ? colours.text : chrome::kPanelText);
  const int inset = Scaled(kCellInset);
  for (int column = 0; column < kColumnCount; ++column) {
    const int x = header()->sectionViewportPosition(column);
    const int w = header()->sectionSize(column);
    if (x + w < 0 || x > viewport()->width()) continue;
    const QRect cell(x + inset, rowRect.top(), w - 2 * inset, rowRect.height());
    const QString text = model()->data(model()->index(row, column), Qt::DisplayRole).toString();
    painter->drawText(cell, Qt::AlignLeft | Qt::AlignVCenter,
                      painter->fontMetrics().elidedText(text, Qt::ElideRight, cell.width()));
  }
  // Selection shows as a frame only; the current row keeps its own.
  QColor frame = chrome::kPanelListBackground;
  if (special) {
    frame = colours.background;
  } else if (selectionModel()->isRowSelected(row, {})) {
    frame = chrome::kPanelActiveTab;
  }
  painter->setPen(frame);
  painter->drawRect(rowRect.adjusted(0, 0, -1, -1));
}

void PanelListView::paintEvent(QPaintEvent* event) {
  QTreeView::paintEvent(event);
  if (!dragActive_ || dropRow_ < 0) return;
  const int rows = model()->rowCount();
  if (rows == 0) return;
  const bool pastEnd = dropRow_ >= rows;
  const QRect rect = visualRect(model()->index(pastEnd ? rows - 1 : dropRow_, 0));
  const int y = pastEnd ? rect.bottom() + 1 : rect.top();
  QPainter painter(viewport());
  painter.setPen(QPen(chrome::kPanelDropLine, Scaled(kDropLineWidth)));
  painter.drawLine(Scaled(kDropLineInset), y, viewport()->width() - Scaled(kDropLineInset), y);
}

void PanelListView::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter: {
      const std::vector<int> rows = SelectedRowList();
      if (!rows.empty() && onActivate) onActivate(rows.front());
      return;
    }
    case Qt::Key_Delete:
      if (onDelete) onDelete();
      return;
    case Qt::Key_Escape:
      if (dragActive_) {
        EndDrag(false);
      } else if (onEscape) {
        onEscape();
      }
      return;
    default:
      QTreeView::keyPressEvent(event);
  }
}

void PanelListView::mousePressEvent(QMouseEvent* event) {
  if (dragActive_ && event->button() == Qt::RightButton) {
    EndDrag(false);
    return;
  }
  const QModelIndex index = indexAt(event->position().toPoint());
  pressRow_ = event->button() == Qt::LeftButton && index.isValid() ? index.row() : -1;
  pressPoint_ = event->position().toPoint();
  QTreeView::mousePressEvent(event);
}

void PanelListView::mouseMoveEvent(QMouseEvent* event) {
  const QPoint point = event->position().toPoint();
  if (dragActive_) {
    if (!(event->buttons() & Qt::LeftButton)) {
      EndDrag(true);
      return;
    }
    const int band = Scaled(kAutoScrollBand);
    if (point.y() < band) {
      verticalScrollBar()->setValue(verticalScrollBar()->value() - 1);
    } else if (point.y() > viewport()->height() - band) {
      verticalScrollBar()->setValue(verticalScrollBar()->value() + 1);
    }
    UpdateDropRow(point);
    return;
  }
  if (pressRow_ >= 0 && (event->buttons() & Qt::LeftButton) && canReorder && onReorder &&
      (point - pressPoint_).manhattanLength() >= QApplication::startDragDistance()) {
    if (!canReorder()) {
      pressRow_ = -1;
      return;
    }
    std::vector<int> rows = SelectedRowList();
    if (std::find(rows.begin(), rows.end(), pressRow_) == rows.end()) rows = {pressRow_};
    dragRows_ = std::move(rows);
    dragActive_ = true;
    dropRow_ = pressRow_;
    setCursor(Qt::ArrowCursor);
    UpdateDropRow(point);
    return;
  }
  QTreeView::mouseMoveEvent(event);
}

void PanelListView::mouseReleaseEvent(QMouseEvent* event) {
  pressRow_ = -1;
  if (dragActive_ && event->button() == Qt::LeftButton) {
    EndDrag(true);
    return;
  }
  QTreeView::mouseReleaseEvent(event);
}

void PanelListView::mouseDoubleClickEvent(QMouseEvent* event) {
  const QModelIndex index = indexAt(event->position().toPoint());
  if (event->button() == Qt::LeftButton && index.isValid() && onActivate) {
    onActivate(index.row());
    return;
  }
  QTreeView::mouseDoubleClickEvent(event);
}

void PanelListView::UpdateDropRow(QPoint point) {
  const QModelIndex index = indexAt(point);
  const QRect rect = index.isValid() ? visualRect(index) : QRect();
  const int row = DropRowAt(index.isValid() ? index.row() : -1, rect.top(), rect.height(), point,
                            viewport()->width(), model()->rowCount());
  if (row == dropRow_) return;
  dropRow_ = row;
  viewport()->update();
}

void PanelListView::EndDrag(bool drop) {
  std::vector<int> rows = std::move(dragRows_);
  const int dropRow = dropRow_;
  dragActive_ = false;
  dragRows_.clear();
  dropRow_ = -1;
  unsetCursor();
  viewport()->update();
  if (drop && onReorder) onReorder(std::move(rows), dropRow);
}

void PanelListView::dragEnterEvent(QDragEnterEvent* event) {
  if (onFilesDropped && !LocalFiles(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void PanelListView::dragMoveEvent(QDragMoveEvent* event) {
  if (onFilesDropped && !LocalFiles(event->mimeData()).isEmpty()) event->acceptProposedAction();
}

void PanelListView::dropEvent(QDropEvent* event) {
  const QStringList paths = LocalFiles(event->mimeData());
  if (paths.isEmpty() || !onFilesDropped) return;
  event->acceptProposedAction();
  onFilesDropped(paths);
}

}  // namespace zelvaro::panels
