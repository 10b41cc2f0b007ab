#include "kivdesignerplugin.h"
#include "kivdesignerwidget.h"

#include <kiv_base.h>
#include <kiv_graph.h>
#include <kiv_graph3d.h>
#include <kiv_graphwidget.h>

KivDesignerPlugin::KivDesignerPlugin(QObject* parent)
    : QObject(parent)
{
    const QString icons = QStringLiteral(":/kiv/Resources/");
    m_widgets = {
        new KivDesignerWidget(QStringLiteral("KivWidget"), QStringLiteral("kiv_base.h"),
                              icons + QStringLiteral("layout4windows-16.png"),
                              tr("A tool bar over a grid of graph widgets"),
                              [](QWidget* parent) { return new KivWidget(parent); }),
        new KivDesignerWidget(QStringLiteral("KivGraphWidget"), QStringLiteral("kiv_graphwidget.h"),
                              icons + QStringLiteral("legend-16.png"),
                              tr("A graph with title, axis labels and legend"),
                              [](QWidget* parent) { return new KivGraphWidget(parent); }),
        new KivDesignerWidget(QStringLiteral("KivGraph"), QStringLiteral("kiv_graph.h"),
                              icons + QStringLiteral("showallsamples-16.png"),
                              tr("An OpenGL plot of live data series"),
                              [](QWidget* parent) { return new KivGraph(parent); }),
        new KivDesignerWidget(QStringLiteral("KivGraph3D"), QStringLiteral("kiv_graph3d.h"),
                              icons + QStringLiteral("equalaxes-16.png"),
                              tr("A rotatable 3D view"),
                              [](QWidget* parent) { return new KivGraph3D(parent); }),
    };
}

KivDesignerPlugin::~KivDesignerPlugin()
{
    qDeleteAll(m_widgets);
}

QList<QDesignerCustomWidgetInterface*> KivDesignerPlugin::customWidgets() const
{
    return m_widgets;
}
