// The grid's dotted lines must light the pixels glLineStipple lights, at every stipple factor,
// and leave the text written after them intact.

#include "kiv_dottedlines_p.h"

#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QPainter>
#include <QtTest>

namespace {

// Full-size lines at positions off the pixel edges, dotted one way or the other.
class Lines : public QOpenGLWidget
{
public:
    bool stipple = false;
    int factor = 1;

protected:
    void paintGL() override
    {
        glClearColor(1.0f, 1.0f, 1.0f, 1.0f);
        glClear(GL_COLOR_BUFFER_BIT);
        glColor3d(0.5, 0.5, 0.5);
        glLineWidth(GLfloat(factor));
        const double xs[] = {-0.913, -0.31, 0.0517, 0.77};
        const double ys[] = {-0.651, 0.123, 0.8871};
        if (stipple) {
            glLineStipple(factor, 0x9249);
            glEnable(GL_LINE_STIPPLE);
            glBegin(GL_LINES);
            for (double x : xs) {
                glVertex2d(x, -1.0);
                glVertex2d(x, 1.0);
            }
            for (double y : ys) {
                glVertex2d(-1.0, y);
                glVertex2d(1.0, y);
            }
            glEnd();
            glDisable(GL_LINE_STIPPLE);
        } else {
            const KivDottedLines lines(factor, 0x9249);
            for (double x : xs)
                lines.vertical(x);
            for (double y : ys)
                lines.horizontal(y);
        }
        // Text after the lines, as a graph writes its labels: the lines must leave the GL
        // state the painter's glyph cache relies on as they found it.
        QPainter painter(this);
        painter.setPen(Qt::black);
        painter.drawText(QRect(10, 10, 200, 40), Qt::AlignLeft, QStringLiteral("-2.5 OUT OF RANGE 0.8"));
    }
};

} // namespace

class TestDottedLines : public QObject
{
    Q_OBJECT

private slots:
    void sameAsStipple_data()
    {
        QTest::addColumn<int>("factor");
        QTest::addColumn<QSize>("size");
        QTest::newRow("1, 400 x 300") << 1 << QSize(400, 300);
        QTest::newRow("1, odd size") << 1 << QSize(333, 217);
        QTest::newRow("2, 800 x 600") << 2 << QSize(800, 600);
    }

    void sameAsStipple()
    {
        QFETCH(int, factor);
        QFETCH(QSize, size);
        // Two widgets, two contexts: each fills its own glyph cache.
        Lines dottedWidget, stippledWidget;
        stippledWidget.stipple = true;
        for (Lines* w : {&dottedWidget, &stippledWidget}) {
            w->factor = factor;
            w->resize(size);
            w->show();
            QVERIFY(QTest::qWaitForWindowExposed(w));
        }
        const QImage dotted = dottedWidget.grabFramebuffer();
        const QImage stippled = stippledWidget.grabFramebuffer();
        int lit = 0;
        for (int y = 0; y < size.height(); ++y) {
            for (int x = 0; x < size.width(); ++x) {
                QCOMPARE(dotted.pixel(x, y), stippled.pixel(x, y));
                lit += stippled.pixel(x, y) != qRgb(255, 255, 255) ? 1 : 0;
            }
        }
        QVERIFY(lit > size.width());
    }
};

QTEST_MAIN(TestDottedLines)
#include "tst_dottedlines.moc"
