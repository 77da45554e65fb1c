#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>

namespace testsupport {

QString sharedDataDir()
{
    const QString dir = QString::fromUtf8(HOLTER_SHARED_DATA);
    if (QFileInfo(dir + "/mitdb").isDir() || QFileInfo(dir + "/qtdb").isDir())
        return QDir(dir).absolutePath();
    return QString();
}

TempRoot::TempRoot()
{
    if (!m_dir.isValid())
        throw std::runtime_error("cannot create a temporary folder for the test");
}

qint64 FailingIo::allowance(qint64 size)
{
    return m_budget < 0 ? size : std::max<qint64>(0, std::min(size, m_budget - m_written));
}

qint64 FailingIo::write(QIODevice& device, const char* data, qint64 size)
{
    const qint64 n = allowance(size);
    const qint64 done = n > 0 ? device.write(data, n) : 0;
    m_written += std::max<qint64>(done, 0);
    return done;
}

size_t FailingIo::write(std::FILE* file, const void* data, size_t size)
{
    const qint64 n = allowance(qint64(size));
    const size_t done = n > 0 ? std::fwrite(data, 1, size_t(n), file) : 0;
    m_written += qint64(done);
    return done;
}

bool FailingIo::commit(QSaveFile& file)
{
    if (m_failCommit) {
        file.cancelWriting();
        file.commit();
        return false;
    }
    return file.commit();
}

QByteArray readAll(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray();
    return f.readAll();
}

void writeAll(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        throw std::runtime_error("cannot write test file " + path.toStdString());
    f.write(bytes);
}

} // namespace testsupport
