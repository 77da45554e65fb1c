#pragma once

#include "store/study.h"
#include "store/studyrepository.h"
#include "tests/support/clirun.h"

#include <functional>
#include <memory>

// Running holter-cli on a private store, and making or opening its studies directly.
namespace clitest {

using testsupport::CliRun;

inline CliRun run(const QStringList& args)
{
    return testsupport::runProgram(QString::fromUtf8(HOLTER_CLI), args, 120000);
}

inline CliRun cli(const QString& root, const QStringList& args)
{
    return run(QStringList { "--data-dir", root } + args);
}

inline std::unique_ptr<StudyRepository> repository(const QString& root)
{
    StudyRepository::Options o;
    o.rootOverride = root;
    return std::make_unique<StudyRepository>("VeltronaHolter", o);
}

// A study of `lastName`, Eva recorded from 2026-01-01 08:00:00 at 500 Hz on II and V5 that
// `fill` completes; saved, and its id returned.
inline int makeStudy(const QString& root, const std::function<void(Study&)>& fill = nullptr,
    const QByteArray& lastName = "Paz")
{
    auto repo = repository(root);
    StudyInfo info;
    info.studyDateTime = "20260101080000";
    info.recordingDateTime = info.studyDateTime;
    info.patientLastName = lastName;
    info.patientFirstName = "Eva";
    info.samplingRate = 500;
    info.channelCount = 2;
    info.channelNames = "II,V5";
    info.resolution = 16;
    info.gain = 450.0;
    Study* s = repo->createStudy(info);
    if (fill)
        fill(*s);
    repo->saveStudy(s);
    repo->closeStudy(s);
    return info.id;
}

// Opens a stored study for `use`, saving it afterwards when `save`.
inline void withStudy(
    const QString& root, int id, const std::function<void(Study&)>& use, bool save = false)
{
    auto repo = repository(root);
    Study* s = repo->openStudy(id);
    ASSERT_TRUE(s) << "study " << id << " does not open";
    use(*s);
    if (save)
        repo->saveStudy(s);
    repo->closeStudy(s);
}

} // namespace clitest
