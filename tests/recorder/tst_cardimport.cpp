#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "store/beatlist.h"
#include "store/signalsource.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace {

// Sample of channel c (0..2) at frame index n: distinct per channel, sign changes included.
qint16 cardSample(int c, qint64 n)
{
    return qint16(((n * 37 + c * 1000) % 20001) - 10000);
}

// Writes a card file: `preamble` bytes ending in a marker word (as the recorder's do), then
// `blocks` blocks whose status words come from `status(b)`, optionally a partial block.
QString writeCard(const QString& folder, int blocks, const std::function<int(int)>& status,
                  int partialBytes = 0, int preamble = 512)
{
    const QString path = folder + "/HECG.VTF";
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        throw std::runtime_error("cannot write card");
    QByteArray pre(preamble, '\0');
    pre[preamble - 2] = char(0xC0);
    f.write(pre);
    QByteArray block(12002, '\0');
    for (int b = 0; b < blocks; ++b) {
        for (int i = 0; i < 2000; ++i)
            for (int c = 0; c < 3; ++c) {
                const quint16 v = quint16(cardSample(c, qint64(b) * 2000 + i));
                block[6 * i + 2 * (2 - c)] = char(v >> 8);
                block[6 * i + 2 * (2 - c) + 1] = char(v & 0xff);
            }
        const int w = status(b);
        block[12000] = char(w >> 8);
        block[12001] = char(w & 0xff);
        f.write(block);
    }
    f.write(block.left(partialBytes));
    return path;
}

int quiet(int)
{
    return 0xC000;
}

struct Store
{
    testsupport::TempRoot root;
    testsupport::TempRoot card;
    std::unique_ptr<StudyRepository> repo;
    explicit Store(StoreIo* io = nullptr)
    {
        StudyRepository::Options o;
        o.rootOverride = root.path();
        o.io = io;
        repo = std::make_unique<StudyRepository>("VeltronaHolter", o);
    }
};

CardImportOptions options()
{
    CardImportOptions o;
    o.patient.lastName = "Lopez";
    o.patient.firstName = "Ana";
    o.patient.start = QDateTime(QDate(2026, 11, 20), QTime(9, 30));
    return o;
}

class Counter : public ProgressSink
{
public:
    void progress(qint64 position, qint64 total) override
    {
        last = position;
        this->total = total;
        ++calls;
        if (cancelAt > 0 && position >= cancelAt)
            flag->store(true);
    }
    qint64 last = 0, total = 0, calls = 0, cancelAt = 0;
    CancelFlag* flag = nullptr;
};

} // namespace

TEST(CardImport, SamplesChannelOrderInversionAndStudyFields)
{
    Store s;
    const QString file = writeCard(s.card.path(), 16, quiet, 7000);
    CardImportOptions o = options();
    o.leads = QStringList{"I", "aVF", "V6"};
    o.invert = {false, true, false};
    Counter progress;
    const int id = importCard(*s.repo, file, CardSignalFile::findDataOffset(file), o, &progress);
    EXPECT_EQ(progress.last, 16);
    EXPECT_EQ(progress.total, 16);

    Study* study = s.repo->openStudy(id);
    ASSERT_NE(study, nullptr);
    EXPECT_EQ(study->property("status"), QByteArray("downloaded"));
    EXPECT_EQ(study->property("patient/lastName"), QByteArray("Lopez"));
    EXPECT_EQ(study->studyDateTime(), QByteArray("20261120093000"));
    EXPECT_EQ(study->recordingDateTime(), QByteArray("20261120093000"));
    SignalSource* sig = study->signal();
    // The partial block at the end is not copied.
    ASSERT_EQ(sig->sampleCount(), 16 * 2000);
    EXPECT_EQ(sig->samplingRate(), 500);
    EXPECT_DOUBLE_EQ(sig->gainMax(), 450.0);
    EXPECT_EQ(sig->channel(1)->name(), QByteArray("aVF"));
    for (qint64 n : {qint64(0), qint64(1), qint64(1999), qint64(2000), qint64(31999)}) {
        EXPECT_EQ(sig->sampleAt(0, n), cardSample(0, n)) << n;
        EXPECT_EQ(sig->sampleAt(1, n), -cardSample(1, n)) << n;
        EXPECT_EQ(sig->sampleAt(2, n), cardSample(2, n)) << n;
    }
    // Every sample, against the card read in place.
    CardSignalFile card(file, CardSignalFile::findDataOffset(file));
    card.setInverted(1, true);
    std::vector<double> a(32000), b(32000);
    for (int c = 0; c < 3; ++c) {
        sig->readSamples(c, 0, 32000, a.data());
        card.readSamples(c, 0, 32000, b.data());
        EXPECT_EQ(a, b) << "channel " << c;
    }
    EXPECT_EQ(study->events().count(), 0);
    EXPECT_EQ(study->beats()->count(), 0);
}

TEST(CardImport, StatusWordsBecomeEvents)
{
    Store s;
    // Block 0: button (skipped, start-up). 2-4: button held. 5: battery + button -> button.
    // 6: battery (first report). 9: battery again (second spell, not reported).
    // 10: SD error. 11: electrodes + SD -> electrodes (SD already reported).
    // 12: marker missing with the button bit -> nothing. 13: exactly 0xC000 -> nothing.
    auto status = [](int b) {
        switch (b) {
        case 0: return 0xC001;
        case 2: case 3: case 4: return 0xC001;
        case 5: return 0xC003;
        case 6: return 0xC002;
        case 9: return 0xC002;
        case 10: return 0xC004;
        case 11: return 0xC084;
        case 12: return 0x8001;
        default: return 0xC000;
        }
    };
    const QString file = writeCard(s.card.path(), 14, status);
    // A bad marker is corruption to the offset search, so the offset is given here.
    const int id = importCard(*s.repo, file, 512, options());
    Study* study = s.repo->openStudy(id);
    ASSERT_NE(study, nullptr);
    struct Expected
    {
        double position;
        const char* text;
    };
    const Expected expected[] = {{8, "Patient event"},  {12, "Patient event"},
                                 {16, "Patient event"}, {20, "Patient event"},
                                 {24, "Low battery"},   {40, "SD card error"},
                                 {44, "Disconnected electrodes"}};
    ASSERT_EQ(study->events().count(), int(std::size(expected)));
    for (int i = 0; i < study->events().count(); ++i) {
        const StudyEvent& e = study->events().at(i);
        EXPECT_DOUBLE_EQ(e.position, expected[i].position) << i;
        EXPECT_DOUBLE_EQ(e.duration, 5.0);
        EXPECT_EQ(e.description, QByteArray(expected[i].text)) << i;
        EXPECT_EQ(e.index, i);
    }
}

TEST(CardImport, LimitOfTwentyFourHoursOnALongerCard)
{
    Store s;
    // 30 hours of blocks, written sparse: the samples don't matter here, the count does.
    const QString path = s.card.path() + "/HECG.VTF";
    {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        QByteArray pre(512, '\0');
        pre[510] = char(0xC0);
        f.write(pre);
        ASSERT_TRUE(f.resize(512 + qint64(27000) * 12002));
    }
    CardImportOptions o = options();
    o.limitHours = 24;
    const int id = importCard(*s.repo, path, 512, o);
    Study* study = s.repo->openStudy(id);
    ASSERT_NE(study, nullptr);
    EXPECT_EQ(study->signal()->sampleCount(), qint64(21600) * 2000);
    EXPECT_DOUBLE_EQ(study->signal()->duration(), 24 * 3600.0);
}

TEST(CardImport, FailuresLeaveNothingBehindAndTheCardUntouched)
{
    const QString message = "Could not complete download.\nPlease check available disk space.";
    {
        // Cancel half-way.
        Store s;
        const QString file = writeCard(s.card.path(), 20, quiet);
        const QByteArray before = testsupport::readAll(file);
        CancelFlag flag(false);
        Counter progress;
        progress.cancelAt = 7;
        progress.flag = &flag;
        try {
            importCard(*s.repo, file, 512, options(), &progress, &flag);
            ADD_FAILURE() << "expected the cancel to fail the copy";
        } catch (const std::exception& e) {
            EXPECT_EQ(QString::fromUtf8(e.what()), message);
        }
        EXPECT_TRUE(s.repo->listStudies().isEmpty());
        EXPECT_TRUE(QDir(s.root.path()).entryList(QDir::Files).isEmpty());
        EXPECT_EQ(testsupport::readAll(file), before);
    }
    {
        // The disk fills up during the copy.
        testsupport::FailingIo io;
        Store s(&io);
        const QString file = writeCard(s.card.path(), 20, quiet);
        io.setBudget(100000);
        try {
            importCard(*s.repo, file, 512, options());
            ADD_FAILURE() << "expected a write failure";
        } catch (const std::exception& e) {
            EXPECT_EQ(QString::fromUtf8(e.what()), message);
        }
        EXPECT_TRUE(s.repo->listStudies().isEmpty());
        EXPECT_TRUE(QDir(s.root.path()).entryList(QDir::Files).isEmpty());
    }
    {
        // No card file at all: nothing is created, and the message says so.
        Store s;
        try {
            importCard(*s.repo, s.card.path() + "/HECG.VTF", 512, options());
            ADD_FAILURE() << "expected an error";
        } catch (const std::exception& e) {
            EXPECT_STREQ(e.what(), "Cannot open file in memory card");
        }
        EXPECT_TRUE(s.repo->listStudies().isEmpty());
    }
}

TEST(CardImport, FormCheck)
{
    ImportPatient p;
    EXPECT_FALSE(p.incompleteReason().isEmpty());
    p.lastName = "  ";
    p.firstName = "Ana";
    p.start = QDateTime(QDate(2026, 1, 1), QTime(0, 0));
    EXPECT_TRUE(p.incompleteReason().contains("last name"));
    p.lastName = "Lopez";
    EXPECT_TRUE(p.incompleteReason().isEmpty());
    p.start = QDateTime(QDate(2000, 12, 31), QTime(23, 59));
    EXPECT_TRUE(p.incompleteReason().contains("date"));
    p.start = QDateTime(QDate(2001, 1, 1), QTime(0, 0));
    EXPECT_TRUE(p.incompleteReason().isEmpty());
}
