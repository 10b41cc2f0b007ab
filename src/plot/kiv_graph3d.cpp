#include "kiv_graph3d.h"
#include "kiv_export_p.h"
#include "kiv_updaterelay.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QOpenGLContext>
#include <QWheelEvent>

#include <GL/glu.h>

#include <cmath>

namespace {

const double DegreesPerRadian = 57.29577951308232;
// Each grid plane is divided into this many steps per direction.
const double GridDivisions = 4.0;
const GLint ArrowSlices = 16;
const GLint ArrowStacks = 8;

// Calls line(v) for v = start, start + step, ... while v <= end. Positions come from the
// index rather than a running sum, so rounding never drops the last line. A step that is
// not positive (a flat cube) gives the first line only instead of looping for ever.
template <typename LineAt>
void forEachGridLine(double start, double step, double end, LineAt line)
{
    if (!(step > 0.0)) {
        if (start <= end)
            line(start);
        return;
    }
    for (long long i = 0;; ++i) {
        const double v = start + double(i) * step;
        if (!(v <= end))
            break;
        line(v);
    }
}

void setGLColor(const QColor& c)
{
    glColor4f(GLfloat(c.red() / 255.0), GLfloat(c.green() / 255.0), GLfloat(c.blue() / 255.0),
              GLfloat(c.alpha() / 255.0));
}

} // namespace

class KivGraph3DPrivate
{
public:
    //! Device pixel ratio of an export under way; 0 outside exports.
    qreal exportRatio = 0.0;
    KivUpdateRelay* updateRelay = nullptr;
    //! Blank cursors this view has pushed and not yet restored (one per button held).
    int cursorOverrides = 0;
};

KivGraph3D::KivGraph3D(QWidget* parent)
    : QOpenGLWidget(parent)
    , baseProjection{-1.5, 1.5, -1.5, 1.5}
    , projection(baseProjection)
    , xRot(30.0)
    , yRot(0.0)
    , zRot(-60.0)
    , xRotOffset(-90.0)
    , yRotOffset(0.0)
    , zRotOffset(0.0)
    , xPosOffset(0.0)
    , yPosOffset(0.0)
    , axisOffset(-1.0, -1.0, -1.0)
    , gridSize(2.0, 2.0, 2.0)
    , zoomStep(0.1)
    , minZoomFactor(0.1)
    , maxZoomFactor(10.0)
    , zoomLevel(0)
    , lastMousePos(0, 0)
    , gridColor(127, 127, 127, 255)
    , backgroundColor(255, 255, 255, 255)
    , xAxisColor(255, 0, 0, 255)
    , yAxisColor(0, 0, 255, 255)
    , zAxisColor(0, 255, 0, 255)
    , shaftQuadric(gluNewQuadric())
    , headBaseQuadric(gluNewQuadric())
    , shaftBaseQuadric(gluNewQuadric())
    , d(new KivGraph3DPrivate)
{
    qRegisterMetaType<KivGraph3D::ProjectionRect>();
    d->updateRelay = new KivUpdateRelay(this);
    connect(d->updateRelay, &KivUpdateRelay::updateRequested, this, [this] {
        // update() coalesces what arrives until the frame; a later request may post again.
        d->updateRelay->rearm();
        update();
    });
    gluQuadricDrawStyle(shaftQuadric, GLU_FILL);
    gluQuadricDrawStyle(headBaseQuadric, GLU_FILL);
    gluQuadricDrawStyle(shaftBaseQuadric, GLU_FILL);
    // The disks close the arrow from below, so they face -z.
    gluQuadricOrientation(headBaseQuadric, GLU_INSIDE);
    gluQuadricOrientation(shaftBaseQuadric, GLU_INSIDE);
}

void KivGraph3D::scheduleUpdate()
{
    d->updateRelay->request();
}

KivGraph3D::~KivGraph3D()
{
    // Closed in the middle of a drag: give the pointer back to the application.
    while (d->cursorOverrides > 0) {
        QGuiApplication::restoreOverrideCursor();
        --d->cursorOverrides;
    }
    gluDeleteQuadric(shaftQuadric);
    gluDeleteQuadric(headBaseQuadric);
    gluDeleteQuadric(shaftBaseQuadric);
}

velo::Vector3 KivGraph3D::getAxisOffset() const
{
    return axisOffset;
}

void KivGraph3D::setAxisOffset(const velo::Vector3& offsetVector)
{
    axisOffset = offsetVector;
}

void KivGraph3D::initializeGL()
{
    initializeOpenGLFunctions();
    // The components go in unscaled, so every non-zero one saturates: the default grey
    // grid colour clears to white. Hosts rely on that look.
    glClearColor(GLfloat(gridColor.red()), GLfloat(gridColor.green()), GLfloat(gridColor.blue()),
                 GLfloat(gridColor.alpha()));
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_CULL_FACE);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_COLOR_MATERIAL);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    static const GLfloat lightPosition[4] = {0.5f, 5.0f, 7.0f, 1.0f};
    glLightfv(GL_LIGHT0, GL_POSITION, lightPosition);
}

/*!
 * Sets an orthographic projection from the current projection rect, widened along the
 * longer side of the widget so the scene keeps its proportions.
 */
void KivGraph3D::resizeGL(int w, int h)
{
    w = qMax(w, 1);
    h = qMax(h, 1);
    glViewport(0, 0, w, h);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    ProjectionRect r = projection;
    if (w > h) {
        const double aspect = double(w) / double(h);
        r.left *= aspect;
        r.right *= aspect;
    } else {
        const double aspect = double(h) / double(w);
        r.bottom *= aspect;
        r.top *= aspect;
    }
    glOrtho(r.left, r.right, r.bottom, r.top, -100.0, 100.0);
    glMatrixMode(GL_MODELVIEW);
}

void KivGraph3D::paintGL()
{
    clearGL();
    translateGL();
    rotateGL();
    drawGridArrows();
}

void KivGraph3D::clearGL()
{
    // Depth and stencil together: one plain fill of their shared words (see KivGraph::paintGL).
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    glLoadIdentity();
}

void KivGraph3D::translateGL()
{
    glTranslatef(GLfloat(xPosOffset), GLfloat(yPosOffset), 0.0f);
}

void KivGraph3D::rotateGL()
{
    glRotatef(GLfloat(xRot + xRotOffset), 1.0f, 0.0f, 0.0f);
    glRotatef(GLfloat(yRot + yRotOffset), 0.0f, 1.0f, 0.0f);
    glRotatef(GLfloat(zRot + zRotOffset), 0.0f, 0.0f, 1.0f);
}

/*!
 * Brings \a a into (-180, 180] by whole turns; 180 and -180 both give 180. The remainder
 * is taken first so that huge angles do not loop for ages.
 */
double KivGraph3D::normalizedAngle(double a)
{
    a = std::fmod(a, 360.0);
    while (a < 180.0)
        a += 360.0;
    while (a > 180.0)
        a -= 360.0;
    return a;
}

// The rotation setters ignore non-finite angles: they would leave nothing visible.
void KivGraph3D::setXRotation(double angle)
{
    const double n = normalizedAngle(angle);
    if (std::isnan(n) || n == xRot)
        return;
    xRot = n;
    emit xRotationChanged(angle);
    update();
}

void KivGraph3D::setYRotation(double angle)
{
    const double n = normalizedAngle(angle);
    if (std::isnan(n) || n == yRot)
        return;
    yRot = n;
    emit yRotationChanged(angle);
    update();
}

void KivGraph3D::setZRotation(double angle)
{
    const double n = normalizedAngle(angle);
    if (std::isnan(n) || n == zRot)
        return;
    zRot = n;
    emit zRotationChanged(angle);
    update();
}

void KivGraph3D::setXPosOffset(double offset)
{
    if (offset == xPosOffset)
        return;
    xPosOffset = offset;
    update();
}

void KivGraph3D::setYPosOffset(double offset)
{
    if (offset == yPosOffset)
        return;
    yPosOffset = offset;
    update();
}

int KivGraph3D::zoom(int level)
{
    const double factor = std::pow(1.0 - zoomStep, level);
    if (!(factor >= minZoomFactor && factor <= maxZoomFactor))
        return zoomLevel;
    const ProjectionRect previous = projection;
    projection.left = baseProjection.left * factor;
    projection.right = baseProjection.right * factor;
    projection.bottom = baseProjection.bottom * factor;
    projection.top = baseProjection.top * factor;
    // Before the first show there is no context yet; initialisation sets the projection.
    if (QOpenGLContext* ctx = context()) {
        const bool wasCurrent = QOpenGLContext::currentContext() == ctx;
        if (!wasCurrent)
            makeCurrent();
        resizeGL(width(), height());
        if (!wasCurrent)
            doneCurrent();
    }
    update();
    emit projectionRectChanged(projection, previous);
    return level;
}

void KivGraph3D::wheelEvent(QWheelEvent* e)
{
    // The dominant direction of the wheel, as a classic single-axis wheel reports it.
    const QPoint angle = e->angleDelta();
    const int delta = qAbs(angle.x()) > qAbs(angle.y()) ? angle.x() : angle.y();
    zoomLevel = zoom(delta < 1 ? zoomLevel - 1 : zoomLevel + 1);
    e->accept();
}

void KivGraph3D::mousePressEvent(QMouseEvent* e)
{
    // The pointer would only get in the way of the scene while dragging.
    QGuiApplication::setOverrideCursor(QCursor(Qt::BlankCursor));
    ++d->cursorOverrides;
    lastMousePos = e->pos();
    e->accept();
}

void KivGraph3D::mouseReleaseEvent(QMouseEvent* e)
{
    // Only what this view pushed, so a stray release cannot pop someone else's cursor.
    if (d->cursorOverrides > 0) {
        QGuiApplication::restoreOverrideCursor();
        --d->cursorOverrides;
    }
    e->accept();
}

/*!
 * Left drag rotates two degrees per pixel: horizontal motion about z (about y while the
 * right button is held too), vertical motion about x. Right drag moves the scene by the
 * pointer's travel scaled from the widget's size to the projection rect (before its
 * aspect correction), so on a square view the scene follows the pointer exactly.
 */
void KivGraph3D::mouseMoveEvent(QMouseEvent* e)
{
    const QPoint pos = e->pos();
    const int dx = pos.x() - lastMousePos.x();
    const int dy = pos.y() - lastMousePos.y();
    const Qt::MouseButtons buttons = e->buttons();
    if (buttons & Qt::LeftButton) {
        if (buttons & Qt::RightButton)
            setYRotation(yRot + 2.0 * dx);
        else
            setZRotation(zRot + 2.0 * dx);
        setXRotation(xRot + 2.0 * dy);
    } else if (buttons & Qt::RightButton) {
        setXPosOffset(xPosOffset + dx * (projection.right - projection.left) / width());
        setYPosOffset(yPosOffset - dy * (projection.top - projection.bottom) / height());
    }
    lastMousePos = pos;
    e->accept();
}

void KivGraph3D::gluArrow(double shaftRadius, double headRadius, double length, double headLength)
{
    const double shaftLength = length - headLength;
    gluCylinder(shaftQuadric, shaftRadius, shaftRadius, shaftLength, ArrowSlices, ArrowStacks);
    gluDisk(shaftBaseQuadric, 0.0, shaftRadius, ArrowSlices, ArrowStacks);
    glTranslated(0.0, 0.0, shaftLength);
    gluDisk(headBaseQuadric, 0.0, headRadius, ArrowSlices, ArrowStacks);
    gluCylinder(shaftQuadric, headRadius, 0.0, headLength, ArrowSlices, ArrowStacks);
}

/*!
 * Only the direction comes from the two points; the drawn length is \a length. The arrow
 * is turned from +z onto to - from about their common normal.
 */
void KivGraph3D::gluArrow(const velo::Vector3& from, const velo::Vector3& to, double shaftRadius,
                          double headRadius, double length, double headLength)
{
    velo::Vector3 zAxis(0.0, 0.0, 1.0);
    velo::Vector3 direction(0.0, 0.0, 0.0);
    direction.setVecSubVec(to, from);
    velo::Vector3 axis(0.0, 0.0, 0.0);
    axis.setVecCrossVec(zAxis, direction);
    const double angle = zAxis.angleWith(direction) * DegreesPerRadian;
    // GL skips rotations about a very short axis, so hand it a unit one. Along the z axis
    // the normal vanishes; any perpendicular axis turns the arrow round when it points
    // down, and does nothing when it points up.
    if (axis.setNormalizeSelf() == 0.0)
        axis[0] = 1.0;
    glTranslated(from[0], from[1], from[2]);
    glRotated(angle, axis[0], axis[1], axis[2]);
    gluArrow(shaftRadius, headRadius, length, headLength);
}

/*!
 * Two triangle fans around a diamond in the plane of the centre, one from the apex above
 * and one from the apex below, each wound to face outwards so culling keeps the visible
 * half. Normals point away from the centre for simple shading.
 */
void KivGraph3D::gluFastPoint(const velo::Vector3& centre, double size)
{
    const double x = centre[0];
    const double y = centre[1];
    const double z = centre[2];

    glBegin(GL_TRIANGLE_FAN);
    glNormal3d(0.0, 0.0, 1.0);
    glVertex3d(x, y, z + size);
    glNormal3d(1.0, 0.0, 0.0);
    glVertex3d(x + size, y, z);
    glNormal3d(0.0, 1.0, 0.0);
    glVertex3d(x, y + size, z);
    glNormal3d(-1.0, 0.0, 0.0);
    glVertex3d(x - size, y, z);
    glNormal3d(0.0, -1.0, 0.0);
    glVertex3d(x, y - size, z);
    glNormal3d(1.0, 0.0, 0.0);
    glVertex3d(x + size, y, z);
    glEnd();

    glBegin(GL_TRIANGLE_FAN);
    glNormal3d(0.0, 0.0, -1.0);
    glVertex3d(x, y, z - size);
    glNormal3d(1.0, 0.0, 0.0);
    glVertex3d(x + size, y, z);
    glNormal3d(0.0, -1.0, 0.0);
    glVertex3d(x, y - size, z);
    glNormal3d(-1.0, 0.0, 0.0);
    glVertex3d(x - size, y, z);
    glNormal3d(0.0, 1.0, 0.0);
    glVertex3d(x, y + size, z);
    glNormal3d(1.0, 0.0, 0.0);
    glVertex3d(x + size, y, z);
    glEnd();
}

void KivGraph3D::drawGrid()
{
    setGLColor(gridColor.lighter(150));
    // The plain GL entry point, like the rest of the grid: works in any current context,
    // also before initializeGL() has resolved the member functions.
    ::glLineWidth(GLfloat(devicePixelRatioF()));
    glBegin(GL_LINES);
    drawGridXY(false);
    drawGridXZ(false);
    drawGridYZ(180.0 > zRot);
    glEnd();
}

/*!
 * The x, y and z arrows start together at the cube's corner and run along its edges.
 * The corner's z is taken from the y offset, which matches the corner for the usual
 * cube with equal offsets.
 */
void KivGraph3D::drawGridArrows()
{
    struct Arrow
    {
        const QColor& color;
        GLfloat angle, ax, ay, az;
        double length;
    };
    const Arrow arrows[3] = {
        {xAxisColor, 90.0f, 0.0f, 1.0f, 0.0f, gridSize[0]},
        {yAxisColor, -90.0f, 1.0f, 0.0f, 0.0f, gridSize[1]},
        {zAxisColor, 0.0f, 0.0f, 0.0f, 1.0f, gridSize[2]},
    };
    for (const Arrow& arrow : arrows) {
        glPushMatrix();
        setGLColor(arrow.color);
        glTranslated(axisOffset[0], axisOffset[1], axisOffset[1]);
        glRotatef(arrow.angle, arrow.ax, arrow.ay, arrow.az);
        gluArrow(0.01, 0.03, arrow.length, 0.1);
        glPopMatrix();
    }
}

/*!
 * The lines along x stop where y passes the cube's x extent (x0 + sy) rather than its y
 * extent; both agree for a cube whose offsets are equal.
 */
void KivGraph3D::drawGridXY(bool)
{
    const double x0 = axisOffset[0], y0 = axisOffset[1], z0 = axisOffset[2];
    const double sx = gridSize[0], sy = gridSize[1];
    forEachGridLine(x0, sx / GridDivisions, x0 + sx, [&](double x) {
        glVertex3d(x, y0, z0);
        glVertex3d(x, y0 + sy, z0);
    });
    forEachGridLine(y0, sy / GridDivisions, x0 + sy, [&](double y) {
        glVertex3d(x0, y, z0);
        glVertex3d(x0 + sx, y, z0);
    });
}

void KivGraph3D::drawGridXZ(bool far)
{
    const double x0 = axisOffset[0], y0 = axisOffset[1], z0 = axisOffset[2];
    const double sx = gridSize[0], sy = gridSize[1], sz = gridSize[2];
    const double y = y0 + (far ? sy : 0.0);
    forEachGridLine(x0, sx / GridDivisions, x0 + sx, [&](double x) {
        glVertex3d(x, y, z0);
        glVertex3d(x, y, z0 + sz);
    });
    forEachGridLine(z0, sz / GridDivisions, z0 + sz, [&](double z) {
        glVertex3d(x0, y, z);
        glVertex3d(x0 + sx, y, z);
    });
}

void KivGraph3D::drawGridYZ(bool far)
{
    const double x0 = axisOffset[0], y0 = axisOffset[1], z0 = axisOffset[2];
    const double sx = gridSize[0], sy = gridSize[1], sz = gridSize[2];
    const double x = x0 + (far ? sx : 0.0);
    forEachGridLine(y0, sy / GridDivisions, y0 + sy, [&](double y) {
        glVertex3d(x, y, z0);
        glVertex3d(x, y, z0 + sz);
    });
    forEachGridLine(z0, sz / GridDivisions, z0 + sz, [&](double z) {
        glVertex3d(x, y0, z);
        glVertex3d(x, y0 + sy, z);
    });
}

QImage KivGraph3D::toImage(const QSize& size, qreal scale)
{
    return KivExport::toImage(this, size, scale);
}

bool KivGraph3D::saveImage(const QString& path, const QSize& size, qreal scale)
{
    return KivExport::saveImage(this, path, size, scale);
}

void KivGraph3D::renderTo(QPainter* painter, const QRectF& target)
{
    KivExport::renderTo(this, painter, target);
}

void KivGraph3D::setExportRatio(qreal ratio)
{
    d->exportRatio = ratio;
}

int KivGraph3D::metric(PaintDeviceMetric metric) const
{
    if (d->exportRatio > 0.0) {
        if (metric == PdmDevicePixelRatio)
            return qRound(d->exportRatio);
        if (metric == PdmDevicePixelRatioScaled)
            return qRound(d->exportRatio * devicePixelRatioFScale());
    }
    return QOpenGLWidget::metric(metric);
}
