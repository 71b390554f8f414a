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

PanelListView::PanelListView(PanelListModel* model, QWidget* parent)
    : QAbstractItemView(parent), header_(new PanelHeader(this)) {
  setModel(model);
  header_->setModel(model);
  setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setFrameShape(QFrame::NoFrame);
  setDragEnabled(false);
  setAcceptDrops(true);
  viewport()->setAcceptDrops(true);
  setContextMenuPolicy(Qt::CustomContextMenu);
  header_->setStretchLastSection(true);
  header_->setSectionsMovable(false);
  header_->setSortIndicatorShown(false);
  const int widths[kColumnCount] = {180, 70, 60, 75};
  for (int column = 0; column < kColumnCount; ++column) {
    header_->resizeSection(column, Scaled(widths[column]));
  }
  connect(header_, &QHeaderView::sectionResized, this, [this] { Relayout(); });
  connect(header_, &QHeaderView::sectionCountChanged, this, [this] { Relayout(); });
  connect(header_, &QHeaderView::geometriesChanged, this, [this] { updateGeometries(); });
  connect(model, &QAbstractItemModel::rowsRemoved, this, [this] { Relayout(); });
  connect(model, &QAbstractItemModel::layoutChanged, this, [this] { Relayout(); });
  QPalette colours = palette();
  colours.setColor(QPalette::Base, chrome::kPanelListBackground);
  colours.setColor(QPalette::Window, chrome::kPanelListBackground);
  colours.setColor(QPalette::Text, chrome::kPanelText);
  setPalette(colours);
  viewport()->setAutoFillBackground(true);
}

int PanelListView::RowCount() const {
  return model() ? model()->rowCount(rootIndex()) : 0;
}

int PanelListView::RowSizeHint() const {
  if (RowCount() == 0) return rowHeight_;
  QStyleOptionViewItem option;
  initViewItemOption(&option);
  option.rect.setWidth(-1);
  int height = -1;
  for (int column = 0; column < header_->count(); ++column) {
    if (header_->isSectionHidden(column)) continue;
    const QModelIndex index = model()->index(0, column, rootIndex());
    height = std::max(height, itemDelegateForIndex(index)->sizeHint(option, index).height());
  }
  return height;
}

int PanelListView::RowAtY(int y) const {
  // Division toward zero, as item views place a point just above the top.
  return rowHeight_ > 0 ? verticalScrollBar()->value() + y / rowHeight_ : -1;
}

void PanelListView::Relayout() {
  rowHeightStale_ = true;
  updateGeometries();
  viewport()->update();
}

void PanelListView::reset() {
  QAbstractItemView::reset();
  Relayout();
}

void PanelListView::rowsInserted(const QModelIndex& parent, int start, int end) {
  QAbstractItemView::rowsInserted(parent, start, end);
  Relayout();
}

void PanelListView::changeEvent(QEvent* event) {
  if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) Relayout();
  QAbstractItemView::changeEvent(event);
}

void PanelListView::updateGeometries() {
  if (inGeometries_) return;
  inGeometries_ = true;
  const QSize hint = header_->isHidden() ? QSize(0, 0) : header_->sizeHint();
  setViewportMargins(0, hint.height(), 0, 0);
  const QRect port = viewport()->geometry();
  header_->setGeometry(port.left(), port.top() - hint.height(), port.width(), hint.height());
  QMetaObject::invokeMethod(header_, "updateGeometries");
  if (rowHeightStale_ || rowHeight_ <= 0) {
    rowHeight_ = RowSizeHint();
    rowHeightStale_ = false;
  }
  const int rows = RowCount();
  QSize portSize = viewport()->size();
  int rowsInView = rowHeight_ > 0 ? portSize.height() / rowHeight_ : rows;
  if (rows > 0) rowsInView = std::max(1, rowsInView);
  verticalScrollBar()->setRange(0, rows - rowsInView);
  verticalScrollBar()->setPageStep(rowsInView);
  verticalScrollBar()->setSingleStep(1);
  int columnsInView = 0;
  for (int width = 0, column = header_->count() - 1; column >= 0; --column) {
    width += header_->sectionSize(header_->logicalIndex(column));
    if (width > portSize.width()) break;
    ++columnsInView;
  }
  if (header_->count() > 0) columnsInView = std::max(1, columnsInView);
  const int length = header_->length();
  const QSize most = maximumViewportSize();
  if (most.width() >= length && verticalScrollBar()->maximum() <= 0) portSize = most;
  horizontalScrollBar()->setPageStep(portSize.width());
  horizontalScrollBar()->setRange(0, std::max(length - portSize.width(), 0));
  horizontalScrollBar()->setSingleStep(std::max(portSize.width() / (columnsInView + 1), 2));
  inGeometries_ = false;
  QAbstractItemView::updateGeometries();
}

void PanelListView::scrollContentsBy(int dx, int) {
  if (dx != 0) header_->setOffset(horizontalScrollBar()->value());
  viewport()->update();
}

int PanelListView::horizontalOffset() const {
  return header_->offset();
}

int PanelListView::verticalOffset() const {
  return verticalScrollBar()->value() * rowHeight_;
}

QRect PanelListView::visualRect(const QModelIndex& index) const {
  if (!index.isValid() || index.model() != model() || rowHeight_ <= 0 ||
      header_->isSectionHidden(index.column())) {
    return {};
  }
  return QRect(header_->sectionViewportPosition(index.column()),
               (index.row() - verticalScrollBar()->value()) * rowHeight_,
               header_->sectionSize(index.column()), rowHeight_);
}

QModelIndex PanelListView::indexAt(const QPoint& point) const {
  const int row = RowAtY(point.y());
  if (row < 0 || row >= RowCount()) return {};
  const int column = header_->logicalIndexAt(point.x());
  if (column < 0) return {};
  return model()->index(row, column, rootIndex());
}

void PanelListView::scrollTo(const QModelIndex& index, ScrollHint hint) {
  if (!index.isValid() || index.model() != model() || index.row() >= RowCount()) return;
  QScrollBar* bar = verticalScrollBar();
  int row = index.row();
  const int top = bar->value();
  const int bottom = top + bar->pageStep();
  if (hint == EnsureVisible && row >= top && row < bottom) {
    // Already in view.
  } else if (hint == PositionAtTop || (hint == EnsureVisible && row < top)) {
    bar->setValue(row);
  } else {
    const int height = viewport()->height();
    int y = hint == PositionAtCenter ? height / 2 + rowHeight_ - 1 : height;
    if (rowHeight_ > 0 && y > rowHeight_) {
      while (row >= 0) {
        y -= rowHeight_;
        if (y < 0) {
          ++row;
          break;
        }
        --row;
      }
    }
    bar->setValue(row);
  }
  const int portWidth = viewport()->width();
  const int offset = header_->offset();
  const int position = header_->sectionPosition(index.column());
  const int width = header_->sectionSize(index.column());
  if (hint == PositionAtCenter) {
    horizontalScrollBar()->setValue(position - (portWidth - width) / 2);
  } else if (position - offset < 0 || width > portWidth) {
    horizontalScrollBar()->setValue(position);
  } else if (position - offset + width > portWidth) {
    horizontalScrollBar()->setValue(position - portWidth + width);
  }
}

QModelIndex PanelListView::moveCursor(CursorAction action, Qt::KeyboardModifiers) {
  const int rows = RowCount();
  const QModelIndex current = currentIndex();
  if (!current.isValid()) {
    return rows > 0 ? model()->index(0, header_->logicalIndex(0), rootIndex()) : QModelIndex();
  }
  const int row = current.row();
  auto at = [&](int target) { return model()->index(target, current.column(), rootIndex()); };
  // Paging lands on the row a viewport further, clamped to the list.
  auto rowAt = [&](int y) {
    const int target = RowAtY(y);
    return target < 0 || target >= rows ? -1 : target;
  };
  const int rowY = (row - verticalScrollBar()->value()) * rowHeight_;
  switch (action) {
    case MoveNext:
    case MoveDown:
      return at(row + 1 < rows ? row + 1 : row);
    case MovePrevious:
    case MoveUp:
      return at(row > 0 ? row - 1 : row);
    case MoveLeft:
    case MoveRight: {
      QScrollBar* bar = horizontalScrollBar();
      const int step = action == MoveLeft ? -bar->singleStep() : bar->singleStep();
      bar->setValue(bar->value() + step);
      updateGeometries();
      viewport()->update();
      break;
    }
    case MovePageUp: {
      const int target = rowAt(rowY - viewport()->height());
      return at(target < 0 ? 0 : target);
    }
    case MovePageDown: {
      const int target = rowAt(rowY + viewport()->height());
      return at(target < 0 ? rows - 1 : target);
    }
    case MoveHome:
      return at(0);
    case MoveEnd:
      return at(rows - 1);
  }
  return current;
}

void PanelListView::setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) {
  if (selectionModel() == nullptr || rect.isNull()) return;
  const QRect area = rect.normalized();
  QModelIndex first = indexAt(area.topLeft());
  QModelIndex last = indexAt(area.bottomRight());
  if (!first.isValid() && !last.isValid()) {
    if (command & QItemSelectionModel::Clear) selectionModel()->clear();
    return;
  }
  const int rows = RowCount();
  if (!first.isValid()) first = model()->index(0, 0, rootIndex());
  if (!last.isValid()) {
    last = model()->index(rows - 1, header_->logicalIndex(header_->count() - 1), rootIndex());
  }
  const QModelIndex topLeft = model()->index(std::min(first.row(), last.row()),
                                             std::min(first.column(), last.column()), rootIndex());
  const QModelIndex bottomRight = model()->index(
      std::max(first.row(), last.row()), std::max(first.column(), last.column()), rootIndex());
  selectionModel()->select(QItemSelection(topLeft, bottomRight), command);
}

QRegion PanelListView::visualRegionForSelection(const QItemSelection& selection) const {
  QRegion region;
  if (rowHeight_ <= 0) return region;
  const int top = verticalScrollBar()->value();
  const int bottom = top + viewport()->height() / rowHeight_;
  for (const QItemSelectionRange& range : selection) {
    const int first = std::max(range.top(), top);
    const int last = std::min(range.bottom(), bottom);
    if (first > last) continue;
    region +=
        QRect(0, (first - top) * rowHeight_, viewport()->width(), (last - first + 1) * rowHeight_);
  }
  return region;
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

void PanelListView::DrawRow(QPainter* painter, const QStyleOptionViewItem& option, int row) const {
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
  const int rows = RowCount();
  if (rows == 0 || rowHeight_ <= 0 || header_->count() == 0) return;
  {
    QPainter painter(viewport());
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    const QRect area = event->region().boundingRect();
    const int top = verticalScrollBar()->value();
    int row = std::max(RowAtY(std::max(area.top(), 0)), top);
    for (int y = (row - top) * rowHeight_; row < rows && y <= area.bottom();
         ++row, y += rowHeight_) {
      option.rect = QRect(0, y, viewport()->width(), rowHeight_);
      DrawRow(&painter, option, row);
    }
  }
  if (!dragActive_ || dropRow_ < 0) return;
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
      QAbstractItemView::keyPressEvent(event);
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
  QAbstractItemView::mousePressEvent(event);
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
  QAbstractItemView::mouseMoveEvent(event);
}

void PanelListView::mouseReleaseEvent(QMouseEvent* event) {
  pressRow_ = -1;
  if (dragActive_ && event->button() == Qt::LeftButton) {
    EndDrag(true);
    return;
  }
  QAbstractItemView::mouseReleaseEvent(event);
}

void PanelListView::mouseDoubleClickEvent(QMouseEvent* event) {
  const QModelIndex index = indexAt(event->position().toPoint());
  if (event->button() == Qt::LeftButton && index.isValid() && onActivate) {
    onActivate(index.row());
    return;
  }
  QAbstractItemView::mouseDoubleClickEvent(event);
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
