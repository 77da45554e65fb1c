// The compressed ECG on its own, decompressed and the result opened as a stored ECG.
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "store/ecgcompression.h"
#include "store/ecgfile.h"

#include <QFile>

namespace {

void decompress(const QByteArray& input)
{
    const QString source = fuzzsupport::writeScratch("fuzz.vtecgz", input);
    const QString target = fuzzsupport::scratchPath("fuzz.vtecg");
    QFile::remove(target);
    if (!decompressEcgFile(source, target, nullptr))
        return;
    if (std::unique_ptr<EcgFile> ecg = EcgFile::open(target))
        for (int c = 0; c < ecg->channelCount(); ++c)
            ecg->sampleAt(c, ecg->sampleCount() - 1);
}

} // namespace

void fuzzreaders::vtecgz(const QByteArray& input)
{
    decompress(input);
}
