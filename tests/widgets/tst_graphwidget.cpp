// The graph widget as a host places it: labels and legend around the graph, the control
// operations and their allowed flags, and a tool bar wired to it.
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

using W = KivGraphWidget;
using Seen = std::function<bool(W&)>; // whether an operation has reached the graph

QAction* actionNamed(const KivToolBar& toolBar, const char* text)
{
    for (QAction* action : toolBar.actions()) {
        if (action->text() == QLatin1String(text))
            return action;
    }
    return nullptr;
}

// Row, column, row span, column span in the widget's grid; all -1 when not in it.
QVector<int> cellOf(const W& widget, QWidget* child)
{
    auto* grid = qobject_cast<QGridLayout*>(widget.layout());
    QVector<int> cell{-1, -1, -1, -1};
    if (grid->indexOf(child) >= 0)
        grid->getItemPosition(grid->indexOf(child), &cell[0], &cell[1], &cell[2], &cell[3]);
    return cell;
}

// The y label is the tilted one; the title and x label are found by their text.
KivLabel* findLabel(const W& widget, const QString& text, bool tilted = false)
{
    for (KivLabel* label : widget.findChildren<KivLabel*>()) {
        if (tilted ? label->textTilt() == KivLabel::Tilt270 : label->text() == text)
            return label;
    }
    return nullptr;
}

KivDataSet* addLabelledSeries(W& widget)
{
    KivDataSet* set = widget.addDataSet(0, Qt::red, 100);
    set->setLabel(QStringLiteral("flow"));
    set->addData(1.0);
    return set;
}

double sampleAt(const KivDataSet* set, unsigned long i)
{
    double v = 0;
    set->getData(i, v, true, 1);
    return v;
}

class CountingToolBar : public KivToolBar
{
public:
    int receiverCount(const char* signal) const { return receivers(signal); }
};

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

} // namespace

class TestGraphWidget : public QObject
{
    Q_OBJECT

private slots:
    void gridFollowsLegendLayout();
    void labelsShowWithText();
    void yLabelMovesTitle();
    void zoomAndPanExcludeEachOther();
    void allowedFlagsSilenceSetters();
    void legendShownOnlyWithText();
    void seriesKeepLegendInStep();
    void setDataExclusive();
    void hostInput();
    void toolBarConnectsNineSignals();
    void lockedGraphAndFullFitStopToolBar();
    void screenshot_data();
    void screenshot();
};

void TestGraphWidget::gridFollowsLegendLayout()
{
    // Legend, graph and y label cells (row, column, spans) per layout; 9 is no layout.
    const struct { int layout; QVector<int> legend, graph, yLabel; } cases[] = {
        {LegendAbove, {1, 1, 1, 1}, {2, 1, 1, 1}, {2, 0, 1, 1}},
        {LegendRight, {1, 2, 1, 1}, {1, 1, 1, 1}, {1, 0, 1, 1}},
        {9, {-1, -1, -1, -1}, {1, 1, 1, 1}, {1, 0, 1, 1}},
    };
    for (const auto& c : cases) {
        W widget;
        widget.setLegendLayout(LegendRight);
        widget.setLegendLayout(KivLegendLayout(c.layout));
        QCOMPARE(cellOf(widget, widget.legend()), c.legend);
        QCOMPARE(cellOf(widget, widget.graph()), c.graph);
        QCOMPARE(cellOf(widget, findLabel(widget, QString(), true)), c.yLabel);
        QCOMPARE(widget.legend()->parentWidget(), &widget); // rebuilt grid keeps it alive
    }
}

void TestGraphWidget::labelsShowWithText()
{
    // Axis letters in either case; others are ignored. Empty text hides a label again.
    const std::pair<char, QString> cases[] = {
        {'x', "x"}, {'X', "x"}, {'y', "y"}, {'Y', "y"}, {'z', ""}, {'1', ""}};
    for (const auto& c : cases) {
        W widget;
        widget.setTitle(QStringLiteral("title"));
        widget.setAxisLabel(c.first, QStringLiteral("label"));
        KivLabel* title = findLabel(widget, QStringLiteral("title"));
        KivLabel* yLabel = findLabel(widget, QString(), true);
        KivLabel* xLabel = findLabel(widget, QStringLiteral("label"));
        QCOMPARE(xLabel && xLabel != yLabel && !xLabel->isHidden(), c.second == "x");
        QCOMPARE(!yLabel->isHidden() && yLabel->text() == "label", c.second == "y");
        widget.setAxisLabel(c.first, QString());
        widget.setTitle(QString());
        for (KivLabel* label : widget.findChildren<KivLabel*>())
            QVERIFY2(label->isHidden(), QByteArray(1, c.first).constData());
        QVERIFY(yLabel->isHidden() && title->isHidden());
    }
}

void TestGraphWidget::yLabelMovesTitle()
{
    W widget;
    widget.setTitle(QStringLiteral("title"));
    QWidget* title = findLabel(widget, QStringLiteral("title"))->parentWidget();
    QVERIFY(title != &widget);
    // The title spans the y label's column only while the y label shows.
    const QVector<int> overGraph{0, 1, 1, 1}, overBoth{0, 0, 1, 2};
    QCOMPARE(cellOf(widget, title), overGraph);
    widget.setYLabel(QStringLiteral("pressure"));
    QCOMPARE(cellOf(widget, title), overBoth);
    widget.setYLabel(QStringLiteral("flow"));
    QCOMPARE(cellOf(widget, title), overBoth);
    QCOMPARE(widget.layout()->count(), 5);
    widget.setYLabel(QString());
    QCOMPARE(cellOf(widget, title), overGraph);
    widget.setYLabel(QString());
    QCOMPARE(cellOf(widget, title), overGraph);
}

void TestGraphWidget::zoomAndPanExcludeEachOther()
{
    W widget;
    const auto state = [&]() { return widget.graph()->getControlState(); };
    widget.setPanningChecked(true);
    widget.setZoomingChecked(true);
    QCOMPARE(state(), KivGraph::ControlZoom);
    QVERIFY(widget.isZoomingChecked() && !widget.isPanningChecked());
    widget.setPanningChecked(false); // unchecking one leaves the other alone
    QCOMPARE(state(), KivGraph::ControlZoom);
    widget.setPanningChecked(true);
    widget.setPanningChangeAllowed(false); // locked pan cannot be switched off
    widget.setPanningChecked(false);
    QCOMPARE(state(), KivGraph::ControlPan);
}

void TestGraphWidget::allowedFlagsSilenceSetters()
{
    // A locked control ignores its setter; an unlocked one passes it to the graph.
    const struct {
        const char* name;
        void (W::*allow)(bool);
        std::function<void(W&)> use;
        Seen done;
    } controls[] = {
        {"freeze", &W::setFreezeChangeAllowed, [](W& w) { w.setFreezeChecked(true); },
         [](W& w) { return w.graph()->isFrozen(); }},
        {"equal axes", &W::setEqualAxesChangeAllowed, [](W& w) { w.setEqualAxesChecked(true); },
         [](W& w) { return w.graph()->isEqualAxesEnabled(); }},
        {"auto scale", &W::setAutoScaleMethodChangeAllowed,
         [](W& w) { w.setAutoScaleMethod(KivAutoScaleMethod(2)); },
         [](W& w) { return int(w.graph()->getAutoScaleMethod()) == 2; }},
        {"measure", &W::setMeasureChangeAllowed, [](W& w) { w.setMeasureChecked(true); },
         [](W& w) { return w.graph()->isMeasureShown(); }},
        {"all samples", &W::setAllSamplesChangeAllowed, [](W& w) { w.setAllSamplesChecked(true); },
         [](W& w) { return w.graph()->isShowingAllSamples(); }},
        {"clear", &W::setClearAllowed, [](W& w) { w.clear(false); },
         [](W& w) { return w.isEmpty() && w.dataSet(0)->getItemCount() == 0; }},
        {"legend", &W::setLegendChangeAllowed, [](W& w) { w.setLegendChecked(true); },
         [](W& w) { return w.isLegendChecked(); }},
        {"zoom", &W::setZoomingChangeAllowed, [](W& w) { w.setZoomingChecked(true); },
         [](W& w) { return w.graph()->getControlState() == KivGraph::ControlZoom; }},
        {"pan", &W::setPanningChangeAllowed, [](W& w) { w.setPanningChecked(true); },
         [](W& w) { return w.graph()->getControlState() == KivGraph::ControlPan; }},
    };
    for (const auto& control : controls) {
        for (bool allowed : {false, true}) {
            W widget;
            addLabelledSeries(widget);
            widget.setLegendChecked(false);
            (widget.*control.allow)(allowed);
            control.use(widget);
            QVERIFY2(control.done(widget) == allowed, control.name);
        }
    }
}

void TestGraphWidget::legendShownOnlyWithText()
{
    W widget;
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    QVERIFY(!widget.isLegendChangeAllowed()); // nothing to show yet
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
    widget.setLegendChecked(true);
    QVERIFY(widget.isLegendChecked() && widget.legend()->isVisible());
    widget.setLegendChecked(false);
    QVERIFY(!widget.isLegendChecked() && !widget.legend()->isVisible());
}

void TestGraphWidget::seriesKeepLegendInStep()
{
    W widget;
    const auto boxes = [&]() { return widget.legend()->findChildren<QCheckBox*>(); };
    KivDataSet* a = widget.addDataSet(0, Qt::red, 50);
    KivDataSet* b = widget.addDataSet(0x1, QColor(0, 0, 255, 100), 50);
    QCOMPARE(widget.dataSet(1), b);
    QVERIFY(!widget.dataSet(2) && !widget.dataSet(~0ul));
    QCOMPARE(b->dimensions(), 2);
    QCOMPARE(b->getColor(), QColor(0, 0, 255)); // drawn opaque
    QCOMPARE(boxes().size(), 2);

    // Visibility both ways, also for a series added behind the legend's back.
    widget.setDataSetVisible(a, false);
    QVERIFY(!a->isVisible() && !boxes().at(0)->isChecked() && !widget.isDataSetVisible(a));
    boxes().at(0)->click();
    QVERIFY(a->isVisible() && widget.isDataSetVisible(a));
    KivDataSet* direct = widget.graph()->addDataSet(0, Qt::blue, 50);
    widget.setDataSetVisible(direct, false);
    QVERIFY(!direct->isVisible());
    // Series of another graph are not touched and not reported.
    W other;
    KivDataSet* foreign = other.addDataSet(0, Qt::green, 50);
    widget.setDataSetVisible(foreign, false);
    QVERIFY(foreign->isVisible() && !widget.isDataSetVisible(foreign));
    QVERIFY(!widget.isDataSetVisible(nullptr));

    widget.removeDataSet(a);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!widget.hasDataSet(a));
    QCOMPARE(boxes().size(), 1);
    b->setLabel(QStringLiteral("level"));
    QCOMPARE(boxes().at(0)->text(), QStringLiteral("level"));
    // Removing all series empties the legend as well.
    widget.removeDataSet(nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCOMPARE(widget.dataSetCount(), 0);
    QVERIFY(boxes().isEmpty() && !widget.legend()->hasText());
}

void TestGraphWidget::setDataExclusive()
{
    // Set 5 of one series to 3; exclusive zeroes it in the others. 7 is no such series.
    const struct { unsigned long set; bool exclusive; QVector<double> expected; } cases[] = {
        {1, true, {0, 3, 0}},  {0, true, {3, 0, 0}}, {2, false, {5, 105, 3}},
        {7, false, {5, 105, 205}}, {7, true, {0, 0, 0}},
    };
    for (const auto& c : cases) {
        W widget;
        for (int j = 0; j < 3; ++j) {
            KivDataSet* series = widget.addDataSet(0, Qt::red, 20);
            for (int i = 0; i < 10; ++i)
                series->addData(100.0 * j + i);
            series->freeze(true); // moves the queued samples to the drawn side that setData edits
            series->freeze(false);
        }
        widget.setData(c.set, 5, 3.0, c.exclusive);
        for (int j = 0; j < 3; ++j) {
            QCOMPARE(sampleAt(widget.dataSet(j), 5), c.expected.at(j));
            QCOMPARE(sampleAt(widget.dataSet(j), 4), 100.0 * j + 4);
        }
    }
}

void TestGraphWidget::hostInput()
{
    WheelCatcher parent;
    auto* widget = new W(&parent);
    parent.resize(300, 200);
    widget->resize(300, 200);
    parent.show();
    QVERIFY(QTest::qWaitForWindowExposed(&parent));
    const QPoint at = widget->rect().center();
    QWheelEvent event(at, widget->mapToGlobal(at), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event); // only window-system events travel up
    qApp->notify(widget, &event);
    QCOMPARE(parent.wheels, 1);

    QList<QVariantList> panned;
    connect(widget, &W::panning, this, [&](Qt::MouseButton b, int dx, int dy, double x, double y) {
        panned << QVariantList{int(b), dx, dy, x, y};
    });
    emit widget->graph()->panning(Qt::RightButton, 3, -4, 0.25, -0.5);
    QCOMPARE(panned.value(0), QVariantList({int(Qt::RightButton), 3, -4, 0.25, -0.5}));
    QCOMPARE(panned.size(), 1);

    // Widget pixels map to -1..1 over the graph, not clamped outside it.
    const KivGraph* graph = widget->graph();
    QPointF pos;
    widget->pointToGraphPos(QPoint(0, 0), pos);
    QCOMPARE(pos, QPointF(-1.0, 1.0));
    widget->pointToGraphPos(QPoint(graph->width() * 2, graph->height()), pos);
    QCOMPARE(pos, QPointF(3.0, -1.0));
    widget->setAxisLimits('y', -50.0, 50.0);
    QCOMPARE(graph->axisInfo(1).limitMax, 50.0);
    widget->setBackgroundColor(QColor(255, 0, 51));
    QCOMPARE(graph->backgroundColor(), QColor::fromRgbF(1.0, 0.0, 0.2));
}

void TestGraphWidget::toolBarConnectsNineSignals()
{
    // Seven buttons switch the graph both ways; Clear and auto scaling: see the next test.
    const std::pair<const char*, Seen> toggles[] = {
        {"Zoom", [](W& w) { return w.graph()->getControlState() == KivGraph::ControlZoom; }},
        {"Pan", [](W& w) { return w.graph()->getControlState() == KivGraph::ControlPan; }},
        {"Freeze", [](W& w) { return w.graph()->isFrozen(); }},
        {"Equal Axes", [](W& w) { return w.graph()->isEqualAxesEnabled(); }},
        {"Show Values", [](W& w) { return w.graph()->isMeasureShown(); }},
        {"Show all samples", [](W& w) { return w.graph()->isShowingAllSamples(); }},
        {"Legend", [](W& w) { return w.isLegendChecked(); }},
    };
    for (const auto& toggle : toggles) {
        KivToolBar toolBar;
        W widget;
        addLabelledSeries(widget);
        connectToolbarToGraph(&toolBar, &widget);
        toolBar.setLegendChecked(false);
        QVERIFY2(!toggle.second(widget), toggle.first);
        actionNamed(toolBar, toggle.first)->trigger();
        QVERIFY2(toggle.second(widget), toggle.first);
        actionNamed(toolBar, toggle.first)->trigger();
        QVERIFY2(!toggle.second(widget), toggle.first);
    }

    // One connection each for the nine, none for the layout selector, and one way only.
    const char* const nine[] = {
        SIGNAL(freezeTriggered(bool)), SIGNAL(zoomingTriggered(bool)),
        SIGNAL(panningTriggered(bool)), SIGNAL(autoScaleMethodTriggered(KivAutoScaleMethod)),
        SIGNAL(equalAxesTriggered(bool)), SIGNAL(allSamplesTriggered(bool)),
        SIGNAL(clearTriggered(bool)), SIGNAL(legendTriggered(bool)), SIGNAL(measureTriggered(bool))};
    CountingToolBar toolBar;
    W widget;
    connectToolbarToGraph(&toolBar, &widget);
    for (const char* signal : nine)
        QCOMPARE(toolBar.receiverCount(signal), 1);
    QCOMPARE(toolBar.receiverCount(SIGNAL(layoutSelectionChanged(int, int))), 0);
    widget.setFreezeChecked(true);
    QVERIFY(!toolBar.isFreezeChecked());
}

void TestGraphWidget::lockedGraphAndFullFitStopToolBar()
{
    KivToolBar toolBar;
    W widget;
    KivDataSet* set = addLabelledSeries(widget);
    connectToolbarToGraph(&toolBar, &widget);
    QComboBox* autoScale = toolBar.findChild<QComboBox*>();
    const auto state = [&]() { return widget.graph()->getControlState(); };
    // Full fit with all samples stops zooming in the graph; expanding hands zoom back.
    actionNamed(toolBar, "Zoom")->trigger();
    QCOMPARE(state(), KivGraph::ControlZoom);
    actionNamed(toolBar, "Show all samples")->trigger();
    autoScale->setCurrentIndex(2);
    QCOMPARE(state(), KivGraph::ControlNone);
    autoScale->setCurrentIndex(1);
    actionNamed(toolBar, "Zoom")->trigger();
    QCOMPARE(state(), KivGraph::ControlZoom);

    // A graph that locks a control ignores the tool bar for it.
    widget.setZoomingChangeAllowed(false);
    widget.setClearAllowed(false);
    widget.setAutoScaleMethodChangeAllowed(false);
    actionNamed(toolBar, "Zoom")->trigger();
    actionNamed(toolBar, "Clear")->trigger();
    autoScale->setCurrentIndex(2);
    QCOMPARE(state(), KivGraph::ControlZoom);
    QCOMPARE(set->getItemCount(), 1ul);
    QCOMPARE(int(widget.graph()->getAutoScaleMethod()), 1);
    widget.setClearAllowed(true);
    widget.setAutoScaleMethodChangeAllowed(true);
    actionNamed(toolBar, "Clear")->trigger();
    autoScale->setCurrentIndex(0);
    QCOMPARE(set->getItemCount(), 0ul);
    QCOMPARE(int(widget.graph()->getAutoScaleMethod()), 0);
}

void TestGraphWidget::screenshot_data()
{
    QTest::addColumn<int>("layout");
    QTest::addColumn<QString>("file");
    QTest::newRow("legend above") << int(LegendAbove) << "graphwidget-legend-above.png";
    QTest::newRow("legend right") << int(LegendRight) << "graphwidget-legend-right.png";
}

void TestGraphWidget::screenshot()
{
    QFETCH(int, layout);
    QFETCH(QString, file);
    W widget;
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

    // Where a user finds each part; the title centres over y label and graph.
    const QRect graph = widget.graph()->geometry();
    const QRect yLabel = findLabel(widget, QString(), true)->geometry();
    const QRect title = findLabel(widget, QStringLiteral("Tank level"))->parentWidget()->geometry();
    QVERIFY(yLabel.height() > yLabel.width() && yLabel.right() < graph.left());
    QVERIFY(widget.legend()->isVisible());
    if (layout == LegendAbove)
        QVERIFY(widget.legend()->geometry().bottom() < graph.top());
    else
        QVERIFY(widget.legend()->geometry().left() > graph.right());
    QVERIFY(title.bottom() < graph.top());
    QCOMPARE(title.left(), yLabel.left());
    QVERIFY(findLabel(widget, QStringLiteral("samples"))->geometry().top() > graph.bottom());

    const QImage image = widget.grab().toImage();
    QVERIFY(!image.isNull());
    if (qEnvironmentVariableIsSet("KIV_TEST_OUTPUT_DIR"))
        QVERIFY(image.save(QDir(qEnvironmentVariable("KIV_TEST_OUTPUT_DIR")).filePath(file)));
}

QTEST_MAIN(TestGraphWidget)
#include "tst_graphwidget.moc"
