#include "recorder/recordingimport.h"

#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "recorder/edfheader.h"
#include "recorder/edfimport.h"
#include "recorder/ishneheader.h"
#include "recorder/ishneimport.h"
#include "recorder/recordingerror.h"
#include "recorder/wfdbimport.h"
#include "recorder/wfdbrecord.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

constexpr qint64 kHeadBytes = 4096;

bool isWfdbHeaderText(const QByteArray& head, const QString& path)
{
    if (head.contains('\0'))
        return false;
    try {
        WfdbHeader::parse(head, path);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

RecordingFormat detectRecordingFormat(const QString& path)
{
    const QFileInfo fi(path);
    if (fi.isDir())
        return QFileInfo::exists(CardSignalFile::dataFilePath(path)) ? RecordingFormat::Card
                                                                     : RecordingFormat::Unknown;
    if (!fi.exists())
        return QFileInfo::exists(path + ".hea") ? RecordingFormat::Wfdb : RecordingFormat::Unknown;
    if (fi.fileName().compare(CardSignalFile::kFileName, Qt::CaseInsensitive) == 0)
        return RecordingFormat::Card;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return RecordingFormat::Unknown;
    const QByteArray head = file.read(kHeadBytes);
    if (IshneHeader::looksLike(head))
        return RecordingFormat::Ishne;
    if (EdfHeader::looksLike(head))
        return RecordingFormat::Edf;
    // A record is named by its header's path: a small text whose record line parses.
    if (fi.suffix().compare("hea", Qt::CaseInsensitive) == 0 && file.size() <= kHeadBytes
        && isWfdbHeaderText(head, path))
        return RecordingFormat::Wfdb;
    return RecordingFormat::Unknown;
}

bool isImportableRecording(const QString& path)
{
    return detectRecordingFormat(path) != RecordingFormat::Unknown;
}

int importRecordingFile(StudyRepository& repository, const QString& path,
    const ImportPatient& patient, ProgressSink* progress, const CancelFlag* cancel)
{
    switch (detectRecordingFormat(path)) {
    case RecordingFormat::Card: {
        CardImportOptions options;
        options.patient = patient;
        const QString why = patient.incompleteReason();
        if (!why.isEmpty())
            throw RecordingError(why);
        const QString file = CardSignalFile::dataFilePath(path);
        return importCard(
            repository, file, CardSignalFile::findDataOffset(file), options, progress, cancel);
    }
    case RecordingFormat::Wfdb:
        return importWfdbRecord(repository, path, patient, progress, cancel);
    case RecordingFormat::Edf:
        return importEdfFile(repository, path, patient, progress, cancel);
    case RecordingFormat::Ishne:
        return importIshneFile(repository, path, patient, progress, cancel);
    case RecordingFormat::Unknown:
        break;
    }
    if (!QFileInfo::exists(path))
        throw RecordingError(
            QCoreApplication::translate("RecordingImport", "%1: no such file or folder")
                .arg(QDir::toNativeSeparators(path)));
    throw RecordingError(QCoreApplication::translate("RecordingImport",
        "%1 is not a recording that can be imported: neither a memory card, "
        "a WFDB record, an EDF/BDF file nor an ISHNE Holter file")
                             .arg(QDir::toNativeSeparators(path)));
}
