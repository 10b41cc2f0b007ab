#include "lorenzview.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

namespace {

const size_t TrailLength = 6000;
const double MarkerSize = 0.008;
const double ArrowHeadLength = 0.08;
const int CollectIntervalMs = 30;

// The attractor spans about +-20 in x, +-27 in y and 0..50 in z; this fits it into the
// grid cube, which runs from -1 to 1 on every axis.
TrajectoryBuffer::Point toScene(const TrajectoryBuffer::Point& p)
{
    return {p[0] / 30.0, p[1] / 30.0, (p[2] - 25.0) / 30.0};
}

} // namespace

LorenzView::LorenzView(TrajectoryBuffer* buffer, QWidget* parent)
    : KivGraph3D(parent)
    , buffer(buffer)
    , trail(TrailLength)
{
    connect(&timer, &QTimer::timeout, this, &LorenzView::collect);
    timer.start(CollectIntervalMs);
}

long long LorenzView::receivedCount() const
{
    return received;
}

void LorenzView::collect()
{
    incoming.clear();
    buffer->takeAll(incoming);
    if (incoming.empty())
        return;
    for (const TrajectoryBuffer::Point& p : incoming) {
        trail[head] = toScene(p);
        head = (head + 1) % TrailLength;
    }
    filled = std::min(TrailLength, filled + incoming.size());
    received += (long long)incoming.size();
    update();
}

void LorenzView::paintGL()
{
    // Clear, place the scene and draw the axis arrows; the grid is ours to add.
    KivGraph3D::paintGL();
    drawGrid();

    // Oldest first, fading from dark blue to orange as the points get newer.
    velo::Vector3 centre(0.0, 0.0, 0.0);
    const size_t first = (head + TrailLength - filled) % TrailLength;
    for (size_t i = 0; i < filled; ++i) {
        const TrajectoryBuffer::Point& p = trail[(first + i) % TrailLength];
        const double age = filled > 1 ? double(i) / double(filled - 1) : 1.0;
        glColor3d(0.1 + 0.9 * age, 0.2 + 0.3 * age, 0.6 - 0.5 * age);
        centre[0] = p[0];
        centre[1] = p[1];
        centre[2] = p[2];
        gluFastPoint(centre, MarkerSize);
    }

    if (filled == 0)
        return;
    // An arrow from the middle of the cube to where the trajectory is now; too close to
    // the middle there is no room for its head.
    const TrajectoryBuffer::Point& newest = trail[(head + TrailLength - 1) % TrailLength];
    const double distance = std::sqrt(newest[0] * newest[0] + newest[1] * newest[1] + newest[2] * newest[2]);
    if (distance < ArrowHeadLength)
        return;
    const velo::Vector3 origin(0.0, 0.0, 0.0);
    const velo::Vector3 tip(newest[0], newest[1], newest[2]);
    glColor3d(0.2, 0.2, 0.2);
    glPushMatrix();
    gluArrow(origin, tip, 0.008, 0.025, distance, ArrowHeadLength);
    glPopMatrix();
}
