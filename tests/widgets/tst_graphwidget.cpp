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

class WheelCatcher : public QWidget
{
public:
    int wheels = 0;

protected:
    void wheelEvent(QWheelEvent*) override { ++wheels; }
};

} // namespace

class TestGraphWidget : public QObject
{
    Q_OBJECT

private slots:
    void labelsShowWithText();
    void yLabelMovesTitle();
    void zoomAndPanExcludeEachOther();
    void allowedFlagsSilenceSetters();
    void seriesKeepLegendInStep();
    void setDataExclusive();
    void hostInput();
    void screenshot();
};

void TestGraphWidget::labelsShowWithText()
{
    // Axis letters in either case, others ignored; empty text hides every label again.
    for (char axis : {'x', 'X', 'y', 'Y', 'z', '1'}) {
        W widget;
        widget.setTitle(QStringLiteral("title"));
        widget.setAxisLabel(axis, QStringLiteral("label"));
        KivLabel* yLabel = findLabel(widget, QString(), true);
        KivLabel* xLabel = findLabel(widget, QStringLiteral("label"));
        QCOMPARE(xLabel && xLabel != yLabel && !xLabel->isHidden(), QChar(axis).toLower() == 'x');
        QCOMPARE(!yLabel->isHidden() && yLabel->text() == "label", QChar(axis).toLower() == 'y');
        widget.setAxisLabel(axis, QString());
        widget.setTitle(QString());
        for (KivLabel* label : widget.findChildren<KivLabel*>())
            QVERIFY2(label->isHidden(), QByteArray(1, axis).constData());
    }
}

void TestGraphWidget::yLabelMovesTitle()
{
    W widget;
    widget.setTitle(QStringLiteral("title"));
    QWidget* title = findLabel(widget, QStringLiteral("title"))->parentWidget();
    // The title spans the y label's column only while the y label shows.
    const QVector<int> overGraph{0, 1, 1, 1}, overBoth{0, 0, 1, 2};
    QCOMPARE(cellOf(widget, title), overGraph);
    widget.setYLabel(QStringLiteral("pressure"));
    QCOMPARE(cellOf(widget, title), overBoth);
    widget.setYLabel(QStringLiteral("flow"));
    QCOMPARE(cellOf(widget, title), overBoth);
    QCOMPARE(widget.layout()->count(), 5); // nothing added twice
    for (int i = 0; i < 2; ++i) {
        widget.setYLabel(QString());
        QCOMPARE(cellOf(widget, title), overGraph);
    }
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

    // Full fit with all samples stops zooming and panning; expanding allows them again.
    addLabelledSeries(widget);
    widget.setAllSamplesChecked(true);
    widget.setAutoScaleMethod(KivAutoScaleMethod(2));
    QCOMPARE(state(), KivGraph::ControlNone);
    widget.setAutoScaleMethod(KivAutoScaleMethod(1));
    widget.setZoomingChecked(true);
    QCOMPARE(state(), KivGraph::ControlZoom);
}

void TestGraphWidget::allowedFlagsSilenceSetters()
{
    // Each of the nine tool bar controls reaches the graph, both ways where it toggles, unless
    // the graph locks it; "" is the auto-scale combo box.
    const struct { const char* text; void (W::*allow)(bool); Seen seen; } controls[] = {
        {"Zoom", &W::setZoomingChangeAllowed,
         [](W& w) { return w.graph()->getControlState() == KivGraph::ControlZoom; }},
        {"Pan", &W::setPanningChangeAllowed,
         [](W& w) { return w.graph()->getControlState() == KivGraph::ControlPan; }},
        {"Freeze", &W::setFreezeChangeAllowed, [](W& w) { return w.graph()->isFrozen(); }},
        {"Equal Axes", &W::setEqualAxesChangeAllowed,
         [](W& w) { return w.graph()->isEqualAxesEnabled(); }},
        {"Show Values", &W::setMeasureChangeAllowed, [](W& w) { return w.graph()->isMeasureShown(); }},
        {"Show all samples", &W::setAllSamplesChangeAllowed,
         [](W& w) { return w.graph()->isShowingAllSamples(); }},
        {"Legend", &W::setLegendChangeAllowed, [](W& w) { return w.isLegendChecked(); }},
        {"Clear", &W::setClearAllowed, [](W& w) { return w.dataSet(0)->getItemCount() == 0; }},
        {"", &W::setAutoScaleMethodChangeAllowed,
         [](W& w) { return int(w.graph()->getAutoScaleMethod()) == 2; }},
    };
    for (const auto& control : controls) {
        for (bool allowed : {false, true}) {
            KivToolBar toolBar;
            W widget;
            addLabelledSeries(widget);
            connectToolbarToGraph(&toolBar, &widget);
            toolBar.setLegendChecked(false);
            (widget.*control.allow)(allowed);
            QComboBox* combo = toolBar.findChild<QComboBox*>();
            const auto operate = [&]() {
                if (*control.text)
                    actionNamed(toolBar, control.text)->trigger();
                else
                    combo->setCurrentIndex(combo->currentIndex() ? 0 : 2);
            };
            QVERIFY2(!control.seen(widget), control.text);
            operate();
            QVERIFY2(control.seen(widget) == allowed, control.text);
            operate();
            QVERIFY2(!control.seen(widget) || QByteArray(control.text) == "Clear", control.text);
        }
    }

    // One way only: the graph's state is not pushed back to the tool bar.
    KivToolBar toolBar;
    W widget;
    connectToolbarToGraph(&toolBar, &widget);
    widget.setFreezeChecked(true);
    QVERIFY(!toolBar.isFreezeChecked());
}

void TestGraphWidget::seriesKeepLegendInStep()
{
    W widget;
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    const auto boxes = [&]() { return widget.legend()->findChildren<QCheckBox*>(); };
    QVERIFY(!widget.isLegendChangeAllowed()); // nothing to show yet
    // A legend that is on stays on while empty, so series labelled later show up in it.
    widget.setLegendChecked(true);
    QVERIFY(widget.isLegendChecked());
    KivDataSet* a = widget.addDataSet(0, Qt::red, 50);
    a->setLabel(QStringLiteral("early"));
    QTRY_VERIFY(boxes().value(0) && boxes().at(0)->isVisible());
    widget.removeDataSet(a);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(!widget.hasDataSet(a) && boxes().isEmpty());

    // Without a label the legend cannot be switched on.
    KivDataSet* b = widget.addDataSet(0x1, QColor(0, 0, 255, 100), 50);
    widget.setLegendChecked(false);
    widget.setLegendChecked(true);
    QVERIFY(!widget.isLegendChecked() && !widget.legend()->isVisible());
    b->setLabel(QStringLiteral("level"));
    QCOMPARE(boxes().at(0)->text(), QStringLiteral("level"));
    widget.setLegendChecked(true);
    QVERIFY(widget.isLegendChecked() && widget.legend()->isVisible());
    widget.setLegendChecked(false);
    QVERIFY(!widget.isLegendChecked() && !widget.legend()->isVisible());
    QCOMPARE(widget.dataSet(0), b);
    QVERIFY(!widget.dataSet(1) && !widget.dataSet(~0ul));
    QCOMPARE(b->dimensions(), 2);
    QCOMPARE(b->getColor(), QColor(0, 0, 255)); // drawn opaque

    // Visibility switches through the legend, also for a series added behind its back,
    // but not for series of another graph.
    widget.setDataSetVisible(b, false);
    QVERIFY(!b->isVisible() && !boxes().at(0)->isChecked() && !widget.isDataSetVisible(b));
    KivDataSet* direct = widget.graph()->addDataSet(0, Qt::blue, 50);
    widget.setDataSetVisible(direct, false);
    QVERIFY(!direct->isVisible());
    W other;
    KivDataSet* foreign = other.addDataSet(0, Qt::green, 50);
    widget.setDataSetVisible(foreign, false);
    QVERIFY(foreign->isVisible() && !widget.isDataSetVisible(foreign));
    QVERIFY(!widget.isDataSetVisible(nullptr));

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
            double at4 = 0, at5 = 0;
            widget.dataSet(j)->getData(4, at4, true, 1);
            widget.dataSet(j)->getData(5, at5, true, 1);
            QCOMPARE(QPointF(at4, at5), QPointF(100.0 * j + 4, c.expected.at(j)));
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
    QCOMPARE(panned, QList<QVariantList>({{int(Qt::RightButton), 3, -4, 0.25, -0.5}}));

    // Widget pixels map to -1..1 over the graph, not clamped outside it.
    const KivGraph* graph = widget->graph();
    QPointF pos;
    widget->pointToGraphPos(QPoint(0, 0), pos);
    QCOMPARE(pos, QPointF(-1.0, 1.0));
    widget->pointToGraphPos(QPoint(graph->width() * 2, graph->height()), pos);
    QCOMPARE(pos, QPointF(3.0, -1.0));
}

void TestGraphWidget::screenshot()
{
    for (int layout : {int(LegendAbove), int(LegendRight)}) {
        W widget;
        widget.setLegendLayout(KivLegendLayout(layout));
        widget.setTitle(QStringLiteral("Tank level"));
        widget.setYLabel(QStringLiteral("level [m]"));
        widget.setXLabel(QStringLiteral("samples"));
        for (int j = 0; j < 2; ++j) {
            KivDataSet* set = widget.addDataSet(0, j ? QColor(30, 90, 200) : QColor(200, 30, 30), 200);
            set->setLabel(j ? QStringLiteral("outflow") : QStringLiteral("inflow"));
            for (int i = 0; i < 200; ++i)
                set->addData(j ? 0.5 * std::cos(i * 0.03) : std::sin(i * 0.05));
        }
        widget.setAutoScaleMethod(KivAutoScaleMethod(2));
        widget.setLegendChecked(true);
        widget.resize(480, 320);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        QTest::qWait(100);

        // Where a user finds each part; the title centres over y label and graph.
        const QRect graph = widget.graph()->geometry();
        const QRect legend = widget.legend()->geometry();
        const QRect yLabel = findLabel(widget, QString(), true)->geometry();
        const QRect title = findLabel(widget, "Tank level")->parentWidget()->geometry();
        // The legend's boxes side by side above the graph, stacked right of it.
        QVERIFY(layout == LegendAbove ? legend.bottom() < graph.top() : legend.left() > graph.right());
        const QList<QCheckBox*> boxes = widget.legend()->findChildren<QCheckBox*>();
        const QPoint step = boxes.at(1)->pos() - boxes.at(0)->pos();
        QVERIFY(boxes.at(0)->isVisible() && step.manhattanLength() > 10);
        QCOMPARE(layout == LegendAbove ? step.y() : step.x(), 0);
        QVERIFY(yLabel.height() > yLabel.width() && yLabel.right() < graph.left());
        QVERIFY(title.bottom() < graph.top() && title.left() == yLabel.left());
        QVERIFY(findLabel(widget, "samples")->geometry().top() > graph.bottom());
        const QImage image = widget.grab().toImage();
        const QString dir = qEnvironmentVariable("KIV_TEST_OUTPUT_DIR");
        if (!dir.isEmpty()) {
            const char* name = layout == LegendAbove ? "graphwidget-legend-above.png"
                                                     : "graphwidget-legend-right.png";
            QVERIFY(image.save(QDir(dir).filePath(name)));
        }
    }
}

QTEST_MAIN(TestGraphWidget)
#include "tst_graphwidget.moc"
