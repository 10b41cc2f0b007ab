#ifndef KIV_GRAPH3D_H
#define KIV_GRAPH3D_H

#include "kiv_global.h"

#include "velo_vector.h"

#include <QColor>
#include <QImage>
#include <QMetaType>
#include <QOpenGLFunctions>
#include <QOpenGLWidget>
#include <QPoint>

#include <memory>

class KivExport;
class QPainter;
struct GLUquadric;
class KivGraph3DPrivate;

/*!
 * \brief A rotatable, zoomable 3D view in an orthographic projection.
 *
 * Shows a grid cube and coloured axis arrows (x red, y blue, z green). Dragging with the
 * left button rotates the scene, with the right button moves it; the wheel zooms. Hosts
 * draw their own content by subclassing and overriding paintGL() or the drawing hooks,
 * using gluArrow() and gluFastPoint() for arrows and point markers.
 */
class KIV_EXPORT KivGraph3D : public QOpenGLWidget, public QOpenGLFunctions
{
    Q_OBJECT

public:
    //! Bounds handed to glOrtho before the correction for the widget's aspect ratio.
    struct ProjectionRect
    {
        double left = 0.0;
        double right = 0.0;
        double bottom = 0.0;
        double top = 0.0;
    };

    explicit KivGraph3D(QWidget* parent = nullptr);
    ~KivGraph3D() override;

    //! Corner of the grid cube (its minimum x, y and z).
    velo::Vector3 getAxisOffset() const;

    /*!
     * Zooms to \a level wheel steps, the projection being the base one times
     * (1 - zoomStep)^level. A level whose factor leaves [minZoomFactor, maxZoomFactor]
     * changes nothing. Returns the level now in effect, which the caller stores (the
     * wheel handler keeps it in zoomLevel).
     */
    int zoom(int level);

    //! Draws an arrow along +z from the origin. Leaves the model-view matrix translated to
    //! the head's base, so callers push and pop the matrix around it.
    void gluArrow(double shaftRadius, double headRadius, double length, double headLength);
    //! Draws an arrow of the given \a length starting at \a from and pointing towards \a to.
    //! Also leaves the model-view matrix changed.
    void gluArrow(const velo::Vector3& from, const velo::Vector3& to, double shaftRadius,
                  double headRadius, double length, double headLength);
    //! A cheap point marker: a double pyramid of half-width and half-height \a size.
    void gluFastPoint(const velo::Vector3& centre, double size);

    // Export; an invalid size means the view's own, a scale of 0 the screen's pixel ratio.
    //! The view as drawn, also when never shown; see KivGraph::toImage().
    QImage toImage(const QSize& size = QSize(), qreal scale = 0.0);
    //! PNG, JPEG, BMP by suffix, or PDF holding the raster picture.
    bool saveImage(const QString& path, const QSize& size = QSize(), qreal scale = 0.0);
    void renderTo(QPainter* painter, const QRectF& target);

public slots:
    //! Repaints soon. Safe from any thread: requests from other threads coalesce into one
    //! pending call however often a producer asks.
    void scheduleUpdate();
    //! Angles in degrees, kept in (-180, 180]; non-finite angles are ignored.
    void setXRotation(double angle);
    void setYRotation(double angle);
    void setZRotation(double angle);
    //! Moves the scene, in projection units.
    void setXPosOffset(double offset);
    void setYPosOffset(double offset);
    //! Moves the grid cube; takes effect at the next repaint.
    void setAxisOffset(const velo::Vector3& offsetVector);

signals:
    //! The angles are reported as passed to the setter, before normalisation.
    void xRotationChanged(double angle);
    void yRotationChanged(double angle);
    void zRotationChanged(double angle);
    void projectionRectChanged(const KivGraph3D::ProjectionRect& newRect,
                               const KivGraph3D::ProjectionRect& oldRect);

protected:
    //! Reports the export's pixel ratio while an export renders.
    int metric(PaintDeviceMetric metric) const override;
    void initializeGL() override;
    void resizeGL(int w, int h) override;
    //! Clears, places the scene and draws the axis arrows. The grid is left to subclasses,
    //! which call drawGrid() from their own paintGL().
    void paintGL() override;

    void wheelEvent(QWheelEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;

protected slots:
    virtual void clearGL();
    virtual void translateGL();
    virtual void rotateGL();
    //! Draws the three grid planes in one GL_LINES batch.
    virtual void drawGrid();
    virtual void drawGridArrows();
    // The plane hooks emit vertices only; drawGrid() wraps them in glBegin/glEnd.
    //! The floor at the cube's minimum z; \a far is not used.
    virtual void drawGridXY(bool far);
    //! \a far puts the plane at the cube's maximum y instead of its minimum.
    virtual void drawGridXZ(bool far);
    //! \a far puts the plane at the cube's maximum x instead of its minimum.
    virtual void drawGridYZ(bool far);

protected:
    //! Maps an angle in degrees into (-180, 180]. Non-finite angles give NaN.
    static double normalizedAngle(double a);

    //! Projection at zoom level 0, and the one in use.
    ProjectionRect baseProjection;
    ProjectionRect projection;
    //! The user's rotation in degrees, and the fixed rotation added to it.
    double xRot;
    double yRot;
    double zRot;
    double xRotOffset;
    double yRotOffset;
    double zRotOffset;
    double xPosOffset;
    double yPosOffset;
    //! Minimum corner and extent of the grid cube.
    velo::Vector3 axisOffset;
    velo::Vector3 gridSize;
    //! Fraction the projection shrinks per wheel step, and the bounds of its factor.
    double zoomStep;
    double minZoomFactor;
    double maxZoomFactor;
    int zoomLevel;
    QPoint lastMousePos;
    //! Grid lines are drawn a half lighter than this.
    QColor gridColor;
    //! Kept for hosts; the view itself clears with gridColor.
    QColor backgroundColor;
    QColor xAxisColor;
    QColor yAxisColor;
    QColor zAxisColor;
    GLUquadric* shaftQuadric;
    GLUquadric* headBaseQuadric;
    GLUquadric* shaftBaseQuadric;

private:
    friend class KivExport;

    //! Pixel ratio of an export under way; 0 ends it.
    void setExportRatio(qreal ratio);

    std::unique_ptr<KivGraph3DPrivate> const d;
};

Q_DECLARE_METATYPE(KivGraph3D::ProjectionRect)

#endif // KIV_GRAPH3D_H
