#include "tests/store/studytestutil.h"

#include "store/beatfile.h"
#include "store/beatlist.h"
#include "store/ecgfile.h"
#include "store/signalsource.h"
#include "store/studyfile.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <functional>
#include <random>

// Writes that fail part-way (disk full) raise "Write error" and leave the previous file whole.
TEST(StudyRobustness, FailingSaveKeepsThePreviousStudyFile)
{
    testsupport::FailingIo io;
    RepoFixture f(&io);
    StudyInfo info = fullInfo();
    Study* s = f.repo->createStudy(info);
    const QString path = f.repo->studyPath(info.baseFilename, "vtstudy");
    const QByteArray before = testsupport::readAll(path);
    ASSERT_FALSE(before.isEmpty());

    s->setProperty("conclusion", QByteArray(20000, 'c'));
    for (qint64 budget : { qint64(0), qint64(100) }) {
        io.setBudget(io.written() + budget);
        EXPECT_EQ(testsupport::errorOf([&] { f.repo->saveStudy(s); }),
            "Write error in file " + QDir::toNativeSeparators(path).toStdString())
            << budget;
        EXPECT_EQ(testsupport::readAll(path), before) << budget;
    }
    io.setBudget(-1);
    io.setFailCommit(true);
    EXPECT_THROW(f.repo->saveStudy(s), std::exception);
    EXPECT_EQ(testsupport::readAll(path), before);
    // No temporary file is left beside it.
    EXPECT_EQ(QDir(f.root.path()).entryList({ "*.vtstudy*" }, QDir::Files).size(), 1);

    io.setFailCommit(false);
    f.repo->saveStudy(s);
    EXPECT_NE(testsupport::readAll(path), before);
}

TEST(StudyRobustness, FailingCreateLeavesNothingBehind)
{
    testsupport::FailingIo io;
    RepoFixture f(&io);
    // Impossible signal parameters are refused before any file is made.
    StudyInfo bad = fullInfo();
    bad.channelCount = 5;
    EXPECT_THROW(f.repo->createStudy(bad), std::exception);
    bad = fullInfo();
    bad.samplingRate = 0;
    EXPECT_THROW(f.repo->createStudy(bad), std::exception);
    EXPECT_TRUE(f.isEmpty());
    // A full disk at every stage: the ECG header, the beats header, the study file.
    for (qint64 budget : { qint64(0), qint64(4096 + 100), qint64(4096 + 256 + 10) }) {
        io.setBudget(io.written() + budget);
        StudyInfo info = fullInfo();
        EXPECT_THROW(f.repo->createStudy(info), std::exception) << budget;
        EXPECT_TRUE(f.isEmpty()) << budget;
    }
    io.setBudget(-1);
    StudyInfo info = fullInfo();
    EXPECT_NE(f.repo->createStudy(info), nullptr);
}

namespace {

// Truncates, scribbles over a few bytes, appends junk or damages the first bytes (the magic).
QByteArray mutate(QByteArray bytes, std::mt19937& rng)
{
    const auto pos = [&] { return int(rng() % uint(bytes.size())); };
    switch (rng() % 4) {
    case 0:
        bytes.truncate(pos());
        break;
    case 1:
        for (int k = 0; k < 4; ++k)
            bytes[pos()] = char(rng());
        break;
    case 2:
        bytes.append(QByteArray(int(rng() % 5000), char(rng())));
        break;
    default:
        for (int k = 0; k < std::min(12, int(bytes.size())); ++k)
            bytes[k] = char(rng());
        break;
    }
    return bytes;
}

} // namespace

// Damaged study, sample and beat files never crash a load, and the list stays usable.
TEST(StudyRobustness, RandomMutationsOfRealFiles)
{
    RepoFixture f;
    StudyInfo info = fullInfo();
    Study* s = f.repo->createStudy(info);
    // Some samples and beats so the files have bodies to damage.
    std::vector<qint16> a(5000);
    for (int i = 0; i < 5000; ++i)
        a[size_t(i)] = qint16(i * 3);
    const qint16* chans[] = { a.data(), a.data(), a.data() };
    s->signal()->appendChannels(chans, 5000);
    for (int i = 0; i < 20; ++i) {
        Beat beat;
        beat.index = i;
        beat.source = s->signal();
        beat.windowStart = i * 0.8;
        beat.setTiming(Beat::RTime, i * 0.8 + 0.2);
        s->beats()->append(beat);
    }
    s->events().add().description = "button";
    f.repo->saveStudy(s);
    f.repo->closeStudy(s);

    const QString paths[] = { f.repo->studyPath(info.baseFilename, "vtstudy"),
        f.repo->studyPath(info.baseFilename, "vtecg"),
        f.repo->studyPath(info.baseFilename, "vtbeats") };
    QByteArray originals[3];
    for (int k = 0; k < 3; ++k)
        originals[k] = testsupport::readAll(paths[k]);

    // The document's JSON is also damaged after decompression, not only the bytes.
    const QByteArray json = qUncompress(originals[0].mid(8));

    std::mt19937 rng(20261122);
    int opened = 0, refused = 0;
    for (int round = 0; round < 300; ++round) {
        const int which = round % 4;
        for (int k = 0; k < 3; ++k)
            testsupport::writeAll(paths[k], originals[k]);
        if (which < 3) {
            testsupport::writeAll(paths[which], mutate(originals[which], rng));
        } else {
            const QByteArray badJson = mutate(json, rng);
            testsupport::writeAll(paths[0], QByteArray("VTSTUDY2") + qCompress(badJson));
        }
        try {
            if (Study* r = f.repo->openStudy(info.id)) {
                ++opened; // reading all of a damaged but accepted study must stay in bounds
                SignalSource* sig = r->signal();
                std::vector<double> buf(size_t(std::min<qint64>(sig->sampleCount(), 6000)) + 10);
                for (int ch = 0; ch < sig->channelCount(); ++ch)
                    sig->readSamples(ch, -5, qint64(buf.size()), buf.data());
                Beat beat;
                for (int i = 0; i < r->beats()->count(); ++i)
                    r->beats()->get(i, beat);
                f.repo->closeStudy(r);
            } else {
                ++refused;
            }
        } catch (const std::exception&) {
            ++refused; // a clear error is as good as a null
        }
        EXPECT_NO_THROW(f.repo->listStudies());
    }
    EXPECT_GT(opened, 0);
    EXPECT_GT(refused, 0);

    // A rebuild over damaged files skips what doesn't decode and keeps going.
    testsupport::writeAll(paths[0], mutate(originals[0], rng).left(20));
    f.repo.reset();
    QFile::remove(f.path("data/studies.sqlite"));
    EXPECT_NO_THROW(f.reopen());
}

// The user is told which file failed: each message ends with the path, native separators.
TEST(StoreErrors, EveryFileFailureNamesItsFile)
{
    testsupport::TempRoot root;
    const QString nowhere = root.file("no/such/folder/x");
    const QString absent = root.file("absent");
    Study study;
    const struct
    {
        const char* what;
        std::function<void()> action;
        QString path;
    } rows[] = {
        { "Cannot create file",
            [&] { EcgFile(nowhere + ".vtecg", 3, 500, EcgFile::kHeaderSize, true); },
            nowhere + ".vtecg" },
        { "Cannot open file",
            [&] { EcgFile(absent + ".vtecg", 3, 500, EcgFile::kHeaderSize, false); },
            absent + ".vtecg" },
        { "Cannot create file",
            [&] { BeatFile(nullptr, nowhere + ".vtbeats", BeatFile::kHeaderSize, true); },
            nowhere + ".vtbeats" },
        { "Cannot open file",
            [&] { BeatFile(nullptr, absent + ".vtbeats", BeatFile::kHeaderSize, false); },
            absent + ".vtbeats" },
        { "Cannot create study file",
            [&] { writeStudyFile(study, nowhere + ".vtstudy", StoreIo::standard()); },
            nowhere + ".vtstudy" },
    };
    for (const auto& row : rows)
        EXPECT_EQ(testsupport::errorOf(row.action),
            std::string(row.what) + " " + QDir::toNativeSeparators(row.path).toStdString())
            << row.what;
}
