#include "gridsplitter.h"

#include "gridsplitterhandle.h"
#include "gridsplitterlayout.h"

#include <QStyle>

class GridSplitterPrivate
{
public:
    GridSplitterLayout* layout = nullptr;
    QList<GridSplitterHandle*> handles;
    int handleColumns = 0; // the grid size the handles were made for
    int handleRows = 0;

    // The drag under way: boundaries (-1 when not moved), press point, sizes at the press.
    int dragRow = -1;
    int dragColumn = -1;
    QPoint pressPos;
    QVector<int> startColumnSizes;
    QVector<int> startRowSizes;
};

namespace {

// Moves the boundary after cell `i` by `delta`, trading size with cell i + 1 only and
// keeping both at their minimum or above.
void moveBoundary(QVector<int>& sizes, const QVector<int>& mins, int i, int delta)
{
    if (i < 0 || i + 1 >= sizes.size())
        return;
    const int pair = sizes[i] + sizes[i + 1];
    const int low = qMin(mins.value(i), pair);
    const int high = qMax(low, pair - mins.value(i + 1));
    const int first = qBound(low, sizes[i] + delta, high);
    sizes[i] = first;
    sizes[i + 1] = pair - first;
}

// Stretch for cell `index` that gives it the mean share of the others.
int equalShare(const QVector<int>& stretches, int index)
{
    if (stretches.size() < 2)
        return stretches.value(index);
    qint64 others = 0;
    for (int i = 0; i < stretches.size(); ++i) {
        if (i != index)
            others += stretches[i];
    }
    return int((others + (stretches.size() - 1) / 2) / (stretches.size() - 1));
}

} // namespace

GridSplitter::GridSplitter(QWidget* parent)
    : QWidget(parent)
    , d(new GridSplitterPrivate)
{
    d->layout = new GridSplitterLayout(this);
    d->layout->setContentsMargins(0, 0, 0, 0);
    d->layout->setSpacing(style()->pixelMetric(QStyle::PM_SplitterWidth, nullptr, this));
}

GridSplitter::~GridSplitter()
{
    delete d;
}

QGridLayout* GridSplitter::grid() const
{
    return d->layout;
}

int GridSplitter::handleWidth() const
{
    return qMax(d->layout->horizontalSpacing(), 0);
}

void GridSplitter::setHandleWidth(int width)
{
    d->layout->setSpacing(qMax(width, 0));
}

void GridSplitter::resetGrid(int row, int column)
{
    const int rows = d->layout->rowCount();
    QVector<int> rowStretch(rows);
    for (int r = 0; r < rows; ++r)
        rowStretch[r] = d->layout->rowStretch(r);
    if (row == -1) {
        for (int r = 0; r < rows; ++r)
            d->layout->setRowStretch(r, 1);
    } else if (row >= 0 && row < rows) {
        d->layout->setRowStretch(row, equalShare(rowStretch, row));
    }

    const int columns = d->layout->columnCount();
    QVector<int> columnStretch(columns);
    for (int c = 0; c < columns; ++c)
        columnStretch[c] = d->layout->columnStretch(c);
    if (column == -1) {
        for (int c = 0; c < columns; ++c)
            d->layout->setColumnStretch(c, 1);
    } else if (column >= 0 && column < columns) {
        d->layout->setColumnStretch(column, equalShare(columnStretch, column));
    }
    d->layout->activate();
}

void GridSplitter::startDrag(int row, int column, const QPoint& pos)
{
    d->dragRow = row;
    d->dragColumn = column;
    d->pressPos = pos;
    d->startColumnSizes = d->layout->columnSizes();
    d->startRowSizes = d->layout->rowSizes();
}

void GridSplitter::dragTo(const QPoint& pos)
{
    const QPoint delta = pos - d->pressPos;
    // The sizes become the stretch factors, so the proportions also survive later resizes.
    if (d->dragColumn >= 0) {
        QVector<int> sizes = d->startColumnSizes;
        moveBoundary(sizes, d->layout->minimumColumnWidths(), d->dragColumn, delta.x());
        for (int c = 0; c < sizes.size(); ++c)
            d->layout->setColumnStretch(c, sizes[c]);
    }
    if (d->dragRow >= 0) {
        QVector<int> sizes = d->startRowSizes;
        moveBoundary(sizes, d->layout->minimumRowHeights(), d->dragRow, delta.y());
        for (int r = 0; r < sizes.size(); ++r)
            d->layout->setRowStretch(r, sizes[r]);
    }
    d->layout->activate();
    emit splitterMoved(d->dragRow, d->dragColumn);
}

void GridSplitter::placeHandles()
{
    const QVector<int>& colPos = d->layout->columnPositions();
    const QVector<int>& colSize = d->layout->columnSizes();
    const QVector<int>& rowPos = d->layout->rowPositions();
    const QVector<int>& rowSize = d->layout->rowSizes();
    const int columns = colPos.size();
    const int rows = rowPos.size();

    if (columns != d->handleColumns || rows != d->handleRows) {
        qDeleteAll(d->handles);
        d->handles.clear();
        // Crossings first, so they stay above the long handles they overlap.
        for (int r = 0; r + 1 < rows; ++r) {
            for (int c = 0; c + 1 < columns; ++c)
                d->handles.append(new GridSplitterHandle(r, c, this));
        }
        for (int c = 0; c + 1 < columns; ++c)
            d->handles.append(new GridSplitterHandle(-1, c, this));
        for (int r = 0; r + 1 < rows; ++r)
            d->handles.append(new GridSplitterHandle(r, -1, this));
        // Below the cells: a widget spanning a boundary covers that part of the handle.
        for (GridSplitterHandle* handle : qAsConst(d->handles))
            handle->lower();
        d->handleColumns = columns;
        d->handleRows = rows;
    }

    const QRect area = d->layout->contentsRect();
    for (GridSplitterHandle* handle : qAsConst(d->handles)) {
        QRect r = area;
        if (handle->column() >= 0) {
            const int c = handle->column();
            r.setLeft(colPos[c] + colSize[c]);
            r.setRight(colPos[c + 1] - 1);
        }
        if (handle->row() >= 0) {
            const int row = handle->row();
            r.setTop(rowPos[row] + rowSize[row]);
            r.setBottom(rowPos[row + 1] - 1);
        }
        handle->setGeometry(r);
        handle->setVisible(r.width() > 0 && r.height() > 0);
    }
}
