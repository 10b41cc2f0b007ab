#ifndef PANELTEST_H
#define PANELTEST_H

#include <kiv_base.h>
#include <kiv_graph.h>
#include <kiv_graphwidget.h>
#include <kivtoolbar.h>

#include <QAction>
#include <QSpinBox>
#include <QTest>

namespace paneltest {

inline KivToolBar* toolBar(const KivWidget& panel) { return panel.findChild<KivToolBar*>(); }

// The panel's graphs in row-major order.
inline QList<KivGraphWidget*> graphs(const KivWidget& panel)
{
    QList<KivGraphWidget*> list;
    int rows = 0, cols = 0;
    panel.getLayout(rows, cols);
    for (int i = 0; i < rows * cols; ++i)
        list.append(panel.getGraph(i / cols, i % cols));
    return list;
}

inline bool showPanel(KivWidget& panel, int width, int height)
{
    panel.resize(width, height);
    panel.show();
    return QTest::qWaitForWindowExposed(&panel);
}

} // namespace paneltest

#endif // PANELTEST_H
