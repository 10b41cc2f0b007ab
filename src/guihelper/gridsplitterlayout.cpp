#include "gridsplitterlayout.h"

#include "gridsplitter.h"

namespace {

// Splits `space` among cells in proportion to `weights`, never below `mins`. Cells that
// would fall under their minimum get exactly it and the rest is shared again. Edges are
// rounded from running sums so the sizes add up to `space` exactly.
QVector<int> distribute(const QVector<int>& weights, const QVector<int>& mins, int space)
{
    const int n = weights.size();
    QVector<int> sizes(n, 0);
    if (n == 0)
        return sizes;
    space = qMax(space, 0);

    qint64 totalMin = 0;
    for (int m : mins)
        totalMin += m;
    if (space <= totalMin) {
        // Too small for everyone's minimum: shrink the minimums alike.
        qint64 run = 0;
        int edge = 0;
        for (int i = 0; i < n; ++i) {
            run += mins[i];
            const int next = totalMin > 0 ? int(run * space / totalMin) : 0;
            sizes[i] = next - edge;
            edge = next;
        }
        return sizes;
    }

    QVector<qint64> w(n);
    bool anyWeight = false;
    for (int i = 0; i < n; ++i) {
        w[i] = qMax(weights[i], 0);
        anyWeight = anyWeight || w[i] > 0;
    }
    if (!anyWeight)
        w.fill(1);

    QVector<bool> fixed(n, false);
    for (;;) {
        qint64 freeWeight = 0;
        qint64 remaining = space;
        int lastFree = -1;
        for (int i = 0; i < n; ++i) {
            if (fixed[i]) {
                remaining -= mins[i];
            } else {
                freeWeight += w[i];
                lastFree = i;
            }
        }
        if (lastFree < 0 || freeWeight == 0) {
            // Nobody left to take the rest: the last cell does.
            for (int i = 0; i < n; ++i) {
                sizes[i] = mins[i];
                remaining -= fixed[i] ? 0 : mins[i];
            }
            sizes[n - 1] += int(remaining);
            return sizes;
        }
        qint64 run = 0;
        qint64 edge = 0;
        bool refixed = false;
        for (int i = 0; i < n; ++i) {
            if (fixed[i]) {
                sizes[i] = mins[i];
                continue;
            }
            run += w[i];
            const qint64 next = (run * remaining + freeWeight / 2) / freeWeight;
            sizes[i] = int(next - edge);
            edge = next;
            if (sizes[i] < mins[i]) {
                fixed[i] = true;
                refixed = true;
            }
        }
        if (!refixed)
            return sizes;
    }
}

void positions(const QVector<int>& sizes, int start, int spacing, QVector<int>& pos)
{
    pos.resize(sizes.size());
    int x = start;
    for (int i = 0; i < sizes.size(); ++i) {
        pos[i] = x;
        x += sizes[i] + spacing;
    }
}

} // namespace

GridSplitterLayout::GridSplitterLayout(GridSplitter* splitter)
    : QGridLayout(splitter)
    , m_splitter(splitter)
{
}

QVector<int> GridSplitterLayout::minimumColumnWidths() const
{
    QVector<int> mins(columnCount(), 0);
    for (int i = 0; i < count(); ++i) {
        QLayoutItem* item = itemAt(i);
        int row, column, rowSpan, columnSpan;
        getItemPosition(i, &row, &column, &rowSpan, &columnSpan);
        if (item->isEmpty() || columnSpan != 1 || column < 0 || column >= mins.size())
            continue;
        mins[column] = qMax(mins[column], item->minimumSize().width());
    }
    return mins;
}

QVector<int> GridSplitterLayout::minimumRowHeights() const
{
    QVector<int> mins(rowCount(), 0);
    for (int i = 0; i < count(); ++i) {
        QLayoutItem* item = itemAt(i);
        int row, column, rowSpan, columnSpan;
        getItemPosition(i, &row, &column, &rowSpan, &columnSpan);
        if (item->isEmpty() || rowSpan != 1 || row < 0 || row >= mins.size())
            continue;
        mins[row] = qMax(mins[row], item->minimumSize().height());
    }
    return mins;
}

void GridSplitterLayout::setGeometry(const QRect& rect)
{
    QLayout::setGeometry(rect);
    const QRect area = contentsRect();
    const int columns = columnCount();
    const int rows = rowCount();
    const int hSpacing = qMax(horizontalSpacing(), 0);
    const int vSpacing = qMax(verticalSpacing(), 0);

    QVector<int> columnWeights(columns);
    for (int c = 0; c < columns; ++c)
        columnWeights[c] = columnStretch(c);
    QVector<int> rowWeights(rows);
    for (int r = 0; r < rows; ++r)
        rowWeights[r] = rowStretch(r);

    m_columnSize = distribute(columnWeights, minimumColumnWidths(), area.width() - hSpacing * (columns - 1));
    m_rowSize = distribute(rowWeights, minimumRowHeights(), area.height() - vSpacing * (rows - 1));
    positions(m_columnSize, area.left(), hSpacing, m_columnPos);
    positions(m_rowSize, area.top(), vSpacing, m_rowPos);

    for (int i = 0; i < count(); ++i) {
        int row, column, rowSpan, columnSpan;
        getItemPosition(i, &row, &column, &rowSpan, &columnSpan);
        if (row < 0 || column < 0 || row >= rows || column >= columns)
            continue;
        const int lastRow = rowSpan > 0 ? qMin(row + rowSpan, rows) - 1 : rows - 1;
        const int lastColumn = columnSpan > 0 ? qMin(column + columnSpan, columns) - 1 : columns - 1;
        const QRect cell(QPoint(m_columnPos[column], m_rowPos[row]),
                         QPoint(m_columnPos[lastColumn] + m_columnSize[lastColumn] - 1,
                                m_rowPos[lastRow] + m_rowSize[lastRow] - 1));
        itemAt(i)->setGeometry(cell);
    }
    m_splitter->placeHandles();
}
