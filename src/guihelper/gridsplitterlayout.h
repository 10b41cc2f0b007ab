#ifndef GRIDSPLITTERLAYOUT_H
#define GRIDSPLITTERLAYOUT_H

#include <QGridLayout>
#include <QVector>

class GridSplitter;

/*!
 * \brief The grid layout of a GridSplitter: rows and columns share the space exactly in the
 * proportion of their stretch factors, held at their minimum sizes; size hints play no part,
 * so a dragged boundary stays where the user put it.
 */
class GridSplitterLayout : public QGridLayout
{
public:
    explicit GridSplitterLayout(GridSplitter* splitter);

    void setGeometry(const QRect& rect) override;

    // Cell extents of the last setGeometry, in the splitter's coordinates.
    const QVector<int>& columnPositions() const { return m_columnPos; }
    const QVector<int>& columnSizes() const { return m_columnSize; }
    const QVector<int>& rowPositions() const { return m_rowPos; }
    const QVector<int>& rowSizes() const { return m_rowSize; }

    //! The largest minimum size among the visible single-cell items of that column (row).
    QVector<int> minimumColumnWidths() const;
    QVector<int> minimumRowHeights() const;

private:
    GridSplitter* m_splitter;
    QVector<int> m_columnPos;
    QVector<int> m_columnSize;
    QVector<int> m_rowPos;
    QVector<int> m_rowSize;
};

#endif // GRIDSPLITTERLAYOUT_H
