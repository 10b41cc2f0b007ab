// The graph widget as a host places it: labels and legend around the graph, the control
// operations and their allowed flags, and a tool bar wired to it.
#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHelpEvent>
#include <QToolTip>
#include <QtTest>

#include <functional>

#include "kiv_dataset.h"
#include "kiv_graph.h"
#include "kiv_graphwidget.h"
#include "kivlabel.h"
#include "kivlegend.h"
#include "kivtestutil.h"
#include "kivtoolbar.h"

using kivtest::actionNamed;

namespace {

using W = KivGraphWidget;
using Seen = std::function<bool(W&)>; // whether an operation has reached the graph

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
    for (KivLabel* label : widget.findChildren<KivLabel*>())
        if (tilted ? label->textTilt() == KivLabel::Tilt270 : label->text() == text)
            return label;
    return nullptr;
}

} // namespace

class TestGraphWidget : public QObject
{
    Q_OBJECT

private slots:
    void labelsShowWithText()
    {
        // Axis letters in either case, others ignored; the title spans the y label's column only
        // while that shows; empty text hides every label again.
        const QVector<int> overGraph{0, 1, 1, 1}, overBoth{0, 0, 1, 2};
        for (char axis : {'x', 'X', 'y', 'Y', 'z', '1'}) {
            W widget;
            widget.setTitle(QStringLiteral("title"));
            QWidget* title = findLabel(widget, QStringLiteral("title"))->parentWidget();
            widget.setAxisLabel(axis, QStringLiteral("first"));
            widget.setAxisLabel(axis, QStringLiteral("label"));
            KivLabel* yLabel = findLabel(widget, QString(), true);
            KivLabel* xLabel = findLabel(widget, QStringLiteral("label"));
            const QChar letter = QChar(axis).toLower();
            QCOMPARE(xLabel && xLabel != yLabel && !xLabel->isHidden(), letter == 'x');
            QCOMPARE(!yLabel->isHidden() && yLabel->text() == "label", letter == 'y');
            QCOMPARE(cellOf(widget, title), letter == 'y' ? overBoth : overGraph);
            QCOMPARE(widget.layout()->count(), 5); // nothing added twice
            widget.setAxisLabel(axis, QString());
            widget.setTitle(QString());
            QCOMPARE(cellOf(widget, title), overGraph);
            for (KivLabel* label : widget.findChildren<KivLabel*>())
                QVERIFY2(label->isHidden(), QByteArray(1, axis).constData());
        }
    }

    void controlOperations()
    {
        // Each of the nine tool bar controls reaches the graph, both ways where it toggles, unless
        // the widget's allowed flag locks it; "" is the auto-scale combo box.
        const auto graphIs = [](bool (KivGraph::*is)() const) { return [is](W& w) { return (w.graph()->*is)(); }; };
        const auto stateIs = [](int s) { return [s](W& w) { return w.graph()->getControlState() == s; }; };
        const struct { const char* text; void (W::*allow)(bool); Seen seen; } controls[] = {
            {"Zoom", &W::setZoomingChangeAllowed, stateIs(KivGraph::ControlZoom)},
            {"Pan", &W::setPanningChangeAllowed, stateIs(KivGraph::ControlPan)},
            {"Freeze", &W::setFreezeChangeAllowed, graphIs(&KivGraph::isFrozen)},
            {"Equal Axes", &W::setEqualAxesChangeAllowed, graphIs(&KivGraph::isEqualAxesEnabled)},
            {"Show Values", &W::setMeasureChangeAllowed, graphIs(&KivGraph::isMeasureShown)},
            {"Show all samples", &W::setAllSamplesChangeAllowed, graphIs(&KivGraph::isShowingAllSamples)},
            {"Legend", &W::setLegendChangeAllowed, [](W& w) { return w.isLegendChecked(); }},
            {"Clear", &W::setClearAllowed, [](W& w) { return w.dataSet(0)->getItemCount() == 0; }},
            {"", &W::setAutoScaleMethodChangeAllowed, [](W& w) { return int(w.graph()->getAutoScaleMethod()) == 2; }},
        };
        for (const auto& control : controls) {
            for (bool allowed : {false, true}) {
                KivToolBar toolBar;
                W widget;
                KivDataSet* series = widget.addDataSet(0, Qt::red, 100);
                series->setLabel(QStringLiteral("flow")); // else the legend cannot be switched on
                series->addData(1.0);
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
        // Zoom and pan exclude each other; unchecking one leaves the other alone.
        widget.setPanningChecked(true);
        widget.setZoomingChecked(false);
        QCOMPARE(widget.graph()->getControlState(), KivGraph::ControlPan);
        widget.setZoomingChecked(true);
        widget.setPanningChecked(false);
        QCOMPARE(widget.graph()->getControlState(), KivGraph::ControlZoom);
    }

    void seriesKeepLegendInStep()
    {
        W widget;
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        const auto boxes = [&]() { return widget.legend()->findChildren<QCheckBox*>(); };
        QVERIFY(!widget.isLegendChangeAllowed()); // nothing to show yet
        // A legend that is on stays on while empty, so series labelled later show up in it.
        widget.setLegendChecked(true);
        KivDataSet* a = widget.addDataSet(0, Qt::red, 50);
        a->setLabel(QStringLiteral("early"));
        QTRY_VERIFY(boxes().value(0) && boxes().at(0)->isVisible());
        widget.removeDataSet(a);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!widget.hasDataSet(a) && boxes().isEmpty());

        // Without a label the legend cannot be switched on.
        KivDataSet* b = widget.addDataSet(0x1, Qt::blue, 50);
        widget.setLegendChecked(false);
        widget.setLegendChecked(true);
        QVERIFY(!widget.isLegendChecked() && !widget.legend()->isVisible());
        b->setLabel(QStringLiteral("level"));
        widget.setLegendChecked(true);
        QVERIFY(widget.isLegendChecked() && widget.legend()->isVisible());
        QVERIFY(widget.dataSet(0) == b && !widget.dataSet(1) && !widget.dataSet(~0ul));

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
        QVERIFY(foreign->isVisible() && !widget.isDataSetVisible(foreign) && !widget.isDataSetVisible(nullptr));

        // Removing all series empties the legend as well.
        widget.removeDataSet(nullptr);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(boxes().isEmpty() && !widget.legend()->hasText());
    }

    void setDataExclusive()
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
                series->flush(); // setData edits only samples already moved from the queue
            }
            widget.setData(c.set, 5, 3.0, c.exclusive);
            for (int j = 0; j < 3; ++j) {
                double at4and5[2] = {0, 0};
                widget.dataSet(j)->copyData(4, 2, at4and5);
                QCOMPARE(QPointF(at4and5[0], at4and5[1]), QPointF(100.0 * j + 4, c.expected.at(j)));
            }
        }
    }

    void hostInput()
    {
        W widget; // the wheel is left to the host, to scroll whatever holds the graph
        QVERIFY(!kivtest::wheel(&widget, QPoint(), 120));

        QList<QVariantList> panned;
        connect(&widget, &W::panning, this, [&](Qt::MouseButton b, int dx, int dy, double x, double y) {
            panned << QVariantList{int(b), dx, dy, x, y};
        });
        emit widget.graph()->panning(Qt::RightButton, 3, -4, 0.25, -0.5);
        QCOMPARE(panned, QList<QVariantList>({{int(Qt::RightButton), 3, -4, 0.25, -0.5}}));
    }

    // A megabyte of text in any of the widget's texts: the widget stays within what a window
    // and the GL frame buffer can be, the frame is drawn, and a label that had to be elided
    // offers its text in the tool tip.
    void hugeTexts_data()
    {
        QTest::addColumn<int>("which");
        const char* names[] = { "title", "x label", "y label", "series label", "graph text", "no-data text", "bar label" };
        for (int i = 0; i < 7; ++i)
            QTest::newRow(names[i]) << i;
    }

    void hugeTexts()
    {
        QFETCH(int, which);
        const QString huge = QStringLiteral("Megabyte ").repeated(1 << 17);
        W widget;
        // A bar series always holds its slots; the no-data text needs an empty line series.
        KivDataSet* set = widget.addDataSet(which == 5 ? KivDataStyle1D : KivDataStyleBar, QColor(200, 30, 30), 4);
        set->setLabel(which == 3 ? huge : QStringLiteral("level"));
        set->setData(1, 0.5);
        switch (which) {
        case 0: widget.setTitle(huge); break;
        case 1: widget.setXLabel(huge); break;
        case 2: widget.setYLabel(huge); break;
        case 4: widget.setGraphText(huge); break;
        case 5: widget.setNoDataText(huge); break;
        case 6: set->setDataLabel(1, huge); break;
        }
        widget.setLegendChecked(true);
        widget.resize(480, 320);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        QVERIFY(widget.width() <= 1100 && widget.height() <= 1100);
        const QImage frame = widget.graph()->grabFramebuffer();
        QCOMPARE(frame.size(), widget.graph()->size() * widget.graph()->devicePixelRatio());

        QWidget* holder = nullptr;
        if (which == 3)
            holder = widget.legend()->findChild<QCheckBox*>();
        else if (which <= 2)
            holder = findLabel(widget, which == 2 ? QString() : huge, which == 2);
        if (holder) {
            QHelpEvent tip(QEvent::ToolTip, QPoint(2, 2), holder->mapToGlobal(QPoint(2, 2)));
            QCoreApplication::sendEvent(holder, &tip);
            QTRY_VERIFY(QToolTip::isVisible());
            QVERIFY(QToolTip::text().contains(huge.left(500)));
            QToolTip::hideText();
        }
    }

    void screenshot()
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
            const QRect graph = widget.graph()->geometry(), legend = widget.legend()->geometry();
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
            QVERIFY(kivtest::saveFrame(widget.grab().toImage(), layout == LegendAbove ? "graphwidget-legend-above.png"
                                                                                      : "graphwidget-legend-right.png"));
        }
    }
};

QTEST_MAIN(TestGraphWidget)
#include "tst_graphwidget.moc"
