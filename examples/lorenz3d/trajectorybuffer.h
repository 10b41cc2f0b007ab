#ifndef TRAJECTORYBUFFER_H
#define TRAJECTORYBUFFER_H

#include <array>
#include <mutex>
#include <vector>

/*!
 * \brief Hands points from a computing thread to the GUI thread.
 *
 * Producers append under a mutex; the view takes everything pending in one swap, so the
 * lock is held only for a push or a swap and the points keep their order.
 */
class TrajectoryBuffer
{
public:
    using Point = std::array<double, 3>;

    void append(const Point& p);
    //! Moves all pending points, oldest first, to the end of \a out.
    void takeAll(std::vector<Point>& out);

private:
    std::mutex mutex;
    std::vector<Point> pending;
    std::vector<Point> spare;
};

#endif // TRAJECTORYBUFFER_H
