// The stored ECG: header JSON, then every block and the samples past the last whole block.
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "store/ecgfile.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int kMaxBlocks = 16;

void readEcg(const QByteArray& input)
{
    const QString path = fuzzsupport::writeScratch("fuzz.vtecg", input);
    std::unique_ptr<EcgFile> ecg = EcgFile::open(path);
    if (!ecg)
        return;
    ecg->ecgHeaderObject();
    const int blocks = std::min(kMaxBlocks, ecg->blockCount() + 1);
    for (int c = 0; c < ecg->channelCount(); ++c) {
        for (int b = 0; b < blocks; ++b)
            if (ecg->getBlock(c, b))
                ecg->releaseBlock(c, b);
        const qint64 n = ecg->sampleCount();
        for (qint64 i : { qint64(0), n / 2, n - 1, n, n + 1 })
            ecg->sampleAt(c, i);
        std::vector<double> window(64);
        ecg->readSamples(c, n - 32, 64, window.data());
    }
}

} // namespace

void fuzzreaders::vtecg(const QByteArray& input)
{
    readEcg(input);
}
