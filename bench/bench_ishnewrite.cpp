// Writes a synthetic ISHNE Holter day for the import benchmark: 3 leads at 500 Hz with a beat
// a second, the header from the test's writer of the published layout, the samples streamed.
//   bench_ishnewrite FILE [--hours H]
#include "tests/recorder/ishnetestfile.h"

#include <QFile>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench_ishnewrite FILE [--hours H]\n");
        return 2;
    }
    double hours = 24.0;
    if (argc >= 4 && std::strcmp(argv[2], "--hours") == 0)
        hours = std::atof(argv[3]);
    constexpr int kRate = 500;
    rectest::IshneTestFile f;
    f.rate = kRate;
    f.resolution = { 2500, 2500, 2500 };
    f.samplesPerLead = qint64(hours * 3600 * kRate);
    f.samplesWritten = 0;
    QFile out(QString::fromLocal8Bit(argv[1]));
    if (!out.open(QIODevice::WriteOnly) || out.write(f.bytes()) < 0)
        return 1;
    std::vector<qint16> frames(size_t(kRate) * 3);
    for (qint64 second = 0; second < qint64(hours * 3600); ++second) {
        for (int i = 0; i < kRate; ++i) {
            // A narrow 1 mV spike on a slow baseline: enough shape for a reader to copy.
            const double t = double(i) / kRate;
            const double qrs = std::exp(-std::pow((t - 0.3) / 0.012, 2));
            const double wander = 0.1 * std::sin(2 * M_PI * (second + t) / 7.0);
            for (int lead = 0; lead < 3; ++lead)
                frames[size_t(i) * 3 + size_t(lead)]
                    = qint16(std::lround((qrs * (1.0 - 0.3 * lead) + wander) / 0.0025));
        }
        const qint64 bytes = qint64(frames.size() * sizeof(qint16));
        if (out.write(reinterpret_cast<const char*>(frames.data()), bytes) != bytes)
            return 1;
    }
    return out.flush() ? 0 : 1;
}
