#include "recorder/wfdbimport.h"
#include "recorder/wfdbrecord.h"
#include "store/ecgfile.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tests/recorder/tst_wfdbsupport.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

using namespace wfdbtest;

namespace {

struct Store
{
    testsupport::TempRoot root;
    std::unique_ptr<StudyRepository> repo;

    explicit Store(StoreIo* io = nullptr)
    {
        StudyRepository::Options o;
        o.rootOverride = root.path();
        o.io = io;
        repo = std::make_unique<StudyRepository>("VeltronaHolter", o);
    }
    // No study row and no study file of any kind left in the root.
    bool isEmpty() const
    {
        return repo->listStudies().isEmpty()
            && QDir(root.path()).entryList(QDir::Files | QDir::Hidden).isEmpty();
    }
};

ImportPatient patient(const QDateTime& start = QDateTime(QDate(2025, 6, 1), QTime(9, 30)))
{
    ImportPatient p;
    p.lastName = "Núñez";
    p.firstName = "Ana";
    p.idNumber = "123";
    p.start = start;
    return p;
}

QString importError(Store& store, const QString& record, const ImportPatient& p,
    ProgressSink* progress = nullptr, const CancelFlag* cancel = nullptr)
{
    try {
        importWfdbRecord(*store.repo, record, p, progress, cancel);
    } catch (const std::exception& e) {
        return QString::fromStdString(e.what());
    }
    return QString();
}

// Every sample of every channel of the study equals the record's.
void expectSameSamples(SignalSource& study, SignalSource& record)
{
    ASSERT_EQ(study.channelCount(), record.channelCount());
    ASSERT_EQ(study.sampleCount(), record.sampleCount());
    const qint64 n = record.sampleCount();
    std::vector<double> a(static_cast<size_t>(n)), b(static_cast<size_t>(n));
    for (int c = 0; c < record.channelCount(); ++c) {
        study.readSamples(c, 0, n, a.data());
        record.readSamples(c, 0, n, b.data());
        qint64 firstBad = -1;
        for (qint64 i = 0; i < n && firstBad < 0; ++i)
            if (a[size_t(i)] != b[size_t(i)])
                firstBad = i;
        EXPECT_EQ(firstBad, -1) << "channel " << c;
    }
}

class CancelAfterFirst : public ProgressSink
{
public:
    explicit CancelAfterFirst(CancelFlag& flag)
        : m_flag(flag)
    {
    }
    void progress(qint64 position, qint64 total) override
    {
        last = position;
        this->total = total;
        if (position > 0)
            m_flag = true;
    }
    qint64 last = -1;
    qint64 total = -1;

private:
    CancelFlag& m_flag;
};

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
    const int id
        = importWfdbRecord(*store.repo, mitdb.filePath(name + ".hea"), patient(), nullptr, nullptr);
    ASSERT_GT(id, 0);
    Study* study = store.repo->openStudy(id);
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
            const QString msg = importError(store, c.record, patient(c.start));
            EXPECT_TRUE(msg.contains("--date") && msg.contains("undated")) << msg.toStdString();
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
    EXPECT_TRUE(importError(store, dated, nameless).contains("first name"));
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

TEST(WfdbImport, CancelMidwayLeavesNothing)
{
    testsupport::TempRoot dir;
    const qint64 frames = 70000; // several chunks
    const QByteArray data = encode212(interleaved(frames, 3));
    const QString rec = writeRecord(dir.path(), "c", headerText("c", 3, 360, frames, 212), &data);
    Store store;
    CancelFlag cancel { false };
    CancelAfterFirst sink(cancel);
    const QString msg = importError(store, rec, patient(), &sink, &cancel);
    EXPECT_TRUE(msg.contains("cancelled")) << msg.toStdString();
    EXPECT_GT(sink.last, 0);
    EXPECT_LT(sink.last, frames);
    EXPECT_EQ(sink.total, frames);
    EXPECT_TRUE(store.isEmpty());
}

TEST(WfdbImport, FailingWriterLeavesNothing)
{
    testsupport::TempRoot dir;
    const qint64 frames = 40000; // 160000 bytes of samples in the study
    const QByteArray data = encode16(interleaved(frames, 2));
    const QString rec = writeRecord(dir.path(), "w", headerText("w", 2, 360, frames, 16), &data);
    // From a failure while creating the files to one at the last chunk.
    for (qint64 budget : { qint64(0), qint64(3000), qint64(9000), qint64(60000), qint64(160000) }) {
        testsupport::FailingIo io(budget);
        Store store(&io);
        const QString msg = importError(store, rec, patient());
        EXPECT_FALSE(msg.isEmpty()) << "budget " << budget;
        EXPECT_TRUE(store.isEmpty()) << "budget " << budget;
    }
    testsupport::FailingIo unlimited(-1);
    Store store(&unlimited);
    EXPECT_GT(importWfdbRecord(*store.repo, rec, patient()), 0);
}

TEST(WfdbImport, BadRecordsLeaveTheStoreEmpty)
{
    testsupport::TempRoot dir;
    const QByteArray data = encode212(interleaved(100, 2)); // 300 bytes
    struct Case
    {
        const char* name;
        QByteArray header;
        bool writeData;
        const char* expected;
    };
    const Case cases[] = {
        { "long", headerText("long", 2, 360, 5000, 212), true, "long.dat" },
        { "f311", headerText("f311", 2, 360, 100, 311), true, "format 311" },
        { "five", headerText("five", 5, 360, 20, 212), true, "5 signals" },
        { "gain", "gain 2 360 100\ngain.dat 212 abc\ngain.dat 212 200\n", true, "line 2" },
        { "nodat", headerText("nodat", 2, 360, 100, 212), false, "nodat.dat" },
        { "frac", "frac 2 360.5 100\nfrac.dat 212\nfrac.dat 212\n", true, "360.5" },
    };
    Store store;
    for (const Case& c : cases) {
        const QString rec
            = writeRecord(dir.path(), c.name, c.header, c.writeData ? &data : nullptr);
        const QString msg = importError(store, rec, patient());
        EXPECT_TRUE(msg.contains(c.expected)) << c.name << " -> " << msg.toStdString();
    }
    // Garbage instead of a header.
    testsupport::writeAll(dir.file("junk.hea"), QByteArray("\x01\x02\xff\xfe garbage\n", 14));
    EXPECT_FALSE(importError(store, dir.file("junk.hea"), patient()).isEmpty());
    EXPECT_TRUE(store.isEmpty());
}
