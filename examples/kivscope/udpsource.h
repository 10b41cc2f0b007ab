#ifndef KIVSCOPE_UDPSOURCE_H
#define KIVSCOPE_UDPSOURCE_H

#include "streamsource.h"

#include <memory>

// Receives datagrams on a UDP port; each datagram is one record of whole lines or frames.
class UdpSource : public StreamSource
{
public:
    // Binds `address` (a numeric IPv4 or IPv6 address) and `port`; null with `error` set
    // when that fails.
    static std::unique_ptr<UdpSource> bind(const QString& address, quint16 port, QString& error);
    ~UdpSource() override;

    Status read(char* buffer, std::size_t capacity, std::size_t& size, int timeoutMs) override;
    bool readsRecords() const override { return true; }
    QString description() const override { return name; }

private:
    UdpSource(int fd, const QString& description);

    int fd;
    QString name;
};

#endif
