#pragma once

#include "analysis/memorybeatlist.h"
#include "store/beat.h"
#include "store/study.h"
#include "tests/report/reporttestutil.h"

#include <cmath>
#include <memory>

// A study held in memory for the report tests: a synthetic three-lead ECG (II, V2, V5) at
// 500 Hz with a beat every 0.8 s, computed block by block so that a day costs no memory.
namespace reportstudy {

constexpr int kRate = 500;
constexpr double kRR = 0.8; // seconds between beats
constexpr double kFirstR = 0.5; // R instant of the first beat

inline std::unique_ptr<SignalSource> syntheticEcg(double seconds)
{
    // Gain range -10..10 mV over 16 bits: 3276.8 units per millivolt.
    auto ecg = std::make_unique<reporttest::FunctionSource>(
        3, kRate, qint64(std::llround(seconds * kRate)), [](int ch, qint64 i) {
            const double t = double(i) / kRate;
            const double d = t - (kFirstR + std::round((t - kFirstR) / kRR) * kRR); // from R
            auto g = [&](double at, double sd, double mv) {
                return mv * std::exp(-0.5 * (d - at) * (d - at) / (sd * sd));
            };
            const double mv = g(-0.16, 0.02, 0.15) + g(0.0, 0.012, 1.2) + g(-0.03, 0.008, -0.15)
                + g(0.25, 0.045, 0.3);
            return qint16(std::lround(mv * (1.0 - 0.2 * ch) * 3276.8));
        });
    ecg->setGainRange(-10.0, 10.0);
    const char* names[] = { "II", "V2", "V5" };
    for (int c = 0; c < 3; ++c)
        ecg->channel(c)->setName(names[c]);
    return ecg;
}

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
    auto signal = syntheticEcg(seconds);
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
