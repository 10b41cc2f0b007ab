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

// Records the names of the Triggered signals in the order they arrive.
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
    void buttonsInOrder();
    void buttonStates_data();
    void buttonStates();
    void autoScaleChoices();
    void clickEmitsTriggered_data();
    void clickEmitsTriggered();
    void clearKeepsTimeBase();
    void zoomAndPanExcludeEachOther();
    void fullFitWithAllSamplesDisablesZoomAndPan();
    void lockingPanUnchecksSilently();
    void allowedFlagsEnableButtons();
    void autoScaleMethodReported();
    void emitAllStatesOrder_data();
    void emitAllStatesOrder();
    void layoutSelectorIsLazy();
    void layoutSelectorEmission();
    void layoutSelectorRange();
    void hiddenToolBarDoesNotReportLayout();
};

void TestToolBar::buttonsInOrder()
{
    KivToolBar toolBar;
    QCOMPARE(toolBar.windowTitle(), QStringLiteral("graph operations"));
    QCOMPARE(toolBar.orientation(), Qt::Horizontal);
    QCOMPARE(toolBar.iconSize(), QSize(16, 16));

    QStringList texts;
    for (QAction* action : toolBar.actions())
        texts << (toolBar.widgetForAction(action) == autoScaleCombo(toolBar)
                      ? QStringLiteral("<auto scale>")
                      : action->text());
    const QStringList expected{"Zoom", "Pan", "Legend", "Show Values", "Freeze", "<auto scale>",
                               "Equal Axes", "Show all samples", "Clear"};
    QCOMPARE(texts, expected);
}

void TestToolBar::buttonStates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("checkable");
    QTest::addColumn<bool>("checked");
    QTest::newRow("zoom") << "Zoom" << true << false;
    QTest::newRow("pan") << "Pan" << true << false;
    QTest::newRow("legend") << "Legend" << true << true;
    QTest::newRow("measure") << "Show Values" << true << false;
    QTest::newRow("freeze") << "Freeze" << true << false;
    QTest::newRow("equal axes") << "Equal Axes" << true << false;
    QTest::newRow("all samples") << "Show all samples" << true << false;
    QTest::newRow("clear") << "Clear" << false << false;
}

void TestToolBar::buttonStates()
{
    QFETCH(QString, text);
    QFETCH(bool, checkable);
    QFETCH(bool, checked);
    KivToolBar toolBar;
    QAction* action = actionNamed(toolBar, text);
    QVERIFY(action);
    QCOMPARE(action->isCheckable(), checkable);
    QCOMPARE(action->isChecked(), checked);
    QVERIFY(action->isEnabled());
    QVERIFY(!action->icon().isNull());
}

void TestToolBar::autoScaleChoices()
{
    KivToolBar toolBar;
    QComboBox* combo = autoScaleCombo(toolBar);
    QVERIFY(combo);
    QCOMPARE(combo->count(), 3);
    const QStringList texts{"no auto scaling", "expand to fit", "full fit"};
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(combo->itemText(i), texts.at(i));
        QCOMPARE(combo->itemData(i).toInt(), i);
        QVERIFY(!combo->itemIcon(i).isNull());
    }
    QCOMPARE(combo->currentIndex(), 0);
    QCOMPARE(int(toolBar.getAutoScaleMethod()), 0);
}

void TestToolBar::clickEmitsTriggered_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("signal");
    QTest::addColumn<bool>("initiallyChecked");
    QTest::newRow("zoom") << "Zoom" << SIGNAL(zoomingTriggered(bool)) << false;
    QTest::newRow("pan") << "Pan" << SIGNAL(panningTriggered(bool)) << false;
    QTest::newRow("legend") << "Legend" << SIGNAL(legendTriggered(bool)) << true;
    QTest::newRow("measure") << "Show Values" << SIGNAL(measureTriggered(bool)) << false;
    QTest::newRow("freeze") << "Freeze" << SIGNAL(freezeTriggered(bool)) << false;
    QTest::newRow("equal axes") << "Equal Axes" << SIGNAL(equalAxesTriggered(bool)) << false;
    QTest::newRow("all samples") << "Show all samples" << SIGNAL(allSamplesTriggered(bool))
                                 << false;
}

void TestToolBar::clickEmitsTriggered()
{
    QFETCH(QString, text);
    QFETCH(QString, signal);
    QFETCH(bool, initiallyChecked);
    KivToolBar toolBar;
    QAction* action = actionNamed(toolBar, text);
    QSignalSpy spy(&toolBar, signal.toLatin1().constData());

    action->trigger();
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toBool(), !initiallyChecked);
    QCOMPARE(action->isChecked(), !initiallyChecked);

    action->trigger();
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(1).at(0).toBool(), initiallyChecked);
}

void TestToolBar::clearKeepsTimeBase()
{
    KivToolBar toolBar;
    QSignalSpy spy(&toolBar, &KivToolBar::clearTriggered);
    actionNamed(toolBar, QStringLiteral("Clear"))->trigger();
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toBool(), false);
    toolBar.clear(true);
    QCOMPARE(spy.count(), 2);
    QCOMPARE(spy.at(1).at(0).toBool(), true);
}

void TestToolBar::zoomAndPanExcludeEachOther()
{
    KivToolBar toolBar;
    QAction* zoom = actionNamed(toolBar, QStringLiteral("Zoom"));
    QAction* pan = actionNamed(toolBar, QStringLiteral("Pan"));
    SignalLog log(&toolBar);

    pan->trigger();
    QVERIFY(pan->isChecked());
    zoom->trigger();
    QVERIFY(zoom->isChecked());
    QVERIFY(!pan->isChecked());
    QCOMPARE(log.entries, QStringList({"panning(1)", "zooming(1)"}));

    log.entries.clear();
    toolBar.setPanningChecked(true);
    QVERIFY(pan->isChecked());
    QVERIFY(!zoom->isChecked());
    QVERIFY(toolBar.isPanningChecked());
    QVERIFY(!toolBar.isZoomingChecked());
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
    QVERIFY(pan->isChecked());
    QVERIFY(pan->isEnabled());

    SignalLog log(&toolBar);
    actionNamed(toolBar, QStringLiteral("Show all samples"))->trigger();
    QVERIFY(!pan->isEnabled());
    QVERIFY(!pan->isChecked());
    QVERIFY(!zoom->isEnabled());
    QVERIFY(!zoom->isChecked());
    QCOMPARE(log.entries, QStringList({"allSamples(1)"}));

    // Expand to fit gives zoom and pan back, unchecked.
    autoScaleCombo(toolBar)->setCurrentIndex(1);
    QVERIFY(pan->isEnabled());
    QVERIFY(zoom->isEnabled());
    QVERIFY(!pan->isChecked());
    QVERIFY(!zoom->isChecked());

    // ... but only as far as the host allows them.
    toolBar.setAutoScaleMethod(KivAutoScaleMethod(2));
    toolBar.setZoomingChangeAllowed(false);
    toolBar.setAllSamplesChecked(false);
    QVERIFY(pan->isEnabled());
    QVERIFY(!zoom->isEnabled());
    QVERIFY(!toolBar.isZoomingChangeAllowed());
}

void TestToolBar::lockingPanUnchecksSilently()
{
    KivToolBar toolBar;
    QAction* pan = actionNamed(toolBar, QStringLiteral("Pan"));
    pan->trigger();
    QSignalSpy spy(&toolBar, &KivToolBar::panningTriggered);
    toolBar.setPanningChangeAllowed(false);
    QVERIFY(!pan->isChecked());
    QVERIFY(!pan->isEnabled());
    QVERIFY(!toolBar.isPanningChangeAllowed());
    QCOMPARE(spy.count(), 0);

    toolBar.setPanningChangeAllowed(true);
    QVERIFY(pan->isEnabled());
    QVERIFY(!pan->isChecked());
    QCOMPARE(spy.count(), 0);
}

void TestToolBar::allowedFlagsEnableButtons()
{
    using Setter = void (KivToolBar::*)(bool);
    using Getter = bool (KivToolBar::*)() const;
    const struct {
        const char* text; // empty: the auto-scale combo box
        Setter set;
        Getter get;
    } controls[] = {
        {"Freeze", &KivToolBar::setFreezeChangeAllowed, &KivToolBar::isFreezeChangeAllowed},
        {"Legend", &KivToolBar::setLegendChangeAllowed, &KivToolBar::isLegendChangeAllowed},
        {"Show Values", &KivToolBar::setMeasureChangeAllowed, &KivToolBar::isMeasureChangeAllowed},
        {"Show all samples", &KivToolBar::setAllSamplesChangeAllowed,
         &KivToolBar::isAllSamplesChangeAllowed},
        {"Equal Axes", &KivToolBar::setEqualAxesChangeAllowed,
         &KivToolBar::isEqualAxesChangeAllowed},
        {"Clear", &KivToolBar::setClearAllowed, &KivToolBar::isClearAllowed},
        {"Zoom", &KivToolBar::setZoomingChangeAllowed, &KivToolBar::isZoomingChangeAllowed},
        {"Pan", &KivToolBar::setPanningChangeAllowed, &KivToolBar::isPanningChangeAllowed},
        {"", &KivToolBar::setAutoScaleMethodChangeAllowed,
         &KivToolBar::isAutoScaleMethodChangeAllowed},
    };
    for (const auto& control : controls) {
        KivToolBar toolBar;
        const QString text = QLatin1String(control.text);
        const auto enabled = [&]() {
            return text.isEmpty() ? autoScaleCombo(toolBar)->isEnabled()
                                  : actionNamed(toolBar, text)->isEnabled();
        };
        QVERIFY2((toolBar.*control.get)(), control.text);
        (toolBar.*control.set)(false);
        QVERIFY2(!(toolBar.*control.get)(), control.text);
        QVERIFY2(!enabled(), control.text);
        (toolBar.*control.set)(true);
        QVERIFY2((toolBar.*control.get)(), control.text);
        QVERIFY2(enabled(), control.text);
    }
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
    QCOMPARE(int(toolBar.getAutoScaleMethod()), 2);
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
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("zoom checked") << true << false
                                  << QStringList{"freeze(1)", "autoScale(1)", "zooming(1)",
                                                 "allSamples(0)", "equalAxes(1)", "legend(0)",
                                                 "measure(1)"};
    QTest::newRow("pan checked") << false << true
                                 << QStringList{"freeze(1)", "autoScale(1)", "panning(1)",
                                                "allSamples(0)", "equalAxes(1)", "legend(0)",
                                                "measure(1)"};
    QTest::newRow("neither") << false << false
                             << QStringList{"freeze(1)", "autoScale(1)", "panning(0)",
                                            "allSamples(0)", "equalAxes(1)", "legend(0)",
                                            "measure(1)"};
}

void TestToolBar::emitAllStatesOrder()
{
    QFETCH(bool, zoom);
    QFETCH(bool, pan);
    QFETCH(QStringList, expected);
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
    QCOMPARE(log.entries, expected);
}

void TestToolBar::layoutSelectorIsLazy()
{
    KivToolBar toolBar;
    QVERIFY(toolBar.findChildren<QSpinBox*>().isEmpty());
    toolBar.showLayoutSelection(false, 2, 2);
    QVERIFY(toolBar.findChildren<QSpinBox*>().isEmpty());
    QVERIFY(!toolBar.isLayoutSelectionShown());
    toolBar.showLayoutSelection(true, 2, 2);
    QCOMPARE(toolBar.findChildren<QSpinBox*>().size(), 2);
    toolBar.showLayoutSelection(false, 2, 2);
    toolBar.showLayoutSelection(true, 2, 2);
    QCOMPARE(toolBar.findChildren<QSpinBox*>().size(), 2);
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
    QCOMPARE(rows->value(), 3);
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

    // Showing it again reports the new choice.
    toolBar.showLayoutSelection(true, 2, 3);
    QVERIFY(spy.count() >= 1);
    QCOMPARE(spy.last(), QVariantList({2, 3}));
    QVERIFY(toolBar.isLayoutSelectionShown());
}

void TestToolBar::layoutSelectorRange()
{
    KivToolBar toolBar;
    toolBar.resize(900, 40);
    toolBar.show();
    QVERIFY(QTest::qWaitForWindowExposed(&toolBar));
    QSignalSpy spy(&toolBar, &KivToolBar::layoutSelectionChanged);
    toolBar.showLayoutSelection(true, 20, 0);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0), QVariantList({10, 1}));

    QSpinBox* rows = spinBox(toolBar, QStringLiteral("Rows"));
    QCOMPARE(rows->minimum(), 1);
    QCOMPARE(rows->maximum(), 10);
    QCOMPARE(rows->singleStep(), 1);
    QCOMPARE(rows->width(), 35);
}

void TestToolBar::hiddenToolBarDoesNotReportLayout()
{
    KivToolBar toolBar;
    QSignalSpy spy(&toolBar, &KivToolBar::layoutSelectionChanged);
    toolBar.showLayoutSelection(true, 3, 4);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(spinBox(toolBar, QStringLiteral("Rows"))->value(), 3);
}

QTEST_MAIN(TestToolBar)
#include "tst_toolbar.moc"
