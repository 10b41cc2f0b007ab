#include "screenshots.h"

#include <kiv_graph.h>

#include <QDir>
#include <QPainter>
#include <QPixmap>

bool saveScreenshots(QWidget* window, QWidget* graphs, const QString& dir)
{
    QDir().mkpath(dir);
    // A window grab shows the GL content but not what the graphs paint over it with QPainter,
    // so each graph's own frame is laid over its place in the window.
    QPixmap shot = window->grab();
    QPainter painter(&shot);
    bool ok = true;
    int index = 0;
    for (KivGraph* graph : graphs->findChildren<KivGraph*>()) {
        const QImage frame = graph->grabFramebuffer();
        painter.drawImage(graph->mapTo(window, QPoint(0, 0)), frame);
        ok = frame.save(dir + QString("/graph-%1.png").arg(index++)) && ok;
    }
    painter.end();
    return shot.save(dir + "/kivscope.png") && ok;
}
