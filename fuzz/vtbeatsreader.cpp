// The beats file, read against a short well-formed ECG.
#include "fuzz/fuzzreaders.h"
#include "fuzz/fuzzsupport.h"

#include "store/beat.h"
#include "store/beatfile.h"
#include "store/ecgfile.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int kMaxBeats = 4000;

// Two seconds of three channels, made once.
EcgFile& signal()
{
    static std::unique_ptr<EcgFile> ecg = [] {
        const QString path = fuzzsupport::scratchPath("signal.vtecg");
        auto file = std::make_unique<EcgFile>(path, 3, 500, EcgFile::kHeaderSize, true);
        std::vector<qint16> samples(1000);
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = qint16((i * 37) % 2000 - 1000);
        const qint16* channels[3] = { samples.data(), samples.data(), samples.data() };
        file->writeHeader(QJsonObject(), QJsonObject());
        file->appendChannels(channels, qint64(samples.size()));
        return file;
    }();
    return *ecg;
}

void readBeats(const QByteArray& input)
{
    EcgFile& ecg = signal();
    const QString path = fuzzsupport::writeScratch("fuzz.vtbeats", input);
    std::unique_ptr<BeatFile> beats = BeatFile::open(&ecg, path);
    if (!beats)
        return;
    const int n = std::min(kMaxBeats, beats->count());
    Beat beat;
    // Backwards as well: the run cache must not hand out a neighbour's record.
    for (int i = -1; i <= n; ++i)
        beats->get(i, beat);
    for (int i = n - 1; i >= 0; i -= 7)
        beats->get(i, beat);
}

} // namespace

void fuzzreaders::vtbeats(const QByteArray& input)
{
    readBeats(input);
}
