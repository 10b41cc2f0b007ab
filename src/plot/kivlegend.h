#ifndef KIVLEGEND_H
#define KIVLEGEND_H

#include "kiv_global.h"

#include <QWidget>

#include <memory>

class QBoxLayout;
class QCheckBox;
class QColor;
class QIcon;
class QSize;
class KivDataSet;
class KivLegendPrivate;

//! Where a graph widget places its legend.
enum KivLegendLayout {
    LegendAbove = 0, //!< a row between title and graph, boxes side by side
    LegendRight = 1  //!< a column right of the graph, boxes stacked
};

/*!
 * \brief One check box per data series, showing the series' label and a swatch of its colour;
 * ticking a box shows or hides the series.
 *
 * The boxes are ordered by the series' addresses. Label and colour follow the series' own
 * labelChanged() and colorChanged() signals.
 */
class KIV_EXPORT KivLegend : public QWidget
{
    Q_OBJECT

public:
    explicit KivLegend(QWidget* parent = nullptr);
    ~KivLegend() override;

    void addDataSet(KivDataSet* dataSet);
    void removeDataSet(KivDataSet* dataSet);
    //! Ticks or unticks the series' box; the series' visibility follows the box.
    void setDataSetVisible(KivDataSet* dataSet, bool visible);
    //! True when at least one box has a text, i.e. the legend has something to show.
    bool hasText() const;
    //! Stacks the boxes for LegendRight, puts them side by side for anything else.
    void setLegendLayout(KivLegendLayout layout);

public slots:
    void updateLabel(const QString& label);
    void updateColor(const QColor& color);

private:
    QCheckBox* senderCheckBox() const;
    static void setBoxText(QCheckBox* box, const QString& label);
    static QIcon swatch(const QSize& size, const QColor& color);

    std::unique_ptr<KivLegendPrivate> const d;
};

#endif // KIVLEGEND_H
