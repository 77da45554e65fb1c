#include "fuzz/fuzzsupport.h"
#include "fuzz/fuzzreaders.h"

#include "store/studyrepository.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <memory>

namespace fuzzsupport {

namespace {

// The application and the store are never destroyed at exit: libFuzzer leaves through exit(),
// after Qt's own globals are gone, and their destructors would crash there.
QCoreApplication* s_app = nullptr;
StudyRepository* s_repository = nullptr;
std::unique_ptr<QTemporaryDir> s_scratch;

} // namespace

void initialize(int* argc, char*** argv)
{
    if (!QCoreApplication::instance())
        s_app = new QCoreApplication(*argc, *argv);
}

QString scratchPath(const QString& name)
{
    if (!s_scratch) {
        // Memory-backed when the machine has it: every input goes through a file.
        const QString base = QDir("/dev/shm").exists() ? QString("/dev/shm") : QDir::tempPath();
        s_scratch = std::make_unique<QTemporaryDir>(base + "/holter-fuzz-XXXXXX");
        if (!s_scratch->isValid())
            qFatal("holter fuzz: cannot create a scratch folder in %s", qPrintable(base));
    }
    return s_scratch->path() + "/" + name; // filePath() would take ":x" for a resource
}

QString writeScratch(const QString& name, const QByteArray& bytes)
{
    const QString path = scratchPath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(bytes) != bytes.size())
        qFatal("holter fuzz: cannot write %s", qPrintable(path));
    return path;
}

StudyRepository& repository()
{
    if (!s_repository) {
        StudyRepository::Options options;
        options.rootOverride = scratchPath("store");
        options.freeSpaceQuery = [](const QString&) { return qint64(-1); };
        s_repository = new StudyRepository("HolterFuzz", options);
    }
    return *s_repository;
}

void releaseRepository()
{
    delete s_repository;
    s_repository = nullptr;
}

} // namespace fuzzsupport

const std::vector<fuzzreaders::Reader>& fuzzreaders::allReaders()
{
    static const std::vector<Reader> readers = { { "cardfile", cardfile }, { "vtstudy", vtstudy },
        { "vtecg", vtecg }, { "vtbeats", vtbeats }, { "vtz", vtz }, { "vtecgz", vtecgz },
        { "wfdbheader", wfdbheader }, { "wfdbannotations", wfdbannotations }, { "edf", edf },
        { "ishne", ishne } };
    return readers;
}
