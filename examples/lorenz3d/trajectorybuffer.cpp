#include "trajectorybuffer.h"

void TrajectoryBuffer::append(const Point& p)
{
    std::lock_guard<std::mutex> lock(mutex);
    pending.push_back(p);
}

void TrajectoryBuffer::takeAll(std::vector<Point>& out)
{
    // Swap under the lock and copy outside it, so producers are not held up by the view.
    // The swapped-out vector keeps its capacity for the next round.
    spare.clear();
    {
        std::lock_guard<std::mutex> lock(mutex);
        pending.swap(spare);
    }
    out.insert(out.end(), spare.begin(), spare.end());
}
