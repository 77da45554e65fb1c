#pragma once

#include <QString>
#include <QtGlobal>

#include <cstdio>
#include <stdexcept>
#include <string>

class QIODevice;
class QSaveFile;

// Failure of a store file operation, carrying the finished message for the user.
class StoreError : public std::runtime_error
{
public:
    explicit StoreError(const std::string& message)
        : std::runtime_error(message)
    {
    }
    explicit StoreError(const char* message)
        : std::runtime_error(message)
    {
    }
    // "<what> <path>", the path with the platform's separators: the user learns which file.
    StoreError(const char* what, const QString& path);
};

// Every write of the store goes through one of these, so that tests can make writes fail
// (disk full, short write) without a full disk. The standard instance simply writes.
class StoreIo
{
public:
    virtual ~StoreIo() = default;

    // Bytes actually written; fewer than `size` means failure.
    virtual qint64 write(QIODevice& device, const char* data, qint64 size);
    virtual size_t write(std::FILE* file, const void* data, size_t size);
    virtual bool commit(QSaveFile& file);

    // The stateless default; `io` or the default when null.
    static StoreIo& standard();
    static StoreIo& orStandard(StoreIo* io) { return io ? *io : standard(); }
};
