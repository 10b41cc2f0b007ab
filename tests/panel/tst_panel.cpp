#include "paneltest.h"

#include <kiv_graph.h>

#include <QCoreApplication>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>
#include <QWindow>

using namespace paneltest;

// The panel's grid as a user changes it: relayout, dragging, hit testing, linked axes.
class TestPanel : public QObject
{
    Q_OBJECT

private slots:
    void construction_data();
    void construction();
    void relayoutKeepsGraphsWithData_data();
    void relayoutKeepsGraphsWithData();
    void relayoutFromToolBar();
    void layoutSelectionSwitch();
    void dragResizesCells();
    void hitTesting_data();
    void hitTesting();
    void legendButtonFollowsLabels();
    void linkedAxes();
    void linkedGestures_data();
    void linkedGestures();
};

void TestPanel::construction_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("cols");
    QTest::addColumn<QString>("fontPath");
    QTest::addColumn<QString>("expectedFont");
    const QString appFont = QCoreApplication::applicationDirPath() + QStringLiteral("/fonts/arial.ttf");
    QTest::newRow("1x1 default font") << 1 << 1 << QString() << appFont;
    QTest::newRow("2x3 own font") << 2 << 3 << QStringLiteral("/opt/f/dejavu.ttf") << QStringLiteral("/opt/f/dejavu.ttf");
    QTest::newRow("empty grid") << 0 << 0 << QString() << appFont;
}

void TestPanel::construction()
{
    QFETCH(int, rows);
    QFETCH(int, cols);
    QFETCH(QString, fontPath);
    QFETCH(QString, expectedFont);
    KivWidget panel(rows, cols, fontPath);
    QCOMPARE(panel.fontPath(), expectedFont);
    int r = -1, c = -1;
    panel.getLayout(r, c);
    QCOMPARE(r, rows);
    QCOMPARE(c, cols);
    QCOMPARE(panel.findChildren<KivGraphWidget*>().size(), rows * cols);
    for (KivGraphWidget* g : graphs(panel))
        QVERIFY(g && g->isEmpty());
}

void TestPanel::relayoutKeepsGraphsWithData_data()
{
    QTest::addColumn<int>("fromRows");
    QTest::addColumn<int>("fromCols");
    QTest::addColumn<QList<int>>("withData");
    QTest::addColumn<int>("toRows");
    QTest::addColumn<int>("toCols");
    QTest::addColumn<QList<int>>("expected"); // old indices, -1 for a new graph

    QTest::newRow("2x2 to 1x2, data at (0,1) (1,1)") << 2 << 2 << QList<int>{1, 3} << 1 << 2 << QList<int>{1, 3};
    QTest::newRow("2x2 to 1x2, data at (1,0)") << 2 << 2 << QList<int>{2} << 1 << 2 << QList<int>{2, 0};
    QTest::newRow("1x1 to 2x3") << 1 << 1 << QList<int>{0} << 2 << 3 << QList<int>{0, -1, -1, -1, -1, -1};
    QTest::newRow("1x1 to 2x3, empty") << 1 << 1 << QList<int>{} << 2 << 3 << QList<int>{0, -1, -1, -1, -1, -1};
    QTest::newRow("2x3 to 1x1, empty") << 2 << 3 << QList<int>{} << 1 << 1 << QList<int>{0};
    QTest::newRow("2x3 to 1x1, data at (1,1)") << 2 << 3 << QList<int>{4} << 1 << 1 << QList<int>{4};
    QTest::newRow("2x3 to 3x2, data at (1,2) (0,1)") << 2 << 3 << QList<int>{5, 1} << 3 << 2
                                                    << QList<int>{1, 5, 0, 2, 3, 4};
    QTest::newRow("2x2 to 3x1, all data") << 2 << 2 << QList<int>{0, 1, 2, 3} << 3 << 1 << QList<int>{0, 1, 2};
    QTest::newRow("2x2 to 0x0") << 2 << 2 << QList<int>{1} << 0 << 0 << QList<int>{};
    QTest::newRow("2x2 to 2x2 does nothing") << 2 << 2 << QList<int>{3} << 2 << 2 << QList<int>{0, 1, 2, 3};
}

void TestPanel::relayoutKeepsGraphsWithData()
{
    QFETCH(int, fromRows);
    QFETCH(int, fromCols);
    QFETCH(QList<int>, withData);
    QFETCH(int, toRows);
    QFETCH(int, toCols);
    QFETCH(QList<int>, expected);

    KivWidget panel(fromRows, fromCols);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    const QList<KivGraphWidget*> before = graphs(panel);
    QList<QPointer<KivGraphWidget>> watch;
    for (KivGraphWidget* g : before)
        watch.append(g);
    for (int i : withData)
        fill(panel, before.at(i));

    QSignalSpy changed(&panel, &KivWidget::layoutChanged);
    panel.selectLayout(toRows, toCols);
    panel.selectLayout(-1, 2); // ignored
    QCOMPARE(changed.count(), toRows == fromRows && toCols == fromCols ? 0 : 1);

    const QList<KivGraphWidget*> after = graphs(panel);
    QCOMPARE(after.size(), expected.size());
    for (int i = 0; i < after.size(); ++i) {
        QVERIFY(after.at(i));
        QVERIFY(after.at(i)->isVisible());
        if (expected.at(i) >= 0)
            QCOMPARE(after.at(i), before.at(expected.at(i)));
        else
            QVERIFY(!before.contains(after.at(i)));
    }
    // Whatever is not in the grid any more is gone.
    for (int i = 0; i < watch.size(); ++i)
        QCOMPARE(watch.at(i).isNull(), !expected.contains(i));
    QCOMPARE(panel.findChildren<KivGraphWidget*>().size(), expected.size());
}

void TestPanel::relayoutFromToolBar()
{
    KivWidget panel(1, 1);
    panel.resize(900, 400);
    panel.setAllowLayoutSelection(true);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    QSpinBox* rows = spinBox(panel, QStringLiteral("Rows"));
    QSpinBox* cols = spinBox(panel, QStringLiteral("Columns"));
    QVERIFY(rows && cols);
    QCOMPARE(rows->value(), 1);
    QCOMPARE(cols->value(), 1);

    KivGraphWidget* first = panel.getGraph(0, 0);
    fill(panel, first);
    toolBar(panel)->setAutoScaleMethod(KivExpandToFit);

    // Typed by the user: 2 rows, then 3 columns.
    QSignalSpy changed(&panel, &KivWidget::layoutChanged);
    rows->selectAll();
    QTest::keyClicks(rows, QStringLiteral("2"));
    cols->selectAll();
    QTest::keyClicks(cols, QStringLiteral("3"));
    QCOMPARE(changed.count(), 2);
    int r = 0, c = 0;
    panel.getLayout(r, c);
    QCOMPARE(r, 2);
    QCOMPARE(c, 3);
    QCOMPARE(panel.getGraph(0, 0), first);

    // Fill a second graph, then ask for 1 x 1 and back: the filled ones survive in order.
    KivGraphWidget* third = panel.getGraph(0, 2);
    fill(panel, third);
    QPointer<KivGraphWidget> thirdWatch(third);
    cols->setValue(1);
    rows->setValue(1);
    panel.getLayout(r, c);
    QCOMPARE(r, 1);
    QCOMPARE(c, 1);
    QCOMPARE(panel.getGraph(0, 0), first);
    QVERIFY(thirdWatch.isNull()); // did not fit any more

    rows->setValue(2);
    cols->setValue(3);
    QCOMPARE(panel.getGraph(0, 0), first);

    // Every graph in the grid, old or new, follows the tool bar.
    QAction* freeze = action(panel, QStringLiteral("Freeze"));
    QVERIFY(freeze);
    freeze->trigger();
    QAction* measure = action(panel, QStringLiteral("Show Values"));
    QVERIFY(measure);
    measure->trigger();
    for (KivGraphWidget* g : graphs(panel)) {
        QVERIFY(g->isFreezeChecked());
        QVERIFY(g->isMeasureChecked());
        QCOMPARE(g->getAutoScaleMethod(), KivExpandToFit); // new graphs took the tool bar's state
    }
    freeze->trigger();
    for (KivGraphWidget* g : graphs(panel))
        QVERIFY(!g->isFreezeChecked());
}

void TestPanel::layoutSelectionSwitch()
{
    // A host sets the panel up before showing it.
    KivWidget panel(1, 1);
    panel.resize(900, 400);
    panel.setAllowLayoutSelection(true);
    QVERIFY(panel.isLayoutSelectionChangeAllowed());
    panel.selectLayout(2, 3);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    QSpinBox* rows = spinBox(panel, QStringLiteral("Rows"));
    QSpinBox* cols = spinBox(panel, QStringLiteral("Columns"));
    QTRY_VERIFY(rows->isVisible());
    QCOMPARE(rows->value(), 2);
    QCOMPARE(cols->value(), 3);
    cols->setValue(1);
    int r = 0, c = 0;
    panel.getLayout(r, c);
    QCOMPARE(c, 1);

    panel.hide();
    panel.setAllowLayoutSelection(false);
    QVERIFY(!panel.isLayoutSelectionChangeAllowed());
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    QVERIFY(!rows->isVisible());
    rows->setValue(4);
    panel.getLayout(r, c);
    QCOMPARE(r, 2);
}

void TestPanel::dragResizesCells()
{
    KivWidget panel(2, 2);
    panel.resize(640, 480);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    KivGraphWidget* a = panel.getGraph(0, 0);
    KivGraphWidget* b = panel.getGraph(0, 1);
    KivGraphWidget* below = panel.getGraph(1, 0);
    QTRY_VERIFY(qAbs(a->width() - b->width()) <= 1);
    const int widthA = a->width();
    const int widthB = b->width();
    const int heightA = a->height();

    // Press in the gap between the two top graphs and drag 60 px to the right.
    const QPoint rightOfA = a->mapTo(&panel, QPoint(a->width(), a->height() / 2));
    const QPoint leftOfB = b->mapTo(&panel, QPoint(-1, b->height() / 2));
    const QPoint from((rightOfA.x() + leftOfB.x()) / 2, rightOfA.y());
    QWidget* handle = panel.childAt(from);
    QVERIFY(handle);
    QCOMPARE(int(handle->cursor().shape()), int(Qt::SplitHCursor));
    QWindow* window = panel.windowHandle();
    QTest::mouseMove(window, from);
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, from);
    QTest::mouseMove(window, from + QPoint(30, 0));
    QTest::mouseMove(window, from + QPoint(60, 0));
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, from + QPoint(60, 0));

    QCOMPARE(a->width(), widthA + 60);
    QCOMPARE(b->width(), widthB - 60);
    QCOMPARE(below->width(), widthA + 60); // a column boundary, for every row
    QCOMPARE(a->height(), heightA);

    panel.resetGrid();
    QVERIFY(qAbs(a->width() - b->width()) <= 1);
    QCOMPARE(a->width(), widthA);
}

void TestPanel::hitTesting_data()
{
    QTest::addColumn<QPointF>("where"); // fraction of graph (0, 1)'s plot area
    QTest::addColumn<char>("axis");
    QTest::newRow("bottom right") << QPointF(0.9, 0.8) << 'x';
    QTest::newRow("top left") << QPointF(0.1, 0.2) << 'y';
    QTest::newRow("top right, nearer the top") << QPointF(0.7, 0.05) << 'y';
    QTest::newRow("top right, nearer the right") << QPointF(0.95, 0.3) << 'x';
}

void TestPanel::hitTesting()
{
    QFETCH(QPointF, where);
    QFETCH(char, axis);
    KivWidget panel(2, 2);
    panel.resize(600, 500);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    KivGraphWidget* target = panel.getGraph(0, 1);
    KivGraph* plot = target->graph();
    const QPoint inPlot(int(where.x() * plot->width()), int(where.y() * plot->height()));
    const QPoint p = plot->mapTo(&panel, inPlot);

    QPoint local(-5, -5);
    QCOMPARE(panel.getGraph(p, local), target);
    QCOMPARE(local, target->mapFrom(&panel, p));

    char found = 0;
    QCOMPARE(panel.getGraph(p, &found), target);
    QCOMPARE(found, axis);
    QCOMPARE(panel.getGraph(p, static_cast<char*>(nullptr)), target);

    // Over the tool bar there is no graph; local stays the point itself.
    const QPoint overBar = toolBar(panel)->geometry().center();
    found = 0;
    QCOMPARE(panel.getGraph(overBar, local), static_cast<KivGraphWidget*>(nullptr));
    QCOMPARE(local, overBar);
    QCOMPARE(panel.getGraph(overBar, &found), static_cast<KivGraphWidget*>(nullptr));
    QCOMPARE(found, char(0));
}

void TestPanel::legendButtonFollowsLabels()
{
    KivWidget panel(1, 2);
    KivControlInterface* bar = panel.toolbar();
    QVERIFY(!bar->isLegendChangeAllowed());

    KivDataSet* set = panel.addDataSet(panel.getGraph(0, 1), 10, QColor(Qt::blue));
    QVERIFY(!bar->isLegendChangeAllowed());
    panel.setDataSetLabel(set, QStringLiteral("pressure"));
    QVERIFY(bar->isLegendChangeAllowed());

    // A graph may refuse legend changes; then only the other graphs count.
    panel.getGraph(0, 1)->setLegendChangeAllowed(false);
    panel.checkForLegends();
    QVERIFY(!bar->isLegendChangeAllowed());
    panel.getGraph(0, 1)->setLegendChangeAllowed(true);

    panel.removeDataSet(nullptr, set);
    QVERIFY(!bar->isLegendChangeAllowed());

    KivDataSet* xy = panel.addDataSet(panel.getGraph(0, 0), 10, QColor(Qt::blue));
    panel.setDataSetCurrentValueLabel(xy, QStringLiteral("now"));
    panel.setDataSetLabel(xy, QStringLiteral("flow"));
    QVERIFY(bar->isLegendChangeAllowed());
    panel.selectLayout(0, 0);
    QVERIFY(!bar->isLegendChangeAllowed());
}

void TestPanel::linkedAxes()
{
    KivWidget panel(1, 3);
    panel.linkAxes(1);
    panel.getGraph(0, 2)->setAxisLink(0);
    for (KivGraphWidget* g : graphs(panel))
        g->setAxisScale('x', 0.0, 1.0);

    for (KivGraphWidget* g : graphs(panel))
        g->graph()->setLinkedAxisScale('x', 10.0, 20.0);
    const QList<double> expectedMin{10.0, 10.0, 0.0};
    for (int c = 0; c < 3; ++c) {
        double min = 0.0, max = 0.0;
        panel.getGraph(0, c)->graph()->getAxisScale('x', min, max);
        QCOMPARE(min, expectedMin.at(c));
    }

    panel.linkAxes(0);
    for (KivGraphWidget* g : graphs(panel))
        g->graph()->setLinkedAxisScale('x', 30.0, 40.0);
    double min = 0.0, max = 0.0;
    panel.getGraph(0, 0)->graph()->getAxisScale('x', min, max);
    QCOMPARE(min, 10.0);
}

void TestPanel::linkedGestures_data()
{
    QTest::addColumn<bool>("wheel"); // else a pan drag
    QTest::newRow("pan") << false;
    QTest::newRow("wheel zoom") << true;
}

void TestPanel::linkedGestures()
{
    QFETCH(bool, wheel);
    KivWidget panel(1, 3);
    panel.resize(900, 300);
    panel.show();
    QVERIFY(QTest::qWaitForWindowExposed(&panel));
    panel.linkAxes(1);
    panel.getGraph(0, 2)->setAxisLink(0);
    for (KivGraphWidget* g : graphs(panel)) {
        KivDataSet* set = panel.addDataSet(g, 100, QColor(Qt::red), KivDataStyle2D);
        for (int i = 0; i <= 100; ++i)
            panel.addData(set, double(i), double(i % 7));
        g->setAxisScale('x', 40.0, 60.0);
        g->setAxisScale('y', 0.0, 10.0);
    }

    // The user pans or zooms the first graph; the linked second one follows, the third not.
    KivGraph* plot = panel.getGraph(0, 0)->graph();
    const QPoint from = plot->mapTo(&panel, plot->rect().center());
    if (wheel) {
        toolBar(panel)->setZoomingChecked(true);
        const QPoint at = plot->rect().center();
        QWheelEvent notch(QPointF(at), QPointF(plot->mapToGlobal(at)), QPoint(), QPoint(0, 120), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(plot, &notch);
    } else {
        toolBar(panel)->setPanningChecked(true);
        QWindow* window = panel.windowHandle();
        QTest::mouseMove(window, from);
        QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, from);
        QTest::mouseMove(window, from + QPoint(20, 0));
        QTest::mouseMove(window, from + QPoint(40, 0));
        QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, from + QPoint(40, 0));
    }

    double min0 = 0.0, max0 = 0.0;
    plot->getAxisScale('x', min0, max0);
    QVERIFY(min0 != 40.0 || max0 != 60.0);
    double min1 = 0.0, max1 = 0.0;
    QTRY_VERIFY((panel.getGraph(0, 1)->graph()->getAxisScale('x', min1, max1), min1 == min0 && max1 == max0));
    double min2 = 0.0, max2 = 0.0;
    panel.getGraph(0, 2)->graph()->getAxisScale('x', min2, max2);
    QCOMPARE(min2, 40.0);
    QCOMPARE(max2, 60.0);
}

QTEST_MAIN(TestPanel)
#include "tst_panel.moc"
