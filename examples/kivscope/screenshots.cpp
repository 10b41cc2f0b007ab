#include "screenshots.h"

#include <kiv_graph.h>

#include <QDir>
#include <QPixmap>

bool saveScreenshots(QWidget* window, QWidget* graphs, const QString& dir)
{
    QDir().mkpath(dir);
    // grab() includes what the graphs paint over their OpenGL content.
    bool ok = window->grab().save(dir + "/kivscope.png");
    int index = 0;
    for (KivGraph* graph : graphs->findChildren<KivGraph*>())
        ok = graph->saveImage(dir + QString("/graph-%1.png").arg(index++)) && ok;
    return ok;
}
