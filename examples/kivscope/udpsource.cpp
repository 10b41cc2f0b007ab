#include "udpsource.h"

#include <cerrno>
#include <cstring>

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

std::unique_ptr<UdpSource> UdpSource::bind(const QString& address, quint16 port, QString& error)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_DGRAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICHOST | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int rc = ::getaddrinfo(address.toLatin1().constData(), QByteArray::number(port).constData(), &hints, &found);
    if (rc != 0) {
        error = QStringLiteral("udp %1: %2").arg(address, QString::fromLocal8Bit(gai_strerror(rc)));
        return nullptr;
    }
    const int fd = ::socket(found->ai_family, found->ai_socktype | SOCK_CLOEXEC, found->ai_protocol);
    // A deep receive buffer rides out the moments the reader is busy handing rows over.
    const int depth = 4 << 20;
    if (fd >= 0)
        ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &depth, sizeof depth);
    if (fd < 0 || ::bind(fd, found->ai_addr, found->ai_addrlen) != 0) {
        error = QStringLiteral("udp %1 port %2: %3").arg(address).arg(port).arg(QString::fromLocal8Bit(std::strerror(errno)));
        if (fd >= 0)
            ::close(fd);
        ::freeaddrinfo(found);
        return nullptr;
    }
    ::freeaddrinfo(found);
    return std::unique_ptr<UdpSource>(new UdpSource(fd, QStringLiteral("udp %1:%2").arg(address).arg(port)));
}

UdpSource::UdpSource(int descriptor, const QString& description)
    : fd(descriptor)
    , name(description)
{
}

UdpSource::~UdpSource()
{
    ::close(fd);
}

StreamSource::Status UdpSource::read(char* buffer, std::size_t capacity, std::size_t& size, int timeoutMs)
{
    pollfd p{fd, POLLIN, 0};
    if (::poll(&p, 1, timeoutMs) <= 0)
        return Idle;
    // A datagram larger than the buffer is cut; its tail is lost, and the decoder counts it.
    const ssize_t n = ::recv(fd, buffer, capacity, 0);
    if (n <= 0)
        return Idle;
    size = std::size_t(n);
    return Data;
}
