#pragma once

#include "analysis/memorybeatlist.h"
#include "store/beat.h"
#include "store/signalsource.h"
#include "store/study.h"

#include <cmath>
#include <memory>

// A study held in memory for the report tests: a synthetic three-lead ECG (II, V2, V5) at
// 500 Hz with a beat every 0.8 s, computed block by block so that a day costs no memory.
namespace reportstudy {

constexpr int kRate = 500;
constexpr double kRR = 0.8; // seconds between beats
constexpr double kFirstR = 0.5; // R instant of the first beat

class SyntheticEcg : public SignalSource
{
public:
    explicit SyntheticEcg(double seconds)
        : SignalSource(3, kRate, 2048)
    {
        setGainRange(-10.0, 10.0); // about 3277 units per millivolt at 16 bits
        const qint64 n = qint64(std::llround(seconds * kRate));
        setSampleCount(n);
        setBlockCount(int((n + blockSize() - 1) / blockSize()));
        const char* names[] = { "II", "V2", "V5" };
        for (int c = 0; c < 3; ++c)
            channel(c)->setName(names[c]);
    }
    ~SyntheticEcg() override { releaseAllBlocks(); }

    qint16* loadBlock(int ch, int block) override
    {
        auto* out = new qint16[size_t(blockSize())];
        const double unitsPerMv = 1.0 / gainStep();
        const double scale = 1.0 - 0.2 * ch;
        for (int i = 0; i < blockSize(); ++i) {
            const double t = double(qint64(block) * blockSize() + i) / kRate;
            // Time from the nearest R instant.
            const double k = std::round((t - kFirstR) / kRR);
            const double d = t - (kFirstR + k * kRR);
            auto g = [&](double at, double sd, double mv) {
                return mv * std::exp(-0.5 * (d - at) * (d - at) / (sd * sd));
            };
            const double mv = g(-0.16, 0.02, 0.15) + g(0.0, 0.012, 1.2) + g(-0.03, 0.008, -0.15)
                + g(0.25, 0.045, 0.3);
            out[i] = qint16(std::lround(mv * scale * unitsPerMv));
        }
        return out;
    }
};

// Beats in memory that know their signal, as a study's beat file does.
class StudyBeats : public MemoryBeatList
{
public:
    explicit StudyBeats(SignalSource* source)
        : m_source(source)
    {
    }
    SignalSource* signalSource() const override { return m_source; }

private:
    SignalSource* m_source; // not owned
};

// A study of `seconds` of synthetic ECG with its beats, all N except every 97th, which is V;
// beats inside [noiseFrom, noiseTo) are noise.
inline std::unique_ptr<Study> makeStudy(
    double seconds, double noiseFrom = -1.0, double noiseTo = -1.0)
{
    auto study = std::make_unique<Study>(1);
    auto signal = std::make_unique<SyntheticEcg>(seconds);
    SignalSource* source = signal.get();
    auto beats = std::make_unique<StudyBeats>(source);
    double previousR = -1.0;
    for (int i = 0;; ++i) {
        const double r = kFirstR + i * kRR;
        if (r + 0.3 >= seconds)
            break;
        Beat b;
        b.index = beats->count();
        b.source = source;
        b.windowStart = r - 0.2;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, r);
        const bool noise = r >= noiseFrom && r < noiseTo;
        b.isBeat = !noise;
        b.setTiming(Beat::RR, previousR < 0.0 ? 0.0 : r - previousR);
        b.setTiming(Beat::MedianRR, kRR);
        b.type = (i % 97 == 96) ? BeatV : BeatN;
        b.classId = b.type == BeatV ? 2 : 1;
        previousR = noise ? -1.0 : r;
        beats->append(b);
    }
    study->setSignal(std::move(signal));
    study->setBeats(std::move(beats));
    study->setStudyDateTime("20240305083042");
    study->setRecordingDateTime("20240305083042");
    study->setProperty("patient/lastName", "Pereyra");
    study->setProperty("patient/firstName", "Ana");
    return study;
}

} // namespace reportstudy
