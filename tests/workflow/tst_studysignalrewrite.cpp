#include "analysis/blockfilter.h"
#include "analysis/filteredsource.h"
#include "store/beatlist.h"
#include "store/ecgfile.h"
#include "tests/support/testsupport.h"
#include "tests/workflow/slowstudy.h"
#include "workflow/studysignalrewrite.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace slowstudy;

namespace {

constexpr qint64 kLength = kHour + 5000; // four whole blocks and a partial one past the hour

// A store with the study open, as the window hands it over.
struct Store
{
    explicit Store(StoreIo* io = nullptr)
        : repo(repository(root.path(), io))
        , id(make(*repo, kLength))
        , study(repo->openStudy(id))
        , base(study->property("baseFilename"))
    {
    }
    QString ecgPath(const QByteArray& name) const { return repo->studyPath(name, "vtecg"); }

    // A view of the study's samples with the channels of `invert` negated.
    std::unique_ptr<FilteredSource> modified(std::vector<bool> invert) const
    {
        std::vector<std::unique_ptr<BlockFilter>> filters;
        for (bool on : invert)
            filters.push_back(
                on ? std::make_unique<FirBlockFilter>(std::vector<double> { -1.0 }, 0) : nullptr);
        return std::make_unique<FilteredSource>(study->signal(), std::move(filters));
    }

    testsupport::TempRoot root;
    std::unique_ptr<StudyRepository> repo;
    int id;
    Study* study;
    QByteArray base;
};

struct Sink : ProgressSink
{
    void progress(qint64 position, qint64 total) override
    {
        last = position;
        steps = total;
        if (cancelAfter > 0 && position >= cancelAfter)
            cancel.store(true);
    }
    qint64 last = 0, steps = 0, cancelAfter = 0;
    CancelFlag cancel { false };
};

} // namespace

// The new file holds the view's inversion, the names and the exact length; the open study goes
// on over it, and no temporary file is left.
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
        { "second lead inverted", { false, true, false }, { "II", "V2", "V5" }, 0, kLength },
        { "a name changed, nothing inverted", { false, false, false }, { "II", "aVF", "V5" }, 0,
            kLength },
        { "cut to an hour: a partial last block", { true, false, true }, { "II", "V2", "V5" }, 1,
            kHour },
        { "a cut beyond the end keeps it all", { false, false, false }, { "V1", "V2", "V5" }, 24,
            kLength },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Store store;
        auto view = store.modified(c.invert);
        bool released = false;
        Sink sink;
        rewriteStudySignal(*store.repo, *store.study, *view, SignalRewrite { c.names, c.hours },
            &sink, nullptr, [&] {
                released = true;
                view.reset();
            });
        EXPECT_TRUE(released);
        EXPECT_EQ(sink.steps, (c.length + EcgFile::kBlockSize - 1) / EcgFile::kBlockSize);
        EXPECT_EQ(sink.last, sink.steps);
        EXPECT_FALSE(QFile::exists(store.ecgPath(store.base + "-temp")));
        ASSERT_TRUE(store.study->signal() && store.study->beats());
        EXPECT_EQ(store.study->beats()->signalSource(), store.study->signal());

        // What a fresh open reads.
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
    }
}

// A cancel or a full disk while the new file is written leaves the study's own file as it was,
// no temporary file, and the study still reading its samples.
TEST(StudySignalRewrite, FailureKeepsTheOldFileAndRemovesTheNewOne)
{
    enum Fault { CancelAfterOneBlock, DiskFullInSamples, DiskFullInHeader };
    for (Fault fault : { CancelAfterOneBlock, DiskFullInSamples, DiskFullInHeader }) {
        SCOPED_TRACE(int(fault));
        testsupport::FailingIo io;
        Store store(&io);
        const QByteArray before = testsupport::readAll(store.ecgPath(store.base));
        if (fault == DiskFullInSamples)
            io.setBudget(io.written() + EcgFile::kHeaderSize + 3 * 4096 * 2 + 100);
        else if (fault == DiskFullInHeader)
            io.setBudget(io.written() + 1000);
        Sink sink;
        sink.cancelAfter = fault == CancelAfterOneBlock ? 1 : 0;
        auto view = store.modified({ true, true, true });
        bool released = false;
        const std::string error = testsupport::errorOf([&] {
            rewriteStudySignal(*store.repo, *store.study, *view,
                SignalRewrite { { "I", "aVR", "V5" }, 0 }, &sink, &sink.cancel,
                [&] { released = true; });
        });
        EXPECT_EQ(error, "Could not complete operation.\nPlease check available disk space.");
        EXPECT_FALSE(released);
        EXPECT_FALSE(QFile::exists(store.ecgPath(store.base + "-temp")));
        EXPECT_EQ(testsupport::readAll(store.ecgPath(store.base)), before);
        ASSERT_EQ(store.study->signal(), view->wrapped());
        EXPECT_EQ(store.study->signal()->sampleAt(1, 10), sampleOf(1, 10));
    }
}
