#include "serialsource.h"

#include <QSerialPort>
#include <QThread>

#include <cstdio>

SerialSource::SerialSource(const QString& name, int rate)
    : device(name)
    , baud(rate)
{
}

SerialSource::~SerialSource() = default;

QString SerialSource::description() const
{
    return QStringLiteral("%1 at %2 baud").arg(device).arg(baud);
}

bool SerialSource::reopen()
{
    if (sinceAttempt.isValid() && sinceAttempt.elapsed() < 500)
        return false; // not yet: a failed attempt was just made
    sinceAttempt.start();
    if (!port)
        port = std::make_unique<QSerialPort>();
    port->setPortName(device);
    if (!port->open(QIODevice::ReadOnly))
        return false;
    port->setBaudRate(baud);
    port->setDataBits(QSerialPort::Data8);
    port->setParity(QSerialPort::NoParity);
    port->setStopBits(QSerialPort::OneStop);
    port->setFlowControl(QSerialPort::NoFlowControl);
    return true;
}

StreamSource::Status SerialSource::read(char* buffer, std::size_t capacity, std::size_t& size, int timeoutMs)
{
    if (!port || !port->isOpen()) {
        if (!reopen()) {
            QThread::msleep(unsigned(qMin(timeoutMs, 100)));
            if (lossReported)
                return Idle;
            lossReported = true;
            std::fprintf(stderr, "kivscope: %s: %s\n", qPrintable(device), qPrintable(port->errorString()));
            return Lost;
        }
        lossReported = false;
    }
    if (port->bytesAvailable() == 0)
        port->waitForReadyRead(timeoutMs);
    const qint64 n = port->read(buffer, qint64(capacity));
    if (n > 0) {
        size = std::size_t(n);
        return Data;
    }
    const QSerialPort::SerialPortError error = port->error();
    if (n < 0 || (error != QSerialPort::NoError && error != QSerialPort::TimeoutError)) {
        std::fprintf(stderr, "kivscope: %s: %s\n", qPrintable(device), qPrintable(port->errorString()));
        port->close();
        port->clearError();
        lossReported = true;
        return Lost;
    }
    return Idle;
}
