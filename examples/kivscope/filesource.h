#ifndef KIVSCOPE_FILESOURCE_H
#define KIVSCOPE_FILESOURCE_H

#include "streamsource.h"

#include <memory>

// Reads a file, a pipe or standard input through a file descriptor.
class FileSource : public StreamSource
{
public:
    // "-" is standard input. Null with `error` set when the file cannot be opened.
    static std::unique_ptr<FileSource> open(const QString& path, QString& error);
    // Reads `fd`, closing it at the end when `owned`.
    FileSource(int fd, bool owned, const QString& description, bool replayable);
    ~FileSource() override;

    Status read(char* buffer, std::size_t capacity, std::size_t& size, int timeoutMs) override;
    bool isReplayable() const override { return replayable; }
    QString description() const override { return name; }

private:
    int fd;
    bool owned;
    bool replayable;
    QString name;
};

#endif
