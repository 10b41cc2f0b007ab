#ifndef PANELTEST_H
#define PANELTEST_H

// Helpers shared by the panel tests: reaching the tool bar's controls as a user would.

#include <kiv_base.h>
#include <kiv_graphwidget.h>
#include <kivtoolbar.h>

#include <QAction>
#include <QSpinBox>

namespace paneltest {

inline KivToolBar* toolBar(const KivWidget& panel)
{
    return panel.findChild<KivToolBar*>();
}

inline QAction* action(const KivWidget& panel, const QString& text)
{
    const QList<QAction*> actions = toolBar(panel)->actions();
    for (QAction* a : actions) {
        if (a->text() == text)
            return a;
    }
    return nullptr;
}

// The layout selector's spin box with tool tip "Rows" or "Columns".
inline QSpinBox* spinBox(const KivWidget& panel, const QString& toolTip)
{
    const QList<QSpinBox*> boxes = toolBar(panel)->findChildren<QSpinBox*>();
    for (QSpinBox* box : boxes) {
        if (box->toolTip() == toolTip)
            return box;
    }
    return nullptr;
}

// The panel's graphs in row-major order.
inline QList<KivGraphWidget*> graphs(const KivWidget& panel)
{
    QList<KivGraphWidget*> list;
    int rows = 0;
    int cols = 0;
    panel.getLayout(rows, cols);
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c)
            list.append(panel.getGraph(r, c));
    }
    return list;
}

// Gives a graph one series holding one sample.
inline KivDataSet* fill(KivWidget& panel, KivGraphWidget* graph)
{
    KivDataSet* set = panel.addDataSet(graph, 100, QColor(Qt::green));
    panel.addData(set, 1.0);
    return set;
}

} // namespace paneltest

#endif // PANELTEST_H
