#include "tests/store/studytestutil.h"

#include "store/beatlist.h"
#include "store/ecgfile.h"
#include "store/studyfile.h"
#include "store/trend.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace {

// Fills a study with one result of every kind, a binned trend among them.
void addEveryResultKind(Study& s)
{
    s.results().insert("HR/avgBPM", std::make_unique<ValueResult>(71.5));
    auto psd = std::make_unique<ValueArrayResult>();
    psd->values = { 1.0, 2.5, -3.0 };
    s.results().insert("HRV/PSD", std::move(psd));
    s.results().insert("HR/minBPM", std::make_unique<EventResult>(3600.0, 0.0, 48.0));
    auto couplets = std::make_unique<EventListResult>();
    couplets->events = { EventResult(10.0, 1.2, 2.0), EventResult(99.5, 0.8, 2.0) };
    s.results().insert("PVC/coupletEvents", std::move(couplets));
    auto trend = std::make_unique<TTrend>();
    trend->add(0.0, 70.0);
    trend->add(30.0, 72.0);
    s.results().insert("HR/BPMTrend", std::move(trend));
    auto hourly = std::make_unique<BinnedMedian>();
    hourly->configure(3600.0, 2);
    hourly->add(10.0, 70.0);
    hourly->add(20.0, 80.0);
    hourly->add(4000.0, 60.0);
    s.results().insert("HR/avgBPMPerHour", std::move(hourly));
}

} // namespace

TEST(StudyRepository, CreatesFoldersIndexAndFilesUnderAFreeBaseName)
{
    RepoFixture f;
    EXPECT_TRUE(QFileInfo(f.path("data/studies.sqlite")).isFile());
    EXPECT_TRUE(QFileInfo(f.path("temp")).isDir());

    StudyInfo info = fullInfo();
    Study* s = f.repo->createStudy(info);
    ASSERT_NE(s, nullptr);
    EXPECT_GE(info.id, 1);
    EXPECT_LE(info.id, 999999999);
    EXPECT_EQ(info.baseFilename, QByteArray("HC-77-12345678-Núñez-José-20261122083015"));
    EXPECT_EQ(s->property("status"), QByteArray("downloaded"));
    EXPECT_TRUE(QFileInfo::exists(f.repo->studyPath(info.baseFilename, "vtstudy")));
    EXPECT_EQ(QFileInfo(f.repo->studyPath(info.baseFilename, "vtecg")).size(), 4096);
    EXPECT_EQ(QFileInfo(f.repo->studyPath(info.baseFilename, "vtbeats")).size(), 256);
    // The sample file carries the signal parameters in its header.
    std::unique_ptr<EcgFile> ecg = EcgFile::open(f.repo->studyPath(info.baseFilename, "vtecg"));
    ASSERT_NE(ecg, nullptr);
    EXPECT_EQ(ecg->channelCount(), 3);
    EXPECT_EQ(ecg->samplingRate(), 500);
    EXPECT_DOUBLE_EQ(ecg->gainMin(), -450.0);
    EXPECT_EQ(ecg->channel(2)->name(), QByteArray("V5"));
    // The same patient in the same second: a counter keeps the names apart.
    StudyInfo again = fullInfo();
    f.repo->createStudy(again);
    EXPECT_EQ(again.baseFilename, info.baseFilename + "-1");
    EXPECT_NE(again.id, info.id);
}

TEST(StudyRepository, RoundTripsEveryFieldEventAndResultKind)
{
    RepoFixture f;
    StudyInfo info = fullInfo();
    Study* s = f.repo->createStudy(info);
    const int id = info.id;
    StudyEvent& e0 = s->events().add();
    e0.description = "Evento paciente";
    e0.position = 3725.25;
    e0.duration = 8.0;
    e0.print = true;
    e0.printLength = 10;
    s->events().add().position = 0.004;
    addEveryResultKind(*s);
    s->setProperty("conclusion", "FA paroxística");
    const StudyEventList eventsBefore = s->events();
    const StudyInfo infoBefore = f.repo->studyInfo(s);
    f.repo->saveStudy(s);
    f.repo->closeStudy(s);
    f.reopen(); // a fresh repository, so nothing can come from memory
    Study* r = f.repo->openStudy(id);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(studyInfoToJson(f.repo->studyInfo(r)), studyInfoToJson(infoBefore));
    EXPECT_EQ(r->property("conclusion"), QByteArray("FA paroxística"));
    EXPECT_TRUE(r->events() == eventsBefore);
    QByteArray comment;
    EXPECT_TRUE(r->riskFactor("Apnea del sueño", comment));
    EXPECT_EQ(comment, QByteArray("not in the offered list"));
    EXPECT_FALSE(r->riskFactor("Gota", comment));

    const ResultSet& rs = r->results();
    ASSERT_EQ(rs.size(), 6);
    EXPECT_DOUBLE_EQ(rs.findAs<ValueResult>("HR/avgBPM")->value, 71.5);
    EXPECT_EQ(rs.findAs<ValueArrayResult>("HRV/PSD")->values, QVector<double>({ 1.0, 2.5, -3.0 }));
    ASSERT_NE(rs.findAs<EventResult>("HR/minBPM"), nullptr);
    EXPECT_DOUBLE_EQ(rs.findAs<EventResult>("HR/minBPM")->timestamp, 3600.0);
    const auto* couplets = rs.findAs<EventListResult>("PVC/coupletEvents");
    ASSERT_NE(couplets, nullptr);
    ASSERT_EQ(couplets->events.size(), 2);
    EXPECT_DOUBLE_EQ(couplets->events[1].timestamp, 99.5);
    EXPECT_DOUBLE_EQ(couplets->events[1].duration, 0.8);
    ASSERT_NE(rs.findAs<TTrend>("HR/BPMTrend"), nullptr);
    EXPECT_DOUBLE_EQ(rs.findAs<TTrend>("HR/BPMTrend")->valueAt(1), 72.0);
    // A binned trend comes back as its points: bin starts and the upper median of each bin.
    const auto* hourly = rs.find("HR/avgBPMPerHour");
    ASSERT_NE(hourly, nullptr);
    EXPECT_EQ(dynamic_cast<const BinnedTrend*>(hourly), nullptr);
    const auto* ht = dynamic_cast<const TTrend*>(hourly);
    ASSERT_NE(ht, nullptr);
    ASSERT_EQ(ht->size(), 2);
    EXPECT_DOUBLE_EQ(ht->timeAt(1), 3600.0);
    EXPECT_DOUBLE_EQ(ht->valueAt(0), 80.0);
    EXPECT_DOUBLE_EQ(ht->valueAt(1), 60.0);
}

TEST(StudyRepository, MissingOrDamagedIndexIsRebuiltWithTheSameIds)
{
    RepoFixture f;
    QMap<int, QByteArray> made;
    for (int k = 0; k < 3; ++k) {
        StudyInfo info = fullInfo();
        info.patientLastName = "Patient" + QByteArray::number(k);
        Study* s = f.repo->createStudy(info);
        s->setProperty("status", k == 1 ? "processed" : "downloaded");
        f.repo->saveStudy(s);
        f.repo->closeStudy(s);
        made[info.id] = info.patientLastName;
    }
    // A file that isn't a study must not stop the rebuild.
    testsupport::writeAll(f.path("junk.vtstudy"), "VTSTUDY2 definitely not zlib");
    testsupport::writeAll(f.path("empty.vtstudy"), "");

    for (bool damaged : { false, true }) {
        f.repo.reset();
        if (damaged) // set aside, not overwritten
            testsupport::writeAll(f.path("data/studies.sqlite"), QByteArray(5000, 'x'));
        else
            ASSERT_TRUE(QFile::remove(f.path("data/studies.sqlite")));
        f.reopen();
        const QList<StudyInfo> list = f.repo->listStudies();
        ASSERT_EQ(list.size(), 3);
        for (const StudyInfo& i : list) {
            ASSERT_TRUE(made.contains(i.id));
            EXPECT_EQ(i.patientLastName, made[i.id]);
            EXPECT_EQ(i.status,
                i.patientLastName == "Patient1" ? QByteArray("processed")
                                                : QByteArray("downloaded"));
            Study* s = f.repo->openStudy(i.id);
            ASSERT_NE(s, nullptr);
            f.repo->closeStudy(s);
        }
    }
    EXPECT_EQ(QDir(f.path("data")).entryList({ "studies.sqlite.damaged-*" }).size(), 1);
}

TEST(StudyRepository, DeleteRemovesFilesAndRowButNotAnOpenStudy)
{
    RepoFixture f;
    StudyInfo info = fullInfo();
    Study* s = f.repo->createStudy(info);
    f.repo->deleteStudy(info.id); // open: nothing happens
    StudyInfo row;
    EXPECT_TRUE(f.repo->studyExists(info.id, row));
    EXPECT_TRUE(QFileInfo::exists(f.repo->studyPath(info.baseFilename, "vtecg")));

    f.repo->closeStudy(s);
    f.repo->deleteStudy(info.id);
    EXPECT_FALSE(f.repo->studyExists(info.id, row));
    for (const char* ext : { "vtstudy", "vtecg", "vtbeats" })
        EXPECT_FALSE(QFileInfo::exists(f.repo->studyPath(info.baseFilename, ext))) << ext;
    EXPECT_TRUE(f.repo->listStudies().isEmpty());
    f.repo->deleteStudy(info.id); // unknown id: no error
}

TEST(StudyRepository, OpenStudyRules)
{
    RepoFixture f;
    StudyInfo info = fullInfo();
    Study* s = f.repo->createStudy(info);
    EXPECT_EQ(f.repo->openStudy(info.id), nullptr) << "already open";
    f.repo->closeStudy(s);
    EXPECT_EQ(f.repo->openStudy(12345), nullptr) << "no such row";

    // Missing beats: the study opens with an empty beat store.
    QFile::remove(f.repo->studyPath(info.baseFilename, "vtbeats"));
    Study* r = f.repo->openStudy(info.id);
    ASSERT_NE(r, nullptr);
    ASSERT_NE(r->beats(), nullptr);
    EXPECT_EQ(r->beats()->count(), 0);
    f.repo->closeStudy(r);

    // Missing samples: the load fails and the caller says "Study file not found".
    QFile::remove(f.repo->studyPath(info.baseFilename, "vtecg"));
    EXPECT_EQ(f.repo->openStudy(info.id), nullptr);
    EXPECT_FALSE(f.repo->isStudyOpen(info.id));
}

// Sample files made beside a study (for a rewrite of its samples) belong to the caller.
TEST(StudyRepository, SampleFilesOwnedByTheCaller)
{
    RepoFixture f;
    StudyInfo info = fullInfo();
    Study* s = f.repo->createStudy(info);
    const QByteArray scratch = info.baseFilename + "-rewrite";
    std::unique_ptr<EcgFile> made = f.repo->createEcgFile(scratch, s);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(made->path(), f.repo->studyPath(scratch, "vtecg"));
    const qint16 frame[3] = { 100, -200, 300 };
    const qint16* channels[3] = { &frame[0], &frame[1], &frame[2] };
    made->appendChannels(channels, 1);
    f.repo->destroySource(std::move(made));

    std::unique_ptr<EcgFile> reread = f.repo->openEcgFile(scratch);
    ASSERT_NE(reread, nullptr);
    EXPECT_EQ(reread->channelCount(), 3);
    EXPECT_EQ(reread->samplingRate(), 500);
    EXPECT_EQ(reread->channel(1)->name(), QByteArray("V2"));
    EXPECT_EQ(reread->sampleCount(), 1);
    EXPECT_EQ(reread->sampleAt(1, 0), -200);
    reread.reset();

    f.repo->closeStudy(s);
    f.repo->replaceEcgFile(scratch, info.baseFilename);
    EXPECT_EQ(f.repo->openEcgFile(scratch), nullptr);
    Study* r = f.repo->openStudy(info.id);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->signal()->sampleCount(), 1);
    f.repo->closeStudy(r);
    f.repo->removeEcgFile(info.baseFilename);
    EXPECT_EQ(f.repo->openEcgFile(info.baseFilename), nullptr);
}

TEST(StudyRepository, FreeSpaceRule)
{
    // 500 MB is enough, a byte less is not; unknown (-1) does not block a download.
    const std::pair<qint64, bool> cases[]
        = { { 524288000, true }, { 524287999, false }, { 0, false }, { -1, true } };
    for (const auto& [free, enough] : cases) {
        testsupport::TempRoot root;
        StudyRepository::Options o;
        o.rootOverride = root.path();
        o.freeSpaceQuery = [free = free](const QString&) { return free; };
        EXPECT_EQ(StudyRepository("VeltronaHolter", o).hasFreeSpace(), enough) << free;
    }
}
