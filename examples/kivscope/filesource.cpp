#include "filesource.h"

#include <QFileInfo>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

std::unique_ptr<FileSource> FileSource::open(const QString& path, QString& error)
{
    if (path == QLatin1String("-"))
        return std::make_unique<FileSource>(STDIN_FILENO, false, QStringLiteral("stdin"), false);
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        error = QStringLiteral("%1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno)));
        return nullptr;
    }
    // A named pipe or a device streams like stdin; only a regular file is replayed at a rate.
    const bool regular = QFileInfo(path).isFile();
    return std::make_unique<FileSource>(fd, true, QFileInfo(path).fileName(), regular);
}

FileSource::FileSource(int descriptor, bool own, const QString& description, bool canReplay)
    : fd(descriptor)
    , owned(own)
    , replayable(canReplay)
    , name(description)
{
}

FileSource::~FileSource()
{
    if (owned)
        ::close(fd);
}

StreamSource::Status FileSource::read(char* buffer, std::size_t capacity, std::size_t& size, int timeoutMs)
{
    pollfd p{fd, POLLIN, 0};
    const int ready = ::poll(&p, 1, timeoutMs);
    if (ready == 0 || (ready < 0 && errno == EINTR))
        return Idle;
    const ssize_t n = ::read(fd, buffer, capacity);
    if (n > 0) {
        size = std::size_t(n);
        return Data;
    }
    if (n < 0 && (errno == EINTR || errno == EAGAIN))
        return Idle;
    return End;
}
