#ifndef LORENZVIEW_H
#define LORENZVIEW_H

#include "trajectorybuffer.h"

#include <kiv_graph3d.h>

#include <QTimer>

#include <vector>

/*!
 * \brief A 3D view of the most recent part of a trajectory, drawn as fast point markers
 * over the grid, with an arrow from the centre of the cube to the newest point.
 */
class LorenzView : public KivGraph3D
{
    Q_OBJECT

public:
    explicit LorenzView(TrajectoryBuffer* buffer, QWidget* parent = nullptr);

    //! Points received so far, including those that have left the trail.
    long long receivedCount() const;

protected:
    void paintGL() override;

private slots:
    void collect();

private:
    TrajectoryBuffer* buffer;
    std::vector<TrajectoryBuffer::Point> incoming;
    // Ring of the newest points in scene coordinates; head is the next slot to write.
    std::vector<TrajectoryBuffer::Point> trail;
    size_t head = 0;
    size_t filled = 0;
    long long received = 0;
    QTimer timer;
};

#endif // LORENZVIEW_H
