// The panel's grid as a user changes it: relayout, tool bar wiring, hit testing, linked axes.
#include "paneltest.h"

#include <QPointer>
#include <QSignalSpy>

using namespace paneltest;

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

// Columns x rows before and after; indices of the graphs with data; the old index of each graph
// after, -1 for a new one.
struct Relayout { QSize from; QList<int> withData; QSize to; QList<int> expected; };
Q_DECLARE_METATYPE(Relayout)

class TestPanel : public QObject
{
    Q_OBJECT

private slots:
    void relayoutKeepsGraphsWithData_data()
    {
        QTest::addColumn<Relayout>("r");
        QTest::newRow("2x2 to 1x2, data at 1, 3") << Relayout{{2, 2}, {1, 3}, {2, 1}, {1, 3}};
        QTest::newRow("2x2 to 1x2, data at 2") << Relayout{{2, 2}, {2}, {2, 1}, {2, 0}};
        QTest::newRow("2x2 to 2x3, data at 2") << Relayout{{2, 2}, {2}, {3, 2}, {2, 0, 1, 3, -1, -1}};
        QTest::newRow("2x3 to 1x1, data at 4") << Relayout{{3, 2}, {4}, {1, 1}, {4}};
        QTest::newRow("2x3 to 3x2, data at 5, 1") << Relayout{{3, 2}, {5, 1}, {2, 3}, {1, 5, 0, 2, 3, 4}};
        QTest::newRow("2x2 to 3x1, all data") << Relayout{{2, 2}, {0, 1, 2, 3}, {1, 3}, {0, 1, 2}};
        QTest::newRow("2x2 to 0x0") << Relayout{{2, 2}, {1}, {0, 0}, {}};
        QTest::newRow("2x2 to 2x2 does nothing") << Relayout{{2, 2}, {3}, {2, 2}, {0, 1, 2, 3}};
    }

    void relayoutKeepsGraphsWithData()
    {
        QFETCH(Relayout, r);
        KivWidget panel(r.from.height(), r.from.width());
        QVERIFY(showPanel(panel, 600, 400));
        const QList<KivGraphWidget*> before = graphs(panel);
        const QList<QPointer<KivGraphWidget>> watch(before.begin(), before.end());
        for (int i : r.withData)
            fill(panel, before.at(i));

        QSignalSpy changed(&panel, &KivWidget::layoutChanged);
        panel.selectLayout(r.to.height(), r.to.width());
        panel.selectLayout(-1, 2); // ignored
        panel.selectLayout(46341, 46341); // beyond MaxGridSide: ignored
        panel.selectLayout(1, KivWidget::MaxGridSide + 1);
        QCOMPARE(changed.count(), r.from == r.to ? 0 : 1);

        const QList<KivGraphWidget*> after = graphs(panel);
        QCOMPARE(after.size(), r.expected.size());
        for (int i = 0; i < after.size(); ++i) {
            QVERIFY(after.at(i) && after.at(i)->isVisible());
            QVERIFY(r.expected.at(i) < 0 ? !before.contains(after.at(i)) : after.at(i) == before.at(r.expected.at(i)));
        }
        for (int i = 0; i < watch.size(); ++i)
            QCOMPARE(watch.at(i).isNull(), !r.expected.contains(i));
        QCOMPARE(panel.findChildren<KivGraphWidget*>().size(), r.expected.size());
        verifyWiredToToolBar(panel);
    }

    void relayoutFromToolBar()
    {
        KivWidget panel(1, 1);
        panel.setAllowLayoutSelection(true);
        QVERIFY(showPanel(panel, 900, 400));
        QSpinBox *rows = nullptr, *cols = nullptr;
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
        verifyWiredToToolBar(panel); // new graphs too, with the tool bar's auto-scale method
    }

    void hitTesting()
    {
        KivWidget panel(2, 2);
        QVERIFY(showPanel(panel, 600, 500));
        KivGraphWidget* target = panel.getGraph(0, 1);
        KivGraph* plot = target->graph();
        char found = 0;
        QVERIFY(!panel.getGraph(toolBar(panel)->geometry().center(), &found)); // no graph over the tool bar
        // Fractions of the target's plot area: bottom right, top left, top right nearer the top,
        // top right nearer the right; and the axis found there.
        const std::pair<QPointF, char> hits[] = {{{0.9, 0.8}, 'x'}, {{0.1, 0.2}, 'y'}, {{0.7, 0.05}, 'y'},
                                                 {{0.95, 0.3}, 'x'}};
        for (const auto& hit : hits) {
            const QPoint p(int(hit.first.x() * plot->width()), int(hit.first.y() * plot->height()));
            QCOMPARE(panel.getGraph(plot->mapTo(&panel, p), &found), target);
            QCOMPARE(found, hit.second);
            QCOMPARE(panel.getGraph(plot->mapTo(&panel, p), static_cast<char*>(nullptr)), target);
        }
    }

    // With linkAxes(1) only graphs whose link bit is set follow a linked x scale.
    void linkedAxes()
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
};

QTEST_MAIN(TestPanel)
#include "tst_panel.moc"
