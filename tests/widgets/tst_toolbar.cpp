// The tool bar as a user and a host see it: its buttons, the signals they emit, the rules
// that tie zoom, pan, auto scaling and "Show all samples" together, and the layout selector.
#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QSpinBox>
#include <QtTest>

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

QComboBox* autoScaleCombo(const KivToolBar& toolBar)
{
    return toolBar.findChild<QComboBox*>();
}

QSpinBox* spinBox(const KivToolBar& toolBar, const QString& toolTip)
{
    for (QSpinBox* box : toolBar.findChildren<QSpinBox*>()) {
        if (box->toolTip() == toolTip)
            return box;
    }
    return nullptr;
}

// Records the Triggered signals in the order they arrive, e.g. "zooming(1)".
class SignalLog : public QObject
{
public:
    explicit SignalLog(KivToolBar* toolBar)
    {
        const auto log = [this](const char* name) {
            return [this, name](bool on) { entries << QStringLiteral("%1(%2)").arg(name).arg(on); };
        };
        connect(toolBar, &KivToolBar::freezeTriggered, this, log("freeze"));
        connect(toolBar, &KivToolBar::zoomingTriggered, this, log("zooming"));
        connect(toolBar, &KivToolBar::panningTriggered, this, log("panning"));
        connect(toolBar, &KivToolBar::allSamplesTriggered, this, log("allSamples"));
        connect(toolBar, &KivToolBar::equalAxesTriggered, this, log("equalAxes"));
        connect(toolBar, &KivToolBar::legendTriggered, this, log("legend"));
        connect(toolBar, &KivToolBar::measureTriggered, this, log("measure"));
        connect(toolBar, &KivToolBar::clearTriggered, this, log("clear"));
        connect(toolBar, &KivToolBar::autoScaleMethodTriggered, this,
                [this](KivAutoScaleMethod m) { entries << QStringLiteral("autoScale(%1)").arg(int(m)); });
    }
    QStringList entries;
};

} // namespace

class TestToolBar : public QObject
{
    Q_OBJECT

private slots:
    void buttons();
    void clickEmitsTriggered_data();
    void clickEmitsTriggered();
    void zoomAndPanExcludeEachOther();
    void fullFitWithAllSamplesDisablesZoomAndPan();
    void allowedFlagsEnableButtons();
    void autoScaleMethodReported();
    void emitAllStatesOrder_data();
    void emitAllStatesOrder();
    void hiddenLayoutSelector();
    void layoutSelectorEmission();
};

void TestToolBar::buttons()
{
    KivToolBar toolBar;
    QCOMPARE(toolBar.iconSize(), QSize(16, 16));
    // Text, checkable, checked at start; "" is the auto-scale combo box.
    const struct { const char* text; bool checkable, checked; } expected[] = {
        {"Zoom", true, false},   {"Pan", true, false},        {"Legend", true, true},
        {"Show Values", true, false}, {"Freeze", true, false}, {"", false, false},
        {"Equal Axes", true, false}, {"Show all samples", true, false}, {"Clear", false, false},
    };
    const QList<QAction*> actions = toolBar.actions();
    QCOMPARE(actions.size(), 9);
    for (int i = 0; i < 9; ++i) {
        QAction* action = actions.at(i);
        if (!*expected[i].text) {
            QCOMPARE(toolBar.widgetForAction(action), autoScaleCombo(toolBar));
            continue;
        }
        QCOMPARE(action->text(), QLatin1String(expected[i].text));
        QCOMPARE(action->isCheckable(), expected[i].checkable);
        QCOMPARE(action->isChecked(), expected[i].checked);
        QVERIFY(action->isEnabled());
        QVERIFY(!action->icon().isNull());
    }
    QComboBox* combo = autoScaleCombo(toolBar);
    QStringList texts;
    for (int i = 0; i < combo->count(); ++i)
        texts << combo->itemText(i);
    QCOMPARE(texts, QStringList({"no auto scaling", "expand to fit", "full fit"}));
    QCOMPARE(int(toolBar.getAutoScaleMethod()), 0);
}

void TestToolBar::clickEmitsTriggered_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected"); // after two clicks
    QTest::newRow("zoom") << "Zoom" << QStringList{"zooming(1)", "zooming(0)"};
    QTest::newRow("pan") << "Pan" << QStringList{"panning(1)", "panning(0)"};
    QTest::newRow("legend") << "Legend" << QStringList{"legend(0)", "legend(1)"};
    QTest::newRow("measure") << "Show Values" << QStringList{"measure(1)", "measure(0)"};
    QTest::newRow("freeze") << "Freeze" << QStringList{"freeze(1)", "freeze(0)"};
    QTest::newRow("equal axes") << "Equal Axes" << QStringList{"equalAxes(1)", "equalAxes(0)"};
    QTest::newRow("all samples") << "Show all samples"
                                 << QStringList{"allSamples(1)", "allSamples(0)"};
    // Clicking Clear keeps the time base; only a host's clear(true) resets it.
    QTest::newRow("clear") << "Clear" << QStringList{"clear(0)", "clear(0)"};
}

void TestToolBar::clickEmitsTriggered()
{
    QFETCH(QString, text);
    QFETCH(QStringList, expected);
    KivToolBar toolBar;
    SignalLog log(&toolBar);
    actionNamed(toolBar, text)->trigger();
    actionNamed(toolBar, text)->trigger();
    QCOMPARE(log.entries, expected);
    log.entries.clear();
    toolBar.clear(true);
    QCOMPARE(log.entries, QStringList{"clear(1)"});
}

void TestToolBar::zoomAndPanExcludeEachOther()
{
    KivToolBar toolBar;
    QAction* zoom = actionNamed(toolBar, QStringLiteral("Zoom"));
    QAction* pan = actionNamed(toolBar, QStringLiteral("Pan"));
    SignalLog log(&toolBar);

    pan->trigger();
    zoom->trigger();
    QVERIFY(zoom->isChecked());
    QVERIFY(!pan->isChecked());
    QCOMPARE(log.entries, QStringList({"panning(1)", "zooming(1)"}));

    log.entries.clear();
    toolBar.setPanningChecked(true);
    QVERIFY(pan->isChecked() && !zoom->isChecked());
    QCOMPARE(log.entries, QStringList({"panning(1)"}));
    // Unchecking one leaves the other alone.
    toolBar.setZoomingChecked(false);
    QVERIFY(pan->isChecked());
}

void TestToolBar::fullFitWithAllSamplesDisablesZoomAndPan()
{
    KivToolBar toolBar;
    QAction* zoom = actionNamed(toolBar, QStringLiteral("Zoom"));
    QAction* pan = actionNamed(toolBar, QStringLiteral("Pan"));
    pan->trigger();
    toolBar.setAutoScaleMethod(KivAutoScaleMethod(2));
    QVERIFY(pan->isChecked() && pan->isEnabled());

    SignalLog log(&toolBar);
    actionNamed(toolBar, QStringLiteral("Show all samples"))->trigger();
    QVERIFY(!pan->isEnabled() && !pan->isChecked());
    QVERIFY(!zoom->isEnabled() && !zoom->isChecked());
    QCOMPARE(log.entries, QStringList({"allSamples(1)"}));

    // Expand to fit gives zoom and pan back, unchecked.
    autoScaleCombo(toolBar)->setCurrentIndex(1);
    QVERIFY(pan->isEnabled() && !pan->isChecked());
    QVERIFY(zoom->isEnabled() && !zoom->isChecked());

    // ... but only as far as the host allows them.
    toolBar.setAutoScaleMethod(KivAutoScaleMethod(2));
    toolBar.setZoomingChangeAllowed(false);
    toolBar.setAllSamplesChecked(false);
    QVERIFY(pan->isEnabled());
    QVERIFY(!zoom->isEnabled());
}

void TestToolBar::allowedFlagsEnableButtons()
{
    const std::pair<const char*, void (KivToolBar::*)(bool)> controls[] = {
        {"Freeze", &KivToolBar::setFreezeChangeAllowed},
        {"Legend", &KivToolBar::setLegendChangeAllowed},
        {"Show Values", &KivToolBar::setMeasureChangeAllowed},
        {"Show all samples", &KivToolBar::setAllSamplesChangeAllowed},
        {"Equal Axes", &KivToolBar::setEqualAxesChangeAllowed},
        {"Clear", &KivToolBar::setClearAllowed},
        {"Zoom", &KivToolBar::setZoomingChangeAllowed},
        {"Pan", &KivToolBar::setPanningChangeAllowed},
        {"", &KivToolBar::setAutoScaleMethodChangeAllowed}, // the combo box
    };
    for (const auto& control : controls) {
        KivToolBar toolBar;
        for (bool allowed : {false, true}) {
            (toolBar.*control.second)(allowed);
            const bool enabled = *control.first
                                     ? actionNamed(toolBar, control.first)->isEnabled()
                                     : autoScaleCombo(toolBar)->isEnabled();
            QVERIFY2(enabled == allowed, control.first);
        }
    }

    // Locking a checked pan unchecks it without telling the graph.
    KivToolBar toolBar;
    QAction* pan = actionNamed(toolBar, QStringLiteral("Pan"));
    pan->trigger();
    QSignalSpy spy(&toolBar, &KivToolBar::panningTriggered);
    toolBar.setPanningChangeAllowed(false);
    QVERIFY(!pan->isChecked());
    toolBar.setPanningChangeAllowed(true);
    QVERIFY(!pan->isChecked());
    QCOMPARE(spy.count(), 0);
}

void TestToolBar::autoScaleMethodReported()
{
    KivToolBar toolBar;
    QSignalSpy spy(&toolBar, &KivToolBar::autoScaleMethodTriggered);
    // A user's choice in the combo box is reported once.
    autoScaleCombo(toolBar)->setCurrentIndex(1);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).value<KivAutoScaleMethod>(), KivAutoScaleMethod(1));

    // A host's change goes through the combo box and is reported directly as well.
    spy.clear();
    toolBar.setAutoScaleMethod(KivAutoScaleMethod(2));
    QCOMPARE(spy.count(), 2);
    QCOMPARE(autoScaleCombo(toolBar)->currentIndex(), 2);
    // Setting the same method still reports it once.
    spy.clear();
    toolBar.setAutoScaleMethod(KivAutoScaleMethod(2));
    QCOMPARE(spy.count(), 1);
}

void TestToolBar::emitAllStatesOrder_data()
{
    QTest::addColumn<bool>("zoom");
    QTest::addColumn<bool>("pan");
    QTest::addColumn<QString>("control"); // the one zoom/pan entry that is sent
    QTest::newRow("zoom checked") << true << false << "zooming(1)";
    QTest::newRow("pan checked") << false << true << "panning(1)";
    QTest::newRow("neither") << false << false << "panning(0)";
}

void TestToolBar::emitAllStatesOrder()
{
    QFETCH(bool, zoom);
    QFETCH(bool, pan);
    QFETCH(QString, control);
    KivToolBar toolBar;
    toolBar.setFreezeChecked(true);
    toolBar.setAutoScaleMethod(KivAutoScaleMethod(1));
    toolBar.setEqualAxesChecked(true);
    toolBar.setLegendChecked(false);
    toolBar.setMeasureChecked(true);
    toolBar.setZoomingChecked(zoom);
    toolBar.setPanningChecked(pan);

    SignalLog log(&toolBar);
    toolBar.emitAllStates();
    QCOMPARE(log.entries, QStringList({"freeze(1)", "autoScale(1)", control, "allSamples(0)",
                                       "equalAxes(1)", "legend(0)", "measure(1)"}));
}

void TestToolBar::hiddenLayoutSelector()
{
    // The spin boxes are made when first shown; a tool bar that is not on screen never reports.
    KivToolBar toolBar;
    QSignalSpy spy(&toolBar, &KivToolBar::layoutSelectionChanged);
    toolBar.showLayoutSelection(false, 2, 2);
    QVERIFY(toolBar.findChildren<QSpinBox*>().isEmpty());
    QVERIFY(!toolBar.isLayoutSelectionShown());
    toolBar.showLayoutSelection(true, 3, 4);
    toolBar.showLayoutSelection(false, 2, 2);
    toolBar.showLayoutSelection(true, 3, 4);
    QCOMPARE(toolBar.findChildren<QSpinBox*>().size(), 2);
    QCOMPARE(spinBox(toolBar, QStringLiteral("Rows"))->value(), 3);
    QCOMPARE(spy.count(), 0);
}

void TestToolBar::layoutSelectorEmission()
{
    KivToolBar toolBar;
    toolBar.resize(900, 40);
    toolBar.show();
    QVERIFY(QTest::qWaitForWindowExposed(&toolBar));
    QSignalSpy spy(&toolBar, &KivToolBar::layoutSelectionChanged);

    toolBar.showLayoutSelection(true, 3, 4);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0), QVariantList({3, 4}));
    QVERIFY(toolBar.isLayoutSelectionShown());
    QSpinBox* rows = spinBox(toolBar, QStringLiteral("Rows"));
    QSpinBox* columns = spinBox(toolBar, QStringLiteral("Columns"));
    QVERIFY(rows && columns);
    QCOMPARE(columns->value(), 4);
    QVERIFY(rows->isVisible());
    QVERIFY(toolBar.findChild<QLabel*>(QString())->isVisible());

    spy.clear();
    rows->setValue(5);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0), QVariantList({5, 4}));

    spy.clear();
    toolBar.showLayoutSelection(false, 1, 1);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0), QVariantList({1, 1}));
    QVERIFY(!toolBar.isLayoutSelectionShown());
    QVERIFY(!rows->isVisible());
    // A hidden selector never reports.
    spy.clear();
    columns->setValue(6);
    QCOMPARE(spy.count(), 0);

    // Showing it again reports the new choice, clamped to 1..10.
    toolBar.showLayoutSelection(true, 20, 0);
    QVERIFY(spy.count() >= 1);
    QCOMPARE(spy.last(), QVariantList({10, 1}));
    QVERIFY(toolBar.isLayoutSelectionShown());
}

QTEST_MAIN(TestToolBar)
#include "tst_toolbar.moc"
