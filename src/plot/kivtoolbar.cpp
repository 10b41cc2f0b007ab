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

//! The tool bar's controls, and the pan and zoom allowed flags that a full fit overrides.
class KivToolBarPrivate
{
public:
    QAction* zoomAction = nullptr;
    QAction* panAction = nullptr;
    QAction* legendAction = nullptr;
    QAction* freezeAction = nullptr;
    QComboBox* autoScaleCombo = nullptr;
    QAction* equalAxesAction = nullptr;
    QAction* measureAction = nullptr;
    QAction* allSamplesAction = nullptr;
    QAction* clearAction = nullptr;
    QWidget* layoutSelection = nullptr;
    QAction* layoutSelectionAction = nullptr;
    QAction* layoutSeparator = nullptr;
    QWidget* customLayoutWidget = nullptr;
    QSpinBox* rowsSpinBox = nullptr;
    QSpinBox* columnsSpinBox = nullptr;
    QLabel* layoutIconLabel = nullptr;
    QLabel* timesLabel = nullptr;
    bool panningChangeAllowed = true;
    bool zoomingChangeAllowed = true;
};

KivToolBar::KivToolBar(QWidget* parent)
    : QToolBar(parent)
    , d(new KivToolBarPrivate)
{
    setWindowTitle(tr("graph operations"));
    setOrientation(Qt::Horizontal);
    setIconSize(QSize(16, 16));

    d->zoomAction = addCheckableAction(tr("Zoom"), QStringLiteral("zoom"));
    d->panAction = addCheckableAction(tr("Pan"), QStringLiteral("pan"));
    d->legendAction = addCheckableAction(tr("Legend"), QStringLiteral("legend"));
    d->measureAction = addCheckableAction(tr("Show Values"), QStringLiteral("measure"));
    d->freezeAction = addCheckableAction(tr("Freeze"), QStringLiteral("freeze"));

    // The item index is the auto-scale method value.
    d->autoScaleCombo = new QComboBox;
    d->autoScaleCombo->insertItem(0, iconFromFileSet(QStringLiteral("noautoscale")),
                               tr("no auto scaling"), 0);
    d->autoScaleCombo->insertItem(1, iconFromFileSet(QStringLiteral("expand")),
                               tr("expand to fit"), 1);
    d->autoScaleCombo->insertItem(2, iconFromFileSet(QStringLiteral("fit")), tr("full fit"), 2);
    addWidget(d->autoScaleCombo);

    d->equalAxesAction = addCheckableAction(tr("Equal Axes"), QStringLiteral("equalaxes"));
    d->allSamplesAction = addCheckableAction(tr("Show all samples"),
                                          QStringLiteral("showallsamples"));
    d->clearAction = addAction(iconFromFileSet(QStringLiteral("clear")), tr("Clear"));

    connect(d->panAction, SIGNAL(triggered(bool)), this, SLOT(setPanningChecked(bool)));
    connect(d->zoomAction, SIGNAL(triggered(bool)), this, SLOT(setZoomingChecked(bool)));
    connect(d->freezeAction, SIGNAL(triggered(bool)), this, SLOT(setFreezeChecked(bool)));
    connect(d->autoScaleCombo, SIGNAL(currentIndexChanged(int)), this,
            SLOT(selectedAutoScaleMethodChanged(int)));
    connect(d->allSamplesAction, SIGNAL(triggered(bool)), this, SLOT(setAllSamplesChecked(bool)));
    connect(d->clearAction, SIGNAL(triggered(bool)), this, SLOT(clear()));
    connect(d->legendAction, SIGNAL(triggered(bool)), this, SLOT(setLegendChecked(bool)));
    connect(d->measureAction, SIGNAL(triggered(bool)), this, SLOT(setMeasureChecked(bool)));
    connect(d->equalAxesAction, SIGNAL(triggered(bool)), this, SLOT(setEqualAxesChecked(bool)));

    d->legendAction->setChecked(true);
}

KivToolBar::~KivToolBar() = default;

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
    return d->autoScaleCombo->isEnabled();
}

void KivToolBar::setAutoScaleMethodChangeAllowed(bool allow)
{
    d->autoScaleCombo->setEnabled(allow);
}

KivAutoScaleMethod KivToolBar::getAutoScaleMethod() const
{
    return static_cast<KivAutoScaleMethod>(d->autoScaleCombo->currentIndex());
}

// The direct call reports the method even when the index stays the same; a changed index is
// therefore reported twice, once more through the combo box.
void KivToolBar::setAutoScaleMethod(KivAutoScaleMethod method)
{
    d->autoScaleCombo->setCurrentIndex(static_cast<int>(method));
    selectedAutoScaleMethodChanged(static_cast<int>(method));
}

void KivToolBar::selectedAutoScaleMethodChanged(int index)
{
    updatePanZoomEnabledState();
    emit autoScaleMethodTriggered(static_cast<KivAutoScaleMethod>(index));
}

bool KivToolBar::isPanningChangeAllowed() const
{
    return d->panAction->isEnabled();
}

void KivToolBar::setPanningChangeAllowed(bool allow)
{
    d->panningChangeAllowed = allow;
    updatePanZoomEnabledState();
}

bool KivToolBar::isPanningChecked() const
{
    return d->panAction->isChecked();
}

void KivToolBar::setPanningChecked(bool checked)
{
    if (d->panAction->isChecked() != checked)
        d->panAction->setChecked(checked);
    if (checked)
        d->zoomAction->setChecked(false);
    emit panningTriggered(checked);
}

bool KivToolBar::isZoomingChangeAllowed() const
{
    return d->zoomAction->isEnabled();
}

void KivToolBar::setZoomingChangeAllowed(bool allow)
{
    d->zoomingChangeAllowed = allow;
    updatePanZoomEnabledState();
}

bool KivToolBar::isZoomingChecked() const
{
    return d->zoomAction->isChecked();
}

void KivToolBar::setZoomingChecked(bool checked)
{
    if (d->zoomAction->isChecked() != checked)
        d->zoomAction->setChecked(checked);
    if (checked)
        d->panAction->setChecked(false);
    emit zoomingTriggered(checked);
}

void KivToolBar::updatePanZoomEnabledState()
{
    if (d->autoScaleCombo->currentIndex() == FullFitIndex && isAllSamplesChecked()) {
        d->panAction->setEnabled(false);
        d->panAction->setChecked(false);
        d->zoomAction->setEnabled(false);
        d->zoomAction->setChecked(false);
        return;
    }
    d->panAction->setEnabled(d->panningChangeAllowed);
    d->panAction->setChecked(d->panAction->isChecked() && d->panningChangeAllowed);
    d->zoomAction->setEnabled(d->zoomingChangeAllowed);
    d->zoomAction->setChecked(d->zoomAction->isChecked() && d->zoomingChangeAllowed);
}

bool KivToolBar::isFreezeChangeAllowed() const
{
    return d->freezeAction->isEnabled();
}

void KivToolBar::setFreezeChangeAllowed(bool allow)
{
    d->freezeAction->setEnabled(allow);
}

bool KivToolBar::isFreezeChecked() const
{
    return d->freezeAction->isChecked();
}

void KivToolBar::setFreezeChecked(bool checked)
{
    if (d->freezeAction->isChecked() != checked)
        d->freezeAction->setChecked(checked);
    emit freezeTriggered(checked);
}

bool KivToolBar::isLegendChangeAllowed() const
{
    return d->legendAction->isEnabled();
}

void KivToolBar::setLegendChangeAllowed(bool allow)
{
    d->legendAction->setEnabled(allow);
}

bool KivToolBar::isLegendChecked() const
{
    return d->legendAction->isChecked();
}

void KivToolBar::setLegendChecked(bool checked)
{
    if (d->legendAction->isChecked() != checked)
        d->legendAction->setChecked(checked);
    emit legendTriggered(checked);
}

bool KivToolBar::isMeasureChangeAllowed() const
{
    return d->measureAction->isEnabled();
}

void KivToolBar::setMeasureChangeAllowed(bool allow)
{
    d->measureAction->setEnabled(allow);
}

bool KivToolBar::isMeasureChecked() const
{
    return d->measureAction->isChecked();
}

void KivToolBar::setMeasureChecked(bool checked)
{
    if (d->measureAction->isChecked() != checked)
        d->measureAction->setChecked(checked);
    emit measureTriggered(checked);
}

bool KivToolBar::isAllSamplesChangeAllowed() const
{
    return d->allSamplesAction->isEnabled();
}

void KivToolBar::setAllSamplesChangeAllowed(bool allow)
{
    d->allSamplesAction->setEnabled(allow);
}

bool KivToolBar::isAllSamplesChecked() const
{
    return d->allSamplesAction->isChecked();
}

void KivToolBar::setAllSamplesChecked(bool checked)
{
    if (d->allSamplesAction->isChecked() != checked)
        d->allSamplesAction->setChecked(checked);
    updatePanZoomEnabledState();
    emit allSamplesTriggered(checked);
}

void KivToolBar::setAllSamplesVisible(bool visible)
{
    d->allSamplesAction->setVisible(visible);
}

void KivToolBar::setClearVisible(bool visible)
{
    d->clearAction->setVisible(visible);
}

bool KivToolBar::isClearAllowed() const
{
    return d->clearAction->isEnabled();
}

void KivToolBar::setClearAllowed(bool allow)
{
    d->clearAction->setEnabled(allow);
}

void KivToolBar::clear(bool clearTime)
{
    emit clearTriggered(clearTime);
}

bool KivToolBar::isEqualAxesChangeAllowed() const
{
    return d->equalAxesAction->isEnabled();
}

void KivToolBar::setEqualAxesChangeAllowed(bool allow)
{
    d->equalAxesAction->setEnabled(allow);
}

bool KivToolBar::isEqualAxesChecked() const
{
    return d->equalAxesAction->isChecked();
}

void KivToolBar::setEqualAxesChecked(bool checked)
{
    if (d->equalAxesAction->isChecked() != checked)
        d->equalAxesAction->setChecked(checked);
    emit equalAxesTriggered(checked);
}

void KivToolBar::emitAllStates()
{
    emit freezeTriggered(d->freezeAction->isChecked());
    emit autoScaleMethodTriggered(getAutoScaleMethod());
    if (d->zoomAction->isChecked())
        emit zoomingTriggered(true);
    else
        emit panningTriggered(d->panAction->isChecked());
    emit allSamplesTriggered(d->allSamplesAction->isChecked());
    emit equalAxesTriggered(d->equalAxesAction->isChecked());
    emit legendTriggered(d->legendAction->isChecked());
    emit measureTriggered(d->measureAction->isChecked());
}

void KivToolBar::showLayoutSelection(bool show, int rows, int columns)
{
    if (show && !d->layoutSelection) {
        d->layoutSelection = new QWidget;
        auto* outerLayout = new QHBoxLayout(d->layoutSelection);
        d->layoutSeparator = addSeparator();

        d->layoutIconLabel = new QLabel;
        d->layoutIconLabel->setToolTip(tr("Configure Layout"));
        d->layoutIconLabel->setPixmap(QPixmap(QStringLiteral(":/kiv/Resources/layoutcustom-16.png")));

        const auto makeSpinBox = [](const QString& toolTip) {
            auto* spinBox = new QSpinBox;
            spinBox->setToolTip(toolTip);
            spinBox->setSingleStep(1);
            spinBox->setRange(LayoutMinimum, LayoutMaximum);
            spinBox->setValue(2);
            spinBox->setFixedWidth(35);
            return spinBox;
        };
        d->rowsSpinBox = makeSpinBox(tr("Rows"));
        d->columnsSpinBox = makeSpinBox(tr("Columns"));
        d->timesLabel = new QLabel(tr("x"));

        d->customLayoutWidget = new QWidget;
        auto* innerLayout = new QHBoxLayout(d->customLayoutWidget);
        innerLayout->setSpacing(5);
        innerLayout->setContentsMargins(0, 0, 0, 0);
        innerLayout->addWidget(d->rowsSpinBox);
        innerLayout->addWidget(d->timesLabel);
        innerLayout->addWidget(d->columnsSpinBox);

        outerLayout->setSpacing(5);
        outerLayout->setContentsMargins(5, 1, 1, 1);
        outerLayout->addWidget(d->layoutIconLabel);
        outerLayout->addWidget(d->customLayoutWidget);
        d->layoutSelectionAction = addWidget(d->layoutSelection);

        connect(d->rowsSpinBox, SIGNAL(valueChanged(int)), this, SLOT(emitCustomLayout()));
        connect(d->columnsSpinBox, SIGNAL(valueChanged(int)), this, SLOT(emitCustomLayout()));
    }
    if (!d->layoutSelection)
        return;

    setLayoutValues(rows, columns);
    emitCustomLayout();
    // The tool bar lays its widgets out by their actions' visibility; the widget itself is
    // switched too so that the report below sees the new state at once.
    d->layoutSeparator->setVisible(show);
    d->layoutSelectionAction->setVisible(show);
    d->layoutSelection->setVisible(show);
    if (show)
        emitCustomLayout();
}

void KivToolBar::setLayoutValues(int rows, int columns)
{
    const QSignalBlocker blocker(this);
    d->rowsSpinBox->setValue(rows);
    d->columnsSpinBox->setValue(columns);
}

bool KivToolBar::isLayoutSelectionShown() const
{
    return d->layoutSelection && isVisible() && d->layoutSelection->isVisibleTo(this);
}

void KivToolBar::emitCustomLayout()
{
    // Asked of the widgets' own state: the tool bar shows a newly added widget only at its
    // next layout pass.
    if (d->customLayoutWidget && isVisible() && d->customLayoutWidget->isVisibleTo(this))
        emit layoutSelectionChanged(d->rowsSpinBox->value(), d->columnsSpinBox->value());
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
