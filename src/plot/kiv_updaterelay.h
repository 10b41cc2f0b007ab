#ifndef KIV_UPDATERELAY_H
#define KIV_UPDATERELAY_H

#include <QObject>
#include <QTimer>

#include <atomic>

class KivDataSet;

/*!
 * \brief Carries repaint requests of producer threads to a view's GUI thread.
 *
 * A producer may ask for a repaint with every sample. Posting one queued call per request
 * drowns the GUI thread in events, so the relay posts one call and then stays quiet until
 * the view calls rearm(), as its next frame starts and takes every sample added so far.
 * On the relay's own thread a request is delivered at once. It also carries the trailing
 * repaint of a throttle window, so that the last samples of a burst are drawn.
 */
class KivUpdateRelay : public QObject
{
    Q_OBJECT

public:
    //! Created on, and delivering to, the GUI thread of \a parent.
    explicit KivUpdateRelay(QObject* parent);

    //! Any thread.
    void request();
    //! Lets the next request from another thread post a call again. GUI thread.
    void rearm();
    //! Lets \a ds announce its samples through this relay (null detaches it).
    static void attach(KivDataSet* ds, KivUpdateRelay* relay);

    //! Asks for trailingUpdate() after \a delayMs unless one is due already.
    void scheduleTrailing(qint64 delayMs);
    void cancelTrailing();

signals:
    void updateRequested();
    void trailingUpdate();

private slots:
    void deliver();

private:
    // The GUI thread, compared by id: cheaper than QThread::currentThread() per sample.
    const Qt::HANDLE m_threadId;
    std::atomic<bool> m_pending{false};
    QTimer m_trailing;
};

#endif // KIV_UPDATERELAY_H
