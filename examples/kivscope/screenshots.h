#ifndef KIVSCOPE_SCREENSHOTS_H
#define KIVSCOPE_SCREENSHOTS_H

class QString;
class QWidget;

// Writes `window` as kivscope.png and every 2D graph under `graphs` as graph-N.png into `dir`.
bool saveScreenshots(QWidget* window, QWidget* graphs, const QString& dir);

#endif
