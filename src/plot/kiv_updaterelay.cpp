#include "kiv_updaterelay.h"
#include "kiv_dataset.h"

#include <QThread>

KivUpdateRelay::KivUpdateRelay(QObject* parent)
    : QObject(parent)
    , m_threadId(QThread::currentThreadId())
{
    m_trailing.setSingleShot(true);
    connect(&m_trailing, &QTimer::timeout, this, &KivUpdateRelay::trailingUpdate);
}

void KivUpdateRelay::request()
{
    if (QThread::currentThreadId() == m_threadId) {
        emit updateRequested();
        return;
    }
    // Test first, so that producers finding a call pending only read the flag.
    if (m_pending.load() || m_pending.exchange(true))
        return;
    QMetaObject::invokeMethod(this, "deliver", Qt::QueuedConnection);
}

void KivUpdateRelay::rearm()
{
    m_pending.store(false);
}

void KivUpdateRelay::deliver()
{
    emit updateRequested();
}

void KivUpdateRelay::attach(KivDataSet* ds, KivUpdateRelay* relay)
{
    ds->setUpdateRelay(relay);
}

void KivUpdateRelay::scheduleTrailing(qint64 delayMs)
{
    if (!m_trailing.isActive())
        m_trailing.start(int(qBound<qint64>(0, delayMs, 1000)));
}

void KivUpdateRelay::cancelTrailing()
{
    m_trailing.stop();
}
