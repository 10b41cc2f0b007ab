#pragma once

// Small pieces shared by the widget tests: finding a tool bar action, counting pixels, sending
// a wheel notch and keeping a picture to look at.

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QImage>
#include <QWheelEvent>
#include <QWidget>

namespace kivtest {

inline QAction* actionNamed(const QWidget& w, const char* text)
{
    for (QAction* action : w.actions())
        if (action->text() == QLatin1String(text))
            return action;
    return nullptr;
}

// Pixels of `area` (clipped to the image) whose colour `match` accepts.
template <typename Match>
int countPixels(const QImage& image, const QRect& area, Match match)
{
    int n = 0;
    const QRect r = area & image.rect();
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x)
            n += match(image.pixel(x, y)) ? 1 : 0;
    return n;
}

// One wheel event of `delta` at p; returns whether the widget accepted it.
inline bool wheel(QWidget* w, const QPoint& p, int delta, Qt::MouseButtons buttons = Qt::NoButton)
{
    QWheelEvent e(QPointF(p), QPointF(w->mapToGlobal(p)), QPoint(), QPoint(0, delta), buttons, Qt::NoModifier,
                  Qt::NoScrollPhase, false);
    QApplication::sendEvent(w, &e);
    return e.isAccepted();
}

// Saves a picture into $KIV_TEST_OUTPUT_DIR; true when no directory is named.
inline bool saveFrame(const QImage& image, const QString& name)
{
    const QString dir = qEnvironmentVariable("KIV_TEST_OUTPUT_DIR");
    return dir.isEmpty() || (QDir().mkpath(dir) && image.save(dir + QLatin1Char('/') + name));
}

} // namespace kivtest
