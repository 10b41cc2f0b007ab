#include "lorenzsource.h"

#include "trajectorybuffer.h"

namespace {

// The classic parameters, for which the trajectory settles on the butterfly.
const double Sigma = 10.0;
const double Rho = 28.0;
const double Beta = 8.0 / 3.0;
const double TimeStep = 0.005;
// Steps computed between short sleeps; sets how fast the trajectory grows on screen.
const int StepsPerTick = 2;

using Point = TrajectoryBuffer::Point;

Point derivative(const Point& p)
{
    return {Sigma * (p[1] - p[0]), p[0] * (Rho - p[2]) - p[1], p[0] * p[1] - Beta * p[2]};
}

Point offset(const Point& p, const Point& d, double h)
{
    return {p[0] + h * d[0], p[1] + h * d[1], p[2] + h * d[2]};
}

// One classical Runge-Kutta step.
Point step(const Point& p)
{
    const Point k1 = derivative(p);
    const Point k2 = derivative(offset(p, k1, TimeStep / 2));
    const Point k3 = derivative(offset(p, k2, TimeStep / 2));
    const Point k4 = derivative(offset(p, k3, TimeStep));
    Point next;
    for (int i = 0; i < 3; ++i)
        next[size_t(i)] = p[size_t(i)]
            + TimeStep / 6.0 * (k1[size_t(i)] + 2.0 * k2[size_t(i)] + 2.0 * k3[size_t(i)] + k4[size_t(i)]);
    return next;
}

} // namespace

LorenzSource::LorenzSource(TrajectoryBuffer* buffer, QObject* parent)
    : QThread(parent)
    , buffer(buffer)
{
}

LorenzSource::~LorenzSource()
{
    requestInterruption();
    wait();
}

void LorenzSource::run()
{
    Point p = {1.0, 1.0, 1.0};
    while (!isInterruptionRequested()) {
        for (int i = 0; i < StepsPerTick; ++i) {
            p = step(p);
            buffer->append(p);
        }
        QThread::usleep(1000);
    }
}
