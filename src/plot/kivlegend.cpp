#include "kivlegend.h"

#include "kiv_dataset.h"
#include "kivtextlimits_p.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QColor>
#include <QMap>
#include <QPixmap>

namespace {
const QMargins LegendMargins(6, 0, 6, 0);
}

class KivLegendPrivate
{
public:
    //! Ordered by the series' addresses.
    QMap<KivDataSet*, QCheckBox*> checkBoxes;
    QBoxLayout* boxLayout = nullptr;
};

KivLegend::KivLegend(QWidget* parent)
    : QWidget(parent)
    , d(new KivLegendPrivate)
{
    d->boxLayout = new QHBoxLayout;
    d->boxLayout->setContentsMargins(LegendMargins);
    setLayout(d->boxLayout);
}

KivLegend::~KivLegend() = default;

// A long label is elided so the legend stays within what a window can be; the tool tip then
// holds the whole label.
void KivLegend::setBoxText(QCheckBox* box, const QString& label)
{
    const QString text = kivtext::elided(box->fontMetrics(), label, kivtext::MaxHintPixels);
    box->setText(text);
    box->setToolTip(text == label ? QString() : kivtext::toolTip(label));
}

QIcon KivLegend::swatch(const QSize& size, const QColor& color)
{
    QPixmap pixmap(size);
    pixmap.fill(color);
    return QIcon(pixmap);
}

void KivLegend::addDataSet(KivDataSet* dataSet)
{
    if (!dataSet || d->checkBoxes.contains(dataSet))
        return;
    auto* box = new QCheckBox;
    setBoxText(box, dataSet->getLabel());
    box->setIcon(swatch(box->iconSize(), dataSet->getColor()));
    d->boxLayout->addWidget(box);
    d->checkBoxes.insert(dataSet, box);
    box->setChecked(dataSet->isVisible());

    connect(box, SIGNAL(toggled(bool)), dataSet, SLOT(setVisible(bool)));
    connect(dataSet, SIGNAL(labelChanged(QString)), this, SLOT(updateLabel(QString)));
    connect(dataSet, SIGNAL(colorChanged(QColor)), this, SLOT(updateColor(QColor)));
}

void KivLegend::removeDataSet(KivDataSet* dataSet)
{
    QCheckBox* box = d->checkBoxes.take(dataSet);
    if (!box)
        return;
    // The series outlives its box only briefly; later label or colour changes find no box.
    disconnect(dataSet, nullptr, this, nullptr);
    box->deleteLater();
}

void KivLegend::setDataSetVisible(KivDataSet* dataSet, bool visible)
{
    if (QCheckBox* box = d->checkBoxes.value(dataSet))
        box->setChecked(visible);
}

bool KivLegend::hasText() const
{
    for (const QCheckBox* box : d->checkBoxes) {
        if (!box->text().isEmpty())
            return true;
    }
    return false;
}

void KivLegend::setLegendLayout(KivLegendLayout layout)
{
    delete d->boxLayout;
    if (layout == LegendRight)
        d->boxLayout = new QVBoxLayout;
    else
        d->boxLayout = new QHBoxLayout;
    d->boxLayout->setContentsMargins(LegendMargins);
    for (QCheckBox* box : qAsConst(d->checkBoxes))
        d->boxLayout->addWidget(box);
    setLayout(d->boxLayout);
}

QCheckBox* KivLegend::senderCheckBox() const
{
    return d->checkBoxes.value(qobject_cast<KivDataSet*>(sender()));
}

void KivLegend::updateLabel(const QString& label)
{
    if (QCheckBox* box = senderCheckBox())
        setBoxText(box, label);
}

void KivLegend::updateColor(const QColor& color)
{
    if (QCheckBox* box = senderCheckBox())
        box->setIcon(swatch(box->iconSize(), color));
}
