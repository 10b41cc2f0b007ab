#include "paneltest.h"

#include <QPointer>
#include <QSignalSpy>

using namespace paneltest;

// The panel's grid as a user changes it: relayout, tool bar wiring, hit testing, linked axes.
class TestPanel : public QObject
{
    Q_OBJECT

private slots:
    void relayoutKeepsGraphsWithData_data();
    void relayoutKeepsGraphsWithData();
    void relayoutFromToolBar();
    void hitTesting_data();
    void hitTesting();
    void linkedAxes();
};

static void fill(KivWidget& panel, KivGraphWidget* graph)
{
    panel.addData(panel.addDataSet(graph, 100, QColor(Qt::green)), 1.0);
}

// Every graph in the grid answers the tool bar's Freeze action and has its auto-scale method.
static void verifyWiredToToolBar(const KivWidget& panel)
{
    QAction* freeze = nullptr;
    for (QAction* a : toolBar(panel)->actions())
        freeze = a->text() == QStringLiteral("Freeze") ? a : freeze;
    QVERIFY(freeze);
    for (bool on : {true, false}) {
        freeze->trigger();
        for (KivGraphWidget* g : graphs(panel))
            QVERIFY(g->isFreezeChecked() == on && g->getAutoScaleMethod() == toolBar(panel)->getAutoScaleMethod());
    }
}

void TestPanel::relayoutKeepsGraphsWithData_data()
{
    QTest::addColumn<QSize>("from"); // columns x rows
    QTest::addColumn<QList<int>>("withData");
    QTest::addColumn<QSize>("to");
    QTest::addColumn<QList<int>>("expected"); // old indices, -1 for a new graph
    QTest::newRow("2x2 to 1x2, data at 1, 3") << QSize(2, 2) << QList<int>{1, 3} << QSize(2, 1) << QList<int>{1, 3};
    QTest::newRow("2x2 to 1x2, data at 2") << QSize(2, 2) << QList<int>{2} << QSize(2, 1) << QList<int>{2, 0};
    QTest::newRow("2x2 to 2x3, data at 2") << QSize(2, 2) << QList<int>{2} << QSize(3, 2)
                                          << QList<int>{2, 0, 1, 3, -1, -1};
    QTest::newRow("2x3 to 1x1, data at 4") << QSize(3, 2) << QList<int>{4} << QSize(1, 1) << QList<int>{4};
    QTest::newRow("2x3 to 3x2, data at 5, 1") << QSize(3, 2) << QList<int>{5, 1} << QSize(2, 3)
                                             << QList<int>{1, 5, 0, 2, 3, 4};
    QTest::newRow("2x2 to 3x1, all data") << QSize(2, 2) << QList<int>{0, 1, 2, 3} << QSize(1, 3)
                                         << QList<int>{0, 1, 2};
    QTest::newRow("2x2 to 0x0") << QSize(2, 2) << QList<int>{1} << QSize(0, 0) << QList<int>{};
    QTest::newRow("2x2 to 2x2 does nothing") << QSize(2, 2) << QList<int>{3} << QSize(2, 2) << QList<int>{0, 1, 2, 3};
}

void TestPanel::relayoutKeepsGraphsWithData()
{
    QFETCH(QSize, from);
    QFETCH(QList<int>, withData);
    QFETCH(QSize, to);
    QFETCH(QList<int>, expected);
    KivWidget panel(from.height(), from.width());
    QVERIFY(showPanel(panel, 600, 400));
    const QList<KivGraphWidget*> before = graphs(panel);
    const QList<QPointer<KivGraphWidget>> watch(before.begin(), before.end());
    for (int i : withData)
        fill(panel, before.at(i));

    QSignalSpy changed(&panel, &KivWidget::layoutChanged);
    panel.selectLayout(to.height(), to.width());
    panel.selectLayout(-1, 2); // ignored
    QCOMPARE(changed.count(), from == to ? 0 : 1);

    const QList<KivGraphWidget*> after = graphs(panel);
    QCOMPARE(after.size(), expected.size());
    for (int i = 0; i < after.size(); ++i) {
        QVERIFY(after.at(i) && after.at(i)->isVisible());
        QVERIFY(expected.at(i) < 0 ? !before.contains(after.at(i)) : after.at(i) == before.at(expected.at(i)));
    }
    for (int i = 0; i < watch.size(); ++i)
        QCOMPARE(watch.at(i).isNull(), !expected.contains(i));
    QCOMPARE(panel.findChildren<KivGraphWidget*>().size(), expected.size());
    verifyWiredToToolBar(panel);
}

void TestPanel::relayoutFromToolBar()
{
    KivWidget panel(1, 1);
    panel.setAllowLayoutSelection(true);
    QVERIFY(showPanel(panel, 900, 400));
    QSpinBox* rows = nullptr;
    QSpinBox* cols = nullptr;
    for (QSpinBox* box : toolBar(panel)->findChildren<QSpinBox*>())
        (box->toolTip() == QStringLiteral("Rows") ? rows : cols) = box;
    QVERIFY(rows && cols && rows->isVisible() && cols->toolTip() == QStringLiteral("Columns"));
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
    QCOMPARE(graphs(panel).size(), 6);
    QCOMPARE(panel.getGraph(0, 0), first);

    // With a second graph filled, 1 x 1 keeps the first; the other does not fit.
    QPointer<KivGraphWidget> third(panel.getGraph(0, 2));
    fill(panel, third);
    cols->setValue(1);
    rows->setValue(1);
    QCOMPARE(graphs(panel), QList<KivGraphWidget*>{first});
    QVERIFY(third.isNull());

    rows->setValue(2);
    cols->setValue(3);
    QCOMPARE(graphs(panel).size(), 6);
    QCOMPARE(panel.getGraph(0, 0), first);
    verifyWiredToToolBar(panel); // new graphs too, with the tool bar's auto-scale method
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
    QVERIFY(showPanel(panel, 600, 500));
    KivGraphWidget* target = panel.getGraph(0, 1);
    KivGraph* plot = target->graph();
    const QPoint p = plot->mapTo(&panel, QPoint(int(where.x() * plot->width()), int(where.y() * plot->height())));
    char found = 0;
    QCOMPARE(panel.getGraph(p, &found), target);
    QCOMPARE(found, axis);
    QCOMPARE(panel.getGraph(p, static_cast<char*>(nullptr)), target);
    QVERIFY(!panel.getGraph(toolBar(panel)->geometry().center(), &found)); // no graph over the tool bar
}

// With linkAxes(1) only graphs whose link bit is set follow a linked x scale.
void TestPanel::linkedAxes()
{
    KivWidget panel(1, 3);
    panel.linkAxes(1);
    panel.getGraph(0, 2)->setAxisLink(0);
    const auto minima = [&](double linkedMin) {
        QList<double> result;
        for (KivGraphWidget* g : graphs(panel))
            g->graph()->setLinkedAxisScale('x', linkedMin, linkedMin + 10.0);
        for (KivGraphWidget* g : graphs(panel)) {
            double min = 0.0, max = 0.0;
            g->graph()->getAxisScale('x', min, max);
            result << min;
        }
        return result;
    };
    for (KivGraphWidget* g : graphs(panel))
        g->setAxisScale('x', 0.0, 1.0);
    QCOMPARE(minima(10.0), QList<double>({10.0, 10.0, 0.0}));
    panel.linkAxes(0);
    QCOMPARE(minima(30.0), QList<double>({10.0, 10.0, 0.0}));
}

QTEST_MAIN(TestPanel)
#include "tst_panel.moc"
