#pragma once

#include <QSharedMemory>
#include <QString>

// Marks this process as the one running copy of the application: a small shared-memory segment
// named by `key` exists while the guard that created it lives.
//
// On Linux a segment survives a process that crashed or was killed, and a plain create() would
// then refuse every later start. The guard therefore first attaches to an existing segment and
// detaches again: the system removes a segment when its last user detaches, so a stale one
// disappears, while one that a live copy holds stays and makes create() fail as it should.
class InstanceGuard
{
public:
    static constexpr int kSegmentBytes = 256;

    explicit InstanceGuard(const QString& key);
    InstanceGuard(const InstanceGuard&) = delete;
    InstanceGuard& operator=(const InstanceGuard&) = delete;

    // True when this guard owns the segment, i.e. no other copy was running.
    bool isFirst() const { return m_first; }
    QString key() const { return m_key; }

private:
    QString m_key;
    QSharedMemory m_memory;
    bool m_first = false;
};
