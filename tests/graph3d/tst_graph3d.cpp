// KivGraph3D: rotation, zoom and moving through real mouse and wheel events on a shown
// view, the projection it sets up, the primitives of its drawing helpers and grid, and
// the rendered picture.

#include "glfeedback.h"

#include <kiv_graph3d.h>

#include <QApplication>
#include <QDir>
#include <QImage>
#include <QMatrix4x4>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>

#include <GL/gl.h>

#include <cmath>

// Gives the tests the view of a subclass: the protected state and the drawing hooks.
class ProbeView : public KivGraph3D
{
public:
    using KivGraph3D::KivGraph3D;
    using KivGraph3D::baseProjection;
    using KivGraph3D::projection;
    using KivGraph3D::xRot;
    using KivGraph3D::yRot;
    using KivGraph3D::zRot;
    using KivGraph3D::xRotOffset;
    using KivGraph3D::yRotOffset;
    using KivGraph3D::zRotOffset;
    using KivGraph3D::xPosOffset;
    using KivGraph3D::yPosOffset;
    using KivGraph3D::axisOffset;
    using KivGraph3D::gridSize;
    using KivGraph3D::zoomStep;
    using KivGraph3D::minZoomFactor;
    using KivGraph3D::maxZoomFactor;
    using KivGraph3D::zoomLevel;
    using KivGraph3D::lastMousePos;
    using KivGraph3D::gridColor;
    using KivGraph3D::backgroundColor;
    using KivGraph3D::xAxisColor;
    using KivGraph3D::yAxisColor;
    using KivGraph3D::zAxisColor;
    using KivGraph3D::drawGrid;
};

// The way a host draws its own content: grid, then magenta point markers.
class PointsView : public ProbeView
{
public:
    QVector<QVector3D> points;
    double markerSize = 0.04;

protected:
    void paintGL() override
    {
        KivGraph3D::paintGL();
        drawGrid();
        glColor3d(1.0, 0.0, 1.0);
        for (const QVector3D& p : points)
            gluFastPoint(velo::Vector3(p.x(), p.y(), p.z()), markerSize);
    }
};

namespace {

// To a thousandth, without a negative zero, so that positions compare as text.
double rounded(double v)
{
    return std::round(v * 1000.0) / 1000.0 + 0.0;
}

// Lines drawn by `draw`, in model coordinates: feedback mode with depth (GL_3D) under an
// identity projection and a model-view scaled by `scale`, mapped back.
QStringList captureSegments(const std::function<void()>& draw, double scale = 0.2)
{
    std::vector<GLfloat> buffer(1 << 16);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glScaled(scale, scale, scale);
    glFeedbackBuffer(GLsizei(buffer.size()), GL_3D, buffer.data());
    glRenderMode(GL_FEEDBACK);
    draw();
    const GLint n = glRenderMode(GL_RENDER);
    glLoadIdentity();

    GLint viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    auto model = [&](const GLfloat* v) {
        const double x = (v[0] / viewport[2] * 2.0 - 1.0) / scale;
        const double y = (v[1] / viewport[3] * 2.0 - 1.0) / scale;
        const double z = (v[2] * 2.0 - 1.0) / scale;
        return QString::asprintf("(%.3f %.3f %.3f)", rounded(x), rounded(y), rounded(z));
    };
    QStringList lines;
    for (GLint i = 0; i < n;) {
        const GLint token = GLint(buffer[size_t(i++)]);
        if (token == GL_LINE_TOKEN || token == GL_LINE_RESET_TOKEN) {
            QString a = model(&buffer[size_t(i)]);
            QString b = model(&buffer[size_t(i + 3)]);
            if (b < a)
                std::swap(a, b);
            lines << a + QLatin1Char('-') + b;
            i += 6;
        } else if (token == GL_POINT_TOKEN) {
            i += 3;
        } else if (token == GL_POLYGON_TOKEN) {
            i += 1 + 3 * GLint(buffer[size_t(i)]);
        } else if (token == GL_PASS_THROUGH_TOKEN) {
            i += 1;
        } else {
            break;
        }
    }
    lines.sort();
    return lines;
}

QString segment(const QVector3D& a, const QVector3D& b)
{
    auto text = [](const QVector3D& p) {
        return QString::asprintf("(%.3f %.3f %.3f)", rounded(p.x()), rounded(p.y()), rounded(p.z()));
    };
    QString s = text(a), t = text(b);
    if (t < s)
        std::swap(s, t);
    return s + QLatin1Char('-') + t;
}

// The ten lines of one grid plane: `fixed` is the coordinate that is constant on it,
// u and v the other two axes; lines at five even steps in each direction.
QStringList planeLines(int fixed, double value, int u, double u0, double su, int v, double v0, double sv)
{
    QStringList out;
    for (int i = 0; i <= 4; ++i) {
        QVector3D a, b;
        a[fixed] = b[fixed] = float(value);
        a[u] = b[u] = float(u0 + i * su / 4);
        a[v] = float(v0);
        b[v] = float(v0 + sv);
        out << segment(a, b);
        QVector3D c, d;
        c[fixed] = d[fixed] = float(value);
        c[v] = d[v] = float(v0 + i * sv / 4);
        c[u] = float(u0);
        d[u] = float(u0 + su);
        out << segment(c, d);
    }
    return out;
}

void sendMouse(QWidget* w, QEvent::Type type, const QPoint& pos, Qt::MouseButton button,
               Qt::MouseButtons buttons)
{
    QMouseEvent e(type, pos, w->mapToGlobal(pos), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(w, &e);
}

void sendWheel(QWidget* w, int angle)
{
    const QPoint pos(w->width() / 2, w->height() / 2);
    QWheelEvent e(pos, QPointF(w->mapToGlobal(pos)), QPoint(), QPoint(0, angle), Qt::NoButton, Qt::NoModifier,
                  Qt::NoScrollPhase, false);
    QApplication::sendEvent(w, &e);
}

KivGraph3D::ProjectionRect rectOf(const QVariant& v)
{
    return qvariant_cast<KivGraph3D::ProjectionRect>(v);
}

// The projection GL holds for the view, as glOrtho bounds.
KivGraph3D::ProjectionRect glProjection(KivGraph3D& view)
{
    view.makeCurrent();
    GLdouble m[16];
    glGetDoublev(GL_PROJECTION_MATRIX, m);
    view.doneCurrent();
    // glOrtho: m0 = 2/(r-l), m12 = -(r+l)/(r-l), likewise m5/m13 for bottom and top.
    const double w = 2.0 / m[0], cx = -m[12] * w / 2.0;
    const double h = 2.0 / m[5], cy = -m[13] * h / 2.0;
    return {cx - w / 2.0, cx + w / 2.0, cy - h / 2.0, cy + h / 2.0};
}

// Where a user expects a scene point on the view's picture: the orthographic projection
// of the rotated and moved scene, in image pixels.
QPointF expectedPixel(const ProbeView& view, const QVector3D& p)
{
    KivGraph3D::ProjectionRect r = view.projection;
    const double w = view.width(), h = view.height();
    if (w > h) {
        r.left *= w / h;
        r.right *= w / h;
    } else {
        r.bottom *= h / w;
        r.top *= h / w;
    }
    QMatrix4x4 m;
    m.ortho(float(r.left), float(r.right), float(r.bottom), float(r.top), -100.0f, 100.0f);
    m.translate(float(view.xPosOffset), float(view.yPosOffset), 0.0f);
    m.rotate(float(view.xRot + view.xRotOffset), 1, 0, 0);
    m.rotate(float(view.yRot + view.yRotOffset), 0, 1, 0);
    m.rotate(float(view.zRot + view.zRotOffset), 0, 0, 1);
    const QVector3D ndc = m.map(p);
    return QPointF((ndc.x() + 1.0) / 2.0 * w, (1.0 - ndc.y()) / 2.0 * h);
}

bool anyPixelNear(const QImage& image, const QPointF& centre, int radius,
                  const std::function<bool(const QColor&)>& match)
{
    for (int dy = -radius; dy <= radius; ++dy) {
        for (int dx = -radius; dx <= radius; ++dx) {
            const QPoint p(qRound(centre.x()) + dx, qRound(centre.y()) + dy);
            if (image.rect().contains(p) && match(image.pixelColor(p)))
                return true;
        }
    }
    return false;
}

// Lit surfaces of a pure colour keep the other channels at zero.
bool isMostly(const QColor& c, int channel)
{
    const int v[3] = {c.red(), c.green(), c.blue()};
    for (int i = 0; i < 3; ++i) {
        if (i == channel ? v[i] < 40 : v[i] > 20)
            return false;
    }
    return true;
}

bool isRed(const QColor& c)
{
    return isMostly(c, 0);
}

bool isGreen(const QColor& c)
{
    return isMostly(c, 1);
}

bool isBlue(const QColor& c)
{
    return isMostly(c, 2);
}

bool isGrey(const QColor& c)
{
    return qAbs(c.red() - c.green()) <= 2 && qAbs(c.green() - c.blue()) <= 2 && c.red() < 235;
}

bool isMagenta(const QColor& c)
{
    return c.red() > 40 && c.blue() > 40 && c.green() < 20;
}

bool isWhite(const QColor& c)
{
    return c.red() == 255 && c.green() == 255 && c.blue() == 255;
}

QString outputPath(const QString& name)
{
    const QString dir = qEnvironmentVariable("KIV_TEST_OUTPUT_DIR", QDir::tempPath());
    QDir().mkpath(dir);
    return dir + QLatin1Char('/') + name;
}

} // namespace

class TestGraph3D : public QObject
{
    Q_OBJECT

private slots:
    void defaults();
    void rotationSetter_data();
    void rotationSetter();
    void wheelZoom_data();
    void wheelZoom();
    void zoomCallLeavesLevelToCaller();
    void projectionMatrix_data();
    void projectionMatrix();
    void leftDragRotates_data();
    void leftDragRotates();
    void rightDragMovesScene_data();
    void rightDragMovesScene();
    void pointerHiddenWhileDragging();
    void gridPlanes_data();
    void gridPlanes();
    void fastPointIsDoublePyramid();
    void fastPointShowsOutwardFaces_data();
    void fastPointShowsOutwardFaces();
    void arrowPointsFromTo_data();
    void arrowPointsFromTo();
    void defaultPicture();
    void gridAndPointsPicture();
};

void TestGraph3D::defaults()
{
    ProbeView v;
    auto rect = [](const KivGraph3D::ProjectionRect& r) {
        return QList<double>{r.left, r.right, r.bottom, r.top};
    };
    auto vec = [](const velo::Vector3& a) { return QList<double>{a[0], a[1], a[2]}; };
    QCOMPARE(rect(v.baseProjection), (QList<double>{-1.5, 1.5, -1.5, 1.5}));
    QCOMPARE(rect(v.projection), (QList<double>{-1.5, 1.5, -1.5, 1.5}));
    QCOMPARE((QList<double>{v.xRot, v.yRot, v.zRot}), (QList<double>{30.0, 0.0, -60.0}));
    QCOMPARE((QList<double>{v.xRotOffset, v.yRotOffset, v.zRotOffset}), (QList<double>{-90.0, 0.0, 0.0}));
    QCOMPARE((QList<double>{v.xPosOffset, v.yPosOffset}), (QList<double>{0.0, 0.0}));
    QCOMPARE(vec(v.getAxisOffset()), (QList<double>{-1.0, -1.0, -1.0}));
    QCOMPARE(vec(v.gridSize), (QList<double>{2.0, 2.0, 2.0}));
    QCOMPARE((QList<double>{v.zoomStep, v.minZoomFactor, v.maxZoomFactor}), (QList<double>{0.1, 0.1, 10.0}));
    QCOMPARE(v.zoomLevel, 0);
    QCOMPARE(v.lastMousePos, QPoint(0, 0));
    QCOMPARE(v.gridColor, QColor(127, 127, 127, 255));
    QCOMPARE(v.backgroundColor, QColor(255, 255, 255, 255));
    QCOMPARE(v.xAxisColor, QColor(255, 0, 0, 255));
    QCOMPARE(v.yAxisColor, QColor(0, 0, 255, 255));
    QCOMPARE(v.zAxisColor, QColor(0, 255, 0, 255));

    v.setAxisOffset(velo::Vector3(0.5, -2.0, 3.0));
    QCOMPARE(vec(v.getAxisOffset()), (QList<double>{0.5, -2.0, 3.0}));
}

void TestGraph3D::rotationSetter_data()
{
    QTest::addColumn<char>("axis");
    QTest::addColumn<double>("preset"); // applied first; NaN for none
    QTest::addColumn<double>("angle");
    QTest::addColumn<double>("stored");
    QTest::addColumn<bool>("emitted");

    const double none = qQNaN();
    QTest::newRow("z 540 keeps 180, reports 540") << 'z' << none << 540.0 << 180.0 << true;
    QTest::newRow("z 180 after 540: no change") << 'z' << 540.0 << 180.0 << 180.0 << false;
    QTest::newRow("z -180 is 180") << 'z' << none << -180.0 << 180.0 << true;
    QTest::newRow("z -180 after 180: no change") << 'z' << 180.0 << -180.0 << 180.0 << false;
    QTest::newRow("z 300 after -60: same angle") << 'z' << none << 300.0 << -60.0 << false;
    QTest::newRow("x 190 wraps") << 'x' << none << 190.0 << -170.0 << true;
    QTest::newRow("x 30 is the default") << 'x' << none << 30.0 << 30.0 << false;
    QTest::newRow("x -720.5") << 'x' << none << -720.5 << -0.5 << true;
    QTest::newRow("y 360 is 0, the default") << 'y' << none << 360.0 << 0.0 << false;
    QTest::newRow("y 1e9 whole turns") << 'y' << none << 360.0 * 1e9 + 90.0 << 90.0 << true;
    QTest::newRow("y -90") << 'y' << none << -90.0 << -90.0 << true;
    QTest::newRow("y NaN ignored") << 'y' << 45.0 << qQNaN() << 45.0 << false;
    QTest::newRow("z infinity ignored") << 'z' << none << qInf() << -60.0 << false;
}

void TestGraph3D::rotationSetter()
{
    QFETCH(char, axis);
    QFETCH(double, preset);
    QFETCH(double, angle);
    QFETCH(double, stored);
    QFETCH(bool, emitted);

    ProbeView v;
    void (KivGraph3D::*setter)(double) = &KivGraph3D::setXRotation;
    void (KivGraph3D::*changed)(double) = &KivGraph3D::xRotationChanged;
    const double* value = &v.xRot;
    if (axis == 'y') {
        setter = &KivGraph3D::setYRotation;
        changed = &KivGraph3D::yRotationChanged;
        value = &v.yRot;
    } else if (axis == 'z') {
        setter = &KivGraph3D::setZRotation;
        changed = &KivGraph3D::zRotationChanged;
        value = &v.zRot;
    }
    if (!std::isnan(preset))
        (v.*setter)(preset);

    QSignalSpy spy(&v, changed);
    QSignalSpy others(&v, axis == 'x' ? &KivGraph3D::zRotationChanged : &KivGraph3D::xRotationChanged);
    (v.*setter)(angle);
    QCOMPARE(*value, stored);
    QCOMPARE(spy.count(), emitted ? 1 : 0);
    if (emitted)
        QCOMPARE(spy.at(0).at(0).toDouble(), angle);
    QCOMPARE(others.count(), 0);
}

void TestGraph3D::wheelZoom_data()
{
    QTest::addColumn<int>("steps"); // positive: wheel turned away from the user
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("emissions");

    QTest::newRow("one in") << 1 << 1 << 1;
    QTest::newRow("one out") << -1 << -1 << 1;
    QTest::newRow("eleven in") << 11 << 11 << 11;
    QTest::newRow("22 in stops at 21") << 22 << 21 << 21;
    QTest::newRow("30 out stops at -21") << -30 << -21 << 21;
}

void TestGraph3D::wheelZoom()
{
    QFETCH(int, steps);
    QFETCH(int, level);
    QFETCH(int, emissions);

    ProbeView v;
    v.resize(300, 300);
    v.show();
    QVERIFY(QTest::qWaitForWindowExposed(&v));
    QSignalSpy spy(&v, &KivGraph3D::projectionRectChanged);

    for (int i = 0; i < qAbs(steps); ++i)
        sendWheel(&v, steps > 0 ? 120 : -120);

    QCOMPARE(v.zoomLevel, level);
    QCOMPARE(spy.count(), emissions);
    const double half = 1.5 * std::pow(0.9, level);
    QCOMPARE(v.projection.left, -half);
    QCOMPARE(v.projection.right, half);
    QCOMPARE(v.projection.bottom, -half);
    QCOMPARE(v.projection.top, half);
    if (steps == 11)
        QVERIFY(qAbs(v.projection.top - 0.4707) < 1e-4);

    // Each signal carries the new rect and the one before it.
    double previous = 1.5;
    for (int i = 0; i < spy.count(); ++i) {
        const KivGraph3D::ProjectionRect now = rectOf(spy.at(i).at(0));
        const KivGraph3D::ProjectionRect before = rectOf(spy.at(i).at(1));
        QCOMPARE(before.top, previous);
        QCOMPARE(now.top, 1.5 * std::pow(0.9, steps > 0 ? i + 1 : -(i + 1)));
        QCOMPARE(now.left, -now.top);
        previous = now.top;
    }

    // The way back needs as many steps as were taken.
    spy.clear();
    for (int i = 0; i < qAbs(level); ++i)
        sendWheel(&v, steps > 0 ? -120 : 120);
    QCOMPARE(v.zoomLevel, 0);
    QCOMPARE(v.projection.top, 1.5);
    QCOMPARE(spy.count(), qAbs(level));
}

void TestGraph3D::zoomCallLeavesLevelToCaller()
{
    ProbeView v;
    QSignalSpy spy(&v, &KivGraph3D::projectionRectChanged);

    QCOMPARE(v.zoom(5), 5);
    QCOMPARE(v.zoomLevel, 0);
    QCOMPARE(spy.count(), 1);
    QVERIFY(qAbs(v.projection.right - 1.5 * std::pow(0.9, 5)) < 1e-12);

    // Out of range: nothing changes and the stored level comes back.
    QCOMPARE(v.zoom(22), 0);
    QCOMPARE(v.zoom(-22), 0);
    QCOMPARE(spy.count(), 1);
    QVERIFY(qAbs(v.projection.right - 1.5 * std::pow(0.9, 5)) < 1e-12);

    // The projection is set up when the view first shows, from the zoomed rect.
    v.resize(300, 300);
    v.show();
    QVERIFY(QTest::qWaitForWindowExposed(&v));
    v.grabFramebuffer();
    QVERIFY(qAbs(glProjection(v).right - 1.5 * std::pow(0.9, 5)) < 1e-6);
}

void TestGraph3D::projectionMatrix_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<int>("wheelSteps");
    QTest::addColumn<double>("left");
    QTest::addColumn<double>("right");
    QTest::addColumn<double>("bottom");
    QTest::addColumn<double>("top");

    const double in5 = std::pow(0.9, 5);
    QTest::newRow("400x200 wide") << QSize(400, 200) << 0 << -3.0 << 3.0 << -1.5 << 1.5;
    QTest::newRow("200x400 tall") << QSize(200, 400) << 0 << -1.5 << 1.5 << -3.0 << 3.0;
    QTest::newRow("300x300 square") << QSize(300, 300) << 0 << -1.5 << 1.5 << -1.5 << 1.5;
    QTest::newRow("400x200 zoomed in") << QSize(400, 200) << 5 << -3.0 * in5 << 3.0 * in5 << -1.5 * in5
                                       << 1.5 * in5;
    QTest::newRow("200x400 zoomed out") << QSize(200, 400) << -5 << -1.5 / in5 << 1.5 / in5 << -3.0 / in5
                                        << 3.0 / in5;
}

void TestGraph3D::projectionMatrix()
{
    QFETCH(QSize, size);
    QFETCH(int, wheelSteps);
    QFETCH(double, left);
    QFETCH(double, right);
    QFETCH(double, bottom);
    QFETCH(double, top);

    ProbeView v;
    v.resize(size);
    v.show();
    QVERIFY(QTest::qWaitForWindowExposed(&v));
    v.grabFramebuffer();
    QCOMPARE(v.size(), size);

    // Zooming updates GL at once, without waiting for a resize.
    for (int i = 0; i < qAbs(wheelSteps); ++i)
        sendWheel(&v, wheelSteps > 0 ? 120 : -120);

    const KivGraph3D::ProjectionRect r = glProjection(v);
    // GL keeps its matrices in single precision.
    QVERIFY2(qAbs(r.left - left) < 1e-6, qPrintable(QString::number(r.left)));
    QVERIFY2(qAbs(r.right - right) < 1e-6, qPrintable(QString::number(r.right)));
    QVERIFY2(qAbs(r.bottom - bottom) < 1e-6, qPrintable(QString::number(r.bottom)));
    QVERIFY2(qAbs(r.top - top) < 1e-6, qPrintable(QString::number(r.top)));

    // The near and far planes: depth -100 .. 100.
    v.makeCurrent();
    GLdouble m[16];
    glGetDoublev(GL_PROJECTION_MATRIX, m);
    v.doneCurrent();
    QVERIFY(qAbs(m[10] + 0.01) < 1e-8);
    QVERIFY(qAbs(m[14]) < 1e-8);
}

void TestGraph3D::leftDragRotates_data()
{
    QTest::addColumn<int>("buttons");
    QTest::addColumn<QPoint>("start");
    QTest::addColumn<QList<QPoint>>("moves");
    QTest::addColumn<double>("xRot");
    QTest::addColumn<double>("yRot");
    QTest::addColumn<double>("zRot");
    QTest::addColumn<QList<double>>("xSignals");
    QTest::addColumn<QList<double>>("ySignals");
    QTest::addColumn<QList<double>>("zSignals");

    const int left = Qt::LeftButton;
    const int both = Qt::LeftButton | Qt::RightButton;
    using P = QList<QPoint>;
    using D = QList<double>;
    QTest::newRow("right and down") << left << QPoint(100, 100) << P{{110, 105}} << 40.0 << 0.0 << -40.0
                                    << D{40.0} << D{} << D{-40.0};
    QTest::newRow("two moves right") << left << QPoint(100, 100) << P{{110, 100}, {120, 100}} << 30.0
                                     << 0.0 << -20.0 << D{} << D{} << D{-40.0, -20.0};
    QTest::newRow("both buttons turn about y") << both << QPoint(100, 100) << P{{105, 100}} << 30.0 << 10.0
                                               << -60.0 << D{} << D{10.0} << D{};
    QTest::newRow("z passes 180") << left << QPoint(10, 100) << P{{140, 100}} << 30.0 << 0.0 << -160.0
                                  << D{} << D{} << D{200.0};
    QTest::newRow("x passes 180") << left << QPoint(100, 10) << P{{100, 90}} << -170.0 << 0.0 << -60.0
                                  << D{190.0} << D{} << D{};
    QTest::newRow("middle button does nothing") << int(Qt::MiddleButton) << QPoint(100, 100)
                                                << P{{150, 150}} << 30.0 << 0.0 << -60.0 << D{} << D{}
                                                << D{};
}

void TestGraph3D::leftDragRotates()
{
    QFETCH(int, buttons);
    QFETCH(QPoint, start);
    QFETCH(QList<QPoint>, moves);
    QFETCH(double, xRot);
    QFETCH(double, yRot);
    QFETCH(double, zRot);
    QFETCH(QList<double>, xSignals);
    QFETCH(QList<double>, ySignals);
    QFETCH(QList<double>, zSignals);

    ProbeView v;
    v.resize(300, 300);
    v.show();
    QVERIFY(QTest::qWaitForWindowExposed(&v));
    QSignalSpy xSpy(&v, &KivGraph3D::xRotationChanged);
    QSignalSpy ySpy(&v, &KivGraph3D::yRotationChanged);
    QSignalSpy zSpy(&v, &KivGraph3D::zRotationChanged);

    const Qt::MouseButtons held(buttons);
    const Qt::MouseButton first = held & Qt::LeftButton ? Qt::LeftButton : Qt::MouseButton(buttons);
    sendMouse(&v, QEvent::MouseButtonPress, start, first, first);
    if (held & Qt::RightButton && first != Qt::RightButton)
        sendMouse(&v, QEvent::MouseButtonPress, start, Qt::RightButton, held);
    for (const QPoint& p : moves)
        sendMouse(&v, QEvent::MouseMove, p, Qt::NoButton, held);
    if (held & Qt::RightButton && first != Qt::RightButton)
        sendMouse(&v, QEvent::MouseButtonRelease, moves.last(), Qt::RightButton, first);
    sendMouse(&v, QEvent::MouseButtonRelease, moves.last(), first, Qt::NoButton);
    QVERIFY(!QGuiApplication::overrideCursor());

    QCOMPARE(v.xRot, xRot);
    QCOMPARE(v.yRot, yRot);
    QCOMPARE(v.zRot, zRot);
    QCOMPARE(v.xPosOffset, 0.0);
    QCOMPARE(v.yPosOffset, 0.0);
    auto values = [](const QSignalSpy& spy) {
        QList<double> out;
        for (const QList<QVariant>& args : spy)
            out << args.at(0).toDouble();
        return out;
    };
    QCOMPARE(values(xSpy), xSignals);
    QCOMPARE(values(ySpy), ySignals);
    QCOMPARE(values(zSpy), zSignals);
}

void TestGraph3D::rightDragMovesScene_data()
{
    QTest::addColumn<int>("wheelSteps");
    QTest::addColumn<QPoint>("delta");
    QTest::addColumn<double>("xPos");
    QTest::addColumn<double>("yPos");

    QTest::newRow("100 right") << 0 << QPoint(100, 0) << 1.0 << 0.0;
    QTest::newRow("50 down") << 0 << QPoint(0, 50) << 0.0 << -0.5;
    QTest::newRow("left and up") << 0 << QPoint(-30, -60) << -0.3 << 0.6;
    QTest::newRow("zoomed in moves less") << 11 << QPoint(100, 0) << std::pow(0.9, 11) << 0.0;
}

void TestGraph3D::rightDragMovesScene()
{
    QFETCH(int, wheelSteps);
    QFETCH(QPoint, delta);
    QFETCH(double, xPos);
    QFETCH(double, yPos);

    ProbeView v;
    v.resize(300, 300);
    v.show();
    QVERIFY(QTest::qWaitForWindowExposed(&v));
    for (int i = 0; i < wheelSteps; ++i)
        sendWheel(&v, 120);
    QSignalSpy zSpy(&v, &KivGraph3D::zRotationChanged);
    QSignalSpy xSpy(&v, &KivGraph3D::xRotationChanged);

    const QPoint start(150, 150);
    sendMouse(&v, QEvent::MouseButtonPress, start, Qt::RightButton, Qt::RightButton);
    // Two moves: the second starts from where the first left the pointer.
    const QPoint half(delta.x() / 2, delta.y() / 2);
    sendMouse(&v, QEvent::MouseMove, start + half, Qt::NoButton, Qt::RightButton);
    sendMouse(&v, QEvent::MouseMove, start + delta, Qt::NoButton, Qt::RightButton);
    sendMouse(&v, QEvent::MouseButtonRelease, start + delta, Qt::RightButton, Qt::NoButton);

    QVERIFY2(qAbs(v.xPosOffset - xPos) < 1e-12, qPrintable(QString::number(v.xPosOffset)));
    QVERIFY2(qAbs(v.yPosOffset - yPos) < 1e-12, qPrintable(QString::number(v.yPosOffset)));
    QCOMPARE(v.zRot, -60.0);
    QCOMPARE(v.xRot, 30.0);
    QCOMPARE(zSpy.count() + xSpy.count(), 0);
    QCOMPARE(v.lastMousePos, start + delta);
}

void TestGraph3D::pointerHiddenWhileDragging()
{
    ProbeView v;
    v.resize(200, 200);
    v.show();
    QVERIFY(QTest::qWaitForWindowExposed(&v));
    QVERIFY(!QGuiApplication::overrideCursor());

    QTest::mousePress(&v, Qt::LeftButton, Qt::NoModifier, QPoint(40, 60));
    QVERIFY(QGuiApplication::overrideCursor());
    QCOMPARE(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
    QCOMPARE(v.lastMousePos, QPoint(40, 60));
    QTest::mouseRelease(&v, Qt::LeftButton, Qt::NoModifier, QPoint(40, 60));
    QVERIFY(!QGuiApplication::overrideCursor());

    // A release that no press of this view preceded leaves other cursors alone.
    QGuiApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
    QTest::mouseRelease(&v, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
    QCOMPARE(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
    QGuiApplication::restoreOverrideCursor();

    // Closed while both buttons are held: the pointer comes back.
    {
        ProbeView dragged;
        dragged.resize(200, 200);
        dragged.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dragged));
        sendMouse(&dragged, QEvent::MouseButtonPress, QPoint(20, 20), Qt::LeftButton, Qt::LeftButton);
        sendMouse(&dragged, QEvent::MouseButtonPress, QPoint(20, 20), Qt::RightButton,
                  Qt::LeftButton | Qt::RightButton);
        QCOMPARE(QGuiApplication::overrideCursor()->shape(), Qt::BlankCursor);
    }
    QVERIFY(!QGuiApplication::overrideCursor());
}

void TestGraph3D::gridPlanes_data()
{
    QTest::addColumn<QList<double>>("offset");
    QTest::addColumn<QList<double>>("size");
    QTest::addColumn<double>("zRotation");
    QTest::addColumn<QStringList>("expected");

    // Default cube: floor z = -1, back wall y = -1, side wall at x = +1 unless the view
    // is turned exactly half round, when it is at x = -1.
    const QStringList floor = planeLines(2, -1, 0, -1, 2, 1, -1, 2);
    const QStringList wallY = planeLines(1, -1, 0, -1, 2, 2, -1, 2);
    QTest::newRow("default") << QList<double>{-1, -1, -1} << QList<double>{2, 2, 2} << -60.0
                             << floor + wallY + planeLines(0, 1, 1, -1, 2, 2, -1, 2);
    QTest::newRow("z rotation 179") << QList<double>{-1, -1, -1} << QList<double>{2, 2, 2} << 179.0
                                    << floor + wallY + planeLines(0, 1, 1, -1, 2, 2, -1, 2);
    QTest::newRow("z rotation 180") << QList<double>{-1, -1, -1} << QList<double>{2, 2, 2} << 180.0
                                    << floor + wallY + planeLines(0, -1, 1, -1, 2, 2, -1, 2);

    // Extents whose steps, added up, would overshoot the far edge still get all five lines.
    QTest::newRow("box") << QList<double>{0.1, 0.1, -0.7} << QList<double>{0.7, 0.6, 0.7} << 0.0
                         << planeLines(2, -0.7, 0, 0.1, 0.7, 1, 0.1, 0.6)
                                + planeLines(1, 0.1, 0, 0.1, 0.7, 2, -0.7, 0.7)
                                + planeLines(0, 0.8, 1, 0.1, 0.6, 2, -0.7, 0.7);

    // The floor's lines along x run while y stays within x0 + sy: with x0 one step above
    // y0 there is one line more, beyond the cube.
    QStringList shifted = planeLines(2, 0, 0, 0.5, 2, 1, 0, 2) + planeLines(1, 0, 0, 0.5, 2, 2, 0, 2)
        + planeLines(0, 2.5, 1, 0, 2, 2, 0, 2);
    shifted << segment(QVector3D(0.5, 2.5, 0), QVector3D(2.5, 2.5, 0));
    QTest::newRow("x offset above y offset") << QList<double>{0.5, 0, 0} << QList<double>{2, 2, 2} << 0.0
                                             << shifted;
}

void TestGraph3D::gridPlanes()
{
    QFETCH(QList<double>, offset);
    QFETCH(QList<double>, size);
    QFETCH(double, zRotation);
    QFETCH(QStringList, expected);

    kivtest::GLContextScope gl;
    QVERIFY(gl.isValid());
    ProbeView v;
    v.setAxisOffset(velo::Vector3(offset[0], offset[1], offset[2]));
    v.gridSize[0] = size[0];
    v.gridSize[1] = size[1];
    v.gridSize[2] = size[2];
    v.setZRotation(zRotation);

    const QStringList lines = captureSegments([&] { v.drawGrid(); });
    expected.sort();
    QCOMPARE(lines, expected);

    // Light grey: the grid colour made lighter by half.
    GLfloat colour[4];
    glGetFloatv(GL_CURRENT_COLOR, colour);
    const QColor lighter = QColor(127, 127, 127).lighter(150);
    QVERIFY(qAbs(colour[0] - lighter.red() / 255.0) < 1e-6);
    QVERIFY(qAbs(colour[2] - lighter.blue() / 255.0) < 1e-6);
    QVERIFY(lighter.red() > 127);
}

void TestGraph3D::fastPointIsDoublePyramid()
{
    kivtest::GLContextScope gl(200, 200);
    QVERIFY(gl.isValid());
    ProbeView v;
    const double cx = 0.2, cy = -0.1, cz = 0.3, size = 0.25;

    // Seen from above: eight triangles, each with the apex over the centre and two
    // neighbouring corners of the diamond around it.
    std::vector<kivtest::Primitive> top = kivtest::captureFeedback([&] {
        v.gluFastPoint(velo::Vector3(cx, cy, cz), size);
    });
    QCOMPARE(int(top.size()), 8);
    for (const kivtest::Primitive& p : top) {
        QCOMPARE(p.type, kivtest::Primitive::Polygon);
        QCOMPARE(p.vertexCount(), 3);
        int apex = 0, rim = 0;
        for (int i = 0; i < 3; ++i) {
            const double x = kivtest::toNdc(p.x(i), 200) - cx, y = kivtest::toNdc(p.y(i), 200) - cy;
            if (qAbs(x) < 1e-5 && qAbs(y) < 1e-5)
                ++apex;
            else if (qAbs(qAbs(x) + qAbs(y) - size) < 1e-5 && (qAbs(x) < 1e-5 || qAbs(y) < 1e-5))
                ++rim;
        }
        QCOMPARE(apex, 1);
        QCOMPARE(rim, 2);
    }

    // Seen from the side (z up): four triangles reach up to cz + size, four down to cz - size.
    glRotated(-90.0, 1.0, 0.0, 0.0);
    std::vector<kivtest::Primitive> side = kivtest::captureFeedback([&] {
        v.gluFastPoint(velo::Vector3(cx, cy, cz), size);
    });
    glLoadIdentity();
    QCOMPARE(int(side.size()), 8);
    int up = 0, down = 0;
    for (const kivtest::Primitive& p : side) {
        double highest = -10, lowest = 10;
        for (int i = 0; i < p.vertexCount(); ++i) {
            highest = qMax(highest, kivtest::toNdc(p.y(i), 200));
            lowest = qMin(lowest, kivtest::toNdc(p.y(i), 200));
        }
        if (qAbs(highest - (cz + size)) < 1e-5 && qAbs(lowest - cz) < 1e-5)
            ++up;
        if (qAbs(lowest - (cz - size)) < 1e-5 && qAbs(highest - cz) < 1e-5)
            ++down;
    }
    QCOMPARE(up, 4);
    QCOMPARE(down, 4);
}

void TestGraph3D::fastPointShowsOutwardFaces_data()
{
    QTest::addColumn<double>("tilt");
    QTest::addColumn<double>("apexZ");
    QTest::newRow("from above") << -30.0 << 1.0;
    QTest::newRow("from below") << 150.0 << -1.0;
}

// With back faces culled, as the view draws, only the half facing the viewer is kept.
void TestGraph3D::fastPointShowsOutwardFaces()
{
    QFETCH(double, tilt);
    QFETCH(double, apexZ);

    kivtest::GLContextScope gl(200, 200);
    QVERIFY(gl.isValid());
    ProbeView v;
    const double size = 0.4;
    glEnable(GL_CULL_FACE);
    glRotated(tilt, 1.0, 0.0, 0.0);
    const std::vector<kivtest::Primitive> prims = kivtest::captureFeedback([&] {
        v.gluFastPoint(velo::Vector3(0.0, 0.0, 0.0), size);
    });
    glLoadIdentity();
    glDisable(GL_CULL_FACE);

    QMatrix4x4 m;
    m.rotate(float(tilt), 1, 0, 0);
    const QVector3D apex = m.map(QVector3D(0, 0, float(apexZ * size)));
    QCOMPARE(int(prims.size()), 4);
    for (const kivtest::Primitive& p : prims) {
        bool hasApex = false;
        for (int i = 0; i < p.vertexCount(); ++i) {
            hasApex = hasApex
                || (qAbs(kivtest::toNdc(p.x(i), 200) - apex.x()) < 1e-4
                    && qAbs(kivtest::toNdc(p.y(i), 200) - apex.y()) < 1e-4);
        }
        QVERIFY(hasApex);
    }
}

void TestGraph3D::arrowPointsFromTo_data()
{
    QTest::addColumn<QVector3D>("from");
    QTest::addColumn<QVector3D>("to");
    QTest::addColumn<double>("length");
    QTest::addColumn<QVector3D>("tip");

    QTest::newRow("+x, length not distance") << QVector3D(0, 0, 0) << QVector3D(2, 0, 0) << 1.0
                                             << QVector3D(1, 0, 0);
    QTest::newRow("+y from elsewhere") << QVector3D(0.5, 0, 0) << QVector3D(0.5, 3, 0) << 1.0
                                       << QVector3D(0.5, 1, 0);
    QTest::newRow("+z") << QVector3D(0, 0, 0) << QVector3D(0, 0, 0.5) << 1.5 << QVector3D(0, 0, 1.5);
    QTest::newRow("-z") << QVector3D(0, 0, 1) << QVector3D(0, 0, -1) << 1.5 << QVector3D(0, 0, -0.5);
    QTest::newRow("diagonal") << QVector3D(1, 1, -1) << QVector3D(-1, -1, 1) << std::sqrt(3.0)
                              << QVector3D(0, 0, 0);
    const float third = float(1.0 / std::sqrt(3.0));
    QTest::newRow("points very close") << QVector3D(0, 0, 0) << QVector3D(1e-5f, -1e-5f, 1e-5f) << 1.0
                                       << QVector3D(third, -third, third);
    QTest::newRow("same point: along +z") << QVector3D(0.2f, 0.3f, 0) << QVector3D(0.2f, 0.3f, 0) << 1.0
                                          << QVector3D(0.2f, 0.3f, 1);
}

void TestGraph3D::arrowPointsFromTo()
{
    QFETCH(QVector3D, from);
    QFETCH(QVector3D, to);
    QFETCH(double, length);
    QFETCH(QVector3D, tip);

    kivtest::GLContextScope gl(200, 200);
    QVERIFY(gl.isValid());
    ProbeView v;
    // An oblique view, so that no direction of the table is seen end on.
    QMatrix4x4 view;
    view.rotate(25, 1, 0, 0);
    view.rotate(-35, 0, 1, 0);
    view.scale(0.3f);
    glLoadMatrixf(view.constData());

    const std::vector<kivtest::Primitive> prims = kivtest::captureFeedback([&] {
        glPushMatrix();
        // Thin enough that nothing but the tip can be the farthest point.
        v.gluArrow(velo::Vector3(from.x(), from.y(), from.z()), velo::Vector3(to.x(), to.y(), to.z()), 0.001,
                   0.002, length, 0.1);
        glPopMatrix();
    });
    glLoadIdentity();
    QVERIFY(!prims.empty());

    // The tip is the drawn point farthest from the start.
    const QPointF start = view.map(from).toPointF();
    QPointF farthest = start;
    for (const kivtest::Primitive& p : prims) {
        for (int i = 0; i < p.vertexCount(); ++i) {
            const QPointF q(kivtest::toNdc(p.x(i), 200), kivtest::toNdc(p.y(i), 200));
            if (QLineF(start, q).length() > QLineF(start, farthest).length())
                farthest = q;
        }
    }
    const QPointF expected = view.map(tip).toPointF();
    QVERIFY2(QLineF(farthest, expected).length() < 2e-3,
             qPrintable(QStringLiteral("tip at (%1, %2), expected (%3, %4)")
                            .arg(farthest.x())
                            .arg(farthest.y())
                            .arg(expected.x())
                            .arg(expected.y())));
}

void TestGraph3D::defaultPicture()
{
    ProbeView v;
    v.resize(300, 300);
    v.show();
    QVERIFY(QTest::qWaitForWindowExposed(&v));
    const QImage image = v.grabFramebuffer();
    QVERIFY(image.save(outputPath(QStringLiteral("graph3d_default.png"))));
    QCOMPARE(image.size(), QSize(300, 300));

    // White background (the grey clear colour saturates).
    QVERIFY(isWhite(image.pixelColor(2, 2)));
    QVERIFY(isWhite(image.pixelColor(297, 150)));

    // The arrows run from the cube's corner along its edges: red x, blue y, green z.
    QVERIFY(anyPixelNear(image, expectedPixel(v, {0, -1, -1}), 2, isRed));
    QVERIFY(anyPixelNear(image, expectedPixel(v, {-1, 0, -1}), 2, isBlue));
    QVERIFY(anyPixelNear(image, expectedPixel(v, {-1, -1, 0}), 2, isGreen));
    // Heads near the far ends, none beyond them.
    QVERIFY(anyPixelNear(image, expectedPixel(v, {-1, 0.95f, -1}), 3, isBlue));
    QVERIFY(!anyPixelNear(image, expectedPixel(v, {-1, 1.1f, -1}), 2, isBlue));
    QVERIFY(anyPixelNear(image, expectedPixel(v, {-1, -1, 0.95f}), 3, isGreen));
    QVERIFY(!anyPixelNear(image, expectedPixel(v, {-1, -1, 1.1f}), 2, isGreen));

    // No grid unless a subclass draws it.
    QVERIFY(isWhite(image.pixelColor(expectedPixel(v, {0, 0.5f, -1}).toPoint())));

    // Turning and moving the scene moves the arrows with it.
    v.setZRotation(30.0);
    v.setXPosOffset(0.3);
    const QImage turned = v.grabFramebuffer();
    QVERIFY(anyPixelNear(turned, expectedPixel(v, {0, -1, -1}), 2, isRed));
    QVERIFY(anyPixelNear(turned, expectedPixel(v, {-1, 0, -1}), 2, isBlue));

    // The arrows' common start takes its z from the corner's y.
    v.setAxisOffset(velo::Vector3(-1.0, -0.5, 0.5));
    const QImage moved = v.grabFramebuffer();
    QVERIFY(anyPixelNear(moved, expectedPixel(v, {0, -0.5f, -0.5f}), 2, isRed));
    QVERIFY(!anyPixelNear(moved, expectedPixel(v, {0, -0.5f, 0.5f}), 2, isRed));
    QVERIFY(anyPixelNear(moved, expectedPixel(v, {-1, -0.5f, 0}), 2, isGreen));
}

void TestGraph3D::gridAndPointsPicture()
{
    PointsView v;
    v.points = {{0, 0, 0}, {0.5f, 0.5f, 0.5f}, {-0.5f, 0.2f, 0.6f}};
    v.resize(300, 300);
    v.show();
    QVERIFY(QTest::qWaitForWindowExposed(&v));
    const QImage image = v.grabFramebuffer();
    QVERIFY(image.save(outputPath(QStringLiteral("graph3d_grid_points.png"))));

    // Grey lines on the floor, the back wall and the side wall.
    const QVector<QVector3D> onGrid = {{0, 0.25f, -1}, {-0.5f, 0.7f, -1}, {0.5f, -1, 0.3f}, {0.8f, -1, -0.5f},
                                       {1, 0.5f, 0.2f}, {1, -0.3f, -0.5f}};
    for (const QVector3D& p : onGrid) {
        QVERIFY2(anyPixelNear(image, expectedPixel(v, p), 1, isGrey),
                 qPrintable(QStringLiteral("no grid at %1 %2 %3").arg(p.x()).arg(p.y()).arg(p.z())));
    }
    for (const QVector3D& p : v.points)
        QVERIFY(anyPixelNear(image, expectedPixel(v, p), 2, isMagenta));
    // A marker is a few pixels across, not a blot.
    QVERIFY(!anyPixelNear(image, expectedPixel(v, {0, 0, 0}) + QPointF(12, 0), 1, isMagenta));
}

QTEST_MAIN(TestGraph3D)
#include "tst_graph3d.moc"
