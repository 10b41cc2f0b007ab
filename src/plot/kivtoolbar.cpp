#include "kivtoolbar.h"

#include "kiv_graphwidget.h"

#include <QAction>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QSpinBox>

namespace {
const int FullFitIndex = 2;
const int LayoutMinimum = 1;
const int LayoutMaximum = 10;
}

KivToolBar::KivToolBar(QWidget* parent)
    : QToolBar(parent)
{
    setWindowTitle(tr("graph operations"));
    setOrientation(Qt::Horizontal);
    setIconSize(QSize(16, 16));

    zoomAction = addCheckableAction(tr("Zoom"), QStringLiteral("zoom"));
    panAction = addCheckableAction(tr("Pan"), QStringLiteral("pan"));
    legendAction = addCheckableAction(tr("Legend"), QStringLiteral("legend"));
    measureAction = addCheckableAction(tr("Show Values"), QStringLiteral("measure"));
    freezeAction = addCheckableAction(tr("Freeze"), QStringLiteral("freeze"));

    // The item index is the auto-scale method value.
    autoScaleCombo = new QComboBox;
    autoScaleCombo->insertItem(0, iconFromFileSet(QStringLiteral("noautoscale")),
                               tr("no auto scaling"), 0);
    autoScaleCombo->insertItem(1, iconFromFileSet(QStringLiteral("expand")),
                               tr("expand to fit"), 1);
    autoScaleCombo->insertItem(2, iconFromFileSet(QStringLiteral("fit")), tr("full fit"), 2);
    addWidget(autoScaleCombo);

    equalAxesAction = addCheckableAction(tr("Equal Axes"), QStringLiteral("equalaxes"));
    allSamplesAction = addCheckableAction(tr("Show all samples"),
                                          QStringLiteral("showallsamples"));
    clearAction = addAction(iconFromFileSet(QStringLiteral("clear")), tr("Clear"));

    connect(panAction, SIGNAL(triggered(bool)), this, SLOT(setPanningChecked(bool)));
    connect(zoomAction, SIGNAL(triggered(bool)), this, SLOT(setZoomingChecked(bool)));
    connect(freezeAction, SIGNAL(triggered(bool)), this, SLOT(setFreezeChecked(bool)));
    connect(autoScaleCombo, SIGNAL(currentIndexChanged(int)), this,
            SLOT(selectedAutoScaleMethodChanged(int)));
    connect(allSamplesAction, SIGNAL(triggered(bool)), this, SLOT(setAllSamplesChecked(bool)));
    connect(clearAction, SIGNAL(triggered(bool)), this, SLOT(clear()));
    connect(legendAction, SIGNAL(triggered(bool)), this, SLOT(setLegendChecked(bool)));
    connect(measureAction, SIGNAL(triggered(bool)), this, SLOT(setMeasureChecked(bool)));
    connect(equalAxesAction, SIGNAL(triggered(bool)), this, SLOT(setEqualAxesChecked(bool)));

    legendAction->setChecked(true);
}

QIcon KivToolBar::iconFromFileSet(const QString& name)
{
    return QIcon(QStringLiteral(":/kiv/Resources/%1%2").arg(name, QStringLiteral("-16.png")));
}

QAction* KivToolBar::addCheckableAction(const QString& text, const QString& iconName)
{
    QAction* action = addAction(iconFromFileSet(iconName), text);
    action->setCheckable(true);
    return action;
}

bool KivToolBar::isAutoScaleMethodChangeAllowed() const
{
    return autoScaleCombo->isEnabled();
}

void KivToolBar::setAutoScaleMethodChangeAllowed(bool allow)
{
    autoScaleCombo->setEnabled(allow);
}

KivAutoScaleMethod KivToolBar::getAutoScaleMethod() const
{
    return static_cast<KivAutoScaleMethod>(autoScaleCombo->currentIndex());
}

// The direct call reports the method even when the index stays the same; a changed index is
// therefore reported twice, once more through the combo box.
void KivToolBar::setAutoScaleMethod(KivAutoScaleMethod method)
{
    autoScaleCombo->setCurrentIndex(static_cast<int>(method));
    selectedAutoScaleMethodChanged(static_cast<int>(method));
}

void KivToolBar::selectedAutoScaleMethodChanged(int index)
{
    updatePanZoomEnabledState();
    emit autoScaleMethodTriggered(static_cast<KivAutoScaleMethod>(index));
}

bool KivToolBar::isPanningChangeAllowed() const
{
    return panAction->isEnabled();
}

void KivToolBar::setPanningChangeAllowed(bool allow)
{
    panningChangeAllowed = allow;
    updatePanZoomEnabledState();
}

bool KivToolBar::isPanningChecked() const
{
    return panAction->isChecked();
}

void KivToolBar::setPanningChecked(bool checked)
{
    if (panAction->isChecked() != checked)
        panAction->setChecked(checked);
    if (checked)
        zoomAction->setChecked(false);
    emit panningTriggered(checked);
}

bool KivToolBar::isZoomingChangeAllowed() const
{
    return zoomAction->isEnabled();
}

void KivToolBar::setZoomingChangeAllowed(bool allow)
{
    zoomingChangeAllowed = allow;
    updatePanZoomEnabledState();
}

bool KivToolBar::isZoomingChecked() const
{
    return zoomAction->isChecked();
}

void KivToolBar::setZoomingChecked(bool checked)
{
    if (zoomAction->isChecked() != checked)
        zoomAction->setChecked(checked);
    if (checked)
        panAction->setChecked(false);
    emit zoomingTriggered(checked);
}

void KivToolBar::updatePanZoomEnabledState()
{
    if (autoScaleCombo->currentIndex() == FullFitIndex && isAllSamplesChecked()) {
        panAction->setEnabled(false);
        panAction->setChecked(false);
        zoomAction->setEnabled(false);
        zoomAction->setChecked(false);
        return;
    }
    panAction->setEnabled(panningChangeAllowed);
    panAction->setChecked(panAction->isChecked() && panningChangeAllowed);
    zoomAction->setEnabled(zoomingChangeAllowed);
    zoomAction->setChecked(zoomAction->isChecked() && zoomingChangeAllowed);
}

bool KivToolBar::isFreezeChangeAllowed() const
{
    return freezeAction->isEnabled();
}

void KivToolBar::setFreezeChangeAllowed(bool allow)
{
    freezeAction->setEnabled(allow);
}

bool KivToolBar::isFreezeChecked() const
{
    return freezeAction->isChecked();
}

void KivToolBar::setFreezeChecked(bool checked)
{
    if (freezeAction->isChecked() != checked)
        freezeAction->setChecked(checked);
    emit freezeTriggered(checked);
}

bool KivToolBar::isLegendChangeAllowed() const
{
    return legendAction->isEnabled();
}

void KivToolBar::setLegendChangeAllowed(bool allow)
{
    legendAction->setEnabled(allow);
}

bool KivToolBar::isLegendChecked() const
{
    return legendAction->isChecked();
}

void KivToolBar::setLegendChecked(bool checked)
{
    if (legendAction->isChecked() != checked)
        legendAction->setChecked(checked);
    emit legendTriggered(checked);
}

bool KivToolBar::isMeasureChangeAllowed() const
{
    return measureAction->isEnabled();
}

void KivToolBar::setMeasureChangeAllowed(bool allow)
{
    measureAction->setEnabled(allow);
}

bool KivToolBar::isMeasureChecked() const
{
    return measureAction->isChecked();
}

void KivToolBar::setMeasureChecked(bool checked)
{
    if (measureAction->isChecked() != checked)
        measureAction->setChecked(checked);
    emit measureTriggered(checked);
}

bool KivToolBar::isAllSamplesChangeAllowed() const
{
    return allSamplesAction->isEnabled();
}

void KivToolBar::setAllSamplesChangeAllowed(bool allow)
{
    allSamplesAction->setEnabled(allow);
}

bool KivToolBar::isAllSamplesChecked() const
{
    return allSamplesAction->isChecked();
}

void KivToolBar::setAllSamplesChecked(bool checked)
{
    if (allSamplesAction->isChecked() != checked)
        allSamplesAction->setChecked(checked);
    updatePanZoomEnabledState();
    emit allSamplesTriggered(checked);
}

void KivToolBar::setAllSamplesVisible(bool visible)
{
    allSamplesAction->setVisible(visible);
}

void KivToolBar::setClearVisible(bool visible)
{
    clearAction->setVisible(visible);
}

bool KivToolBar::isClearAllowed() const
{
    return clearAction->isEnabled();
}

void KivToolBar::setClearAllowed(bool allow)
{
    clearAction->setEnabled(allow);
}

void KivToolBar::clear(bool clearTime)
{
    emit clearTriggered(clearTime);
}

bool KivToolBar::isEqualAxesChangeAllowed() const
{
    return equalAxesAction->isEnabled();
}

void KivToolBar::setEqualAxesChangeAllowed(bool allow)
{
    equalAxesAction->setEnabled(allow);
}

bool KivToolBar::isEqualAxesChecked() const
{
    return equalAxesAction->isChecked();
}

void KivToolBar::setEqualAxesChecked(bool checked)
{
    if (equalAxesAction->isChecked() != checked)
        equalAxesAction->setChecked(checked);
    emit equalAxesTriggered(checked);
}

void KivToolBar::emitAllStates()
{
    emit freezeTriggered(freezeAction->isChecked());
    emit autoScaleMethodTriggered(getAutoScaleMethod());
    if (zoomAction->isChecked())
        emit zoomingTriggered(true);
    else
        emit panningTriggered(panAction->isChecked());
    emit allSamplesTriggered(allSamplesAction->isChecked());
    emit equalAxesTriggered(equalAxesAction->isChecked());
    emit legendTriggered(legendAction->isChecked());
    emit measureTriggered(measureAction->isChecked());
}

void KivToolBar::showLayoutSelection(bool show, int rows, int columns)
{
    if (show && !layoutSelection) {
        layoutSelection = new QWidget;
        auto* outerLayout = new QHBoxLayout(layoutSelection);
        layoutSeparator = addSeparator();

        layoutIconLabel = new QLabel;
        layoutIconLabel->setToolTip(tr("Configure Layout"));
        layoutIconLabel->setPixmap(QPixmap(QStringLiteral(":/kiv/Resources/layoutcustom-16.png")));

        const auto makeSpinBox = [](const QString& toolTip) {
            auto* spinBox = new QSpinBox;
            spinBox->setToolTip(toolTip);
            spinBox->setSingleStep(1);
            spinBox->setRange(LayoutMinimum, LayoutMaximum);
            spinBox->setValue(2);
            spinBox->setFixedWidth(35);
            return spinBox;
        };
        rowsSpinBox = makeSpinBox(tr("Rows"));
        columnsSpinBox = makeSpinBox(tr("Columns"));
        timesLabel = new QLabel(tr("x"));

        customLayoutWidget = new QWidget;
        auto* innerLayout = new QHBoxLayout(customLayoutWidget);
        innerLayout->setSpacing(5);
        innerLayout->setContentsMargins(0, 0, 0, 0);
        innerLayout->addWidget(rowsSpinBox);
        innerLayout->addWidget(timesLabel);
        innerLayout->addWidget(columnsSpinBox);

        outerLayout->setSpacing(5);
        outerLayout->setContentsMargins(5, 1, 1, 1);
        outerLayout->addWidget(layoutIconLabel);
        outerLayout->addWidget(customLayoutWidget);
        layoutSelectionAction = addWidget(layoutSelection);

        connect(rowsSpinBox, SIGNAL(valueChanged(int)), this, SLOT(emitCustomLayout()));
        connect(columnsSpinBox, SIGNAL(valueChanged(int)), this, SLOT(emitCustomLayout()));
    }
    if (!layoutSelection)
        return;

    setLayoutValues(rows, columns);
    emitCustomLayout();
    // The tool bar lays its widgets out by their actions' visibility; the widget itself is
    // switched too so that the report below sees the new state at once.
    layoutSeparator->setVisible(show);
    layoutSelectionAction->setVisible(show);
    layoutSelection->setVisible(show);
    if (show)
        emitCustomLayout();
}

void KivToolBar::setLayoutValues(int rows, int columns)
{
    const QSignalBlocker blocker(this);
    rowsSpinBox->setValue(rows);
    columnsSpinBox->setValue(columns);
}

bool KivToolBar::isLayoutSelectionShown() const
{
    return layoutSelection && isVisible() && layoutSelection->isVisibleTo(this);
}

void KivToolBar::emitCustomLayout()
{
    // Asked of the widgets' own state: the tool bar shows a newly added widget only at its
    // next layout pass.
    if (customLayoutWidget && isVisible() && customLayoutWidget->isVisibleTo(this))
        emit layoutSelectionChanged(rowsSpinBox->value(), columnsSpinBox->value());
}

void connectToolbarToGraph(KivToolBar* toolbar, KivGraphWidget* graph)
{
    QObject::connect(toolbar, SIGNAL(freezeTriggered(bool)), graph, SLOT(setFreezeChecked(bool)));
    QObject::connect(toolbar, SIGNAL(zoomingTriggered(bool)), graph,
                     SLOT(setZoomingChecked(bool)));
    QObject::connect(toolbar, SIGNAL(panningTriggered(bool)), graph,
                     SLOT(setPanningChecked(bool)));
    QObject::connect(toolbar, SIGNAL(autoScaleMethodTriggered(KivAutoScaleMethod)), graph,
                     SLOT(setAutoScaleMethod(KivAutoScaleMethod)));
    QObject::connect(toolbar, SIGNAL(equalAxesTriggered(bool)), graph,
                     SLOT(setEqualAxesChecked(bool)));
    QObject::connect(toolbar, SIGNAL(allSamplesTriggered(bool)), graph,
                     SLOT(setAllSamplesChecked(bool)));
    QObject::connect(toolbar, SIGNAL(clearTriggered(bool)), graph, SLOT(clear(bool)));
    QObject::connect(toolbar, SIGNAL(legendTriggered(bool)), graph,
                     SLOT(setLegendChecked(bool)));
    QObject::connect(toolbar, SIGNAL(measureTriggered(bool)), graph,
                     SLOT(setMeasureChecked(bool)));
}
