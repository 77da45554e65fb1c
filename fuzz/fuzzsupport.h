#pragma once

// What the reader drivers share: a private scratch folder for readers that want a path, a
// scratch store, and a core application for Qt's plugins.

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <cstdint>

class StudyRepository;

namespace fuzzsupport {

// Creates the core application unless the process has one.
void initialize(int* argc, char*** argv);

// A file of the scratch folder holding `bytes` (created or replaced), and its path.
QString writeScratch(const QString& name, const QByteArray& bytes);
QString scratchPath(const QString& name);

// A store in the scratch folder (its own SQLite index), made on first use.
StudyRepository& repository();
// Closes the scratch store, for a process whose application goes away first.
void releaseRepository();

inline QByteArray bytesOf(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), int(size));
}

} // namespace fuzzsupport
