#include "recorder/wfdbimport.h"
#include "recorder/wfdbrecord.h"
#include "store/study.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QDir>

#include <gtest/gtest.h>

#include <algorithm>

using namespace rectest;

namespace {

ImportPatient patient(const QDateTime& start = QDateTime(QDate(2025, 6, 1), QTime(9, 30)))
{
    ImportPatient p;
    p.lastName = "Núñez";
    p.firstName = "Ana";
    p.idNumber = "123";
    p.start = start;
    return p;
}

std::string importError(RepoFixture& store, const QString& record, const ImportPatient& p,
    ProgressSink* progress = nullptr, const CancelFlag* cancel = nullptr)
{
    return errorOf([&] { importWfdbRecord(*store.repo, record, p, progress, cancel); });
}

} // namespace

TEST(WfdbImport, ReferenceRecordReadsBackSampleExact)
{
    HOLTER_REQUIRE_SHARED_DATA(dataDir);
    const QDir mitdb(QDir(dataDir).filePath("mitdb"));
    const QString name
        = QString::fromUtf8(testsupport::readAll(mitdb.filePath("RECORDS")).split('\n').value(0))
              .trimmed();
    ASSERT_FALSE(name.isEmpty());

    RepoFixture store;
    Study* study = store.repo->openStudy(
        importWfdbRecord(*store.repo, mitdb.filePath(name + ".hea"), patient()));
    ASSERT_NE(study, nullptr);
    SignalSource* ecg = study->signal();
    EXPECT_EQ(ecg->samplingRate(), 360);
    EXPECT_DOUBLE_EQ(ecg->gainStep(), 1.0 / 200.0); // mitdb: 200 ADC units per mV
    EXPECT_EQ(study->studyDateTime(), QByteArray("20250601093000"));
    EXPECT_EQ(store.repo->studyInfo(study).patientLastName, QByteArray("Núñez"));
    // Every sample of both channels equals the record's, the last one included.
    WfdbSource record(mitdb.filePath(name));
    const qint64 n = record.sampleCount();
    ASSERT_EQ(ecg->sampleCount(), n);
    std::vector<double> a(static_cast<size_t>(n)), b(static_cast<size_t>(n));
    for (int c = 0; c < 2; ++c) {
        ecg->readSamples(c, 0, n, a.data());
        record.readSamples(c, 0, n, b.data());
        EXPECT_TRUE(a == b) << "channel " << c;
    }
    store.repo->closeStudy(study);
}

TEST(WfdbImport, StartComesFromPatientOrRecord)
{
    testsupport::TempRoot dir;
    const QByteArray data = encode16(interleaved(500, 1));
    const QString dated = writeRecord(
        dir.path(), "dated", "dated 1 250 500 14:05:30 07/03/2024\ndated.dat 16\n", &data);
    const QString undated
        = writeRecord(dir.path(), "undated", "undated 1 250 500\nundated.dat 16\n", &data);
    RepoFixture store;
    const QDateTime given(QDate(2025, 1, 2), QTime(3, 4));
    for (const auto& [start, expected] :
        { std::pair<QDateTime, const char*> { QDateTime(), "20240307140530" },
            { given, "20250102030400" } }) {
        Study* s = store.repo->openStudy(importWfdbRecord(*store.repo, dated, patient(start)));
        ASSERT_NE(s, nullptr);
        EXPECT_EQ(s->studyDateTime(), QByteArray(expected));
        store.repo->closeStudy(s);
    }
    RepoFixture none;
    const std::string msg = importError(none, undated, patient(QDateTime()));
    EXPECT_TRUE(contains(msg, "--date") && contains(msg, "undated")) << msg;
    EXPECT_TRUE(none.isEmpty());
}

TEST(WfdbImport, DifferentGainsShareTheFinestStep)
{
    testsupport::TempRoot dir;
    const QByteArray data = encode16(interleaved(300, 2));
    const QString rec = writeRecord(dir.path(), "g",
        "g 2 500 300\ng.dat 16 100 16 0 0 0 0 I\n"
        "g.dat 16 400 16 0 0 0 0 II\n",
        &data);
    RepoFixture store;
    const int id = importWfdbRecord(*store.repo, rec, patient());
    Study* s = store.repo->openStudy(id);
    ASSERT_NE(s, nullptr);
    SignalSource* ecg = s->signal();
    EXPECT_DOUBLE_EQ(ecg->gainStep(), 1.0 / 400.0);
    // Channel I had 100 steps per mV, now 400: every value times four, same millivolts.
    for (qint64 f : { 0, 1, 150, 299 }) {
        EXPECT_EQ(ecg->sampleAt(0, f), std::clamp(4 * sampleValue(f, 0), -32768, 32767));
        EXPECT_EQ(ecg->sampleAt(1, f), sampleValue(f, 1));
    }
    store.repo->closeStudy(s);
}

TEST(WfdbImport, FailuresLeaveNothing)
{
    testsupport::TempRoot dir;
    const qint64 frames = 40000; // three chunks; 160000 bytes of samples in the study
    const QByteArray data = encode16(interleaved(frames, 2));
    const QString rec = writeRecord(dir.path(), "w", headerText("w", 2, 360, frames, 16), &data);
    {
        RepoFixture store;
        CancelFlag cancel { false };
        ProgressLog sink;
        sink.cancelAt = 1;
        sink.cancel = &cancel;
        EXPECT_TRUE(contains(importError(store, rec, patient(), &sink, &cancel), "cancelled"));
        EXPECT_GT(sink.last, 0);
        EXPECT_LT(sink.last, frames);
        EXPECT_EQ(sink.total, frames);
        EXPECT_TRUE(store.isEmpty());
    }
    {
        testsupport::FailingIo io(60000); // the disk fills up during the copy
        RepoFixture store(&io);
        EXPECT_NE(importError(store, rec, patient()), "no error");
        EXPECT_TRUE(store.isEmpty());
    }
    // A study needs a whole sampling rate.
    RepoFixture store;
    const QString frac
        = writeRecord(dir.path(), "frac", "frac 2 360.5 100\nfrac.dat 16\nfrac.dat 16\n", &data);
    EXPECT_TRUE(contains(importError(store, frac, patient()), "360.5"));
    EXPECT_TRUE(store.isEmpty());
}
