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
#include <cstring>
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

// Sets the flag at the n-th progress report, as a user pressing Cancel would.
class CancelAt : public ProgressSink
{
public:
    CancelAt(int n, CancelFlag& flag)
        : m_n(n)
        , m_flag(flag)
    {
    }
    void progress(qint64, qint64) override
    {
        if (++m_calls == m_n)
            m_flag = true;
    }

private:
    int m_n;
    CancelFlag& m_flag;
    int m_calls = 0;
};

// A store one level below a private folder.
struct NestedStore
{
    NestedStore(const QString& rootPath, StoreIo* io)
    {
        StudyRepository::Options o;
        o.rootOverride = rootPath;
        o.io = io;
        repo = std::make_unique<StudyRepository>("VeltronaHolter", o);
    }
    QString root() const { return repo->rootPath(); }
    QString path(const QString& name) const { return root() + "/" + name; }
    std::unique_ptr<StudyRepository> repo;
};

class StudyArchive : public ::testing::Test
{
protected:
    FailingIo io;
    TempRoot outer; // the store's parent, so that an escape from the store shows in it
    NestedStore store { outer.file("store"), &io };
    TempRoot shared;

    // A 3-channel study of `seconds` at 500 Hz with a beat every 0.8 s and an event.
    int makeStudy(int seconds = 20)
    {
        StudyInfo info = fullInfo();
        Study* s = store.repo->createStudy(info);
        std::vector<qint16> channels[3];
        const qint64 n = qint64(seconds) * 500;
        for (int c = 0; c < 3; ++c)
            for (qint64 i = 0; i < n; ++i)
                channels[c].push_back(
                    qint16(2000 * std::sin(i * 0.05 * (c + 1)) + (i * 7919 % 31)));
        const qint16* data[3] = { channels[0].data(), channels[1].data(), channels[2].data() };
        s->signal()->appendChannels(data, n);
        for (double r = 0.4; r < seconds; r += 0.8) {
            Beat b;
            b.source = s->signal();
            b.windowStart = r - 0.2;
            b.windowLength = 0.5;
            b.setTiming(Beat::RTime, r);
            b.classId = 1;
            b.type = BeatN;
            s->beats()->append(b);
        }
        StudyEvent& e = s->events().add();
        e.description = "Síntoma";
        e.position = 3.5;
        store.repo->saveStudy(s);
        store.repo->closeStudy(s);
        m_base = info.baseFilename;
        return info.id;
    }

    // Adds a beat to the stored study, so that its files differ from an earlier archive.
    void changeStudy(int id)
    {
        Study* s = store.repo->openStudy(id);
        ASSERT_NE(s, nullptr);
        Beat b;
        b.source = s->signal();
        b.windowStart = 1.0;
        b.type = BeatV;
        s->beats()->append(b);
        s->events().add().description = "later";
        store.repo->saveStudy(s);
        store.repo->closeStudy(s);
    }

    QString exportTo(int id) { return store.repo->exportStudy(id, shared.path(), nullptr); }

    // Every file of a folder tree with its bytes; the index is compared through its rows.
    static QMap<QString, QByteArray> files(const QString& root)
    {
        QMap<QString, QByteArray> all;
        QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            if (!path.endsWith("studies.sqlite"))
                all[QDir(root).relativeFilePath(path)] = readAll(path);
        }
        return all;
    }
    QStringList rows(StudyRepository& repo) const
    {
        QStringList list;
        for (const StudyInfo& i : repo.listStudies())
            list << QString("%1 %2 %3 %4")
                        .arg(i.id)
                        .arg(QString::fromUtf8(i.baseFilename), QString::fromUtf8(i.status),
                            QString::fromUtf8(i.patientLastName));
        return list;
    }
    QString studyFile(const char* ext) const { return store.repo->studyPath(m_base, ext); }

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

QByteArray withJson(const QByteArray& json, const std::function<void(QJsonObject&)>& edit)
{
    QJsonObject o = QJsonDocument::fromJson(json).object();
    edit(o);
    return QJsonDocument(o).toJson(QJsonDocument::Compact);
}

// A study document ("VTSTUDY1": plain JSON) whose root object `edit` changed.
QByteArray withDocumentEdit(
    const QByteArray& vtstudy, const std::function<void(QJsonObject&)>& edit)
{
    TempRoot dir;
    writeAll(dir.file("s.vtstudy"), vtstudy);
    QJsonDocument doc;
    EXPECT_TRUE(readStudyDocument(dir.file("s.vtstudy"), doc));
    QJsonObject root = doc.object();
    edit(root);
    return "VTSTUDY1" + QJsonDocument(root).toJson(QJsonDocument::Compact);
}

QByteArray withStudyEdit(const QByteArray& vtstudy, const std::function<void(QJsonObject&)>& edit)
{
    return withDocumentEdit(vtstudy, [&](QJsonObject& root) {
        QJsonObject study = root.value("study").toObject();
        edit(study);
        root["study"] = study;
    });
}

// A compressed ECG of one channel at 1 Hz holding `samples` samples: far more hours than
// any recording at that rate.
QByteArray longSlowEcgz(qint64 samples)
{
    TempRoot dir;
    {
        EcgFile ecg(dir.file("slow.vtecg"), 1, 1, EcgFile::kHeaderSize, true);
        ecg.setGainRange(-450.0, 450.0);
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

QByteArray littleEndianDouble(double v)
{
    quint64 bits;
    std::memcpy(&bits, &v, sizeof bits);
    QByteArray b(8, '\0');
    for (int i = 0; i < 8; ++i)
        b[i] = char(bits >> (8 * i));
    return b;
}

} // namespace

TEST_F(StudyArchive, RoundTripGivesTheSameFilesAndReimportIsIdempotent)
{
    const int id = makeStudy();
    EXPECT_TRUE(exportTo(999).isEmpty()); // no such study: nothing written
    EXPECT_TRUE(QDir(shared.path()).isEmpty());

    const QString archive = exportTo(id);
    EXPECT_EQ(archive, QString("%1/%2.vtz").arg(shared.path(), QString::fromUtf8(m_base)));
    EXPECT_EQ(QDir(shared.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    EXPECT_TRUE(QDir(store.path("temp")).isEmpty());
    const QMap<QString, QByteArray> entries = entriesOf(archive);
    EXPECT_EQ(entries.keys(), QStringList({ "info", "vtbeats", "vtecgz", "vtstudy" }));
    EXPECT_EQ(entries["vtstudy"], readAll(studyFile("vtstudy")));
    EXPECT_EQ(entries["vtbeats"], readAll(studyFile("vtbeats")));
    EXPECT_EQ(QJsonDocument::fromJson(entries["info"]).object(),
        QJsonDocument::fromJson(R"({"baseFilename":")" + m_base
            + R"(","studyDateTime":"20261122083015","studyType":"Holter",)"
              R"("patient":{"lastName":"Núñez","firstName":"José"}})")
            .object());

    const auto listed = store.repo->listArchives(shared.path());
    ASSERT_EQ(listed.size(), 1);
    EXPECT_EQ(listed[0].first, QFileInfo(archive).fileName());
    EXPECT_EQ(listed[0].second.baseFilename, m_base);
    EXPECT_EQ(listed[0].second.patientFirstName, "José");
    EXPECT_EQ(listed[0].second.id, 0);

    // Into another station, twice; then back into the first, over the study itself.
    RepoFixture other;
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        EXPECT_EQ(other.repo->importStudy(archive, nullptr), id);
        for (const char* ext : { "vtstudy", "vtecg", "vtbeats" })
            EXPECT_EQ(readAll(other.repo->studyPath(m_base, ext)), readAll(studyFile(ext))) << ext;
        ASSERT_EQ(other.repo->listStudies().size(), 1);
        EXPECT_EQ(other.repo->listStudies()[0].baseFilename, m_base);
        EXPECT_EQ(files(other.root.path()).size(), 3); // nothing left in temp
    }
    Study* loaded = other.repo->openStudy(id);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->signal()->sampleCount(), 20 * 500);
    EXPECT_EQ(loaded->beats()->count(), 25);
    EXPECT_EQ(loaded->events().count(), 1);

    const auto before = files(store.root());
    EXPECT_EQ(store.repo->importStudy(archive, nullptr), id);
    EXPECT_EQ(files(store.root()), before);
    EXPECT_EQ(store.repo->listStudies().size(), 1);
}

TEST_F(StudyArchive, ListsOnlyOurArchivesAndImportRefusesTheRest)
{
    const int id = makeStudy();
    const QString ours = exportTo(id);
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

    const auto listed = store.repo->listArchives(shared.path());
    ASSERT_EQ(listed.size(), 1);
    EXPECT_EQ(listed[0].first, QFileInfo(ours).fileName());
    EXPECT_TRUE(store.repo->listArchives(shared.file("absent")).isEmpty());

    const auto before = files(store.root());
    for (const char* name :
        { "plain.vtz", "other.vtz", "notazip.vtz", "empty.vtz", "absent.vtz" }) {
        SCOPED_TRACE(name);
        StudyInfo info;
        EXPECT_FALSE(store.repo->readArchiveInfo(shared.file(name), info));
        EXPECT_EQ(
            errorOf([&] { store.repo->importStudy(shared.file(name), nullptr); }), kNotAnArchive);
    }
    EXPECT_EQ(files(store.root()), before);
}

// Each archive is refused with its message, and the store, holding an older copy of the same
// study, is left exactly as it was; nothing lands outside it.
TEST_F(StudyArchive, HostileArchivesAreRefusedAndChangeNothing)
{
    const int id = makeStudy();
    const QString good = exportTo(id);
    const QMap<QString, QByteArray> e = entriesOf(good);
    changeStudy(id);

    using Entries = QMap<QString, ziptest::Entry>;
    auto base = [&] {
        Entries m;
        m["vtstudy"] = { "vtstudy", e["vtstudy"], false };
        m["vtecgz"] = { "vtecgz", e["vtecgz"], false };
        m["vtbeats"] = { "vtbeats", e["vtbeats"], true };
        m["info"] = { "info", e["info"], true };
        return m;
    };
    auto named = [&](const char* name) {
        return [=](Entries& m) {
            m["info"].data
                = withJson(m["info"].data, [&](QJsonObject& o) { o["baseFilename"] = name; });
            m["vtstudy"].data = withStudyEdit(
                m["vtstudy"].data, [&](QJsonObject& s) { s["baseFilename"] = name; });
        };
    };
    const std::string namesake
        = QString("Study %1 here already uses the name %2; the archive is not imported")
              .arg(id)
              .arg(QString::fromUtf8(m_base))
              .toStdString();
    const QByteArray slowEcgz = longSlowEcgz(73 * 3600);
    const QByteArray bigBeats(2 << 20, '\0');
    const struct
    {
        const char* name;
        std::function<void(Entries&)> edit;
        const char* message; // null: any message, the codec decides
    } cases[] = {
        { "parent", named("../x"), kNotAnArchive },
        { "absolute", named("/tmp/x"), kNotAnArchive },
        { "subfolder", named("a/b"), kNotAnArchive },
        { "backslash", named("a\\b"), kNotAnArchive },
        { "drive", named("C:x"), kNotAnArchive },
        { "hidden", named(".hidden"), kNotAnArchive },
        { "empty name", named(""), kNotAnArchive },
        { "document of another name",
            [](Entries& m) {
                m["vtstudy"].data = withStudyEdit(
                    m["vtstudy"].data, [](QJsonObject& s) { s["baseFilename"] = "../y"; });
            },
            kNotAnArchive },
        { "no id",
            [](Entries& m) {
                m["vtstudy"].data
                    = withStudyEdit(m["vtstudy"].data, [](QJsonObject& s) { s.remove("id"); });
            },
            kNotAnArchive },
        { "document garbage", [](Entries& m) { m["vtstudy"].data = "VTSTUDY2garbage"; },
            kNotAnArchive },
        { "info garbage", [](Entries& m) { m["info"].data = "{not json"; }, kNotAnArchive },
        { "info without patient",
            [](Entries& m) {
                m["info"].data
                    = withJson(m["info"].data, [](QJsonObject& o) { o.remove("patient"); });
            },
            kNotAnArchive },
        { "no vtstudy", [](Entries& m) { m.remove("vtstudy"); }, kNotAnArchive },
        { "no vtecgz", [](Entries& m) { m.remove("vtecgz"); }, kNotAnArchive },
        { "no vtbeats", [](Entries& m) { m.remove("vtbeats"); }, kNotAnArchive },
        { "no info", [](Entries& m) { m.remove("info"); }, kNotAnArchive },
        { "beats cut inside a record", [](Entries& m) { m["vtbeats"].data.chop(10); },
            kNotAnArchive },
        { "beats of another kind", [](Entries& m) { m["vtbeats"].data.replace(0, 8, "VTBEATS9"); },
            kNotAnArchive },
        { "beats past the recording",
            [](Entries& m) {
                QByteArray& b = m["vtbeats"].data;
                b.replace(b.size() - BeatFile::recordSize(3), 8, littleEndianDouble(1e6));
            },
            kNotAnArchive },
        { "results of an unknown kind",
            [](Entries& m) {
                m["vtstudy"].data = withDocumentEdit(m["vtstudy"].data, [](QJsonObject& root) {
                    root["results"]
                        = QJsonObject { { "HR/x", QJsonObject { { "type", "bogus" } } } };
                });
            },
            kNotAnArchive },
        { "ecg longer than any recording", [&](Entries& m) { m["vtecgz"].data = slowEcgz; },
            "Entry vtecgz in zip archive is larger than a study allows" },
        { "another study of the same name",
            [&](Entries& m) {
                m["vtstudy"].data = withStudyEdit(
                    m["vtstudy"].data, [&](QJsonObject& s) { s["id"] = id % 999999999 + 1; });
            },
            namesake.c_str() },
        { "ecg garbage", [](Entries& m) { m["vtecgz"].data = ziptest::noise(9000, 1); },
            "ECG file uncompression failed" },
        { "ecg cut short", [](Entries& m) { m["vtecgz"].data.chop(3001); }, nullptr },
        { "beats inflating past their header",
            [&](Entries& m) {
                m["vtbeats"] = { "vtbeats", bigBeats, true, 4096 };
            },
            "Entry vtbeats in zip archive is larger than its header announces" },
        { "beats too many for the recording",
            [&](Entries& m) {
                m["vtbeats"] = { "vtbeats", bigBeats, true };
            },
            "Entry vtbeats in zip archive is larger than a study allows" },
    };

    const auto before = files(store.root());
    const QStringList rowsBefore = rows(*store.repo);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Entries m = base();
        c.edit(m);
        const QString path = shared.file("hostile.vtz");
        QFile::remove(path);
        ziptest::writeZip(path, m.values().toVector(), "VTZIP2");
        const std::string error = errorOf([&] { store.repo->importStudy(path, nullptr); });
        if (c.message)
            EXPECT_EQ(error, c.message);
        else
            EXPECT_NE(error, "no error");
        EXPECT_EQ(files(store.root()), before);
        EXPECT_EQ(rows(*store.repo), rowsBefore);
    }
    EXPECT_EQ(QDir(outer.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList { "store" });

    // Damage to the archive file itself: a flipped byte in the stored ECG, a cut.
    const QByteArray bytes = readAll(good);
    QByteArray flipped = bytes;
    flipped.data()[ziptest::entryDataOffset(bytes, "vtecgz") + 5000] ^= 0x01;
    writeAll(shared.file("crc.vtz"), flipped);
    writeAll(shared.file("cut.vtz"), bytes.left(bytes.size() * 6 / 10));
    EXPECT_EQ(errorOf([&] { store.repo->importStudy(shared.file("crc.vtz"), nullptr); }),
        "Corrupt file read from zip archive");
    EXPECT_EQ(
        errorOf([&] { store.repo->importStudy(shared.file("cut.vtz"), nullptr); }), kNotAnArchive);
    EXPECT_EQ(files(store.root()), before);
}

TEST_F(StudyArchive, AnOpenStudyIsNotReplaced)
{
    const int id = makeStudy();
    const QString archive = exportTo(id);
    Study* open = store.repo->openStudy(id);
    ASSERT_NE(open, nullptr);
    const auto before = files(store.root());
    EXPECT_EQ(errorOf([&] { store.repo->importStudy(archive, nullptr); }),
        QString("Study %1 is open; close it before importing it again").arg(id).toStdString());
    EXPECT_EQ(files(store.root()), before);
    store.repo->closeStudy(open);
    EXPECT_EQ(store.repo->importStudy(archive, nullptr), id);
}

TEST_F(StudyArchive, AFailingWriteDuringExportLeavesNoArchiveAndKeepsTheOldOne)
{
    const int id = makeStudy();
    const QString archive = exportTo(id);
    const qint64 size = QFileInfo(archive).size();
    writeAll(archive, "an older archive of the same name");
    for (qint64 budget : { qint64(0), qint64(40), size / 2, size - 30 }) {
        SCOPED_TRACE(budget);
        io.setBudget(io.written() + budget);
        EXPECT_NE(errorOf([&] { exportTo(id); }), "no error");
        io.setBudget(-1);
        EXPECT_EQ(QDir(shared.path()).entryList(QDir::Files | QDir::Hidden),
            QStringList { QFileInfo(archive).fileName() });
        EXPECT_EQ(readAll(archive), "an older archive of the same name");
        EXPECT_TRUE(QDir(store.path("temp")).isEmpty());
    }
}

TEST_F(StudyArchive, AFailingWriteDuringImportKeepsTheEarlierCopy)
{
    const int id = makeStudy();
    const QString archive = exportTo(id);
    const QByteArray archivedStudy = entriesOf(archive)["vtstudy"];
    changeStudy(id);
    const auto before = files(store.root());
    for (qint64 budget : { qint64(0), qint64(100), qint64(30000) }) {
        SCOPED_TRACE(budget);
        io.setBudget(io.written() + budget);
        EXPECT_EQ(errorOf([&] { store.repo->importStudy(archive, nullptr); }), "Write error");
        io.setBudget(-1);
        EXPECT_EQ(files(store.root()), before);
    }
    EXPECT_EQ(store.repo->importStudy(archive, nullptr), id);
    EXPECT_EQ(readAll(studyFile("vtstudy")), archivedStudy);
}

TEST_F(StudyArchive, ExportToAFolderThatCannotTakeItFailsAfterCompression)
{
    const int id = makeStudy();
    EXPECT_EQ(errorOf([&] { store.repo->exportStudy(id, shared.file("absent"), nullptr); }),
        "Cannot create zip archive");
    EXPECT_TRUE(QDir(store.path("temp")).isEmpty());
    EXPECT_FALSE(QFileInfo::exists(shared.file("absent")));
}

TEST_F(StudyArchive, ExportToAReadOnlyFolderFails)
{
    const int id = makeStudy();
    QFile::setPermissions(shared.path(), QFile::ReadOwner | QFile::ExeOwner);
    QFile probe(shared.file("probe"));
    if (probe.open(QIODevice::WriteOnly)) {
        probe.remove();
        QFile::setPermissions(
            shared.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        GTEST_SKIP() << "running with rights that ignore a read-only folder";
    }
    EXPECT_EQ(errorOf([&] { exportTo(id); }), "Cannot create zip archive");
    QFile::setPermissions(shared.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_TRUE(QDir(store.path("temp")).isEmpty());
    EXPECT_TRUE(QDir(shared.path()).isEmpty());
}

// A move that fails half way through puts every earlier place back as it was.
TEST(StudyFileSwap, AFailedMoveRestoresEveryPlace)
{
    TempRoot dir;
    QDir(dir.path()).mkdir("aside");
    QDir(dir.path()).mkdir("new");
    writeAll(dir.file("a"), "old a");
    writeAll(dir.file("new/a"), "new a");
    writeAll(dir.file("new/b"), "new b"); // b's place is free
    {
        StudyFileSwap swap(dir.file("aside"));
        swap.place(dir.file("new/a"), dir.file("a"));
        swap.place(dir.file("new/b"), dir.file("b"));
        EXPECT_EQ(readAll(dir.file("a")), "new a");
        EXPECT_EQ(errorOf([&] { swap.place(dir.file("new/missing"), dir.file("c")); }),
            "Cannot replace " + QDir::toNativeSeparators(dir.file("c")).toStdString());
    }
    EXPECT_EQ(readAll(dir.file("a")), "old a");
    EXPECT_FALSE(QFileInfo::exists(dir.file("b")));
    EXPECT_TRUE(QDir(dir.file("aside")).isEmpty());

    writeAll(dir.file("new/a"), "new a");
    {
        StudyFileSwap swap(dir.file("aside"));
        swap.place(dir.file("new/a"), dir.file("a"));
    } // gone without commit: restored
    EXPECT_EQ(readAll(dir.file("a")), "old a");
    writeAll(dir.file("new/a"), "new a");
    {
        StudyFileSwap swap(dir.file("aside"));
        swap.place(dir.file("new/a"), dir.file("a"));
        swap.commit();
    }
    EXPECT_EQ(readAll(dir.file("a")), "new a");
    EXPECT_TRUE(QDir(dir.file("aside")).isEmpty());
}

TEST_F(StudyArchive, CancelLeavesNeitherArchiveNorChangedStudy)
{
    const int id = makeStudy();
    const QString archive = exportTo(id);
    const QString copy = shared.file("copy/study.vtz");
    QDir(shared.path()).mkdir("copy");
    QFile::rename(archive, copy);
    changeStudy(id);
    const auto before = files(store.root());
    for (int at : { 0, 1, 2, 3 }) {
        SCOPED_TRACE(at);
        CancelFlag flag { at == 0 };
        CancelAt sink(at, flag);
        EXPECT_EQ(errorOf([&] { store.repo->exportStudy(id, shared.path(), &sink, &flag); }),
            "Export cancelled");
        EXPECT_EQ(QDir(shared.path()).entryList(QDir::Files | QDir::Hidden), QStringList());
        CancelFlag importFlag { at == 0 };
        CancelAt importSink(at, importFlag);
        EXPECT_EQ(errorOf([&] { store.repo->importStudy(copy, &importSink, &importFlag); }),
            "Import cancelled");
        EXPECT_EQ(files(store.root()), before);
    }
}
