#ifndef KIVSCOPE_SERIALSOURCE_H
#define KIVSCOPE_SERIALSOURCE_H

#include "streamsource.h"

#include <QElapsedTimer>

#include <memory>

class QSerialPort;

// Reads a serial port at a given baud rate (8N1). When the port cannot be opened, fails or
// disappears, a read reports it once as lost, and reads keep trying to open it twice a second. The port object
// is made by the first read, so it lives in the reading thread.
class SerialSource : public StreamSource
{
public:
    SerialSource(const QString& device, int baud);
    ~SerialSource() override;

    Status read(char* buffer, std::size_t capacity, std::size_t& size, int timeoutMs) override;
    QString description() const override;

private:
    bool reopen();

    QString device;
    int baud;
    std::unique_ptr<QSerialPort> port;
    QElapsedTimer sinceAttempt;
    bool lossReported = false; // this outage was reported already
};

#endif
