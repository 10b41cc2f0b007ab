// The tool bar as a user and a host see it: its buttons, the signals they emit, the rules
// that tie zoom, pan, auto scaling and "Show all samples" together, and the layout selector.
#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QSpinBox>
#include <QtTest>

#include "kivtestutil.h"
#include "kivtoolbar.h"

using kivtest::actionNamed;

namespace {

// Records the Triggered signals in the order they arrive, e.g. "zooming(1)".
struct SignalLog : QObject
{
    explicit SignalLog(KivToolBar* toolBar)
    {
        using T = KivToolBar;
        const std::pair<void (T::*)(bool), const char*> signalNames[] = {
            {&T::freezeTriggered, "freeze"},         {&T::zoomingTriggered, "zooming"},
            {&T::panningTriggered, "panning"},       {&T::allSamplesTriggered, "allSamples"},
            {&T::equalAxesTriggered, "equalAxes"},   {&T::legendTriggered, "legend"},
            {&T::measureTriggered, "measure"},       {&T::clearTriggered, "clear"}};
        for (const auto& s : signalNames)
            connect(toolBar, s.first, this, [this, s](bool on) { entries << QString("%1(%2)").arg(s.second).arg(on); });
        connect(toolBar, &T::autoScaleMethodTriggered, this,
                [this](KivAutoScaleMethod m) { entries << QStringLiteral("autoScale(%1)").arg(int(m)); });
    }
    QStringList entries;
};

} // namespace

class TestToolBar : public QObject
{
    Q_OBJECT

private slots:
    void controlsReport()
    {
        // Two clicks on each button; Legend starts checked.
        const std::pair<const char*, const char*> clicks[] = {
            {"Zoom", "zooming(1) zooming(0)"},      {"Pan", "panning(1) panning(0)"},
            {"Legend", "legend(0) legend(1)"},      {"Show Values", "measure(1) measure(0)"},
            {"Freeze", "freeze(1) freeze(0)"},      {"Equal Axes", "equalAxes(1) equalAxes(0)"},
            {"Show all samples", "allSamples(1) allSamples(0)"},
        };
        for (const auto& click : clicks) {
            KivToolBar toolBar;
            SignalLog log(&toolBar);
            actionNamed(toolBar, click.first)->trigger();
            actionNamed(toolBar, click.first)->trigger();
            QCOMPARE(log.entries.join(' '), QLatin1String(click.second));
        }
        KivToolBar toolBar;
        SignalLog log(&toolBar);
        toolBar.clear(true);
        toolBar.findChild<QComboBox*>()->setCurrentIndex(1); // a user's choice: once
        QCOMPARE(log.entries, QStringList({"clear(1)", "autoScale(1)"}));
        // A host's change goes through the combo box and is reported directly as well, and
        // setting the same method again still reports it once.
        log.entries.clear();
        toolBar.setAutoScaleMethod(KivAutoScaleMethod(2));
        toolBar.setAutoScaleMethod(KivAutoScaleMethod(2));
        QCOMPARE(log.entries, QStringList({"autoScale(2)", "autoScale(2)", "autoScale(2)"}));
        QCOMPARE(toolBar.findChild<QComboBox*>()->currentIndex(), 2);
    }

    void zoomAndPanRules()
    {
        KivToolBar toolBar;
        QAction* zoom = actionNamed(toolBar, "Zoom");
        QAction* pan = actionNamed(toolBar, "Pan");
        SignalLog log(&toolBar);
        // Zoom and pan exclude each other; unchecking one leaves the other alone.
        pan->trigger();
        zoom->trigger();
        QVERIFY(zoom->isChecked() && !pan->isChecked());
        toolBar.setPanningChecked(true);
        QVERIFY(pan->isChecked() && !zoom->isChecked());
        QCOMPARE(log.entries, QStringList({"panning(1)", "zooming(1)", "panning(1)"}));
        toolBar.setZoomingChecked(false);
        QVERIFY(pan->isChecked());

        // Full fit with all samples disables and unchecks both, reporting only all samples.
        toolBar.setAutoScaleMethod(KivAutoScaleMethod(2));
        log.entries.clear();
        actionNamed(toolBar, "Show all samples")->trigger();
        QVERIFY(!pan->isEnabled() && !pan->isChecked() && !zoom->isEnabled() && !zoom->isChecked());
        QCOMPARE(log.entries, QStringList({"allSamples(1)"}));
        // Expand to fit gives them back, unchecked, but only as far as the host allows.
        toolBar.findChild<QComboBox*>()->setCurrentIndex(1);
        QVERIFY(pan->isEnabled() && !pan->isChecked() && zoom->isEnabled() && !zoom->isChecked());
        toolBar.setAutoScaleMethod(KivAutoScaleMethod(2));
        toolBar.setZoomingChangeAllowed(false);
        toolBar.setAllSamplesChecked(false);
        QVERIFY(pan->isEnabled() && !zoom->isEnabled());
    }

    void allowedFlagsEnableButtons()
    {
        using T = KivToolBar;
        const std::pair<const char*, void (T::*)(bool)> controls[] = {
            {"Freeze", &T::setFreezeChangeAllowed}, {"Legend", &T::setLegendChangeAllowed},
            {"Show Values", &T::setMeasureChangeAllowed}, {"Clear", &T::setClearAllowed},
            {"Show all samples", &T::setAllSamplesChangeAllowed}, {"Equal Axes", &T::setEqualAxesChangeAllowed},
            {"Zoom", &T::setZoomingChangeAllowed}, {"Pan", &T::setPanningChangeAllowed},
            {"", &T::setAutoScaleMethodChangeAllowed}, // the combo box
        };
        for (const auto& control : controls) {
            KivToolBar toolBar;
            for (bool allowed : {false, true}) {
                (toolBar.*control.second)(allowed);
                const bool enabled = *control.first ? actionNamed(toolBar, control.first)->isEnabled()
                                                    : toolBar.findChild<QComboBox*>()->isEnabled();
                QVERIFY2(enabled == allowed, control.first);
            }
        }
        // Locking a checked pan unchecks it without telling the graph.
        KivToolBar toolBar;
        QAction* pan = actionNamed(toolBar, "Pan");
        pan->trigger();
        QSignalSpy spy(&toolBar, &KivToolBar::panningTriggered);
        toolBar.setPanningChangeAllowed(false);
        toolBar.setPanningChangeAllowed(true);
        QVERIFY(!pan->isChecked());
        QCOMPARE(spy.count(), 0);
    }

    void emitAllStatesOrder()
    {
        // Zoom or pan, whichever is checked, else pan off.
        const std::pair<std::pair<bool, bool>, const char*> cases[] = {
            {{true, false}, "zooming(1)"}, {{false, true}, "panning(1)"}, {{false, false}, "panning(0)"}};
        for (const auto& c : cases) {
            KivToolBar toolBar;
            toolBar.setFreezeChecked(true);
            toolBar.setAutoScaleMethod(KivAutoScaleMethod(1));
            toolBar.setEqualAxesChecked(true);
            toolBar.setLegendChecked(false);
            toolBar.setMeasureChecked(true);
            toolBar.setZoomingChecked(c.first.first);
            toolBar.setPanningChecked(c.first.second);
            SignalLog log(&toolBar);
            toolBar.emitAllStates();
            QCOMPARE(log.entries, QStringList({"freeze(1)", "autoScale(1)", c.second, "allSamples(0)",
                                               "equalAxes(1)", "legend(0)", "measure(1)"}));
        }
    }

    void layoutSelectorEmission()
    {
        KivToolBar hidden; // a tool bar not on screen never reports
        QSignalSpy hiddenSpy(&hidden, &KivToolBar::layoutSelectionChanged);
        hidden.showLayoutSelection(true, 3, 4);
        QVERIFY(hiddenSpy.isEmpty());

        KivToolBar toolBar;
        toolBar.resize(900, 40);
        toolBar.show();
        QVERIFY(QTest::qWaitForWindowExposed(&toolBar));
        QSignalSpy spy(&toolBar, &KivToolBar::layoutSelectionChanged);
        const auto reported = [&spy]() { // e.g. "3x4 5x4"
            QStringList all;
            for (const QVariantList& args : qAsConst(spy))
                all << QStringLiteral("%1x%2").arg(args.at(0).toInt()).arg(args.at(1).toInt());
            spy.clear();
            return all.join(' ');
        };
        toolBar.showLayoutSelection(true, 3, 4);
        QCOMPARE(reported(), QStringLiteral("3x4"));
        QSpinBox* rows = toolBar.findChildren<QSpinBox*>().value(0);
        QSpinBox* columns = toolBar.findChildren<QSpinBox*>().value(1);
        QCOMPARE(rows->toolTip() + columns->toolTip(), QStringLiteral("RowsColumns"));
        QVERIFY(rows->isVisible() && toolBar.findChild<QLabel*>(QString())->isVisible());

        toolBar.showLayoutSelection(false, 1, 1);
        QCOMPARE(reported(), QStringLiteral("1x1"));
        QVERIFY(!toolBar.isLayoutSelectionShown() && !rows->isVisible());
        columns->setValue(6); // a hidden selector never reports
        QCOMPARE(reported(), QString());

        // Showing it again reports the new choice, clamped to 1..10.
        toolBar.showLayoutSelection(true, 20, 0);
        QVERIFY(toolBar.isLayoutSelectionShown());
        QVERIFY(reported().endsWith(QLatin1String("10x1")));
    }
};

QTEST_MAIN(TestToolBar)
#include "tst_toolbar.moc"
