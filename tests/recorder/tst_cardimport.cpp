#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "tests/recorder/tst_recordersupport.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace rectest;

namespace {

const char* const kFailed = "Could not complete download.\nPlease check available disk space.";

CardImportOptions options()
{
    CardImportOptions o;
    o.patient.lastName = "Lopez";
    o.patient.firstName = "Ana";
    o.patient.start = QDateTime(QDate(2026, 11, 20), QTime(9, 30));
    return o;
}

} // namespace

TEST(CardImport, SamplesChannelOrderInversionAndStudyFields)
{
    RepoFixture s;
    testsupport::TempRoot folder;
    const QString file
        = writeCard(folder, cardPreamble(512) + cardBlocks(16) + QByteArray(7000, '\x11'));
    CardImportOptions o = options();
    o.leads = QStringList { "I", "aVF", "V6" };
    o.invert = { false, true, false };
    ProgressLog progress;
    const int id = importCard(*s.repo, file, CardSignalFile::findDataOffset(file), o, &progress);
    EXPECT_EQ(progress.last, 16);
    EXPECT_EQ(progress.total, 16);

    Study* study = s.repo->openStudy(id);
    ASSERT_NE(study, nullptr);
    EXPECT_EQ(study->property("status"), QByteArray("downloaded"));
    EXPECT_EQ(study->recordingDateTime(), QByteArray("20261120093000"));
    SignalSource* sig = study->signal();
    ASSERT_EQ(sig->sampleCount(), 16 * 2000); // the partial block at the end is not copied
    EXPECT_EQ(sig->samplingRate(), 500);
    EXPECT_EQ(sig->channel(1)->name(), QByteArray("aVF"));
    for (qint64 n : { 0, 1, 1999, 2000, 31999 }) {
        const int b = int(n / 2000), f = int(n % 2000);
        EXPECT_EQ(sig->sampleAt(0, n), cardSample(b, f, 0)) << n;
        EXPECT_EQ(sig->sampleAt(1, n), std::min(32767, -cardSample(b, f, 1))) << n;
        EXPECT_EQ(sig->sampleAt(2, n), cardSample(b, f, 2)) << n;
    }
}

TEST(CardImport, StatusWordsBecomeEvents)
{
    // Block 0: button at start-up, skipped. 2-4: button held. 5: battery + button -> button.
    // 6: battery, first report. 9: battery again, not reported. 10: SD error.
    // 11: electrodes + SD -> electrodes. 12: button bit without the marker -> nothing.
    std::vector<quint16> statuses(14, 0xC000);
    for (auto [block, status] :
        { std::pair { 0, 0xC001 }, { 2, 0xC001 }, { 3, 0xC001 }, { 4, 0xC001 }, { 5, 0xC003 },
            { 6, 0xC002 }, { 9, 0xC002 }, { 10, 0xC004 }, { 11, 0xC084 }, { 12, 0x8001 } })
        statuses[block] = quint16(status);
    RepoFixture s;
    testsupport::TempRoot folder;
    // A bad marker is corruption to the offset search, so the offset is given here.
    const int id = importCard(
        *s.repo, writeCard(folder, cardPreamble(512) + cardBlocks(14, statuses)), 512, options());
    Study* study = s.repo->openStudy(id);
    ASSERT_NE(study, nullptr);
    const std::pair<double, const char*> expected[] = { { 8, "Patient event" },
        { 12, "Patient event" }, { 16, "Patient event" }, { 20, "Patient event" },
        { 24, "Low battery" }, { 40, "SD card error" }, { 44, "Disconnected electrodes" } };
    ASSERT_EQ(study->events().count(), int(std::size(expected)));
    for (int i = 0; i < study->events().count(); ++i) {
        const StudyEvent& e = study->events().at(i);
        EXPECT_DOUBLE_EQ(e.position, expected[i].first) << i; // 4 s per block
        EXPECT_DOUBLE_EQ(e.duration, 5.0);
        EXPECT_EQ(e.description, QByteArray(expected[i].second)) << i;
    }
}

TEST(CardImport, LimitOfTwentyFourHoursOnALongerCard)
{
    RepoFixture s;
    testsupport::TempRoot folder;
    // 30 hours of blocks, written sparse: only the count matters here.
    const QString path = writeCard(folder, cardPreamble(512));
    ASSERT_TRUE(QFile::resize(path, 512 + qint64(27000) * kCardBlock));
    CardImportOptions o = options();
    o.limitHours = 24;
    Study* study = s.repo->openStudy(importCard(*s.repo, path, 512, o));
    ASSERT_NE(study, nullptr);
    EXPECT_EQ(study->signal()->sampleCount(), qint64(21600) * 2000);
}

TEST(CardImport, FailuresLeaveNothingBehindAndTheCardUntouched)
{
    testsupport::TempRoot folder;
    const QString file = writeCard(folder, cardPreamble(512) + cardBlocks(20));
    const QByteArray before = testsupport::readAll(file);
    {
        RepoFixture s;
        CancelFlag flag(false);
        ProgressLog progress;
        progress.cancelAt = 7;
        progress.cancel = &flag;
        EXPECT_EQ(
            errorOf([&] { importCard(*s.repo, file, 512, options(), &progress, &flag); }), kFailed);
        EXPECT_TRUE(s.isEmpty());
    }
    {
        testsupport::FailingIo io;
        RepoFixture s(&io);
        io.setBudget(100000); // the disk fills up during the copy
        EXPECT_EQ(errorOf([&] { importCard(*s.repo, file, 512, options()); }), kFailed);
        EXPECT_TRUE(s.isEmpty());
    }
    EXPECT_EQ(testsupport::readAll(file), before);
}

TEST(CardImport, FormCheck)
{
    ImportPatient p;
    p.lastName = "  ";
    p.firstName = "Ana";
    p.start = QDateTime(QDate(2026, 1, 1), QTime(0, 0));
    EXPECT_TRUE(p.incompleteReason().contains("last name"));
    p.lastName = "Lopez";
    p.start = QDateTime(QDate(2000, 12, 31), QTime(23, 59)); // the last date refused
    EXPECT_TRUE(p.incompleteReason().contains("date"));
    p.start = QDateTime(QDate(2001, 1, 1), QTime(0, 0));
    EXPECT_TRUE(p.incompleteReason().isEmpty());
}
