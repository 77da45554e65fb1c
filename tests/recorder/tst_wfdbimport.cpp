#include "recorder/wfdbimport.h"
#include "recorder/wfdbrecord.h"
#include "store/ecgfile.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

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

std::string importError(Store& store, const QString& record, const ImportPatient& p,
    ProgressSink* progress = nullptr, const CancelFlag* cancel = nullptr)
{
    return errorOf([&] { importWfdbRecord(*store.repo, record, p, progress, cancel); });
}

// Every sample of every channel of the study equals the record's.
void expectSameSamples(SignalSource& study, SignalSource& record)
{
    ASSERT_EQ(study.sampleCount(), record.sampleCount());
    const qint64 n = record.sampleCount();
    std::vector<double> a(static_cast<size_t>(n)), b(static_cast<size_t>(n));
    for (int c = 0; c < record.channelCount(); ++c) {
        study.readSamples(c, 0, n, a.data());
        record.readSamples(c, 0, n, b.data());
        EXPECT_TRUE(a == b) << "channel " << c;
    }
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
    // The descriptions, read straight from the header text: last word of each signal line.
    QByteArrayList names;
    for (const QByteArray& line : testsupport::readAll(mitdb.filePath(name + ".hea")).split('\n'))
        if (line.startsWith(name.toUtf8() + ".dat"))
            names << line.simplified().split(' ').last();
    ASSERT_EQ(names.size(), 2);

    Store store;
    Study* study = store.repo->openStudy(
        importWfdbRecord(*store.repo, mitdb.filePath(name + ".hea"), patient()));
    ASSERT_NE(study, nullptr);
    SignalSource* ecg = study->signal();
    EXPECT_EQ(ecg->samplingRate(), 360);
    EXPECT_EQ(ecg->channel(0)->name(), names[0]);
    EXPECT_EQ(ecg->channel(1)->name(), names[1]);
    EXPECT_DOUBLE_EQ(ecg->gainStep(), 1.0 / 200.0); // mitdb: 200 ADC units per mV
    EXPECT_EQ(study->studyDateTime(), QByteArray("20250601093000"));
    EXPECT_EQ(store.repo->studyInfo(study).patientLastName, QByteArray("Núñez"));
    WfdbSource record(mitdb.filePath(name));
    EXPECT_EQ(ecg->sampleCount(), 650000); // 30 min at 360 Hz
    expectSameSamples(*ecg, record);
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
    Store store;
    struct Case
    {
        QString record;
        QDateTime start;
        QByteArray expected; // studyDateTime, or empty for an error
    };
    const Case cases[] = {
        { dated, QDateTime(), "20240307140530" },
        { dated, QDateTime(QDate(2025, 1, 2), QTime(3, 4)), "20250102030400" },
        { undated, QDateTime(QDate(2025, 1, 2), QTime(3, 4)), "20250102030400" },
        { undated, QDateTime(), "" },
    };
    for (const Case& c : cases) {
        if (c.expected.isEmpty()) {
            const std::string msg = importError(store, c.record, patient(c.start));
            EXPECT_TRUE(contains(msg, "--date") && contains(msg, "undated")) << msg;
            continue;
        }
        const int id = importWfdbRecord(*store.repo, c.record, patient(c.start));
        Study* s = store.repo->openStudy(id);
        ASSERT_NE(s, nullptr);
        EXPECT_EQ(s->studyDateTime(), c.expected) << c.record.toStdString();
        store.repo->closeStudy(s);
        store.repo->deleteStudy(id);
    }
    EXPECT_TRUE(store.isEmpty());

    // The form check still applies: no names, no study.
    ImportPatient nameless = patient();
    nameless.firstName.clear();
    EXPECT_TRUE(contains(importError(store, dated, nameless), "first name"));
    EXPECT_TRUE(store.isEmpty());
}

TEST(WfdbImport, DifferentGainsShareTheFinestStep)
{
    testsupport::TempRoot dir;
    const QByteArray data = encode16(interleaved(300, 2));
    const QString rec = writeRecord(dir.path(), "g",
        "g 2 500 300\ng.dat 16 100 16 0 0 0 0 I\n"
        "g.dat 16 400 16 0 0 0 0 II\n",
        &data);
    Store store;
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
        Store store;
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
    // From a failure while creating the files to one at the last chunk.
    for (qint64 budget : { 0, 3000, 9000, 60000, 160000 }) {
        testsupport::FailingIo io(budget);
        Store store(&io);
        EXPECT_NE(importError(store, rec, patient()), "no error") << "budget " << budget;
        EXPECT_TRUE(store.isEmpty()) << "budget " << budget;
    }
    testsupport::FailingIo unlimited(-1);
    EXPECT_GT(importWfdbRecord(*Store(&unlimited).repo, rec, patient()), 0);

    const std::tuple<const char*, QByteArray, bool, const char*> bad[] = {
        { "long", headerText("long", 2, 360, frames + 1, 16), true, "long.dat" },
        { "nodat", headerText("nodat", 2, 360, 100, 16), false, "nodat.dat" },
        { "frac", "frac 2 360.5 100\nfrac.dat 16\nfrac.dat 16\n", true, "360.5" }, // no such rate
        { "junk", QByteArray("\x01\x02\xff\xfe garbage\n", 14), false, "junk" },
    };
    Store store;
    for (const auto& [name, header, withData, expected] : bad) {
        const std::string msg = importError(
            store, writeRecord(dir.path(), name, header, withData ? &data : nullptr), patient());
        EXPECT_TRUE(contains(msg, expected)) << name << " -> " << msg;
    }
    EXPECT_TRUE(store.isEmpty());
}
