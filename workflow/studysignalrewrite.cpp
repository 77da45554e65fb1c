#include "workflow/studysignalrewrite.h"

#include "store/beatclass.h"
#include "store/beatfile.h"
#include "store/ecgfile.h"
#include "store/signalsource.h"
#include "store/storeio.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

// Shown by the dialog that asked for the rewrite, in its words.
const char* const kFailure = QT_TRANSLATE_NOOP(
    "PreprocessDialog", "Could not complete operation.\nPlease check available disk space.");

// Thrown by a cancel; the guard turns it into the finished message like any other failure.
struct RewriteCancelled : std::exception
{
};

// Holds the blocks of all channels of one block index, releasing them however the scope ends.
class BlockSet
{
public:
    BlockSet(SignalSource& source, int block)
        : m_source(source)
        , m_block(block)
    {
        for (int c = 0; c < source.channelCount(); ++c) {
            const qint16* data = source.getBlock(c, block);
            if (!data)
                throw StoreError("Cannot read the samples of the study");
            m_data.push_back(data);
        }
    }
    ~BlockSet()
    {
        for (int c = 0; c < int(m_data.size()); ++c)
            m_source.releaseBlock(c, m_block);
    }
    BlockSet(const BlockSet&) = delete;
    BlockSet& operator=(const BlockSet&) = delete;

    const qint16* const* channels() const { return m_data.data(); }

private:
    SignalSource& m_source;
    int m_block;
    std::vector<const qint16*> m_data;
};

// Opens the study's sample and beat files again after the samples were replaced on disk; the
// beats keep a pointer to the source, so both go and come back together.
void reopenStudyFiles(StudyRepository& repository, Study& study, const QByteArray& base)
{
    std::unique_ptr<EcgFile> ecg = repository.openEcgFile(base);
    if (!ecg)
        throw StoreError("Cannot open file", repository.studyPath(base, "vtecg"));
    const QString beatsPath = repository.studyPath(base, "vtbeats");
    if (!QFileInfo::exists(beatsPath)) {
        BeatFile empty(ecg.get(), beatsPath, BeatFile::kHeaderSize, true, repository.io());
        empty.writeHeader();
    }
    std::unique_ptr<BeatFile> beats = BeatFile::open(ecg.get(), beatsPath, repository.io());
    if (!beats)
        throw StoreError("Cannot open file", beatsPath);
    study.setSignal(std::move(ecg));
    study.setBeats(std::move(beats));
}

} // namespace

qint64 trimmedSampleCount(qint64 sampleCount, int rate, int hours)
{
    if (hours <= 0 || rate <= 0)
        return sampleCount;
    return std::min(sampleCount, qint64(rate) * hours * 3600);
}

bool trimCutsRecording(const SignalSource& source, int hours)
{
    return trimmedSampleCount(source.sampleCount(), source.samplingRate(), hours)
        < source.sampleCount();
}

void rewriteStudySignal(StudyRepository& repository, Study& study, SignalSource& modified,
    const SignalRewrite& rewrite, ProgressSink* progress, const CancelFlag* cancel,
    const std::function<void()>& releaseModified)
{
    SignalSource* own = study.signal();
    if (!own)
        throw StoreError("The study has no samples");
    const QByteArray base = study.property("baseFilename");
    if (base.isEmpty())
        throw StoreError("The study has no file name");
    const QByteArray tempBase = base + "-temp";

    // The new file's header takes its lead names from the study's source.
    const int named = std::min(int(rewrite.channelNames.size()), own->channelCount());
    for (int c = 0; c < named; ++c)
        own->channel(c)->setName(rewrite.channelNames[c]);

    std::unique_ptr<EcgFile> target;
    try {
        target = repository.createEcgFile(tempBase, &study);
        const qint64 length = trimmedSampleCount(
            modified.sampleCount(), modified.samplingRate(), rewrite.trimHours);
        const int blockLength = modified.blockSize();
        const int blocks = int((length + blockLength - 1) / blockLength);
        for (int b = 0; b < blocks; ++b) {
            const qint64 count = std::min<qint64>(blockLength, length - qint64(b) * blockLength);
            {
                BlockSet set(modified, b);
                target->appendChannels(set.channels(), count);
            }
            if (progress)
                progress->progress(b + 1, blocks);
            if (isCancelled(cancel))
                throw RewriteCancelled();
        }
        repository.destroySource(std::move(target));
    } catch (const std::exception&) {
        if (target)
            repository.destroySource(std::move(target));
        repository.removeEcgFile(tempBase);
        throw StoreError(QCoreApplication::translate("PreprocessDialog", kFailure).toStdString());
    }

    if (releaseModified)
        releaseModified();
    // Classes and beats read the source: they go first, and come back over the new file.
    study.setBeatClasses(nullptr);
    study.setBeats(nullptr);
    study.setSignal(nullptr);
    repository.replaceEcgFile(tempBase, base);
    reopenStudyFiles(repository, study, base);
}
