#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "store/studyrepository.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <memory>

namespace fuzzsupport {

namespace {

std::unique_ptr<QCoreApplication> s_app;
std::unique_ptr<QTemporaryDir> s_scratch;
std::unique_ptr<StudyRepository> s_repository;

} // namespace

void initialize(int* argc, char*** argv)
{
    if (!QCoreApplication::instance())
        s_app = std::make_unique<QCoreApplication>(*argc, *argv);
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
    return s_scratch->filePath(name);
}

QString writeScratch(const QString& name, const QByteArray& bytes)
{
    const QString path = scratchPath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)
        || file.write(bytes) != bytes.size())
        qFatal("holter fuzz: cannot write %s", qPrintable(path));
    return path;
}

StudyRepository& repository()
{
    if (!s_repository) {
        StudyRepository::Options options;
        options.rootOverride = scratchPath("store");
        options.freeSpaceQuery = [](const QString&) { return qint64(-1); };
        s_repository = std::make_unique<StudyRepository>("HolterFuzz", options);
    }
    return *s_repository;
}

void releaseRepository()
{
    s_repository.reset();
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
