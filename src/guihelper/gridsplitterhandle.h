#ifndef GRIDSPLITTERHANDLE_H
#define GRIDSPLITTERHANDLE_H

#include <QWidget>

class GridSplitter;

/*!
 * \brief One draggable gap of a GridSplitter: between two columns, two rows, or where such
 * gaps cross (then it moves both boundaries).
 */
class GridSplitterHandle : public QWidget
{
public:
    //! `row` / `column`: the boundary after that row / column, or -1 when it does not move it.
    GridSplitterHandle(int row, int column, GridSplitter* splitter);

    int row() const { return m_row; }
    int column() const { return m_column; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    GridSplitter* m_splitter;
    int m_row;
    int m_column;
    bool m_pressed = false;
};

#endif // GRIDSPLITTERHANDLE_H
