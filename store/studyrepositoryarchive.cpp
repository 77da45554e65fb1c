// Study archives (vtz): one zip file that carries a whole study between workstations.
#include "store/studyrepository.h"

#include "store/beatfile.h"
#include "store/ecgcompression.h"
#include "store/ecgfile.h"
#include "store/qzipfilecreator.h"
#include "store/qzipfileextractor.h"
#include "store/storeio.h"
#include "store/study.h"
#include "store/studyfile.h"
#include "store/studyfileswap.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <cstring>

namespace {

const char kArchiveComment[] = "VTZIP2";
const char kArchiveExt[] = "vtz";
const char kNotAnArchive[] = "File is not a valid Veltrona study zip archive";

// Bounds on what an entry may inflate to, so that a crafted archive can't fill the disk.
constexpr qint64 kMaxInfoBytes = 64 * 1024;
constexpr qint64 kMaxStudyBytes = qint64(64) << 20; // descriptive data and results
constexpr qint64 kMaxEcgzBytes = 0xffffffffLL; // without zip64 nothing is larger
constexpr double kMaxRecordingHours = 72.0; // recorders hold 24 or 48 hours
constexpr double kMaxBeatRecordsPerSecond = 10.0; // 600/min: beyond any heart, noise included
constexpr qint64 kSpareBeatRecords = 1000;

[[noreturn]] void fail(const QString& message)
{
    throw StoreError(message.toStdString());
}

// A base name only ever names three files directly in the store's root.
bool isSafeBaseName(const QByteArray& name)
{
    if (name.isEmpty() || name.size() > 200 || name.startsWith('.') || name.contains(".."))
        return false;
    for (char c : name)
        if (c == '/' || c == '\\' || c == ':' || (static_cast<unsigned char>(c) < 0x20))
            return false;
    return true;
}

QByteArray infoJson(const StudyInfo& row)
{
    QJsonObject patient;
    patient["lastName"] = QString::fromUtf8(row.patientLastName);
    patient["firstName"] = QString::fromUtf8(row.patientFirstName);
    QJsonObject o;
    o["baseFilename"] = QString::fromUtf8(row.baseFilename);
    o["studyDateTime"] = QString::fromUtf8(row.studyDateTime);
    o["studyType"] = QString::fromUtf8(row.studyType);
    o["patient"] = patient;
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

bool cancelled(const CancelFlag* cancel)
{
    return cancel && cancel->load();
}

// Reports a step of a longer operation as its share [from, to) of a 1000-step whole.
class StepSink : public ProgressSink
{
public:
    StepSink(ProgressSink* outer, int from, int to)
        : m_outer(outer)
        , m_from(from)
        , m_to(to)
    {
    }
    void progress(qint64 position, qint64 total) override
    {
        if (m_outer && total > 0)
            m_outer->progress(m_from + (m_to - m_from) * position / total, kWhole);
    }
    void reach(int step)
    {
        if (m_outer)
            m_outer->progress(step, kWhole);
    }
    static constexpr qint64 kWhole = 1000;

private:
    ProgressSink* m_outer;
    qint64 m_from;
    qint64 m_to;
};

// Stops a decompression once its output outgrows `maxBytes`, or when the caller cancels:
// the codec only knows one stop flag, so this one relays the caller's.
class BoundedOutputSink : public ProgressSink
{
public:
    BoundedOutputSink(
        StepSink& step, const QString& output, qint64 maxBytes, const CancelFlag* cancel)
        : m_step(step)
        , m_output(output)
        , m_maxBytes(maxBytes)
        , m_cancel(cancel)
    {
    }
    void progress(qint64 position, qint64 total) override
    {
        m_step.progress(position, total);
        if (QFileInfo(m_output).size() > m_maxBytes)
            m_tooLarge = true;
        m_stop = m_tooLarge || cancelled(m_cancel);
    }
    const CancelFlag* stopFlag() const { return &m_stop; }
    bool tooLarge() const { return m_tooLarge || QFileInfo(m_output).size() > m_maxBytes; }

private:
    StepSink& m_step;
    QString m_output;
    qint64 m_maxBytes;
    const CancelFlag* m_cancel;
    CancelFlag m_stop { false };
    bool m_tooLarge = false;
};

// The largest vtecg that the vtecgz header at `path` may decompress to, or -1 when the
// header is unusable.
qint64 decompressedBound(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    QByteArray header = file.read(EcgFile::kHeaderSize);
    if (!header.startsWith("VTECGZ"))
        return -1;
    header = header.mid(6);
    if (header.indexOf('\0') >= 0)
        header.truncate(header.indexOf('\0'));
    const QJsonObject ecg = QJsonDocument::fromJson(header).object().value("ecg").toObject();
    const int rate = ecg.value("samplingRate").toInt();
    const int channels = ecg.value("channels").toArray().size();
    if (rate < 1 || rate > 100000 || channels < 1 || channels > SignalSource::kMaxChannels)
        return -1;
    return EcgFile::kHeaderSize
        + qint64(kMaxRecordingHours * 3600.0 * rate) * channels * qint64(sizeof(qint16));
}

// Moves a finished file over the final name in one step, so that the folder never shows a
// half-written archive under that name.
bool replaceFile(const QString& from, const QString& to)
{
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return true;
#ifdef Q_OS_WIN
    // Where a rename does not replace, make room first.
    return QFile::remove(to) && QFile::rename(from, to);
#else
    return false;
#endif
}

// The id that a staged study document carries; throws unless it is a whole document of the
// study that the archive's "info" names.
int stagedStudyId(const QString& path, const QByteArray& baseName)
{
    QJsonDocument doc;
    if (!readStudyDocument(path, doc))
        fail(kNotAnArchive);
    const QJsonObject root = doc.object();
    const QJsonObject study = root.value("study").toObject();
    if (root.isEmpty() || study.isEmpty() || root.value("patient").toObject().isEmpty())
        fail(kNotAnArchive);
    // Saving writes to the name the document holds: it must be the one checked in "info".
    if (study.value("baseFilename").toString().toUtf8() != baseName)
        fail(kNotAnArchive);
    const double id = study.value("id").toDouble();
    if (id < 1 || id > 999999999 || id != std::floor(id))
        fail(kNotAnArchive);
    return int(id);
}

// A beats file is whole when it holds the header and whole records, and its last entry lies
// within the recording.
bool beatsFileFits(const QString& path, int channels, double durationSeconds)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const qint64 recordSize = BeatFile::recordSize(channels);
    const qint64 size = file.size();
    if (size < BeatFile::kHeaderSize || (size - BeatFile::kHeaderSize) % recordSize != 0
        || !file.read(BeatFile::kHeaderSize).startsWith(BeatFile::kMagic))
        return false;
    if (size == BeatFile::kHeaderSize)
        return true;
    // The first field of a record is its window start in seconds, little-endian.
    if (!file.seek(size - recordSize))
        return false;
    const QByteArray field = file.read(8);
    if (field.size() != 8)
        return false;
    quint64 bits = 0;
    for (int i = 7; i >= 0; --i)
        bits = (bits << 8) | static_cast<unsigned char>(field[i]);
    double windowStart;
    std::memcpy(&windowStart, &bits, sizeof windowStart);
    return std::isfinite(windowStart) && windowStart <= durationSeconds + 1.0;
}

} // namespace

bool StudyRepository::readArchiveInfo(const QString& path, StudyInfo& info)
{
    QJsonObject o;
    try {
        QZipFileExtractor zip(path);
        if (zip.comment() != kArchiveComment)
            return false;
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        if (!zip.extractToDevice("info", &buffer, kMaxInfoBytes))
            return false;
        o = QJsonDocument::fromJson(buffer.data()).object();
    } catch (const std::exception&) {
        return false; // not a zip, or a damaged one: not an archive of ours either way
    }
    const QByteArray baseName = o.value("baseFilename").toString().toUtf8();
    const QJsonObject patient = o.value("patient").toObject();
    if (o.isEmpty() || baseName.isEmpty() || patient.isEmpty() || !isSafeBaseName(baseName))
        return false;
    info.id = 0;
    info.baseFilename = baseName;
    info.studyDateTime = o.value("studyDateTime").toString().toUtf8();
    info.studyType = o.value("studyType").toString().toUtf8();
    info.patientLastName = patient.value("lastName").toString().toUtf8();
    info.patientFirstName = patient.value("firstName").toString().toUtf8();
    return true;
}

QList<QPair<QString, StudyInfo>> StudyRepository::listArchives(const QString& folder)
{
    QList<QPair<QString, StudyInfo>> list;
    const QDir dir(folder);
    for (const QString& name :
        dir.entryList({ QString("*.") + kArchiveExt }, QDir::Files, QDir::Name)) {
        StudyInfo info;
        if (readArchiveInfo(QString("%1/%2").arg(folder, name), info))
            list.append({ name, info });
    }
    return list;
}

QString StudyRepository::exportStudy(
    int id, const QString& folder, ProgressSink* sink, const CancelFlag* cancel)
{
    StudyInfo row;
    if (!studyExists(id, row))
        return QString();
    // Another station would refuse the archive; better to say so here.
    if (!isSafeBaseName(row.baseFilename))
        fail(QString("Study %1 has a file name that cannot travel in an archive").arg(id));
    const QString base = QString::fromUtf8(row.baseFilename);
    const QString tempEcgz = QString("%1/temp/%2.%3").arg(m_rootPath, base, "vtecgz");
    const QString archive = QString("%1/%2.%3").arg(folder, base, kArchiveExt);
    // Written under a name that lists skip, and renamed when whole.
    const QString partial = QString("%1/.%2.%3.part").arg(folder, base, kArchiveExt);

    struct Cleanup
    {
        QString tempEcgz, partial;
        ~Cleanup()
        {
            QFile::remove(tempEcgz);
            QFile::remove(partial);
        }
    } cleanup { tempEcgz, partial };

    StepSink compressing(sink, 0, 900);
    if (!compressEcgFile(studyPath(row.baseFilename, "vtecg"), tempEcgz, &compressing, cancel)) {
        if (cancelled(cancel))
            fail("Export cancelled");
        fail("ECG file compression failed");
    }
    {
        QZipFileCreator zip(partial, m_io);
        zip.setComment(kArchiveComment);
        const struct
        {
            QString path;
            const char* entry;
            bool store;
        } entries[] = { { studyPath(row.baseFilename, "vtstudy"), "vtstudy", true },
            { tempEcgz, "vtecgz", true },
            { studyPath(row.baseFilename, "vtbeats"), "vtbeats", false } };
        int step = 900;
        for (const auto& e : entries) {
            if (cancelled(cancel))
                fail("Export cancelled");
            zip.addFile(e.path, e.entry, e.store);
            compressing.reach(step += 30);
        }
        zip.addData(infoJson(row), "info");
        zip.close();
    }
    if (cancelled(cancel))
        fail("Export cancelled");
    if (!replaceFile(partial, archive))
        fail(QString("Cannot replace %1").arg(QDir::toNativeSeparators(archive)));
    compressing.reach(StepSink::kWhole - 1);
    return archive;
}

void StudyRepository::refuseIfOpen(int id, const QByteArray& baseName) const
{
    for (const auto& entry : m_openStudies)
        if (entry.first == id || entry.second->property(QByteArray("baseFilename")) == baseName)
            fail(QString("Study %1 is open; close it before importing it again").arg(entry.first));
}

int StudyRepository::importStudy(const QString& path, ProgressSink* sink, const CancelFlag* cancel)
{
    StudyInfo info;
    if (!readArchiveInfo(path, info))
        fail(kNotAnArchive);
    auto checkCancel = [cancel] {
        if (cancelled(cancel))
            fail("Import cancelled");
    };
    // Everything is unpacked and checked beside the store first; the study's files are
    // replaced only once the new ones are known to be whole.
    QTemporaryDir staging(QString("%1/temp/import-XXXXXX").arg(m_rootPath));
    if (!staging.isValid())
        fail(QString("Cannot create a temporary folder in %1")
                 .arg(QDir::toNativeSeparators(m_rootPath + "/temp")));
    const QString base = QString::fromUtf8(info.baseFilename);
    auto staged
        = [&](const char* ext) { return QString("%1/%2.%3").arg(staging.path(), base, ext); };
    StepSink step(sink, 0, StepSink::kWhole);
    QZipFileExtractor zip(path);

    if (!zip.extractFile("vtstudy", staged("vtstudy"), kMaxStudyBytes, m_io))
        fail(kNotAnArchive);
    info.id = stagedStudyId(staged("vtstudy"), info.baseFilename);
    refuseIfOpen(info.id, info.baseFilename);
    // A namesake from another station must not overwrite a different study's files.
    for (const StudyInfo& local : listStudies())
        if (local.id != info.id && local.baseFilename == info.baseFilename)
            fail(QString("Study %1 here already uses the name %2; the archive is not imported")
                     .arg(local.id)
                     .arg(base));
    checkCancel();

    if (!zip.extractFile("vtecgz", staged("vtecgz"), kMaxEcgzBytes, m_io))
        fail(kNotAnArchive);
    step.reach(100);
    checkCancel();
    const qint64 ecgBound = decompressedBound(staged("vtecgz"));
    if (ecgBound < 0)
        fail("ECG file uncompression failed");
    StepSink decompressing(sink, 100, 900);
    BoundedOutputSink bounded(decompressing, staged("vtecg"), ecgBound, cancel);
    const bool decompressed
        = decompressEcgFile(staged("vtecgz"), staged("vtecg"), &bounded, bounded.stopFlag());
    if (bounded.tooLarge())
        fail("Entry vtecgz in zip archive is larger than a study allows");
    checkCancel();
    if (!decompressed)
        fail("ECG file uncompression failed");
    QFile::remove(staged("vtecgz"));

    int channels = 0;
    double duration = 0.0; // seconds
    {
        std::unique_ptr<EcgFile> ecg(EcgFile::open(staged("vtecg")));
        const qint64 dataBytes = QFileInfo(staged("vtecg")).size() - EcgFile::kHeaderSize;
        if (!ecg || dataBytes < 0 || dataBytes % (2 * ecg->channelCount()) != 0)
            fail("ECG file uncompression failed");
        channels = ecg->channelCount();
        duration = ecg->duration();
    }

    const qint64 maxBeats = qint64(duration * kMaxBeatRecordsPerSecond) + kSpareBeatRecords;
    if (!zip.extractFile("vtbeats", staged("vtbeats"),
            BeatFile::kHeaderSize + maxBeats * BeatFile::recordSize(channels), m_io))
        fail(kNotAnArchive);
    if (!beatsFileFits(staged("vtbeats"), channels, duration))
        fail(kNotAnArchive);
    checkCancel();
    // The staged study must load as a whole, results included, before it replaces anything.
    try {
        std::unique_ptr<Study> probe(loadStudyFile(staged("vtstudy")));
        if (!probe)
            fail(kNotAnArchive);
    } catch (const StoreError&) {
        fail(kNotAnArchive);
    }
    step.reach(950);

    // The study file goes last: it is what makes the others a study.
    StudyFileSwap swap(staging.path());
    swap.place(staged("vtecg"), studyPath(info.baseFilename, "vtecg"));
    swap.place(staged("vtbeats"), studyPath(info.baseFilename, "vtbeats"));
    swap.place(staged("vtstudy"), studyPath(info.baseFilename, "vtstudy"));
    StudyInfo existing;
    writeRow(info, !studyExists(info.id, existing)); // a failure here restores the old files
    swap.commit();
    step.reach(StepSink::kWhole - 1);
    return info.id;
}
