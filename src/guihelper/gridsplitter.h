#ifndef GRIDSPLITTER_H
#define GRIDSPLITTER_H

#include "guihelper_global.h"

#include <QWidget>

class QGridLayout;
class GridSplitterPrivate;

/*!
 * \brief A grid of cells whose row and column boundaries the user can drag, like QSplitter in
 * two directions.
 *
 * Widgets are placed with grid()->addWidget(widget, row, column). The gaps between cells are
 * splitter handles: dragging one moves the boundary live, keeping every cell at least at its
 * minimum size, and records the new proportions as the grid's row and column stretch factors.
 * Where a row and a column handle cross, both boundaries move together.
 */
class GUIHELPER_EXPORT GridSplitter : public QWidget
{
    Q_OBJECT
public:
    explicit GridSplitter(QWidget* parent = nullptr);
    ~GridSplitter() override;

    //! The layout holding the cells; its stretch factors are the cells' relative sizes.
    QGridLayout* grid() const;

    //! Gives equal shares back: -1 means every row (column), an index only that row (column);
    //! any other value leaves that direction alone.
    void resetGrid(int row, int column);

    //! Width of the handles, i.e. the grid's spacing in both directions.
    int handleWidth() const;
    void setHandleWidth(int width);

signals:
    //! The user moved a boundary; `row` or `column` is the boundary index (the cell before it),
    //! -1 for the direction that did not move.
    void splitterMoved(int row, int column);

private:
    friend class GridSplitterHandle;
    friend class GridSplitterLayout;
    void startDrag(int row, int column, const QPoint& pos);
    void dragTo(const QPoint& pos);
    void placeHandles();

    GridSplitterPrivate* d;
};

#endif // GRIDSPLITTER_H
