#pragma once

#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyrepository.h"

#include <memory>
#include <vector>

// Three leads at 5 Hz with a known value at every sample: a day takes a few megabytes, so cuts
// by the hour can be tried on real files.
namespace slowstudy {

constexpr int kRate = 5;
constexpr qint64 kHour = qint64(kRate) * 3600; // samples

// Distinct per channel and sample, and never -32768, so that negation is exact.
inline qint16 sampleOf(int channel, qint64 i)
{
    return qint16((i * 7 + channel * 3001) % 20000 - 10000);
}

inline std::unique_ptr<StudyRepository> repository(const QString& root, StoreIo* io = nullptr)
{
    StudyRepository::Options o;
    o.rootOverride = root;
    o.io = io;
    return std::make_unique<StudyRepository>("VeltronaHolter", o);
}

// A saved and closed study of `length` samples per channel on leads II, V2, V5; its id.
inline int make(StudyRepository& repo, qint64 length)
{
    StudyInfo info;
    info.studyDateTime = "20260302083000";
    info.patientLastName = "Paz";
    info.patientFirstName = "Eva";
    info.samplingRate = kRate;
    info.channelCount = 3;
    info.channelNames = "II,V2,V5";
    info.resolution = 16;
    info.gain = 450.0;
    Study* s = repo.createStudy(info);
    std::vector<std::vector<qint16>> data(3, std::vector<qint16>(size_t(length)));
    for (int c = 0; c < 3; ++c)
        for (qint64 i = 0; i < length; ++i)
            data[size_t(c)][size_t(i)] = sampleOf(c, i);
    const qint16* channels[3] = { data[0].data(), data[1].data(), data[2].data() };
    s->signal()->appendChannels(channels, length);
    repo.saveStudy(s);
    repo.closeStudy(s);
    return info.id;
}

} // namespace slowstudy
