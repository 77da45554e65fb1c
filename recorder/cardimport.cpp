#include "recorder/cardimport.h"

#include "recorder/cardsignalfile.h"
#include "store/ecgfile.h"
#include "store/storeio.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <algorithm>

namespace {

// The download dialog's texts: the command line and the dialog say the same.
QString translated(const char* text)
{
    return QCoreApplication::translate("DownloadDialog", text);
}

// The empty message of a cancel: the guard turns it into the download failure message.
struct ImportCancelled : std::exception
{
};

// The card stopped giving the blocks its size promised: pulled out, or failing.
struct CardReadFailed : std::exception
{
};

constexpr int kSecondsPerBlock = 4;
constexpr double kEventSeconds = 5.0;

// Which one event a block's status word reports, if any. Low battery, SD error and
// disconnected electrodes are reported once per recording; the button at every block.
class StatusEvents
{
public:
    const char* eventFor(int word)
    {
        if ((word & CardSignalFile::kMarkerMask) != CardSignalFile::kMarker
            || word == CardSignalFile::kMarker)
            return nullptr;
        if (word & CardSignalFile::kEventButton)
            return QT_TRANSLATE_NOOP("DownloadDialog", "Patient event");
        if (!m_lowBattery && (word & CardSignalFile::kLowBattery)) {
            m_lowBattery = true;
            return QT_TRANSLATE_NOOP("DownloadDialog", "Low battery");
        }
        if (!m_sdError && (word & CardSignalFile::kSdCardError)) {
            m_sdError = true;
            return QT_TRANSLATE_NOOP("DownloadDialog", "SD card error");
        }
        if (!m_electrodes && (word & CardSignalFile::kElectrodesMask)) {
            m_electrodes = true;
            return QT_TRANSLATE_NOOP("DownloadDialog", "Disconnected electrodes");
        }
        return nullptr;
    }

private:
    bool m_lowBattery = false;
    bool m_sdError = false;
    bool m_electrodes = false;
};

// Card frames are big-endian with channel 3 first; the study stores little-endian frames in
// channel order.
void convertBlock(const char* in, char* out, const std::array<bool, 3>& invert)
{
    for (int f = 0; f < CardSignalFile::kBlockSamples; ++f) {
        const unsigned char* frame = reinterpret_cast<const unsigned char*>(in) + 6 * f;
        for (int c = 0; c < 3; ++c) {
            const unsigned char* p = frame + 2 * (2 - c);
            int v = qint16(quint16((p[0] << 8) | p[1]));
            if (invert[c])
                v = std::min(-v, 32767); // -32768 has no positive twin
            const quint16 u = quint16(qint16(v));
            out[6 * f + 2 * c] = char(u & 0xff);
            out[6 * f + 2 * c + 1] = char(u >> 8);
        }
    }
}

} // namespace

const QStringList& cardLeadNames()
{
    static const QStringList names
        = { "I", "II", "III", "aVR", "aVL", "aVF", "V1", "V2", "V3", "V4", "V5", "V6" };
    return names;
}

int importCard(StudyRepository& repository, const QString& cardFile, qint64 dataOffset,
    const CardImportOptions& options, ProgressSink* progress, const CancelFlag* cancel)
{
    QFile card(cardFile);
    if (!card.open(QIODevice::ReadOnly))
        throw StoreError(
            translated(QT_TRANSLATE_NOOP("DownloadDialog", "Cannot open file in memory card %1"))
                .arg(QDir::toNativeSeparators(cardFile))
                .toStdString());
    qint64 blocks = std::max<qint64>(0, (card.size() - dataOffset) / CardSignalFile::kBlockBytes);
    if (options.limitHours > 0)
        blocks = std::min<qint64>(blocks, qint64(options.limitHours) * 3600 / kSecondsPerBlock);

    StudyInfo info;
    options.patient.fillInfo(info);
    info.channelCount = 3;
    info.gain = 450.0;
    info.channelNames
        = QString("%1,%2,%3")
              .arg(options.leads.value(0), options.leads.value(1), options.leads.value(2))
              .toUtf8();
    info.resolution = 16;
    info.samplingRate = CardSignalFile::kSamplingRate;
    info.sampleFormat = "short";

    int id = 0;
    Study* study = nullptr;
    try {
        study = repository.createStudy(info);
        id = info.id;
        if (!card.seek(dataOffset))
            throw CardReadFailed();
        QByteArray block(CardSignalFile::kBlockBytes, '\0');
        QByteArray frames(CardSignalFile::kDataBytes, '\0');
        StatusEvents status;
        qint64 got = card.read(block.data(), block.size());
        qint64 b = 0;
        for (; b < blocks && got == CardSignalFile::kBlockBytes; ++b) {
            const unsigned char* w = reinterpret_cast<const unsigned char*>(block.constData())
                + CardSignalFile::kDataBytes;
            const int word = (w[0] << 8) | w[1];
            // A bit set in the very first block is the recorder starting up, not an event.
            if (b > 0) {
                if (const char* text = status.eventFor(word)) {
                    StudyEvent& e = study->events().add();
                    e.position = double(b * kSecondsPerBlock);
                    e.duration = kEventSeconds;
                    e.description = translated(text).toUtf8();
                }
            }
            convertBlock(block.constData(), frames.data(), options.invert);
            study->signal()->appendRaw(frames.constData(), frames.size());
            got = card.read(block.data(), block.size());
            if (progress)
                progress->progress(b + 1, blocks);
            if (cancel && cancel->load())
                throw ImportCancelled();
        }
        // A torn last block is not counted in `blocks`; a short read before it is a lost card.
        if (b < blocks)
            throw CardReadFailed();
        repository.saveStudy(study);
        repository.closeStudy(study);
    } catch (const std::exception& e) {
        if (study) {
            repository.closeStudy(study);
            repository.deleteStudy(id);
        }
        if (dynamic_cast<const CardReadFailed*>(&e))
            throw StoreError(translated(
                QT_TRANSLATE_NOOP("DownloadDialog",
                    "Could not complete download.\nThe memory card could not be read to the end: "
                    "check that it is still in its reader."))
                                 .toStdString());
        throw StoreError(
            translated(QT_TRANSLATE_NOOP("DownloadDialog",
                           "Could not complete download.\nPlease check available disk space."))
                .toStdString());
    }
    return id;
}
