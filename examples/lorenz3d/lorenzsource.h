#ifndef LORENZSOURCE_H
#define LORENZSOURCE_H

#include <QThread>

class TrajectoryBuffer;

/*!
 * \brief Integrates the Lorenz system on its own thread and feeds the points to a buffer,
 * the way a measurement thread would feed a live view.
 */
class LorenzSource : public QThread
{
    Q_OBJECT

public:
    explicit LorenzSource(TrajectoryBuffer* buffer, QObject* parent = nullptr);
    //! Stops the thread and waits for it.
    ~LorenzSource() override;

protected:
    void run() override;

private:
    TrajectoryBuffer* buffer;
};

#endif // LORENZSOURCE_H
