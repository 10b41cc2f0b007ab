// The graph object: the data-set list, settings forwarded to the series, the control-state
// signal, the scope offset and the repaint throttle.

#include "graphtesthelpers.h"

#include <QPointer>
#include <QtTest>

#include <thread>

using graphtest::TestGraph;

class TestGraphObject : public QObject
{
    Q_OBJECT

private slots:
    void dataSetList();
    void seriesFollowGraphSettings();
    void backgroundColor();
    void scopeOffset();
    void controlState();
    void throttleAndProducerThread();
};

void TestGraphObject::dataSetList()
{
    QPointer<KivDataSet> last;
    {
        TestGraph g;
        g.freeze(true);
        QPointer<KivDataSet> a = g.addDataSet(KivDataStyle2D, QColor(255, 0, 0, 10), 500);
        QCOMPARE(a->getColor(), QColor(255, 0, 0)); // alpha dropped
        QVERIFY(a->isFrozen() && g.dimensions() == 2);
        QPointer<KivDataSet> b = g.addDataSet(0, Qt::blue, 0);
        QPointer<KivDataSet> c = g.addDataSet(0, Qt::green, 0);
        QVERIFY(g.dataSet(3) == nullptr && g.dataSet(-1) == nullptr);
        QVERIFY(g.isEmpty() && !g.hasLegend());
        b->addData(1.0);
        c->setLabel(QStringLiteral("flow"));
        QVERIFY(!g.isEmpty() && g.hasLegend());

        TestGraph other;
        KivDataSet* foreign = other.addDataSet(0, Qt::red, 0);
        g.removeDataSet(foreign); // not this graph's: ignored
        QVERIFY(other.hasDataSet(foreign) && g.dataSetCount() == 3);
        g.removeDataSet(b);
        QVERIFY(b.isNull() && g.dataSet(0) == a && g.dataSet(1) == c);
        QVERIFY(g.isEmpty());
        g.removeDataSet(nullptr); // removes all
        QVERIFY(g.dataSetCount() == 0 && a.isNull() && c.isNull());
        last = g.addDataSet(0, Qt::red, 10);
    }
    QVERIFY(last.isNull()); // deleted with the graph
}

void TestGraphObject::seriesFollowGraphSettings()
{
    TestGraph g;
    double interval = 7.0, time = 8.0;
    g.getTime(interval, time); // no series: outputs untouched
    QVERIFY(interval == 7.0 && time == 8.0);
    g.showAllSamples(true);
    QVERIFY(!g.isShowingAllSamples()); // no series

    KivDataSet* a = g.addDataSet(KivDataStyle1D, Qt::red, 100);
    KivDataSet* b = g.addDataSet(0, Qt::blue, 0);
    g.setAddPosition(false);
    g.freeze(true);
    QVERIFY(!a->isAddedAtBack() && !b->isAddedAtBack() && a->isFrozen() && b->isFrozen());
    g.freeze(false);
    QVERIFY(!a->isFrozen() && !b->isFrozen());
    // Showing all samples of a time series resets the x window.
    g.setAxisScale('x', -0.2, 0.4);
    g.showAllSamples(true);
    QVERIFY(g.isShowingAllSamples() && g.axisInfo(0).scaleMin == -1.0 && g.axisInfo(0).scaleMax == 1.0);

    // Time goes to the first series only; clear(false) keeps it, clear(true) resets it.
    g.setTime(0.5, 10.0);
    b->getTime(interval, time);
    QCOMPARE(interval, 1.0);
    a->addData(1.0);
    g.clear(false);
    g.getTime(interval, time);
    QVERIFY(a->getItemCount() == 0 && interval == 0.5 && time == 10.0);
    g.clear(true);
    g.getTime(interval, time);
    QVERIFY(interval == 0.5 && time == 0.0);
}

void TestGraphObject::backgroundColor()
{
    TestGraph g;
    g.setBackgroundColor(0x12345678ul); // bits above 24 ignored
    QCOMPARE(g.backgroundColor().rgba(), qRgb(0x34, 0x56, 0x78));
    g.setBackgroundColor(-1.0, 0.5, 2.0); // fractions out of range are clamped
    QCOMPARE(g.backgroundColor().rgba(), qRgb(0, 128, 255));
}

void TestGraphObject::scopeOffset()
{
    TestGraph g;
    QCOMPARE(g.setScopeOffset(5), -1L); // no series
    KivDataSet* unbounded = g.addDataSet(0, Qt::red, 0);
    KivDataSet* window = g.addDataSet(0, Qt::blue, 100);
    for (int i = 0; i < 50; ++i) {
        unbounded->addData(i);
        window->addData(i);
    }
    window->setScopeOffset(40);
    QVERIFY(unbounded->getScopeOffset() == -1L && g.scopeOffset() == 40L); // the largest
    QCOMPARE(g.setScopeOffset(10), 40L); // returns the previous one
    QVERIFY(unbounded->getScopeOffset() == 10L && window->getScopeOffset() == 10L);
}

void TestGraphObject::controlState()
{
    TestGraph g;
    g.addDataSet(KivDataStyle1D, Qt::red, 100);
    QSignalSpy spy(&g, SIGNAL(controlStateChanged(int)));
    g.setControlState(KivGraph::ControlZoom);
    g.setControlState(KivGraph::ControlZoom); // signalled again
    g.setAutoScaleMethod(KivFullFit); // not showing all samples: zoom stays
    QVERIFY(g.isZooming());
    g.setControlState(KivGraph::ControlPan);
    g.showAllSamples(true);
    g.setAutoScaleMethod(KivNoAutoScale);
    QVERIFY(g.isPanning() && !g.isZooming());
    g.setAutoScaleMethod(KivExpandToFit); // auto scaling a full time series ends the pointer mode
    QCOMPARE(g.getControlState(), KivGraph::ControlNone);
    QList<int> states;
    for (const QList<QVariant>& args : qAsConst(spy))
        states << args.at(0).toInt();
    QCOMPARE(states, (QList<int> { KivGraph::ControlZoom, KivGraph::ControlZoom, KivGraph::ControlPan, KivGraph::ControlNone }));
}

// One repaint request per 25 ms passes (judged by the test's own clock, so a slow machine skips
// that check rather than failing it).
void TestGraphObject::throttleAndProducerThread()
{
    TestGraph g;
    KivDataSet* ds = g.addDataSet(KivDataStyle1D, Qt::red, 0);
    ds->addData(0.0);
    QVERIFY(graphtest::showAt(g, 200, 100));
    QTest::qWait(30);
    QElapsedTimer clock;
    clock.start();
    g.scheduleUpdate();
    QVERIFY(g.isUpdateRequested());
    g.grabFramebuffer(); // paints, which clears the flag
    QVERIFY(!g.isUpdateRequested());
    g.scheduleUpdate();
    if (clock.elapsed() < 20)
        QVERIFY(!g.isUpdateRequested());
    QTest::qWait(30);
    g.scheduleUpdate();
    QVERIFY(g.isUpdateRequested());
    g.grabFramebuffer();
    g.clear(false); // shows at once, throttle or not
    QVERIFY(g.isUpdateRequested());

    // Samples from another thread reach the graph, and their queued requests repaint it.
    QTest::qWait(30);
    const int before = g.frames;
    std::thread producer([ds] {
        for (int i = 0; i < 1000; ++i)
            ds->addData(i);
    });
    producer.join();
    QCOMPARE(ds->getItemCount(), 1000ul);
    QTRY_VERIFY(g.frames > before);
}

QTEST_MAIN(TestGraphObject)
#include "tst_graph.moc"
