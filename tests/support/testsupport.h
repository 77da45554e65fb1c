#pragma once

#include "store/storeio.h"

#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <exception>
#include <string>

namespace testsupport {

// The reference recordings folder, or empty when it is absent.
QString sharedDataDir();

// Skips the current test with a clear message when the reference recordings are absent.
#define HOLTER_REQUIRE_SHARED_DATA(dir)                                                         \
    const QString dir = testsupport::sharedDataDir();                                           \
    if (dir.isEmpty())                                                                          \
        GTEST_SKIP() << "reference recordings not found (expected ../shared/data beside the "  \
                        "project); skipping"

// A store root that vanishes with the test.
class TempRoot
{
public:
    TempRoot();
    QString path() const { return m_dir.path(); }
    QString file(const QString& name) const { return m_dir.filePath(name); }

private:
    QTemporaryDir m_dir;
};

// Writes normally until `budget` bytes have gone through, then writes short, as a disk that
// fills up would. A negative budget never fails. `failCommit` makes QSaveFile commits fail.
class FailingIo : public StoreIo
{
public:
    explicit FailingIo(qint64 budget = -1) : m_budget(budget) {}
    void setBudget(qint64 budget) { m_budget = budget; }
    void setFailCommit(bool fail) { m_failCommit = fail; }
    qint64 written() const { return m_written; }

    qint64 write(QIODevice& device, const char* data, qint64 size) override;
    size_t write(std::FILE* file, const void* data, size_t size) override;
    bool commit(QSaveFile& file) override;

private:
    qint64 allowance(qint64 size);
    qint64 m_budget;
    qint64 m_written = 0;
    bool m_failCommit = false;
};

// The message of what f throws, or "no error".
template <typename F> std::string errorOf(F&& f)
{
    try {
        f();
    } catch (const std::exception& e) {
        return e.what();
    }
    return "no error";
}

// Reads a whole file; empty if it can't be read.
QByteArray readAll(const QString& path);
// Writes bytes to a file, replacing it.
void writeAll(const QString& path, const QByteArray& bytes);

} // namespace testsupport
