#include "analysis/blockfilter.h"
#include "analysis/filteredsource.h"
#include "store/beatlist.h"
#include "store/ecgfile.h"
#include "store/study.h"
#include "store/studyrepository.h"
#include "tests/support/testsupport.h"
#include "workflow/studysignalrewrite.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using testsupport::FailingIo;
using testsupport::TempRoot;

namespace {

// A low rate keeps an hour small: 18000 samples, four whole blocks and a partial one.
constexpr int kRate = 5;
constexpr qint64 kHour = qint64(kRate) * 3600;
constexpr qint64 kLength = kHour + 5000; // samples per channel
const char* const kMessage = "Could not complete operation.\nPlease check available disk space.";

// Distinct on every channel and sample, and never -32768, so that negation is exact.
qint16 sampleOf(int channel, qint64 i)
{
    return qint16((i * 7 + channel * 3001) % 20000 - 10000);
}

struct Store
{
    explicit Store(StoreIo* io = nullptr)
    {
        StudyRepository::Options o;
        o.rootOverride = root.path();
        o.io = io;
        repo = std::make_unique<StudyRepository>("VeltronaHolter", o);
        StudyInfo info;
        info.studyDateTime = "20260101080000";
        info.patientLastName = "Paz";
        info.patientFirstName = "Eva";
        info.samplingRate = kRate;
        info.channelCount = 3;
        info.channelNames = "I,II,V5";
        info.resolution = 16;
        info.gain = 450.0;
        Study* s = repo->createStudy(info);
        std::vector<std::vector<qint16>> data(3, std::vector<qint16>(size_t(kLength)));
        for (int c = 0; c < 3; ++c)
            for (qint64 i = 0; i < kLength; ++i)
                data[size_t(c)][size_t(i)] = sampleOf(c, i);
        const qint16* channels[3] = { data[0].data(), data[1].data(), data[2].data() };
        s->signal()->appendChannels(channels, kLength);
        id = info.id;
        base = info.baseFilename;
        repo->saveStudy(s);
        repo->closeStudy(s);
        // Reopened, as the window hands it over: the last partial block is readable.
        study = repo->openStudy(id);
    }

    QString ecgPath(const QByteArray& name) const { return repo->studyPath(name, "vtecg"); }

    // A view of the study's samples with the channels of `invert` negated.
    std::unique_ptr<FilteredSource> modified(std::vector<bool> invert) const
    {
        std::vector<std::unique_ptr<BlockFilter>> filters;
        for (bool on : invert)
            filters.push_back(on ? std::make_unique<FirBlockFilter>(std::vector<double> { -1.0 }, 0)
                                 : nullptr);
        return std::make_unique<FilteredSource>(study->signal(), std::move(filters));
    }

    TempRoot root;
    std::unique_ptr<StudyRepository> repo;
    int id = 0;
    QByteArray base;
    Study* study = nullptr;
};

struct CountingSink : ProgressSink
{
    void progress(qint64 position, qint64 total) override
    {
        last = position;
        steps = total;
    }
    qint64 last = 0, steps = 0;
};

// Cancels after `after` blocks have been written.
struct CancellingSink : ProgressSink
{
    void progress(qint64 position, qint64) override
    {
        if (position >= after)
            flag.store(true);
    }
    qint64 after = 1;
    CancelFlag flag { false };
};

} // namespace

// What lands in the new file: the inversion of the view, the names, the exact length, and the
// study goes on over it (samples and beats reopened); no temporary file is left.
TEST(StudySignalRewrite, WritesInversionNamesAndTrimmedLength)
{
    const struct
    {
        const char* name;
        std::vector<bool> invert;
        QList<QByteArray> names;
        int hours;
        qint64 length;
    } cases[] = {
        { "second lead inverted", { false, true, false }, { "I", "II", "V5" }, 0, kLength },
        { "a name changed, nothing inverted", { false, false, false }, { "I", "aVF", "V5" }, 0,
            kLength },
        { "cut to an hour: a partial last block", { true, false, true }, { "I", "II", "V5" }, 1,
            kHour },
        { "a cut beyond the end keeps it all", { false, false, false }, { "V1", "II", "V5" }, 24,
            kLength },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Store store;
        ASSERT_TRUE(store.study);
        auto view = store.modified(c.invert);
        bool released = false;
        CountingSink sink;
        rewriteStudySignal(*store.repo, *store.study, *view, SignalRewrite { c.names, c.hours },
            &sink, nullptr, [&] {
                released = true;
                view.reset();
            });
        EXPECT_TRUE(released);
        EXPECT_EQ(sink.steps, (c.length + EcgFile::kBlockSize - 1) / EcgFile::kBlockSize);
        EXPECT_EQ(sink.last, sink.steps);
        EXPECT_FALSE(QFile::exists(store.ecgPath(store.base + "-temp")));

        // The open study reads the new file, and so does a fresh open.
        SignalSource* now = store.study->signal();
        ASSERT_TRUE(now);
        EXPECT_EQ(now->sampleCount(), c.length);
        ASSERT_TRUE(store.study->beats());
        EXPECT_EQ(store.study->beats()->signalSource(), now);
        store.repo->closeStudy(store.study);
        Study* again = store.repo->openStudy(store.id);
        ASSERT_TRUE(again);
        SignalSource* s = again->signal();
        ASSERT_EQ(s->sampleCount(), c.length);
        for (int ch = 0; ch < 3; ++ch) {
            EXPECT_EQ(s->channel(ch)->name(), c.names[ch]);
            const int sign = c.invert[size_t(ch)] ? -1 : 1;
            for (qint64 i : { qint64(0), qint64(4095), qint64(4096), c.length - 1 })
                EXPECT_EQ(s->sampleAt(ch, i), sign * sampleOf(ch, i)) << ch << " " << i;
        }
        EXPECT_EQ(s->sampleAt(0, c.length), 0);
        store.repo->closeStudy(again);
    }
}

// A cancel or a full disk while the new file is written leaves the study's own file as it was,
// no temporary file, and the study still reading its samples.
TEST(StudySignalRewrite, FailureKeepsTheOldFileAndRemovesTheNewOne)
{
    enum Fault { CancelAfterOneBlock, DiskFullInSamples, DiskFullInHeader };
    for (Fault fault : { CancelAfterOneBlock, DiskFullInSamples, DiskFullInHeader }) {
        SCOPED_TRACE(int(fault));
        FailingIo io;
        Store store(&io);
        ASSERT_TRUE(store.study);
        const QByteArray before = testsupport::readAll(store.ecgPath(store.base));
        ASSERT_FALSE(before.isEmpty());
        if (fault == DiskFullInSamples)
            io.setBudget(io.written() + EcgFile::kHeaderSize + 3 * 4096 * 2 + 100);
        else if (fault == DiskFullInHeader)
            io.setBudget(io.written() + 1000);
        CancellingSink cancel;
        auto view = store.modified({ true, true, true });
        bool released = false;
        const std::string error = testsupport::errorOf([&] {
            rewriteStudySignal(*store.repo, *store.study, *view,
                SignalRewrite { { "I", "aVR", "V5" }, 0 }, &cancel,
                fault == CancelAfterOneBlock ? &cancel.flag : nullptr, [&] { released = true; });
        });
        EXPECT_EQ(error, kMessage);
        EXPECT_FALSE(released);
        EXPECT_FALSE(QFile::exists(store.ecgPath(store.base + "-temp")));
        EXPECT_EQ(testsupport::readAll(store.ecgPath(store.base)), before);
        ASSERT_EQ(store.study->signal(), view->wrapped());
        EXPECT_EQ(store.study->signal()->sampleAt(1, 10), sampleOf(1, 10));
    }
}

TEST(StudySignalRewrite, TrimKeepsAtMostTheRecording)
{
    EXPECT_EQ(trimmedSampleCount(1000, 500, 0), 1000);
    EXPECT_EQ(trimmedSampleCount(500LL * 86400 + 1, 500, 24), 500LL * 86400);
    EXPECT_EQ(trimmedSampleCount(500LL * 86400, 500, 24), 500LL * 86400);
    EXPECT_EQ(trimmedSampleCount(500LL * 86400, 500, 48), 500LL * 86400);
}
