#pragma once

#include "store/beatlist.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "store/studystatus.h"
#include "tests/analysis/detectsignals.h"

#include <QSettings>
#include <QTemporaryDir>

#include <memory>
#include <vector>

// A private store with one study of regular beats, and settings of its own.
namespace workflowtest {

constexpr double kRr = 0.8; // seconds, 75 bpm

inline std::unique_ptr<StudyRepository> openRepository(const QString& root)
{
    StudyRepository::Options o;
    o.rootOverride = root;
    return std::make_unique<StudyRepository>("VeltronaHolter", o);
}

// `seconds` of two leads (II, V5) at 250 Hz with an R wave every kRr seconds; saved with
// `status`, closed, and its id returned.
inline int makeEcgStudy(StudyRepository& repo, double seconds, const QByteArray& status)
{
    StudyInfo info;
    info.studyDateTime = "20260101080000";
    info.recordingDateTime = info.studyDateTime;
    info.patientLastName = "Paz";
    info.patientFirstName = "Eva";
    info.samplingRate = detecttest::kRate;
    info.channelCount = 2;
    info.channelNames = "II,V5";
    info.resolution = 16;
    info.gain = 450.0;
    info.status = status;
    Study* s = repo.createStudy(info);
    const std::vector<double> r = detecttest::regular(0.6, kRr, seconds - 0.7);
    const std::vector<qint16> ii = detecttest::ecg(r, seconds, 800.0),
                              v5 = detecttest::ecg(r, seconds, -500.0, -80.0);
    const qint16* channels[2] = { ii.data(), v5.data() };
    s->signal()->appendChannels(channels, qint64(ii.size()));
    repo.saveStudy(s);
    repo.closeStudy(s);
    return info.id;
}

constexpr int kGapBeat = 700; // comes 3 s after the one before it, when there are that many

// A processed study of `beats` normal beats a second apart (R at 0.7 s and on), with one
// 3-second pause before beat kGapBeat.
inline int makeBeatStudy(StudyRepository& repo, int beats)
{
    const int id = makeEcgStudy(repo, beats + 5.0, StudyStatus::Processed);
    Study* s = repo.openStudy(id);
    double r = 0.7;
    for (int k = 0; k < beats; ++k) {
        const double rr = k == 0 ? 0.0 : k == kGapBeat ? 3.0 : 1.0;
        r += rr;
        Beat b;
        b.source = s->signal();
        b.index = k;
        b.windowStart = r - 0.2;
        b.windowLength = 0.5;
        b.setTiming(Beat::RTime, r);
        b.setTiming(Beat::RR, rr);
        b.setTiming(Beat::MedianRR, 1.0);
        b.type = BeatN;
        b.isBeat = true;
        s->beats()->append(b);
    }
    repo.saveStudy(s);
    repo.closeStudy(s);
    return id;
}

// What the store holds for a study, read back through a fresh repository.
struct Stored
{
    QByteArray status;
    int beatEntries = -1;
    bool hasResult = false; // "HR/minBPM"
};

inline Stored stored(const QString& root, int id)
{
    auto repo = openRepository(root);
    Study* s = repo->openStudy(id);
    if (!s)
        return {};
    const Stored out { s->property("status"), s->beats() ? s->beats()->count() : -1,
        s->results().find("HR/minBPM") != nullptr };
    repo->closeStudy(s);
    return out;
}

// Settings in a file of the test's own, never the user's.
class TestSettings
{
public:
    TestSettings()
        : m_settings(m_dir.filePath("settings.ini"), QSettings::IniFormat)
    {
    }
    QSettings& get() { return m_settings; }

private:
    QTemporaryDir m_dir;
    QSettings m_settings;
};

} // namespace workflowtest
