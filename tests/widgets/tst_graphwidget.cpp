// The graph widget as a host places it: labels and legend around the graph, the control
// operations and their allowed flags, forwarding to the graph, and a tool bar wired to it.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QtTest>
#include <QtTest/qtestspontaneevent.h>

#include <functional>

#include "kiv_dataset.h"
#include "kiv_graph.h"
#include "kiv_graphwidget.h"
#include "kivlabel.h"
#include "kivlegend.h"
#include "kivtoolbar.h"

namespace {

QAction* actionNamed(const KivToolBar& toolBar, const QString& text)
{
    for (QAction* action : toolBar.actions()) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

QGridLayout* grid(const KivGraphWidget& widget)
{
    return qobject_cast<QGridLayout*>(widget.layout());
}

// Row, column, row span and column span of a widget in the graph widget's grid; -1 when it is
// not in the grid.
QVector<int> cellOf(const KivGraphWidget& widget, QWidget* child)
{
    const int index = grid(widget)->indexOf(child);
    if (index < 0)
        return {-1, -1, -1, -1};
    int row, column, rowSpan, columnSpan;
    grid(widget)->getItemPosition(index, &row, &column, &rowSpan, &columnSpan);
    return {row, column, rowSpan, columnSpan};
}

KivLabel* labelWithTilt(const KivGraphWidget& widget, KivLabel::TextTilt tilt)
{
    for (KivLabel* label : widget.findChildren<KivLabel*>()) {
        if (label->textTilt() == tilt)
            return label;
    }
    return nullptr;
}

// Exposes the number of connections made to each of its signals.
class CountingToolBar : public KivToolBar
{
public:
    int receiverCount(const char* signal) const { return receivers(signal); }
};

void fillSeries(KivDataSet* set, int count, double base)
{
    for (int i = 0; i < count; ++i)
        set->addData(base + i);
    // Freezing moves the queued samples to the drawn side, where setData edits them.
    set->freeze(true);
    set->freeze(false);
}

double sampleAt(const KivDataSet* set, unsigned long i)
{
    double v = 0;
    set->getData(i, v, true, 1);
    return v;
}

class WheelCatcher : public QWidget
{
public:
    int wheels = 0;

protected:
    void wheelEvent(QWheelEvent* event) override
    {
        ++wheels;
        event->accept();
    }
};

const char* const TriggeredSignals[] = {
    SIGNAL(freezeTriggered(bool)),     SIGNAL(zoomingTriggered(bool)),
    SIGNAL(panningTriggered(bool)),    SIGNAL(autoScaleMethodTriggered(KivAutoScaleMethod)),
    SIGNAL(equalAxesTriggered(bool)),  SIGNAL(allSamplesTriggered(bool)),
    SIGNAL(clearTriggered(bool)),      SIGNAL(legendTriggered(bool)),
    SIGNAL(measureTriggered(bool)),
};

} // namespace

class TestGraphWidget : public QObject
{
    Q_OBJECT

private slots:
    void defaultState();
    void gridFollowsLegendLayout_data();
    void gridFollowsLegendLayout();
    void titleAndXLabelShowWithText();
    void yLabelMovesTitle();
    void axisLabelByLetter_data();
    void axisLabelByLetter();
    void zoomAndPanStates_data();
    void zoomAndPanStates();
    void allowedFlagsSilenceSetters_data();
    void allowedFlagsSilenceSetters();
    void legendShownOnlyWithText();
    void seriesKeepLegendInStep();
    void seriesVisibility();
    void setDataExclusive_data();
    void setDataExclusive();
    void forwardsToGraph();
    void wheelReachesParent();
    void panningRelayed();
    void toolBarConnectsNineSignals();
    void toolBarDrivesGraph_data();
    void toolBarDrivesGraph();
    void lockedGraphIgnoresToolBar();
    void fullFitWithAllSamplesStopsZoom();
    void screenshot_data();
    void screenshot();
};

void TestGraphWidget::defaultState()
{
    KivGraphWidget widget;
    KivControlInterface* controls = &widget;
    QVERIFY(controls->isAutoScaleMethodChangeAllowed());
    QVERIFY(controls->isPanningChangeAllowed());
    QVERIFY(controls->isZoomingChangeAllowed());
    QVERIFY(controls->isFreezeChangeAllowed());
    QVERIFY(controls->isMeasureChangeAllowed());
    QVERIFY(controls->isAllSamplesChangeAllowed());
    QVERIFY(controls->isClearAllowed());
    QVERIFY(controls->isEqualAxesChangeAllowed());
    // Nothing to show in the legend yet, so it cannot be switched.
    QVERIFY(!controls->isLegendChangeAllowed());
    QVERIFY(!controls->isMeasureChecked());
    QVERIFY(!controls->isZoomingChecked());
    QVERIFY(!controls->isPanningChecked());
    QCOMPARE(widget.graph()->parentWidget(), &widget);
    QCOMPARE(widget.legend()->parentWidget(), &widget);
    QVERIFY(widget.isEmpty());
    QCOMPARE(widget.dataSetCount(), 0);

    QVERIFY(labelWithTilt(widget, KivLabel::Tilt270));
    QVERIFY(labelWithTilt(widget, KivLabel::Tilt270)->isHidden());
    QCOMPARE(grid(widget)->spacing(), 1);
    QCOMPARE(grid(widget)->contentsMargins(), QMargins());
}

void TestGraphWidget::gridFollowsLegendLayout_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<QVector<int>>("legendCell");
    QTest::addColumn<QVector<int>>("graphCell");
    QTest::addColumn<QVector<int>>("yLabelCell");
    QTest::newRow("above") << int(LegendAbove) << QVector<int>{1, 1, 1, 1}
                           << QVector<int>{2, 1, 1, 1} << QVector<int>{2, 0, 1, 1};
    QTest::newRow("right") << int(LegendRight) << QVector<int>{1, 2, 1, 1}
                           << QVector<int>{1, 1, 1, 1} << QVector<int>{1, 0, 1, 1};
    QTest::newRow("none") << 9 << QVector<int>{-1, -1, -1, -1} << QVector<int>{1, 1, 1, 1}
                          << QVector<int>{1, 0, 1, 1};
}

void TestGraphWidget::gridFollowsLegendLayout()
{
    QFETCH(int, layout);
    QFETCH(QVector<int>, legendCell);
    QFETCH(QVector<int>, graphCell);
    QFETCH(QVector<int>, yLabelCell);
    KivGraphWidget widget;
    widget.setLegendLayout(LegendRight);
    widget.setLegendLayout(KivLegendLayout(layout));

    QCOMPARE(cellOf(widget, widget.legend()), legendCell);
    QCOMPARE(cellOf(widget, widget.graph()), graphCell);
    QCOMPARE(cellOf(widget, labelWithTilt(widget, KivLabel::Tilt270)), yLabelCell);
    // The rebuilt grid keeps every widget alive and parented.
    QCOMPARE(widget.legend()->parentWidget(), &widget);
    QCOMPARE(widget.graph()->parentWidget(), &widget);
    const bool vertical = layout == LegendRight;
    QCOMPARE(qobject_cast<QBoxLayout*>(widget.legend()->layout())->direction(),
             vertical ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

void TestGraphWidget::titleAndXLabelShowWithText()
{
    KivGraphWidget widget;
    widget.setTitle(QStringLiteral("Pump 3"));
    widget.setXLabel(QStringLiteral("time"));
    KivLabel* title = nullptr;
    KivLabel* xLabel = nullptr;
    for (KivLabel* label : widget.findChildren<KivLabel*>()) {
        if (label->text() == QLatin1String("Pump 3"))
            title = label;
        if (label->text() == QLatin1String("time"))
            xLabel = label;
    }
    QVERIFY(title && xLabel);
    QVERIFY(!title->isHidden());
    QVERIFY(!xLabel->isHidden());
    widget.setTitle(QString());
    widget.setXLabel(QString());
    QVERIFY(title->isHidden());
    QVERIFY(xLabel->isHidden());
}

void TestGraphWidget::yLabelMovesTitle()
{
    KivGraphWidget widget;
    KivLabel* yLabel = labelWithTilt(widget, KivLabel::Tilt270);
    widget.setTitle(QStringLiteral("title"));
    QWidget* titleFrame = nullptr;
    for (KivLabel* label : widget.findChildren<KivLabel*>()) {
        if (label->text() == QLatin1String("title"))
            titleFrame = label->parentWidget();
    }
    QVERIFY(titleFrame && titleFrame != &widget);
    QCOMPARE(cellOf(widget, titleFrame), QVector<int>({0, 1, 1, 1}));

    widget.setYLabel(QStringLiteral("pressure"));
    QVERIFY(!yLabel->isHidden());
    QCOMPARE(yLabel->text(), QStringLiteral("pressure"));
    QCOMPARE(cellOf(widget, titleFrame), QVector<int>({0, 0, 1, 2}));

    // Another text does not move the title again.
    widget.setYLabel(QStringLiteral("flow"));
    QCOMPARE(cellOf(widget, titleFrame), QVector<int>({0, 0, 1, 2}));
    QCOMPARE(grid(widget)->count(), 5);

    widget.setYLabel(QString());
    QVERIFY(yLabel->isHidden());
    QCOMPARE(cellOf(widget, titleFrame), QVector<int>({0, 1, 1, 1}));
    widget.setYLabel(QString());
    QCOMPARE(cellOf(widget, titleFrame), QVector<int>({0, 1, 1, 1}));
}

void TestGraphWidget::axisLabelByLetter_data()
{
    QTest::addColumn<char>("axis");
    QTest::addColumn<bool>("xSet");
    QTest::addColumn<bool>("ySet");
    QTest::newRow("x") << 'x' << true << false;
    QTest::newRow("X") << 'X' << true << false;
    QTest::newRow("y") << 'y' << false << true;
    QTest::newRow("Y") << 'Y' << false << true;
    QTest::newRow("z") << 'z' << false << false;
    QTest::newRow("digit") << '1' << false << false;
}

void TestGraphWidget::axisLabelByLetter()
{
    QFETCH(char, axis);
    QFETCH(bool, xSet);
    QFETCH(bool, ySet);
    KivGraphWidget widget;
    widget.setAxisLabel(axis, QStringLiteral("label"));
    int plainLabels = 0;
    for (KivLabel* label : widget.findChildren<KivLabel*>()) {
        if (label->text() != QLatin1String("label"))
            continue;
        if (label->textTilt() == KivLabel::Tilt270)
            QVERIFY(ySet);
        else
            ++plainLabels;
    }
    QCOMPARE(plainLabels, xSet ? 1 : 0);
    QCOMPARE(labelWithTilt(widget, KivLabel::Tilt270)->text().isEmpty(), !ySet);
}

void TestGraphWidget::zoomAndPanStates_data()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<bool>("zoom");
    QTest::addColumn<bool>("checked");
    QTest::addColumn<bool>("allowed");
    QTest::addColumn<int>("expected");
    const int none = KivGraph::ControlNone, zoom = KivGraph::ControlZoom,
              pan = KivGraph::ControlPan;
    QTest::newRow("zoom on") << none << true << true << true << zoom;
    QTest::newRow("zoom on while panning") << pan << true << true << true << zoom;
    QTest::newRow("zoom off") << zoom << true << false << true << none;
    QTest::newRow("zoom off while panning") << pan << true << false << true << pan;
    QTest::newRow("zoom locked") << none << true << true << false << none;
    QTest::newRow("zoom locked off") << zoom << true << false << false << zoom;
    QTest::newRow("pan on") << none << false << true << true << pan;
    QTest::newRow("pan on while zooming") << zoom << false << true << true << pan;
    QTest::newRow("pan off") << pan << false << false << true << none;
    QTest::newRow("pan off while zooming") << zoom << false << false << true << zoom;
    QTest::newRow("pan locked") << zoom << false << true << false << zoom;
}

void TestGraphWidget::zoomAndPanStates()
{
    QFETCH(int, start);
    QFETCH(bool, zoom);
    QFETCH(bool, checked);
    QFETCH(bool, allowed);
    QFETCH(int, expected);
    KivGraphWidget widget;
    widget.graph()->setControlState(KivGraph::ControlState(start));
    if (zoom) {
        widget.setZoomingChangeAllowed(allowed);
        QCOMPARE(widget.isZoomingChangeAllowed(), allowed);
        widget.setZoomingChecked(checked);
    } else {
        widget.setPanningChangeAllowed(allowed);
        QCOMPARE(widget.isPanningChangeAllowed(), allowed);
        widget.setPanningChecked(checked);
    }
    QCOMPARE(int(widget.graph()->getControlState()), expected);
    QCOMPARE(widget.isZoomingChecked(), expected == KivGraph::ControlZoom);
    QCOMPARE(widget.isPanningChecked(), expected == KivGraph::ControlPan);
}

using ControlCase = std::function<void(KivGraphWidget&, bool allowed)>;
Q_DECLARE_METATYPE(ControlCase)

void TestGraphWidget::allowedFlagsSilenceSetters_data()
{
    QTest::addColumn<ControlCase>("check");

    // Each case locks or unlocks one control, uses its setter and checks the graph.
    QTest::newRow("freeze") << ControlCase([](KivGraphWidget& w, bool allowed) {
        w.setFreezeChangeAllowed(allowed);
        QCOMPARE(w.isFreezeChangeAllowed(), allowed);
        w.setFreezeChecked(true);
        QCOMPARE(w.graph()->isFrozen(), allowed);
        QCOMPARE(w.isFreezeChecked(), allowed);
    });
    QTest::newRow("equal axes") << ControlCase([](KivGraphWidget& w, bool allowed) {
        w.setEqualAxesChangeAllowed(allowed);
        QCOMPARE(w.isEqualAxesChangeAllowed(), allowed);
        w.setEqualAxesChecked(true);
        QCOMPARE(w.graph()->isEqualAxesEnabled(), allowed);
        QCOMPARE(w.isEqualAxesChecked(), allowed);
    });
    QTest::newRow("auto scale") << ControlCase([](KivGraphWidget& w, bool allowed) {
        w.setAutoScaleMethodChangeAllowed(allowed);
        QCOMPARE(w.isAutoScaleMethodChangeAllowed(), allowed);
        w.setAutoScaleMethod(KivAutoScaleMethod(2));
        QCOMPARE(int(w.graph()->getAutoScaleMethod()), allowed ? 2 : 0);
        QCOMPARE(w.getAutoScaleMethod(), w.graph()->getAutoScaleMethod());
    });
    QTest::newRow("measure") << ControlCase([](KivGraphWidget& w, bool allowed) {
        w.setMeasureChangeAllowed(allowed);
        QCOMPARE(w.isMeasureChangeAllowed(), allowed);
        w.setMeasureChecked(true);
        QCOMPARE(w.graph()->isMeasureShown(), allowed);
        QCOMPARE(w.isMeasureChecked(), allowed);
    });
    QTest::newRow("all samples") << ControlCase([](KivGraphWidget& w, bool allowed) {
        w.addDataSet(0, Qt::blue, 100);
        w.setAllSamplesChangeAllowed(allowed);
        QCOMPARE(w.isAllSamplesChangeAllowed(), allowed);
        w.setAllSamplesChecked(true);
        QCOMPARE(w.graph()->isShowingAllSamples(), allowed);
        QCOMPARE(w.isAllSamplesChecked(), allowed);
    });
    QTest::newRow("clear") << ControlCase([](KivGraphWidget& w, bool allowed) {
        KivDataSet* set = w.addDataSet(0, Qt::blue, 100);
        set->addData(1.0);
        set->addData(2.0);
        w.setClearAllowed(allowed);
        QCOMPARE(w.isClearAllowed(), allowed);
        w.clear(false);
        QCOMPARE(w.isEmpty(), allowed);
        QCOMPARE(set->getItemCount(), allowed ? 0ul : 2ul);
    });
    QTest::newRow("legend") << ControlCase([](KivGraphWidget& w, bool allowed) {
        w.addDataSet(0, Qt::blue, 100)->setLabel(QStringLiteral("flow"));
        w.setLegendChecked(false);
        w.setLegendChangeAllowed(allowed);
        QCOMPARE(w.isLegendChangeAllowed(), allowed);
        w.setLegendChecked(true);
        QCOMPARE(w.isLegendChecked(), allowed);
    });
}

void TestGraphWidget::allowedFlagsSilenceSetters()
{
    QFETCH(ControlCase, check);
    for (bool allowed : {false, true}) {
        KivGraphWidget widget;
        check(widget, allowed);
        if (QTest::currentTestFailed())
            return;
    }
}

void TestGraphWidget::legendShownOnlyWithText()
{
    KivGraphWidget widget;
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    // A legend that is on stays on while empty, so series labelled later show up in it.
    widget.setLegendChecked(true);
    QVERIFY(widget.isLegendChecked());
    KivDataSet* early = widget.addDataSet(0, Qt::blue, 50);
    early->setLabel(QStringLiteral("early"));
    QTRY_VERIFY(widget.legend()->findChild<QCheckBox*>()->isVisible());
    widget.removeDataSet(early);

    KivDataSet* set = widget.addDataSet(0, Qt::red, 50);
    widget.setLegendChecked(false);
    widget.setLegendChecked(true);
    QVERIFY(!widget.isLegendChecked());
    QVERIFY(!widget.legend()->isVisible());

    set->setLabel(QStringLiteral("flow"));
    QVERIFY(widget.isLegendChangeAllowed());
    widget.setLegendChecked(true);
    QVERIFY(widget.isLegendChecked());
    QVERIFY(widget.legend()->isVisible());
    widget.setLegendChecked(false);
    QVERIFY(!widget.isLegendChecked());
    QVERIFY(!widget.legend()->isVisible());
}

void TestGraphWidget::seriesKeepLegendInStep()
{
    KivGraphWidget widget;
    KivDataSet* a = widget.addDataSet(0, Qt::red, 50);
    KivDataSet* b = widget.addDataSet(0x1, QColor(0, 0, 255, 100), 50);
    QVERIFY(a && b);
    QCOMPARE(widget.dataSetCount(), 2);
    QCOMPARE(widget.dataSet(0), a);
    QCOMPARE(widget.dataSet(1), b);
    QVERIFY(!widget.dataSet(2));
    QVERIFY(!widget.dataSet(~0ul));
    QCOMPARE(b->dimensions(), 2);
    QCOMPARE(b->getMaxItemCount(), 50ul);
    QCOMPARE(b->getColor(), QColor(0, 0, 255));
    QCOMPARE(widget.legend()->findChildren<QCheckBox*>().size(), 2);
    QVERIFY(widget.hasDataSet(a));

    widget.removeDataSet(a);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!widget.hasDataSet(a));
    QCOMPARE(widget.dataSetCount(), 1);
    QCOMPARE(widget.legend()->findChildren<QCheckBox*>().size(), 1);
    b->setLabel(QStringLiteral("level"));
    QCOMPARE(widget.legend()->findChild<QCheckBox*>()->text(), QStringLiteral("level"));

    // Removing all series empties the legend as well.
    widget.addDataSet(0, Qt::green, 50)->setLabel(QStringLiteral("flow"));
    widget.removeDataSet(nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(widget.dataSetCount(), 0);
    QVERIFY(widget.legend()->findChildren<QCheckBox*>().isEmpty());
    QVERIFY(!widget.legend()->hasText());
}

void TestGraphWidget::seriesVisibility()
{
    KivGraphWidget widget;
    KivDataSet* set = widget.addDataSet(0, Qt::red, 50);
    QCheckBox* box = widget.legend()->findChild<QCheckBox*>();
    QVERIFY(widget.isDataSetVisible(set));

    widget.setDataSetVisible(set, false);
    QVERIFY(!set->isVisible());
    QVERIFY(!box->isChecked());
    QVERIFY(!widget.isDataSetVisible(set));

    box->click();
    QVERIFY(set->isVisible());
    QVERIFY(widget.isDataSetVisible(set));

    // A series added behind the legend's back still switches.
    KivDataSet* direct = widget.graph()->addDataSet(0, Qt::blue, 50);
    widget.setDataSetVisible(direct, false);
    QVERIFY(!direct->isVisible());

    // Series of another graph are not touched and not reported.
    KivGraphWidget other;
    KivDataSet* foreign = other.addDataSet(0, Qt::green, 50);
    widget.setDataSetVisible(foreign, false);
    QVERIFY(foreign->isVisible());
    QVERIFY(!widget.isDataSetVisible(foreign));
    QVERIFY(!widget.isDataSetVisible(nullptr));
}

void TestGraphWidget::setDataExclusive_data()
{
    QTest::addColumn<unsigned long>("set");
    QTest::addColumn<bool>("exclusive");
    QTest::addColumn<QVector<double>>("expected");
    QTest::newRow("exclusive middle") << 1ul << true << QVector<double>{0.0, 3.0, 0.0};
    QTest::newRow("exclusive first") << 0ul << true << QVector<double>{3.0, 0.0, 0.0};
    QTest::newRow("plain") << 2ul << false << QVector<double>{5.0, 105.0, 3.0};
    QTest::newRow("plain, no such set") << 7ul << false << QVector<double>{5.0, 105.0, 205.0};
    QTest::newRow("exclusive, no such set") << 7ul << true << QVector<double>{0.0, 0.0, 0.0};
}

void TestGraphWidget::setDataExclusive()
{
    QFETCH(unsigned long, set);
    QFETCH(bool, exclusive);
    QFETCH(QVector<double>, expected);
    KivGraphWidget widget;
    for (int j = 0; j < 3; ++j)
        fillSeries(widget.addDataSet(0, Qt::red, 20), 10, 100.0 * j);

    widget.setData(set, 5, 3.0, exclusive);
    for (int j = 0; j < 3; ++j) {
        QCOMPARE(sampleAt(widget.dataSet(j), 5), expected.at(j));
        QCOMPARE(sampleAt(widget.dataSet(j), 4), 100.0 * j + 4);
    }
}

void TestGraphWidget::forwardsToGraph()
{
    KivGraphWidget widget;
    KivGraph* graph = widget.graph();

    widget.setNoDataText(QStringLiteral("waiting"));
    QCOMPARE(graph->noDataText(), QStringLiteral("waiting"));
    widget.setGraphText(QStringLiteral("note"));
    QCOMPARE(graph->graphText(), QStringLiteral("note"));

    widget.setBackgroundColor(QColor(255, 0, 51));
    QCOMPARE(graph->backgroundColor(), QColor::fromRgbF(1.0, 0.0, 0.2));
    widget.setBackgroundColor(0.0, 0.5, 1.0);
    QCOMPARE(graph->backgroundColor(), QColor::fromRgbF(0.0, 0.5, 1.0));

    widget.setAxisLimits('y', -50.0, 50.0);
    QCOMPARE(graph->axisInfo(1).limitMin, -50.0);
    QCOMPARE(graph->axisInfo(1).limitMax, 50.0);
    widget.setAxisMinScale('y', 2.0);
    QCOMPARE(graph->axisInfo(1).minScale, 2.0);
    widget.setAxisScale('y', -10.0, 20.0);
    double min = 0, max = 0;
    graph->getAxisScale('y', min, max);
    QCOMPARE(min, -10.0);
    QCOMPARE(max, 20.0);
    widget.setAxisStyle('y', KivAxisStyleFlags(KivAxisStyleNoLabels) | KivAxisStyleZeroLine);
    QCOMPARE(graph->axisInfo(1).style, 0x41ul);
    widget.setAxisUnits('x', 4);
    QCOMPARE(graph->axisInfo(0).units, 4ul);
    widget.setAxisLink(3);
    QCOMPARE(graph->axisLink(), 1);
    widget.setDisplayUnits(true);
    QVERIFY(graph->isImperialDisplay());

    KivDataSet* set = widget.addDataSet(0, Qt::red, 100);
    widget.setTime(0.5, 12.0);
    double interval = 0, time = 0;
    set->getTime(interval, time);
    QCOMPARE(interval, 0.5);
    QCOMPARE(time, 12.0);

    for (int i = 0; i < 10; ++i)
        set->addData(i);
    QVERIFY(!widget.isEmpty());
    QCOMPARE(widget.setScopeOffset(4), 0l);
    QCOMPARE(set->getScopeOffset(), 4l);
    QCOMPARE(widget.scopeOffset(), 4l);

    widget.beginUpdate();
    QVERIFY(graph->isInUpdate());
    widget.endUpdate();
    QVERIFY(!graph->isInUpdate());

    widget.resize(300, 200);
    QCOMPARE(widget.graphWidth(), graph->width());
    QCOMPARE(widget.graphHeight(), graph->height());
    QPointF pos;
    widget.pointToGraphPos(QPoint(0, 0), pos);
    QCOMPARE(pos, QPointF(-1.0, 1.0));
    widget.pointToGraphPos(QPoint(graph->width() * 2, graph->height()), pos);
    QCOMPARE(pos, QPointF(3.0, -1.0));
}

void TestGraphWidget::wheelReachesParent()
{
    WheelCatcher parent;
    auto* widget = new KivGraphWidget(&parent);
    parent.resize(300, 200);
    widget->resize(300, 200);
    parent.show();
    QVERIFY(QTest::qWaitForWindowExposed(&parent));
    const QPoint at = widget->rect().center();
    QWheelEvent event(at, widget->mapToGlobal(at), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    // Only events from the window system travel up to the parent.
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(widget, &event);
    QCOMPARE(parent.wheels, 1);
}

void TestGraphWidget::panningRelayed()
{
    KivGraphWidget widget;
    QList<QVariantList> received;
    connect(&widget, &KivGraphWidget::panning, this,
            [&](Qt::MouseButton button, int dx, int dy, double gx, double gy) {
                received << QVariantList{int(button), dx, dy, gx, gy};
            });
    emit widget.graph()->panning(Qt::RightButton, 3, -4, 0.25, -0.5);
    QCOMPARE(received.size(), 1);
    QCOMPARE(received.at(0), QVariantList({int(Qt::RightButton), 3, -4, 0.25, -0.5}));
}

void TestGraphWidget::toolBarConnectsNineSignals()
{
    CountingToolBar toolBar;
    KivGraphWidget widget;
    for (const char* signal : TriggeredSignals)
        QCOMPARE(toolBar.receiverCount(signal), 0);

    connectToolbarToGraph(&toolBar, &widget);
    for (const char* signal : TriggeredSignals)
        QCOMPARE(toolBar.receiverCount(signal), 1);
    QCOMPARE(toolBar.receiverCount(SIGNAL(layoutSelectionChanged(int, int))), 0);

    // One way only, and no state pushed on connecting.
    QVERIFY(!widget.graph()->isFrozen());
    QSignalSpy spy(&toolBar, &KivToolBar::freezeTriggered);
    widget.setFreezeChecked(true);
    QCOMPARE(spy.count(), 0);
    QVERIFY(!toolBar.isFreezeChecked());
}

using GraphCheck = std::function<bool(KivGraphWidget&)>;
Q_DECLARE_METATYPE(GraphCheck)

void TestGraphWidget::toolBarDrivesGraph_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<GraphCheck>("isOn");
    QTest::newRow("zoom") << "Zoom" << GraphCheck([](KivGraphWidget& w) {
        return w.graph()->getControlState() == KivGraph::ControlZoom;
    });
    QTest::newRow("pan") << "Pan" << GraphCheck([](KivGraphWidget& w) {
        return w.graph()->getControlState() == KivGraph::ControlPan;
    });
    QTest::newRow("freeze") << "Freeze"
                            << GraphCheck([](KivGraphWidget& w) { return w.graph()->isFrozen(); });
    QTest::newRow("equal axes") << "Equal Axes" << GraphCheck([](KivGraphWidget& w) {
        return w.graph()->isEqualAxesEnabled();
    });
    QTest::newRow("show values") << "Show Values" << GraphCheck([](KivGraphWidget& w) {
        return w.graph()->isMeasureShown();
    });
    QTest::newRow("all samples") << "Show all samples" << GraphCheck([](KivGraphWidget& w) {
        return w.graph()->isShowingAllSamples();
    });
    QTest::newRow("legend") << "Legend" << GraphCheck([](KivGraphWidget& w) {
        return w.isLegendChecked();
    });
}

void TestGraphWidget::toolBarDrivesGraph()
{
    QFETCH(QString, action);
    QFETCH(GraphCheck, isOn);
    KivToolBar toolBar;
    KivGraphWidget widget;
    widget.addDataSet(0, Qt::red, 100)->setLabel(QStringLiteral("flow"));
    connectToolbarToGraph(&toolBar, &widget);
    widget.setLegendChecked(false);
    if (action == QLatin1String("Legend"))
        toolBar.setLegendChecked(false);
    QVERIFY(!isOn(widget));

    actionNamed(toolBar, action)->trigger();
    QVERIFY(isOn(widget));
    actionNamed(toolBar, action)->trigger();
    QVERIFY(!isOn(widget));
}

void TestGraphWidget::lockedGraphIgnoresToolBar()
{
    KivToolBar toolBar;
    KivGraphWidget widget;
    KivDataSet* set = widget.addDataSet(0, Qt::red, 100);
    set->addData(1.0);
    connectToolbarToGraph(&toolBar, &widget);

    widget.setZoomingChangeAllowed(false);
    widget.setClearAllowed(false);
    widget.setAutoScaleMethodChangeAllowed(false);
    actionNamed(toolBar, QStringLiteral("Zoom"))->trigger();
    actionNamed(toolBar, QStringLiteral("Clear"))->trigger();
    toolBar.findChild<QComboBox*>()->setCurrentIndex(1);
    QCOMPARE(widget.graph()->getControlState(), KivGraph::ControlNone);
    QCOMPARE(set->getItemCount(), 1ul);
    QCOMPARE(int(widget.graph()->getAutoScaleMethod()), 0);

    widget.setClearAllowed(true);
    widget.setAutoScaleMethodChangeAllowed(true);
    actionNamed(toolBar, QStringLiteral("Clear"))->trigger();
    toolBar.findChild<QComboBox*>()->setCurrentIndex(2);
    QCOMPARE(set->getItemCount(), 0ul);
    QCOMPARE(int(widget.graph()->getAutoScaleMethod()), 2);
}

void TestGraphWidget::fullFitWithAllSamplesStopsZoom()
{
    KivToolBar toolBar;
    KivGraphWidget widget;
    widget.addDataSet(0, Qt::red, 100);
    connectToolbarToGraph(&toolBar, &widget);
    QAction* zoom = actionNamed(toolBar, QStringLiteral("Zoom"));
    QAction* pan = actionNamed(toolBar, QStringLiteral("Pan"));

    zoom->trigger();
    QCOMPARE(widget.graph()->getControlState(), KivGraph::ControlZoom);
    actionNamed(toolBar, QStringLiteral("Show all samples"))->trigger();
    QVERIFY(widget.graph()->isShowingAllSamples());
    toolBar.findChild<QComboBox*>()->setCurrentIndex(2);

    QVERIFY(!zoom->isEnabled());
    QVERIFY(!pan->isEnabled());
    QVERIFY(!zoom->isChecked());
    QCOMPARE(widget.graph()->getControlState(), KivGraph::ControlNone);
    QCOMPARE(int(widget.graph()->getAutoScaleMethod()), 2);

    // Expanding again hands zoom and pan back to the user.
    toolBar.findChild<QComboBox*>()->setCurrentIndex(1);
    QVERIFY(zoom->isEnabled());
    zoom->trigger();
    QCOMPARE(widget.graph()->getControlState(), KivGraph::ControlZoom);
}

void TestGraphWidget::screenshot_data()
{
    QTest::addColumn<int>("layout");
    QTest::newRow("legend above") << int(LegendAbove);
    QTest::newRow("legend right") << int(LegendRight);
}

void TestGraphWidget::screenshot()
{
    QFETCH(int, layout);
    KivGraphWidget widget;
    widget.setLegendLayout(KivLegendLayout(layout));
    widget.setTitle(QStringLiteral("Tank level"));
    widget.setYLabel(QStringLiteral("level [m]"));
    widget.setXLabel(QStringLiteral("samples"));
    KivDataSet* inflow = widget.addDataSet(0, QColor(200, 30, 30), 200);
    KivDataSet* outflow = widget.addDataSet(0, QColor(30, 90, 200), 200);
    inflow->setLabel(QStringLiteral("inflow"));
    outflow->setLabel(QStringLiteral("outflow"));
    for (int i = 0; i < 200; ++i) {
        inflow->addData(std::sin(i * 0.05));
        outflow->addData(0.5 * std::cos(i * 0.03));
    }
    widget.setAutoScaleMethod(KivAutoScaleMethod(2));
    widget.setLegendChecked(true);
    widget.resize(480, 320);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    QTest::qWait(100);

    // Where a user finds each part.
    const QRect graph = widget.graph()->geometry();
    KivLabel* yLabel = labelWithTilt(widget, KivLabel::Tilt270);
    QVERIFY(yLabel->isVisible());
    QVERIFY(yLabel->height() > yLabel->width());
    QVERIFY(yLabel->geometry().right() < graph.left());
    QVERIFY(widget.legend()->isVisible());
    if (layout == LegendAbove)
        QVERIFY(widget.legend()->geometry().bottom() < graph.top());
    else
        QVERIFY(widget.legend()->geometry().left() > graph.right());
    QWidget* titleFrame = nullptr;
    KivLabel* xLabel = nullptr;
    for (KivLabel* label : widget.findChildren<KivLabel*>()) {
        if (label->text() == QLatin1String("Tank level"))
            titleFrame = label->parentWidget();
        if (label->text() == QLatin1String("samples"))
            xLabel = label;
    }
    QVERIFY(titleFrame->geometry().bottom() < graph.top());
    QVERIFY(xLabel->geometry().top() > graph.bottom());
    // The title spans label and graph so it centres over both.
    QCOMPARE(titleFrame->geometry().left(), yLabel->geometry().left());

    const QImage image = widget.grab().toImage();
    QVERIFY(!image.isNull());
    if (qEnvironmentVariableIsSet("KIV_TEST_OUTPUT_DIR")) {
        const QString name = layout == LegendAbove ? QStringLiteral("graphwidget-legend-above.png")
                                                   : QStringLiteral("graphwidget-legend-right.png");
        QVERIFY(image.save(QDir(qEnvironmentVariable("KIV_TEST_OUTPUT_DIR")).filePath(name)));
    }
}

QTEST_MAIN(TestGraphWidget)
#include "tst_graphwidget.moc"
