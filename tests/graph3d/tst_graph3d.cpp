// KivGraph3D: mouse and wheel handling, its projection, the primitives it draws, its picture.

#include "glfeedback.h"
#include "kivtestutil.h"

#include <kiv_graph3d.h>

#include <QApplication>
#include <QMatrix4x4>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <thread>

// A subclass's view of the state; with points to show, draws as a host would: the grid, then
// magenta markers.
class ProbeView : public KivGraph3D
{
    friend class TestGraph3D;

public:
    QVector<QVector3D> points;
    int frames = 0;

    // Where a user expects a scene point on the (square) view's picture, in pixels.
    QPointF pixel(const QVector3D& p) const
    {
        QMatrix4x4 m;
        m.ortho(float(projection.left), float(projection.right), float(projection.bottom), float(projection.top),
                -100.0f, 100.0f);
        m.translate(float(xPosOffset), float(yPosOffset), 0.0f);
        m.rotate(float(xRot + xRotOffset), 1, 0, 0);
        m.rotate(float(yRot), 0, 1, 0);
        m.rotate(float(zRot), 0, 0, 1);
        const QVector3D ndc = m.map(p);
        return QPointF((ndc.x() + 1.0) / 2.0 * width(), (1.0 - ndc.y()) / 2.0 * height());
    }

protected:
    void paintGL() override
    {
        ++frames;
        KivGraph3D::paintGL();
        if (points.isEmpty())
            return;
        drawGrid();
        glColor3d(1.0, 0.0, 1.0);
        for (const QVector3D& p : points)
            gluFastPoint(velo::Vector3(p.x(), p.y(), p.z()), 0.04);
    }
};

namespace {

using Prim = QVector<QVector3D>;

// The lines and polygons `draw` emits under the model-view `view`, in model coordinates.
QVector<Prim> capture(const std::function<void()>& draw, const QMatrix4x4& view = QMatrix4x4())
{
    const QMatrix4x4 m = QMatrix4x4(0.2f, 0, 0, 0, 0, 0.2f, 0, 0, 0, 0, 0.2f, 0, 0, 0, 0, 1) * view;
    std::vector<GLfloat> buf(1 << 16);
    glLoadMatrixf(m.constData());
    glFeedbackBuffer(GLsizei(buf.size()), GL_3D, buf.data());
    glRenderMode(GL_FEEDBACK);
    draw();
    const size_t n = size_t(qMax(0, glRenderMode(GL_RENDER)));
    glLoadIdentity();
    const QMatrix4x4 back = m.inverted();
    QVector<Prim> out;
    for (size_t i = 0; i < n;) {
        const GLint token = GLint(buf[i++]);
        if (token != GL_LINE_TOKEN && token != GL_LINE_RESET_TOKEN && token != GL_POLYGON_TOKEN)
            break; // the helpers draw nothing else
        Prim p;
        for (size_t k = token == GL_POLYGON_TOKEN ? size_t(buf[i++]) : 2; k > 0; --k, i += 3)
            p << back.map(QVector3D(buf[i] / 100 - 1, buf[i + 1] / 100 - 1, buf[i + 2] * 2 - 1));
        out << p;
    }
    return out;
}

// Primitives as text, each its vertices to a thousandth (no negative zero); both sorted.
QStringList texts(const QVector<Prim>& prims)
{
    const auto r = [](float c) { return std::round(c * 1000.0) / 1000.0 + 0.0; };
    QStringList out;
    for (const Prim& p : prims) {
        QStringList s;
        for (const QVector3D& v : p)
            s << QString::asprintf("(%.3f %.3f %.3f)", r(v.x()), r(v.y()), r(v.z()));
        s.sort();
        out << s.join(QLatin1Char(' '));
    }
    out.sort();
    return out;
}

// The grid plane at coordinate `axis` = value over the box `o` + `s`: five lines each way.
QVector<Prim> plane(int axis, float value, const QVector3D& o, const QVector3D& s)
{
    QVector<Prim> out;
    const int u = (axis + 1) % 3, v = (axis + 2) % 3;
    for (int i = 0; i <= 4; ++i) {
        QVector3D a, b, c, d;
        a[axis] = b[axis] = c[axis] = d[axis] = value;
        a[u] = b[u] = o[u] + i * s[u] / 4;
        c[v] = d[v] = o[v] + i * s[v] / 4;
        a[v] = o[v];
        b[v] = o[v] + s[v];
        c[u] = o[u];
        d[u] = o[u] + s[u];
        out << Prim{a, b} << Prim{c, d};
    }
    return out;
}

// What the rotation signals carry while `act` runs, as "; <axis> <angle>" each.
QString rotationSignals(KivGraph3D& v, const std::function<void()>& act)
{
    QSignalSpy x(&v, &KivGraph3D::xRotationChanged), y(&v, &KivGraph3D::yRotationChanged),
        z(&v, &KivGraph3D::zRotationChanged);
    act();
    QString out;
    for (const QSignalSpy* spy : {&x, &y, &z}) {
        for (const QList<QVariant>& args : *spy)
            out += QString::asprintf("; %c %g", spy == &x ? 'x' : spy == &y ? 'y' : 'z', args.at(0).toDouble());
    }
    return out;
}

bool showView(QWidget& w, const QSize& size = QSize(300, 300))
{
    w.resize(size);
    w.show();
    return QTest::qWaitForWindowExposed(&w);
}

void sendMouse(QWidget* w, QEvent::Type type, const QPoint& pos, Qt::MouseButton button, Qt::MouseButtons held)
{
    QMouseEvent e(type, pos, w->mapToGlobal(pos), button, held, Qt::NoModifier);
    QApplication::sendEvent(w, &e);
}

void sendWheel(QWidget* w, int steps)
{
    for (int i = 0; i < qAbs(steps); ++i)
        kivtest::wheel(w, w->rect().center(), steps > 0 ? 120 : -120);
}

bool anyPixelNear(const QImage& image, const QPointF& centre, int radius, bool (*match)(const QColor&))
{
    const QPoint c = centre.toPoint();
    for (int y = c.y() - radius; y <= c.y() + radius; ++y)
        for (int x = c.x() - radius; x <= c.x() + radius; ++x)
            if (image.valid(x, y) && match(image.pixelColor(x, y)))
                return true;
    return false;
}

// Lit surfaces of a pure colour keep the other channels near zero.
bool pure(const QColor& c, int channel)
{
    const int v[3] = {c.red(), c.green(), c.blue()};
    return v[channel] >= 40 && v[(channel + 1) % 3] <= 20 && v[(channel + 2) % 3] <= 20;
}
bool isRed(const QColor& c) { return pure(c, 0); }
bool isGreen(const QColor& c) { return pure(c, 1); }
bool isBlue(const QColor& c) { return pure(c, 2); }
bool isMagenta(const QColor& c) { return c.red() > 40 && c.blue() > 40 && c.green() < 20; }
bool isWhite(const QColor& c) { return c.red() == 255 && c.green() == 255 && c.blue() == 255; }
bool isGrey(const QColor& c) { return c.red() < 235 && c.red() == c.green() && c.green() == c.blue(); }

} // namespace

class TestGraph3D : public QObject
{
    Q_OBJECT

private slots:
    // Angles kept in (-180, 180], non-finite ones ignored; a change signals the angle passed in.
    void rotationSetter()
    {
        const double none = qQNaN();
        const struct { int axis; double preset, angle; const char* expected; } rows[] = {
            {2, none, 540, "z 540: 180; z 540"}, {2, 540, 180, "z 180: 180"}, {2, none, -180, "z -180: 180; z -180"},
            {2, 180, -180, "z -180: 180"}, {2, none, 300, "z 300: -60"}, {0, none, 190, "x 190: -170; x 190"},
            {0, none, -720.5, "x -720.5: -0.5; x -720.5"}, {1, none, 360e9 + 90, "y 3.6e+11: 90; y 3.6e+11"},
            {1, 45, none, "y nan: 45"}, {2, none, qInf(), "z inf: -60"}};
        void (KivGraph3D::*set[])(double) = {&KivGraph3D::setXRotation, &KivGraph3D::setYRotation,
                                             &KivGraph3D::setZRotation};
        for (const auto& row : rows) {
            ProbeView v;
            if (!std::isnan(row.preset))
                (v.*set[row.axis])(row.preset);
            const QString sent = rotationSignals(v, [&] { (v.*set[row.axis])(row.angle); });
            const double now[] = {v.xRot, v.yRot, v.zRot};
            QCOMPARE(QString::asprintf("%c %g: %g", 'x' + row.axis, row.angle, now[row.axis]) + sent,
                     QString(row.expected));
        }
    }

    // A wheel step scales the projection by 0.9 or 1/0.9 over levels -21..21; beyond, nothing.
    // resizeGL widens the longer side by the aspect ratio, depth -100..100; zooming applies at once.
    void wheelZoomAndProjection()
    {
        const struct { QSize size; int steps; } rows[] = {{{300, 300}, 1}, {{200, 400}, -1}, {{400, 200}, 22},
                                                          {{200, 400}, -30}};
        for (const auto& row : rows) {
            const int level = qBound(-21, row.steps, 21), sign = level > 0 ? 1 : -1;
            const double aspect = double(row.size.width()) / row.size.height();
            ProbeView v;
            QVERIFY(showView(v, row.size));
            v.grabFramebuffer();
            const auto ortho = [&v] {
                v.makeCurrent();
                GLdouble m[16]; // glOrtho: m0 = 2 / (right - left), m12 = -(right + left) / (right - left), ...
                glGetDoublev(GL_PROJECTION_MATRIX, m);
                v.doneCurrent();
                return QString::asprintf("%.4g %.4g %.4g %.4g %.4g %.4g", 1 / m[0], 1 / m[5], m[12] + 0.0,
                                         m[13] + 0.0, m[10], m[14] + 0.0); // GL keeps single precision
            };
            const auto expected = [&](double half) {
                return QString::asprintf("%.4g %.4g 0 0 -0.01 0", half * qMax(1.0, aspect), half * qMax(1.0, 1 / aspect));
            };
            QCOMPARE(ortho(), expected(1.5));
            QSignalSpy spy(&v, &KivGraph3D::projectionRectChanged);
            sendWheel(&v, row.steps);
            QCOMPARE(v.zoomLevel, level);
            QCOMPARE(spy.count(), qAbs(level));
            const auto now = qvariant_cast<KivGraph3D::ProjectionRect>(spy.last().at(0));
            const auto before = qvariant_cast<KivGraph3D::ProjectionRect>(spy.last().at(1)); // the one replaced
            QCOMPARE((QList<double>{now.left, now.right, now.bottom, now.top, before.top}),
                     (QList<double>{-now.top, now.top, -now.top, 1.5 * std::pow(0.9, level),
                                    1.5 * std::pow(0.9, level - sign)}));
            QCOMPARE(ortho(), expected(now.top));
            QCOMPARE(v.zoom(22 * sign), level);
            QCOMPARE(spy.count(), qAbs(level));
            sendWheel(&v, -level);
            QCOMPARE(v.zoomLevel, 0);
            QCOMPARE(v.projection.top, 1.5);
        }
    }

    // Left drag turns about z and x (with right: y) 2 degrees a pixel, right drag moves the scene;
    // the pointer hides while dragging.
    void mouseDrag()
    {
        const int l = Qt::LeftButton, r = Qt::RightButton, m = Qt::MiddleButton;
        // Drags from (150, 150), then xRot yRot zRot xPos yPos and the signals.
        const struct { int buttons, wheel; QList<QPoint> moves; const char* expected; } rows[] = {
            {l, 0, {{160, 155}}, "40 0 -40 0 0; x 40; z -40"},
            {l, 0, {{160, 150}, {170, 150}}, "30 0 -20 0 0; z -40; z -20"},
            {l | r, 0, {{155, 150}}, "30 10 -60 0 0; y 10"}, {l, 0, {{280, 150}}, "30 0 -160 0 0; z 200"},
            {l, 0, {{150, 230}}, "-170 0 -60 0 0; x 190"}, {m, 0, {{200, 200}}, "30 0 -60 0 0"},
            {r, 0, {{200, 150}, {250, 150}}, "30 0 -60 1 0"}, {r, 0, {{135, 120}, {120, 90}}, "30 0 -60 -0.3 0.6"},
            {r, 11, {{250, 150}}, "30 0 -60 0.313811 0"}}; // zoomed in by 0.9^11, it moves less
        for (const auto& row : rows) {
            QScopedPointer<ProbeView> view(new ProbeView);
            ProbeView& v = *view;
            QVERIFY(showView(v));
            sendWheel(&v, row.wheel);
            const Qt::MouseButtons held(row.buttons);
            const Qt::MouseButton first = held & Qt::LeftButton ? Qt::LeftButton : Qt::MouseButton(row.buttons);
            auto press = [&] {
                sendMouse(&v, QEvent::MouseButtonPress, QPoint(150, 150), first, first);
                if (held != first)
                    sendMouse(&v, QEvent::MouseButtonPress, QPoint(150, 150), Qt::RightButton, held);
                return QGuiApplication::overrideCursor() && QGuiApplication::overrideCursor()->shape() == Qt::BlankCursor;
            };
            bool hidden = false;
            const QString sent = rotationSignals(v, [&] {
                hidden = press();
                for (const QPoint& p : row.moves)
                    sendMouse(&v, QEvent::MouseMove, p, Qt::NoButton, held);
                if (held != first)
                    sendMouse(&v, QEvent::MouseButtonRelease, row.moves.last(), Qt::RightButton, first);
                sendMouse(&v, QEvent::MouseButtonRelease, row.moves.last(), first, Qt::NoButton);
            });
            QVERIFY(hidden && !QGuiApplication::overrideCursor());
            QCOMPARE(QString::asprintf("%g %g %g %g %g", v.xRot, v.yRot, v.zRot, v.xPosOffset, v.yPosOffset) + sent,
                     QString(row.expected));
            QVERIFY(press()); // closed while dragging: the pointer comes back
            view.reset();
            QVERIFY(!QGuiApplication::overrideCursor());
        }
    }

    // Floor at minimum z, back wall at minimum y, side wall at maximum x unless turned exactly 180.
    void gridPlanes()
    {
        const QVector3D o(-1, -1, -1), s(2, 2, 2), a(0.5f, 0, 0);
        const struct { QVector3D offset, size; double zRotation; float sideX; QVector<Prim> extra; } rows[] = {
            {o, s, -60, 1, {}}, {o, s, 179, 1, {}}, {o, s, 180, -1, {}},
            // Steps that, added up, would overshoot the far edge still give all five lines.
            {{0.1f, 0.1f, -0.7f}, {0.7f, 0.6f, 0.7f}, 0, 0.8f, {}},
            // The floor's y loop runs up to x0 + sy: with x0 a step above y0, one line more.
            {a, s, 0, 2.5f, {{{0.5f, 2.5f, 0}, {2.5f, 2.5f, 0}}}}};
        for (const auto& row : rows) {
            kivtest::GLContextScope gl;
            ProbeView v;
            v.setAxisOffset(velo::Vector3(row.offset.x(), row.offset.y(), row.offset.z()));
            v.gridSize = velo::Vector3(row.size.x(), row.size.y(), row.size.z());
            v.setZRotation(row.zRotation);
            const QVector<Prim> expected = plane(2, row.offset.z(), row.offset, row.size)
                + plane(1, row.offset.y(), row.offset, row.size) + plane(0, row.sideX, row.offset, row.size) + row.extra;
            QCOMPARE(texts(capture([&] { v.drawGrid(); })), texts(expected));
        }
    }

    // A double pyramid on a diamond rim; with back faces culled only the half facing the viewer stays.
    void fastPoint()
    {
        const float x = 0.2f, y = -0.1f, z = 0.3f, s = 0.25f;
        const QVector3D rim[] = {{x + s, y, z}, {x, y + s, z}, {x - s, y, z}, {x, y - s, z}};
        QVector<Prim> up, down;
        for (int i = 0; i < 4; ++i) {
            up << Prim{{x, y, z + s}, rim[i], rim[(i + 1) % 4]};
            down << Prim{{x, y, z - s}, rim[i], rim[(i + 1) % 4]};
        }
        const struct { float tilt; bool cull; QVector<Prim> faces; } rows[] = {
            {-30, false, up + down}, {-30, true, up}, {150, true, down}};
        for (const auto& row : rows) {
            kivtest::GLContextScope gl;
            ProbeView v;
            if (row.cull)
                glEnable(GL_CULL_FACE);
            QMatrix4x4 view;
            view.rotate(row.tilt, 1, 0, 0);
            QCOMPARE(texts(capture([&] { v.gluFastPoint(velo::Vector3(x, y, z), s); }, view)), texts(row.faces));
        }
    }

    // The arrow starts at `from` towards `to`, `length` long: its tip is the point farthest from the start.
    void arrowPointsFromTo()
    {
        const float t = float(1.0 / std::sqrt(3.0));
        const struct { const char* name; QVector3D from, to; double length; QVector3D tip; } rows[] = {
            {"+x, length not distance", {0, 0, 0}, {2, 0, 0}, 1.0, {1, 0, 0}},
            {"-z", {0, 0, 1}, {0, 0, -1}, 1.5, {0, 0, -0.5f}},
            {"diagonal", {1, 1, -1}, {-1, -1, 1}, std::sqrt(3.0), {0, 0, 0}},
            {"points very close", {0, 0, 0}, {1e-5f, -1e-5f, 1e-5f}, 1.0, {t, -t, t}},
            {"same point: along +z", {0.2f, 0.3f, 0}, {0.2f, 0.3f, 0}, 1.0, {0.2f, 0.3f, 1}}};
        for (const auto& row : rows) {
            kivtest::GLContextScope gl;
            ProbeView v;
            const velo::Vector3 from(row.from.x(), row.from.y(), row.from.z()), to(row.to.x(), row.to.y(), row.to.z());
            QVector3D tip = row.from;
            for (const Prim& p : capture([&] { v.gluArrow(from, to, 0.001, 0.002, row.length, 0.1); }))
                for (const QVector3D& q : p)
                    tip = q.distanceToPoint(row.from) > tip.distanceToPoint(row.from) ? q : tip;
            QVERIFY2(tip.distanceToPoint(row.tip) < 2e-3, qPrintable(row.name + QStringLiteral(": ") + texts({{tip}}).first()));
        }
    }

    // A producer thread asking for a repaint per sample gets frames, not one queued call each.
    void repaintRequestsFromAThread()
    {
        ProbeView v;
        QVERIFY(showView(v));
        struct Counter : QObject {
            const QObject* view = nullptr;
            int calls = 0;
            bool eventFilter(QObject* o, QEvent* e) override
            {
                calls += e->type() == QEvent::MetaCall && o->parent() == view ? 1 : 0;
                return false;
            }
        } counter;
        counter.view = &v;
        qApp->installEventFilter(&counter);
        const int before = v.frames;
        std::thread producer([&v] {
            for (int i = 0; i < 100000; ++i)
                v.scheduleUpdate();
        });
        producer.join();
        QTRY_VERIFY(v.frames > before);
        QCoreApplication::processEvents();
        qApp->removeEventFilter(&counter);
        QVERIFY2(counter.calls <= v.frames - before + 1, qPrintable(QString::number(counter.calls)));
    }

    // Red x, blue y, green z arrows along the cube's edges, no grid; a host's grid and markers.
    void pictures()
    {
        ProbeView v;
        QVERIFY(showView(v));
        QImage image = v.grabFramebuffer();
        QVERIFY(kivtest::saveFrame(image, QStringLiteral("graph3d_default.png")));
        QVERIFY(isWhite(image.pixelColor(2, 2)) && isWhite(image.pixelColor(297, 150)));
        QVERIFY(anyPixelNear(image, v.pixel({0, -1, -1}), 2, isRed));
        QVERIFY(anyPixelNear(image, v.pixel({-1, 0, -1}), 2, isBlue));
        QVERIFY(anyPixelNear(image, v.pixel({-1, -1, 0}), 2, isGreen));
        QVERIFY(anyPixelNear(image, v.pixel({-1, 0.95f, -1}), 3, isBlue)); // heads at the ends, none beyond
        QVERIFY(!anyPixelNear(image, v.pixel({-1, 1.1f, -1}), 2, isBlue));
        QVERIFY(anyPixelNear(image, v.pixel({-1, -1, 0.95f}), 3, isGreen));
        QVERIFY(!anyPixelNear(image, v.pixel({-1, -1, 1.1f}), 2, isGreen));
        QVERIFY(isWhite(image.pixelColor(v.pixel({0, 0.5f, -1}).toPoint())));

        // Turned and moved, the arrows follow; their common start takes its z from the corner's y.
        v.setZRotation(30.0);
        v.setXPosOffset(0.3);
        v.setAxisOffset(velo::Vector3(-1.0, -0.5, 0.5));
        image = v.grabFramebuffer();
        QVERIFY(anyPixelNear(image, v.pixel({0, -0.5f, -0.5f}), 2, isRed));
        QVERIFY(!anyPixelNear(image, v.pixel({0, -0.5f, 0.5f}), 2, isRed));
        QVERIFY(anyPixelNear(image, v.pixel({-1, 0.5f, -0.5f}), 2, isBlue));

        v.setAxisOffset(velo::Vector3(-1.0, -1.0, -1.0));
        v.points = {{0, 0, 0}, {0.5f, 0.5f, 0.5f}, {-0.5f, 0.2f, 0.6f}};
        image = v.grabFramebuffer();
        QVERIFY(kivtest::saveFrame(image, QStringLiteral("graph3d_grid_points.png")));
        for (const QVector3D& p : QVector<QVector3D>{{0, 0.25f, -1}, {-0.5f, 0.7f, -1}, {0.5f, -1, 0.3f},
                                                     {0.8f, -1, -0.5f}, {1, 0.5f, 0.2f}, {1, -0.3f, -0.5f}})
            QVERIFY2(anyPixelNear(image, v.pixel(p), 1, isGrey), qPrintable(texts({Prim{p}}).first()));
        for (const QVector3D& p : v.points)
            QVERIFY(anyPixelNear(image, v.pixel(p), 2, isMagenta));
        QVERIFY(!anyPixelNear(image, v.pixel({0, 0, 0}) + QPointF(12, 0), 1, isMagenta));
    }
};

QTEST_MAIN(TestGraph3D)
#include "tst_graph3d.moc"
