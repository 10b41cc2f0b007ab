#include "gridsplitter.h"

#include <QGridLayout>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

// Drives a shown 2 x 3 GridSplitter of plain cells (606 x 412, handles 6 wide, so each
// cell starts 198 x 203) with mouse events through its window.
class TestGridSplitter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { delete m_splitter; }
    void dragMovesBoundary_data();
    void dragMovesBoundary();
    void resetGrid_data();
    void resetGrid();

private:
    QWidget* cell(int r, int c) const { return m_splitter->grid()->itemAtPosition(r, c)->widget(); }
    // The middle of the handle after column `column` (-1: none) and row `row` (-1: none).
    QPoint handle(int row, int column) const;
    void drag(const QPoint& from, const QPoint& to);

    GridSplitter* m_splitter = nullptr;
};

void TestGridSplitter::init()
{
    m_splitter = new GridSplitter;
    m_splitter->setHandleWidth(6);
    m_splitter->resize(606, 412);
    for (int i = 0; i < 6; ++i)
        m_splitter->grid()->addWidget(new QWidget, i / 3, i % 3);
    cell(0, 0)->setMinimumWidth(50);
    cell(0, 1)->setMinimumWidth(120);
    cell(1, 0)->setMinimumHeight(150);
    m_splitter->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_splitter));
    QCOMPARE(cell(0, 0)->geometry(), QRect(0, 0, 198, 203));
    QCOMPARE(cell(1, 2)->geometry().bottomRight(), QPoint(605, 411));
}

QPoint TestGridSplitter::handle(int row, int column) const
{
    const QRect a = cell(qMax(row, 0), qMax(column, 0))->geometry();
    return QPoint(column < 0 ? a.center().x() : a.right() + 4, row < 0 ? a.center().y() : a.bottom() + 4);
}

void TestGridSplitter::drag(const QPoint& from, const QPoint& to)
{
    QWindow* window = m_splitter->windowHandle();
    QTest::mouseMove(window, from);
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, from);
    QTest::mouseMove(window, (from + to) / 2); // the boundary follows intermediate positions too
    QTest::mouseMove(window, to);
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, to);
}

// Dragging a handle moves its boundary, live, keeping each cell at least at its minimum size.
void TestGridSplitter::dragMovesBoundary_data()
{
    QTest::addColumn<QPoint>("rowColumn"); // the handle, as for handle()
    QTest::addColumn<QPoint>("delta");     // mouse movement
    QTest::addColumn<QPoint>("moved");     // how far the boundary moves
    QTest::newRow("column 0 right") << QPoint(-1, 0) << QPoint(40, 0) << QPoint(40, 0);
    QTest::newRow("column 0 left, vertical jitter") << QPoint(-1, 0) << QPoint(-30, 7) << QPoint(-30, 0);
    QTest::newRow("column 1 right") << QPoint(-1, 1) << QPoint(25, -3) << QPoint(25, 0);
    QTest::newRow("row 0 up") << QPoint(0, -1) << QPoint(5, -50) << QPoint(0, -50);
    QTest::newRow("crossing") << QPoint(0, 1) << QPoint(-21, 17) << QPoint(-21, 17);
    QTest::newRow("right cell stops at 120") << QPoint(-1, 0) << QPoint(300, 0) << QPoint(198 - 120, 0);
    QTest::newRow("left cell stops at 50") << QPoint(-1, 0) << QPoint(-190, 0) << QPoint(50 - 198, 0);
    QTest::newRow("lower row stops at 150") << QPoint(0, -1) << QPoint(0, 100) << QPoint(0, 203 - 150);
}

void TestGridSplitter::dragMovesBoundary()
{
    QFETCH(QPoint, rowColumn);
    QFETCH(QPoint, delta);
    QFETCH(QPoint, moved);
    QSignalSpy spy(m_splitter, &GridSplitter::splitterMoved);
    const QPoint from = handle(rowColumn.x(), rowColumn.y());
    // The handle under the mouse shows the split cursor; the cells keep the normal one.
    QWidget* h = m_splitter->childAt(from);
    QVERIFY(h && h->parent() == m_splitter && m_splitter->grid()->indexOf(h) < 0);
    const bool rows = rowColumn.x() >= 0, columns = rowColumn.y() >= 0;
    QCOMPARE(h->cursor().shape(), rows && columns ? Qt::SizeAllCursor : rows ? Qt::SplitVCursor : Qt::SplitHCursor);
    QCOMPARE(cell(0, 0)->cursor().shape(), Qt::ArrowCursor);
    drag(from, from + delta);

    QVector<int> widths(3, 198), heights(2, 203);
    const int column = qMax(rowColumn.y(), 0), row = qMax(rowColumn.x(), 0);
    widths[column] += moved.x();
    widths[column + 1] -= moved.x();
    heights[row] += moved.y();
    heights[row + 1] -= moved.y();
    for (int i = 0; i < 6; ++i)
        QCOMPARE(cell(i / 3, i % 3)->size(), QSize(widths[i % 3], heights[i / 3]));
    QVERIFY(!spy.isEmpty());
    QCOMPARE(spy.last(), (QList<QVariant>{rowColumn.x(), rowColumn.y()}));
}

// After a drag at the crossing of row 0 and column 1, reset rows, columns or both.
void TestGridSplitter::resetGrid_data()
{
    QTest::addColumn<QPoint>("rowColumn"); // resetGrid's arguments
    QTest::addColumn<QRect>("cell11");     // then the geometry of cell (1, 1)
    QTest::newRow("all") << QPoint(-1, -1) << QRect(204, 209, 198, 203);
    QTest::newRow("rows only") << QPoint(-1, -2) << QRect(204, 209, 258, 203);
    QTest::newRow("columns only") << QPoint(5, -1) << QRect(204, 169, 198, 243);
}

void TestGridSplitter::resetGrid()
{
    QFETCH(QPoint, rowColumn);
    QFETCH(QRect, cell11);
    const QPoint from = handle(0, 1);
    drag(from, from + QPoint(60, -40));
    QCOMPARE(cell(1, 1)->geometry(), QRect(204, 169, 258, 243));
    m_splitter->resetGrid(rowColumn.x(), rowColumn.y());
    QCOMPARE(cell(1, 1)->geometry(), cell11);
    QCOMPARE(cell(1, 2)->geometry().bottomRight(), QPoint(605, 411));
}

QTEST_MAIN(TestGridSplitter)
#include "tst_gridsplitter.moc"
