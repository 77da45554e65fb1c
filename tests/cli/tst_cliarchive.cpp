#include "store/beatlist.h"
#include "store/signalsource.h"
#include "tests/cli/clistudy.h"
#include "tests/store/ziptestutil.h"
#include "tests/support/testsupport.h"

#include <QDir>
#include <QDirIterator>
#include <QProcess>

#include <gtest/gtest.h>

#include <csignal>
#include <vector>

using namespace clitest;
using testsupport::readAll;
using testsupport::TempRoot;

namespace {

// A study of `seconds` of a two-channel ramp with a beat every second (at most 200); its
// base name is returned through `base`.
int makeSignalStudy(const QString& root, qint64 seconds, QString* base = nullptr)
{
    const int id = makeStudy(root, [&](Study& s) {
        const qint64 n = seconds * 500;
        std::vector<qint16> a, b;
        for (qint64 i = 0; i < n; ++i) {
            a.push_back(qint16(i % 4000 - 2000));
            b.push_back(qint16((i * 13) % 3001 - 1500));
        }
        const qint16* data[2] = { a.data(), b.data() };
        s.signal()->appendChannels(data, n);
        for (qint64 t = 1; t < std::min<qint64>(seconds, 200); ++t) {
            Beat beat;
            beat.source = s.signal();
            beat.windowStart = t - 0.2;
            beat.windowLength = 0.5;
            s.beats()->append(beat);
        }
    });
    if (base)
        withStudy(
            root, id, [&](Study& s) { *base = QString::fromUtf8(s.property("baseFilename")); });
    return id;
}

// Every file under a folder, the index aside (its bytes are SQLite's business).
QStringList filesUnder(const QString& root)
{
    QStringList all;
    QDirIterator it(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (!path.endsWith("studies.sqlite"))
            all << QDir(root).relativeFilePath(path);
    }
    all.sort();
    return all;
}

// Starts holter-cli, sends Ctrl-C once its progress line shows, and waits for the end. The
// work left then (tens of megabytes) takes far longer than the signal needs to arrive.
CliRun interrupted(const QStringList& args)
{
    QProcess p;
    p.start(QString::fromUtf8(HOLTER_CLI), args);
    p.setReadChannel(QProcess::StandardError);
    EXPECT_TRUE(p.waitForReadyRead(60000));
    ::kill(pid_t(p.processId()), SIGINT);
    EXPECT_TRUE(p.waitForFinished(60000));
    return { p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
        QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError()) };
}

} // namespace

TEST(CliArchive, ArchiveAndImportCarryTheStudyWhole)
{
    TempRoot here, there, shared;
    QString base;
    const int id = makeSignalStudy(here.path(), 30, &base);
    const CliRun made = cli(here.path(), { "archive", QString::number(id), shared.path() });
    ASSERT_EQ(made.code, 0) << made.err.toStdString();
    const QString archive = QString("%1/%2.vtz").arg(shared.path(), base);
    EXPECT_EQ(made.out.trimmed(), QDir::toNativeSeparators(archive));
    EXPECT_TRUE(made.err.contains("Archiving study"));
    EXPECT_EQ(
        QDir(shared.path()).entryList(QDir::Files | QDir::Hidden), QStringList { base + ".vtz" });

    // Twice, the second time under another name: recognised by content, whatever the name.
    QFile::copy(archive, shared.file("renamed.bin"));
    for (const QString& path : { archive, shared.file("renamed.bin") }) {
        SCOPED_TRACE(path.toStdString());
        const CliRun imported = cli(there.path(), { "import", path });
        ASSERT_EQ(imported.code, 0) << imported.err.toStdString();
        EXPECT_EQ(imported.out.trimmed(), QString::number(id));
        for (const char* ext : { "vtstudy", "vtecg", "vtbeats" }) {
            const QString name = QString("%1.%2").arg(base, ext);
            EXPECT_EQ(readAll(there.file(name)), readAll(here.file(name))) << ext;
        }
        EXPECT_EQ(filesUnder(there.path()).size(), 3);
    }
    EXPECT_EQ(cli(there.path(), { "list" }).out.count('\n'), 1);
}

TEST(CliArchive, MistakesAndForeignFilesAreRefused)
{
    TempRoot store, shared;
    const int id = makeSignalStudy(store.path(), 2);
    ziptest::writeZip(shared.file("plain.vtz"), { { "info", "{}", true } }, "");
    testsupport::writeAll(shared.file("text.vtz"), "not a zip");
    const QStringList before = filesUnder(store.path());
    const QString notAnArchive = "File is not a valid Veltrona study zip archive";
    const struct
    {
        QStringList args;
        int code;
        QString error;
    } cases[] = {
        { { "archive", "123456", shared.path() }, 1, "no study with id 123456" },
        { { "archive", QString::number(id), shared.file("absent") }, 1, "no such folder" },
        { { "archive", QString::number(id) }, 2, "study ID and target FOLDER" },
        { { "import", shared.file("plain.vtz") }, 1, notAnArchive },
        { { "import", shared.file("text.vtz") }, 1, notAnArchive },
        { { "import", shared.file("plain.vtz"), "--last-name", "X" }, 2,
            "'--last-name' does not apply to a study archive" },
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.join(' ').toStdString());
        const CliRun r = cli(store.path(), c.args);
        EXPECT_EQ(r.code, c.code);
        EXPECT_TRUE(r.err.contains(c.error)) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty());
    }
    EXPECT_EQ(filesUnder(store.path()), before);
    EXPECT_EQ(filesUnder(shared.path()), QStringList({ "plain.vtz", "text.vtz" }));
}

TEST(CliArchive, CtrlCLeavesNothingHalfMade)
{
    TempRoot here, there, shared;
    QString base;
    const int id = makeSignalStudy(here.path(), 4 * 3600, &base); // 29 MB of samples
    const CliRun archiving
        = interrupted({ "--data-dir", here.path(), "archive", QString::number(id), shared.path() });
    EXPECT_EQ(archiving.code, 1);
    EXPECT_TRUE(archiving.err.contains("Export cancelled")) << archiving.err.toStdString();
    EXPECT_EQ(filesUnder(shared.path()), QStringList());
    EXPECT_TRUE(QDir(here.file("temp")).isEmpty());

    ASSERT_EQ(cli(here.path(), { "archive", QString::number(id), shared.path() }).code, 0);
    const CliRun importing = interrupted(
        { "--data-dir", there.path(), "import", QString("%1/%2.vtz").arg(shared.path(), base) });
    EXPECT_EQ(importing.code, 1);
    EXPECT_TRUE(importing.err.contains("Import cancelled")) << importing.err.toStdString();
    EXPECT_EQ(filesUnder(there.path()), QStringList());
    EXPECT_TRUE(cli(there.path(), { "list" }).out.isEmpty());
}
