#include "shell/instanceguard.h"

InstanceGuard::InstanceGuard(const QString& key)
    : m_key(key)
    , m_memory(key)
{
    {
        // Clears a segment left behind by a copy that died; see the class comment.
        QSharedMemory probe(key);
        if (probe.attach())
            probe.detach();
    }
    m_first = m_memory.create(kSegmentBytes, QSharedMemory::ReadWrite);
}
