#include "gridsplitter.h"

#include <QGridLayout>
#include <QSignalSpy>
#include <QTest>
#include <QWindow>

// Drives a shown GridSplitter of plain cells with mouse events through its window.
class TestGridSplitter : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void equalCells_data();
    void equalCells();
    void handleCursor_data();
    void handleCursor();
    void dragMovesBoundary_data();
    void dragMovesBoundary();
    void dragStopsAtMinimum_data();
    void dragStopsAtMinimum();
    void resetGrid_data();
    void resetGrid();
    void proportionsSurviveResize();

private:
    void build(int rows, int columns);
    QWidget* cell(int r, int c) const { return m_cells.value(r * m_columns + c); }
    QPoint columnGap(int c, int r = 0) const;
    QPoint rowGap(int r, int c = 0) const;
    void drag(const QPoint& from, const QPoint& to);

    GridSplitter* m_splitter = nullptr;
    QList<QWidget*> m_cells;
    int m_columns = 0;
};

void TestGridSplitter::init()
{
    m_splitter = new GridSplitter;
    m_splitter->setHandleWidth(6);
    m_splitter->resize(606, 412);
}

void TestGridSplitter::cleanup()
{
    delete m_splitter;
    m_splitter = nullptr;
    m_cells.clear();
}

void TestGridSplitter::build(int rows, int columns)
{
    m_columns = columns;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            auto* w = new QWidget;
            w->setObjectName(QStringLiteral("cell%1%2").arg(r).arg(c));
            m_splitter->grid()->addWidget(w, r, c);
            m_cells.append(w);
        }
    }
    m_splitter->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_splitter));
}

QPoint TestGridSplitter::columnGap(int c, int r) const
{
    const QRect a = cell(r, c)->geometry();
    return QPoint(a.right() + 1 + m_splitter->handleWidth() / 2, a.center().y());
}

QPoint TestGridSplitter::rowGap(int r, int c) const
{
    const QRect a = cell(r, c)->geometry();
    return QPoint(a.center().x(), a.bottom() + 1 + m_splitter->handleWidth() / 2);
}

void TestGridSplitter::drag(const QPoint& from, const QPoint& to)
{
    QWindow* window = m_splitter->windowHandle();
    QTest::mouseMove(window, from);
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, from);
    // In two steps, so the boundary also follows intermediate positions.
    QTest::mouseMove(window, (from + to) / 2);
    QTest::mouseMove(window, to);
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, to);
}

void TestGridSplitter::equalCells_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("columns");
    QTest::newRow("1x1") << 1 << 1;
    QTest::newRow("2x3") << 2 << 3;
    QTest::newRow("3x2") << 3 << 2;
    QTest::newRow("4x4") << 4 << 4;
}

void TestGridSplitter::equalCells()
{
    QFETCH(int, rows);
    QFETCH(int, columns);
    build(rows, columns);
    m_splitter->resetGrid(-1, -1);

    const int gap = m_splitter->handleWidth();
    const int w = (m_splitter->width() - gap * (columns - 1)) / columns;
    const int h = (m_splitter->height() - gap * (rows - 1)) / rows;
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            const QRect g = cell(r, c)->geometry();
            QVERIFY2(qAbs(g.width() - w) <= 1, qPrintable(QString::number(g.width())));
            QVERIFY2(qAbs(g.height() - h) <= 1, qPrintable(QString::number(g.height())));
        }
    }
    // Cells tile the whole splitter.
    QCOMPARE(cell(0, 0)->geometry().topLeft(), QPoint(0, 0));
    QCOMPARE(cell(rows - 1, columns - 1)->geometry().bottomRight(),
             QPoint(m_splitter->width() - 1, m_splitter->height() - 1));
}

void TestGridSplitter::handleCursor_data()
{
    QTest::addColumn<int>("kind"); // 0 between columns, 1 between rows, 2 crossing
    QTest::addColumn<int>("shape");
    QTest::newRow("columns") << 0 << int(Qt::SplitHCursor);
    QTest::newRow("rows") << 1 << int(Qt::SplitVCursor);
    QTest::newRow("crossing") << 2 << int(Qt::SizeAllCursor);
}

void TestGridSplitter::handleCursor()
{
    QFETCH(int, kind);
    QFETCH(int, shape);
    build(2, 2);
    QPoint p = kind == 0 ? columnGap(0) : rowGap(0);
    if (kind == 2)
        p = QPoint(columnGap(0).x(), rowGap(0).y());
    QWidget* handle = m_splitter->childAt(p);
    QVERIFY(handle);
    QVERIFY(!m_cells.contains(handle));
    QCOMPARE(int(handle->cursor().shape()), shape);
    // The cells themselves keep the normal cursor.
    QCOMPARE(int(m_splitter->childAt(cell(0, 0)->geometry().center())->cursor().shape()), int(Qt::ArrowCursor));
}

void TestGridSplitter::dragMovesBoundary_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("boundary");
    QTest::addColumn<QPoint>("delta");
    QTest::newRow("column 0 right") << 0 << 0 << QPoint(40, 0);
    QTest::newRow("column 0 left") << 0 << 0 << QPoint(-30, 7);
    QTest::newRow("column 1 right") << 0 << 1 << QPoint(25, -3);
    QTest::newRow("row 0 down") << 1 << 0 << QPoint(5, 33);
    QTest::newRow("row 0 up") << 1 << 0 << QPoint(0, -50);
    QTest::newRow("crossing") << 2 << 0 << QPoint(-21, 17);
}

void TestGridSplitter::dragMovesBoundary()
{
    QFETCH(int, kind);
    QFETCH(int, boundary);
    QFETCH(QPoint, delta);
    build(2, 3);
    QSignalSpy moved(m_splitter, &GridSplitter::splitterMoved);

    QVector<int> widths, heights;
    for (int c = 0; c < 3; ++c)
        widths << cell(0, c)->width();
    for (int r = 0; r < 2; ++r)
        heights << cell(r, 0)->height();

    QPoint from = kind == 0 ? columnGap(boundary) : rowGap(boundary);
    if (kind == 2)
        from = QPoint(columnGap(boundary).x(), rowGap(boundary).y());
    drag(from, from + delta);
    QVERIFY(moved.count() >= 1);

    QVector<int> expectW = widths, expectH = heights;
    if (kind != 1) {
        expectW[boundary] += delta.x();
        expectW[boundary + 1] -= delta.x();
    }
    if (kind != 0) {
        expectH[boundary] += delta.y();
        expectH[boundary + 1] -= delta.y();
    }
    for (int r = 0; r < 2; ++r) {
        for (int c = 0; c < 3; ++c) {
            QCOMPARE(cell(r, c)->width(), expectW[c]);
            QCOMPARE(cell(r, c)->height(), expectH[r]);
        }
    }
    const QList<QVariant> last = moved.last();
    QCOMPARE(last.at(0).toInt(), kind == 0 ? -1 : boundary);
    QCOMPARE(last.at(1).toInt(), kind == 1 ? -1 : boundary);

    // The stretch factors carry the new proportions.
    QGridLayout* grid = m_splitter->grid();
    for (int c = 1; c < 3; ++c)
        QCOMPARE(qint64(grid->columnStretch(c)) * expectW[0], qint64(grid->columnStretch(0)) * expectW[c]);
    QCOMPARE(qint64(grid->rowStretch(1)) * expectH[0], qint64(grid->rowStretch(0)) * expectH[1]);
}

void TestGridSplitter::dragStopsAtMinimum_data()
{
    QTest::addColumn<int>("delta");
    QTest::addColumn<int>("expectLeft");
    QTest::newRow("right") << 300 << -1;   // the right cell stops at its minimum
    QTest::newRow("left") << -190 << 50;   // the left cell stops at its minimum
}

void TestGridSplitter::dragStopsAtMinimum()
{
    QFETCH(int, delta);
    QFETCH(int, expectLeft);
    build(1, 3);
    cell(0, 0)->setMinimumWidth(50);
    cell(0, 1)->setMinimumWidth(120);
    QTest::qWait(0);
    const int pair = cell(0, 0)->width() + cell(0, 1)->width();
    const int third = cell(0, 2)->width();

    const QPoint from = columnGap(0);
    drag(from, from + QPoint(delta, 0));
    if (expectLeft < 0)
        expectLeft = pair - 120;
    QCOMPARE(cell(0, 0)->width(), expectLeft);
    QCOMPARE(cell(0, 1)->width(), pair - expectLeft);
    QCOMPARE(cell(0, 2)->width(), third);
}

void TestGridSplitter::resetGrid_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<int>("column");
    QTest::addColumn<bool>("rowsEqual");
    QTest::addColumn<bool>("columnsEqual");
    QTest::newRow("all") << -1 << -1 << true << true;
    QTest::newRow("rows only") << -1 << -2 << true << false;
    QTest::newRow("columns only") << 5 << -1 << false << true;
}

void TestGridSplitter::resetGrid()
{
    QFETCH(int, row);
    QFETCH(int, column);
    QFETCH(bool, rowsEqual);
    QFETCH(bool, columnsEqual);
    build(2, 2);
    const int w0 = cell(0, 0)->width();
    const int h0 = cell(0, 0)->height();
    const QPoint from(columnGap(0).x(), rowGap(0).y());
    drag(from, from + QPoint(60, -40));
    QCOMPARE(cell(0, 0)->width(), w0 + 60);
    QCOMPARE(cell(0, 0)->height(), h0 - 40);

    m_splitter->resetGrid(row, column);
    QCOMPARE(qAbs(cell(0, 0)->width() - cell(0, 1)->width()) <= 1, columnsEqual);
    QCOMPARE(qAbs(cell(0, 0)->height() - cell(1, 0)->height()) <= 1, rowsEqual);
    if (!columnsEqual)
        QCOMPARE(cell(0, 0)->width(), w0 + 60);
    if (!rowsEqual)
        QCOMPARE(cell(0, 0)->height(), h0 - 40);
}

void TestGridSplitter::proportionsSurviveResize()
{
    build(1, 3);
    const QPoint from = columnGap(0);
    drag(from, from + QPoint(-100, 0));
    const int narrow = cell(0, 0)->width();
    const int wide = cell(0, 1)->width();
    QVERIFY(wide > 2 * narrow);

    // Half the room: every column keeps its share.
    const int room = m_splitter->width() - 2 * m_splitter->handleWidth();
    m_splitter->resize(room / 2 + 2 * m_splitter->handleWidth(), m_splitter->height());
    QTRY_COMPARE(cell(0, 0)->width() + cell(0, 1)->width() + cell(0, 2)->width(), room / 2);
    QVERIFY2(qAbs(2 * cell(0, 0)->width() - narrow) <= 2, qPrintable(QString::number(cell(0, 0)->width())));
    QVERIFY2(qAbs(2 * cell(0, 1)->width() - wide) <= 2, qPrintable(QString::number(cell(0, 1)->width())));
}

QTEST_MAIN(TestGridSplitter)
#include "tst_gridsplitter.moc"
