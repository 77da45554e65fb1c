#include "store/beat.h"
#include "store/beatfile.h"
#include "store/beatlist.h"
#include "store/ecgcompression.h"
#include "store/ecgfile.h"
#include "store/qzipfileextractor.h"
#include "store/signalsource.h"
#include "store/studyfile.h"
#include "store/studyfileswap.h"
#include "tests/store/studytestutil.h"
#include "tests/store/ziptestutil.h"

#include <QBuffer>
#include <QDirIterator>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

using testsupport::errorOf;
using testsupport::FailingIo;
using testsupport::readAll;
using testsupport::TempRoot;
using testsupport::writeAll;

namespace {

const char kNotAnArchive[] = "File is not a valid Veltrona study zip archive";
const char kEntries[][8] = { "vtstudy", "vtecgz", "vtbeats", "info" };
using Entries = QMap<QString, ziptest::Entry>;
using Edit = std::function<void(Entries&)>;

// Sets the flag at the n-th progress report, as a user pressing Cancel would.
struct CancelAt : ProgressSink
{
    CancelAt(int n, CancelFlag& flag)
        : n(n)
        , flag(flag)
    {
    }
    void progress(qint64, qint64) override { flag = flag || ++calls == n; }
    int n;
    CancelFlag& flag;
    int calls = 0;
};

class StudyArchive : public ::testing::Test
{
protected:
    StudyArchive()
    {
        StudyRepository::Options o;
        o.rootOverride = outer.file("store"); // one level down, so that an escape shows in outer
        o.io = &io;
        repo = std::make_unique<StudyRepository>("VeltronaHolter", o);
    }

    // A 3-channel study of 20 s at 500 Hz with a beat every 0.8 s and an event.
    int makeStudy()
    {
        StudyInfo info = fullInfo();
        Study* s = repo->createStudy(info);
        const qint64 n = 20 * 500;
        std::vector<qint16> channels[3];
        for (int c = 0; c < 3; ++c)
            for (qint64 i = 0; i < n; ++i)
                channels[c].push_back(
                    qint16(2000 * std::sin(i * 0.05 * (c + 1)) + (i * 7919 % 31)));
        const qint16* data[3] = { channels[0].data(), channels[1].data(), channels[2].data() };
        s->signal()->appendChannels(data, n);
        for (double r = 0.4; r < 20; r += 0.8) {
            Beat b;
            b.source = s->signal();
            b.windowStart = r - 0.2;
            b.windowLength = 0.5;
            b.setTiming(Beat::RTime, r);
            b.type = BeatN;
            s->beats()->append(b);
        }
        s->events().add().description = "Síntoma";
        repo->saveStudy(s);
        repo->closeStudy(s);
        m_base = info.baseFilename;
        return info.id;
    }

    // Adds a beat and an event, so that the stored files differ from an earlier archive.
    void changeStudy(int id)
    {
        Study* s = repo->openStudy(id);
        ASSERT_NE(s, nullptr);
        Beat b;
        b.source = s->signal();
        b.windowStart = 1.0;
        s->beats()->append(b);
        s->events().add().description = "later";
        repo->saveStudy(s);
        repo->closeStudy(s);
    }

    QString exportTo(int id) { return repo->exportStudy(id, shared.path(), nullptr); }
    std::string importError(const QString& path)
    {
        return errorOf([&] { repo->importStudy(path, nullptr); });
    }
    QStringList sharedFiles() const
    {
        return QDir(shared.path()).entryList(QDir::Files | QDir::Hidden);
    }
    bool tempIsEmpty() const { return QDir(repo->rootPath() + "/temp").isEmpty(); }

    // Every file under the store with its bytes, and the index through its rows.
    QMap<QString, QByteArray> storeState(bool withRows = true) const
    {
        QMap<QString, QByteArray> all;
        QDirIterator it(repo->rootPath(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            if (!path.endsWith("studies.sqlite"))
                all[QDir(repo->rootPath()).relativeFilePath(path)] = readAll(path);
        }
        for (const StudyInfo& i : withRows ? repo->listStudies() : QList<StudyInfo>())
            all[QString("row %1").arg(i.id)]
                = i.baseFilename + ' ' + i.status + ' ' + i.patientLastName;
        return all;
    }
    QString studyFile(const char* ext) const { return repo->studyPath(m_base, ext); }

    FailingIo io;
    TempRoot outer;
    std::unique_ptr<StudyRepository> repo;
    TempRoot shared;
    QByteArray m_base;
};

QMap<QString, QByteArray> entriesOf(const QString& archive)
{
    QMap<QString, QByteArray> entries;
    QZipFileExtractor zip(archive);
    for (const char* name : kEntries) {
        QBuffer b;
        b.open(QIODevice::WriteOnly);
        if (zip.extractToDevice(name, &b))
            entries[name] = b.data();
    }
    return entries;
}

// Edits the JSON of an entry: "info" as it is, the study document ("VTSTUDY2": compressed
// JSON) at its root or, by default, in its "study" object.
Edit edited(const char* entry, const std::function<void(QJsonObject&)>& edit, bool root = false)
{
    return [=](Entries& m) {
        QByteArray& data = m[entry].data;
        const bool info = QByteArray(entry) == "info";
        QJsonObject o = QJsonDocument::fromJson(info ? data : qUncompress(data.mid(8))).object();
        QJsonObject study = o.value("study").toObject();
        edit(info || root ? o : study);
        if (!info && !root)
            o["study"] = study;
        const QByteArray json = QJsonDocument(o).toJson(QJsonDocument::Compact);
        data = info ? json : "VTSTUDY2" + qCompress(json);
    };
}

// A compressed ECG of one channel at 1 Hz holding `samples` samples: far more hours than
// any recording at that rate.
QByteArray longSlowEcgz(qint64 samples)
{
    TempRoot dir;
    {
        EcgFile ecg(dir.file("slow.vtecg"), 1, 1, EcgFile::kHeaderSize, true);
        ecg.setResolution(16);
        ecg.channel(0)->setName("II");
        ecg.writeHeader(QJsonObject(), QJsonObject());
        const std::vector<qint16> zeros(size_t(samples), 0);
        const qint16* data[1] = { zeros.data() };
        ecg.appendChannels(data, samples);
    }
    EXPECT_TRUE(compressEcgFile(dir.file("slow.vtecg"), dir.file("slow.vtecgz"), nullptr));
    return readAll(dir.file("slow.vtecgz"));
}

} // namespace

TEST_F(StudyArchive, RoundTripGivesTheSameFilesAndReimportIsIdempotent)
{
    const int id = makeStudy();
    EXPECT_TRUE(exportTo(999).isEmpty()); // no such study: nothing written
    const QString archive = exportTo(id);
    EXPECT_EQ(archive, QString("%1/%2.vtz").arg(shared.path(), QString::fromUtf8(m_base)));
    EXPECT_EQ(sharedFiles(), QStringList { QFileInfo(archive).fileName() });
    EXPECT_TRUE(tempIsEmpty());
    const QMap<QString, QByteArray> entries = entriesOf(archive);
    EXPECT_EQ(entries.keys(), QStringList({ "info", "vtbeats", "vtecgz", "vtstudy" }));
    EXPECT_EQ(entries["vtstudy"], readAll(studyFile("vtstudy")));
    EXPECT_EQ(entries["vtbeats"], readAll(studyFile("vtbeats")));
    EXPECT_EQ(QJsonDocument::fromJson(entries["info"]).object(),
        QJsonDocument::fromJson(R"({"baseFilename":")" + m_base
            + R"(","studyDateTime":"20261122083015","studyType":"Holter",)"
              R"("patient":{"lastName":"Núñez","firstName":"José"}})")
            .object());

    // Into another station, twice; then back into the first, over the study itself.
    RepoFixture other;
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        EXPECT_EQ(other.repo->importStudy(archive, nullptr), id);
        for (const char* ext : { "vtstudy", "vtecg", "vtbeats" })
            EXPECT_EQ(readAll(other.repo->studyPath(m_base, ext)), readAll(studyFile(ext))) << ext;
        ASSERT_EQ(other.repo->listStudies().size(), 1);
        EXPECT_EQ(QDir(other.path("temp")).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
            QStringList());
    }
    Study* loaded = other.repo->openStudy(id);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->beats()->count(), 25);
    EXPECT_EQ(loaded->events().count(), 1);

    const auto before = storeState(false);
    EXPECT_EQ(repo->importStudy(archive, nullptr), id);
    EXPECT_EQ(storeState(false), before);
    EXPECT_EQ(repo->listStudies().size(), 1);
}

TEST_F(StudyArchive, ListsOnlyOurArchivesAndImportRefusesTheRest)
{
    const QString ours = exportTo(makeStudy());
    const QMap<QString, QByteArray> entries = entriesOf(ours);
    QVector<ziptest::Entry> all;
    for (const char* name : kEntries)
        all.append({ name, entries[name], false });
    ziptest::writeZip(shared.file("plain.vtz"), all, ""); // no comment
    ziptest::writeZip(shared.file("other.vtz"), all, "VTZIP1"); // someone else's comment
    writeAll(shared.file("notazip.vtz"), "hello");
    writeAll(shared.file("empty.vtz"), "");
    ziptest::writeZip(shared.file("copy.zip"), all, "VTZIP2"); // ours, but not named so
    QDir(shared.path()).mkdir("folder.vtz");

    const auto listed = repo->listArchives(shared.path());
    ASSERT_EQ(listed.size(), 1);
    EXPECT_EQ(listed[0].first, QFileInfo(ours).fileName());
    EXPECT_EQ(listed[0].second.baseFilename, m_base);
    EXPECT_EQ(listed[0].second.patientFirstName, "José");
    EXPECT_TRUE(repo->listArchives(shared.file("absent")).isEmpty());

    const auto before = storeState();
    for (const char* name :
        { "plain.vtz", "other.vtz", "notazip.vtz", "empty.vtz", "absent.vtz" }) {
        SCOPED_TRACE(name);
        StudyInfo info;
        EXPECT_FALSE(repo->readArchiveInfo(shared.file(name), info));
        EXPECT_EQ(importError(shared.file(name)), kNotAnArchive);
    }
    EXPECT_EQ(storeState(), before);
}

// Each archive is refused with its message, and the store, holding an older copy of the same
// study, is left exactly as it was; nothing lands outside it.
TEST_F(StudyArchive, HostileArchivesAreRefusedAndChangeNothing)
{
    const int id = makeStudy();
    const QString good = exportTo(id);
    const QMap<QString, QByteArray> e = entriesOf(good);
    changeStudy(id);

    const QByteArray slowEcgz = longSlowEcgz(73 * 3600);
    const QByteArray bigBeats(2 << 20, '\0');
    const auto set = [](const char* entry, const QByteArray& data) {
        return [=](Entries& m) { m[entry].data = data; };
    };
    struct Case
    {
        std::string name;
        Edit edit;
        std::string message = kNotAnArchive; // empty: any message, the codec decides
    };
    std::vector<Case> cases {
        { "document of another name",
            edited("vtstudy", [](QJsonObject& s) { s["baseFilename"] = "../y"; }) },
        { "no id", edited("vtstudy", [](QJsonObject& s) { s.remove("id"); }) },
        { "info without patient", edited("info", [](QJsonObject& o) { o.remove("patient"); }) },
        { "results of an unknown kind",
            edited(
                "vtstudy",
                [](QJsonObject& o) {
                    o["results"] = QJsonObject { { "HR/x", QJsonObject { { "type", "bogus" } } } };
                },
                true) },
        { "document garbage", set("vtstudy", "VTSTUDY2garbage") },
        { "info garbage", set("info", "{not json") },
        { "beats cut inside a record", set("vtbeats", e["vtbeats"].chopped(10)) },
        { "beats of another kind", set("vtbeats", "VTBEATS9" + e["vtbeats"].mid(8)) },
        { "beats past the recording",
            set("vtbeats",
                e["vtbeats"].chopped(BeatFile::recordSize(3))
                    + QByteArray("\0\0\0\0\x80\x84\x2e\x41", 8) // 1e6 s, little-endian
                    + e["vtbeats"].right(BeatFile::recordSize(3) - 8)) },
        { "ecg longer than any recording", set("vtecgz", slowEcgz),
            "Entry vtecgz in zip archive is larger than a study allows" },
        { "another study of the same name",
            edited("vtstudy", [&](QJsonObject& s) { s["id"] = id % 999999999 + 1; }),
            QString("Study %1 here already uses the name %2; the archive is not imported")
                .arg(id)
                .arg(QString::fromUtf8(m_base))
                .toStdString() },
        { "ecg garbage", set("vtecgz", ziptest::noise(9000, 1)), "ECG file uncompression failed" },
        { "ecg cut short", set("vtecgz", e["vtecgz"].chopped(3001)), "" },
        { "beats inflating past their header",
            [&](Entries& m) {
                m["vtbeats"] = { "vtbeats", bigBeats, true, 4096 };
            },
            "Entry vtbeats in zip archive is larger than its header announces" },
        { "beats too many for the recording", set("vtbeats", bigBeats),
            "Entry vtbeats in zip archive is larger than a study allows" },
    };
    for (const char* entry : kEntries)
        cases.push_back({ std::string("no ") + entry, [=](Entries& m) { m.remove(entry); } });
    for (const char* name : { "../x", "/tmp/x", "a/b", "a\\b", "C:x", ".hidden", "" }) {
        const auto rename = [=](QJsonObject& o) { o["baseFilename"] = name; };
        cases.push_back({ std::string("named ") + name,
            [=](Entries& m) { edited("info", rename)(m), edited("vtstudy", rename)(m); } });
    }

    const auto before = storeState();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Entries m;
        for (const char* name : kEntries)
            m[name] = { name, e[name], name == QString("vtbeats") || name == QString("info") };
        c.edit(m);
        const QString path = shared.file("hostile.vtz");
        QFile::remove(path);
        ziptest::writeZip(path, m.values().toVector(), "VTZIP2");
        const std::string error = importError(path);
        if (c.message.empty())
            EXPECT_NE(error, "no error");
        else
            EXPECT_EQ(error, c.message);
        EXPECT_EQ(storeState(), before);
    }
    EXPECT_EQ(QDir(outer.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList { "store" });

    // Damage to the archive file itself: a flipped byte in the stored ECG, a cut.
    const QByteArray bytes = readAll(good);
    QByteArray flipped = bytes;
    flipped.data()[ziptest::entryDataOffset(bytes, "vtecgz") + 5000] ^= 0x01;
    writeAll(shared.file("crc.vtz"), flipped);
    writeAll(shared.file("cut.vtz"), bytes.left(bytes.size() * 6 / 10));
    EXPECT_EQ(importError(shared.file("crc.vtz")), "Corrupt file read from zip archive");
    EXPECT_EQ(importError(shared.file("cut.vtz")), kNotAnArchive);
    EXPECT_EQ(storeState(), before);
}

TEST_F(StudyArchive, AnOpenStudyIsNotReplaced)
{
    const int id = makeStudy();
    const QString archive = exportTo(id);
    Study* open = repo->openStudy(id);
    ASSERT_NE(open, nullptr);
    const auto before = storeState();
    EXPECT_EQ(importError(archive),
        QString("Study %1 is open; close it before importing it again").arg(id).toStdString());
    EXPECT_EQ(storeState(), before);
    repo->closeStudy(open);
    EXPECT_EQ(repo->importStudy(archive, nullptr), id);
}

TEST_F(StudyArchive, AnExportThatCannotWriteLeavesNoArchiveAndKeepsTheOldOne)
{
    const int id = makeStudy();
    const QString archive = exportTo(id);
    const qint64 size = QFileInfo(archive).size();
    writeAll(archive, "an older archive of the same name");
    EXPECT_EQ(errorOf([&] { repo->exportStudy(id, shared.file("absent"), nullptr); }),
        "Cannot create zip archive");
    for (qint64 budget : { qint64(0), qint64(40), size / 2, size - 30 }) {
        SCOPED_TRACE(budget);
        io.setBudget(io.written() + budget);
        EXPECT_NE(errorOf([&] { exportTo(id); }), "no error");
        io.setBudget(-1);
        EXPECT_EQ(sharedFiles(), QStringList { QFileInfo(archive).fileName() });
        EXPECT_EQ(readAll(archive), "an older archive of the same name");
        EXPECT_TRUE(tempIsEmpty());
    }
}

TEST_F(StudyArchive, AFailingWriteDuringImportKeepsTheEarlierCopy)
{
    const int id = makeStudy();
    const QString archive = exportTo(id);
    changeStudy(id);
    const auto before = storeState();
    for (qint64 budget : { qint64(0), qint64(100), qint64(30000) }) {
        SCOPED_TRACE(budget);
        io.setBudget(io.written() + budget);
        EXPECT_EQ(importError(archive), "Write error");
        io.setBudget(-1);
        EXPECT_EQ(storeState(), before);
    }
    EXPECT_EQ(repo->importStudy(archive, nullptr), id);
    EXPECT_EQ(readAll(studyFile("vtstudy")), entriesOf(archive)["vtstudy"]);
}

// A move that fails half way through, or a swap gone without commit, puts every earlier place
// back as it was.
TEST(StudyFileSwap, AFailedMoveRestoresEveryPlace)
{
    TempRoot dir;
    QDir(dir.path()).mkdir("aside");
    QDir(dir.path()).mkdir("new");
    writeAll(dir.file("a"), "old a");
    for (bool commit : { false, true }) {
        SCOPED_TRACE(commit);
        writeAll(dir.file("new/a"), "new a");
        writeAll(dir.file("new/b"), "new b"); // b's place is free
        {
            StudyFileSwap swap(dir.file("aside"));
            swap.place(dir.file("new/a"), dir.file("a"));
            swap.place(dir.file("new/b"), dir.file("b"));
            EXPECT_EQ(readAll(dir.file("a")), "new a");
            if (commit)
                swap.commit();
            else
                EXPECT_EQ(errorOf([&] { swap.place(dir.file("new/missing"), dir.file("c")); }),
                    "Cannot replace " + QDir::toNativeSeparators(dir.file("c")).toStdString());
        }
        EXPECT_EQ(readAll(dir.file("a")), commit ? "new a" : "old a");
        EXPECT_EQ(QFileInfo::exists(dir.file("b")), commit);
        EXPECT_TRUE(QDir(dir.file("aside")).isEmpty());
    }
}

TEST_F(StudyArchive, CancelLeavesNeitherArchiveNorChangedStudy)
{
    const int id = makeStudy();
    const QString copy = shared.file("copy/study.vtz");
    QDir(shared.path()).mkdir("copy");
    QFile::rename(exportTo(id), copy);
    changeStudy(id);
    const auto before = storeState();
    for (int at : { 0, 1, 2, 3 }) {
        SCOPED_TRACE(at);
        CancelFlag flag { at == 0 };
        CancelAt sink(at, flag);
        EXPECT_EQ(errorOf([&] { repo->exportStudy(id, shared.path(), &sink, &flag); }),
            "Export cancelled");
        EXPECT_EQ(sharedFiles(), QStringList());
        CancelFlag importFlag { at == 0 };
        CancelAt importSink(at, importFlag);
        EXPECT_EQ(errorOf([&] { repo->importStudy(copy, &importSink, &importFlag); }),
            "Import cancelled");
        EXPECT_EQ(storeState(), before);
    }
}
