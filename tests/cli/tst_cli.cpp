#include "store/study.h"
#include "store/studyrepository.h"
#include "tests/support/clirun.h"
#include "tests/support/testsupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

namespace {

using testsupport::CliRun;

CliRun cli(const QStringList& args)
{
    return testsupport::runProgram(QString::fromUtf8(HOLTER_CLI), args);
}

int makeStudy(const QString& root, const QByteArray& lastName)
{
    StudyRepository::Options o;
    o.rootOverride = root;
    StudyRepository repo("VeltronaHolter", o);
    StudyInfo info;
    info.studyDateTime = "20261122101500";
    info.recordingDateTime = info.studyDateTime;
    info.patientLastName = lastName;
    info.patientFirstName = "Ana";
    info.samplingRate = 500;
    info.channelCount = 3;
    info.channelNames = "II,V2,V5";
    info.resolution = 16;
    info.gain = 450.0;
    Study* s = repo.createStudy(info);
    StudyEvent& e = s->events().add();
    e.description = "Patient event";
    e.position = 12.0;
    repo.saveStudy(s);
    repo.closeStudy(s);
    return info.id;
}

} // namespace

TEST(Cli, HelpVersionAndMistakes)
{
    CliRun r = cli({"--help"});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.contains("Usage: holter-cli"));
    for (const char* command : {"list", "show", "delete"})
        EXPECT_TRUE(r.out.contains(command)) << command;

    r = cli({"--version"});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.contains("1.19"));

    r = cli({"list", "--help"});
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.contains("holter-cli"));

    struct Case
    {
        QStringList args;
        const char* inErr;
    };
    testsupport::TempRoot root;
    const Case mistakes[] = {
        {{}, "Usage"},
        {{"frobnicate"}, "unknown command 'frobnicate'"},
        {{"--bogus", "list"}, "unknown option '--bogus'"},
        {{"--data-dir"}, "needs a value"},
        {{"--data-dir", root.path(), "show"}, "missing study ID"},
        {{"--data-dir", root.path(), "show", "abc"}, "is not a study id"},
        {{"--data-dir", root.path(), "show", "0"}, "is not a study id"},
        {{"--data-dir", root.path(), "list", "extra"}, "unexpected argument 'extra'"},
        {{"--data-dir", root.path(), "delete", "1", "--force"}, "unknown option '--force'"},
    };
    for (const Case& c : mistakes) {
        r = cli(c.args);
        EXPECT_EQ(r.code, 2) << c.args.join(' ').toStdString();
        EXPECT_TRUE(r.err.contains(c.inErr)) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty()) << r.out.toStdString();
    }
}

TEST(Cli, ListShowDelete)
{
    testsupport::TempRoot root;
    const int a = makeStudy(root.path(), "Pérez");
    const int b = makeStudy(root.path(), "Gómez");

    CliRun r = cli({"--data-dir", root.path(), "list"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2);
    for (const QString& line : lines) {
        const QStringList cols = line.split('\t');
        ASSERT_EQ(cols.size(), 4);
        EXPECT_TRUE(cols[0].toInt() == a || cols[0].toInt() == b);
        EXPECT_TRUE(cols[1] == "Pérez, Ana" || cols[1] == "Gómez, Ana") << cols[1].toStdString();
        EXPECT_EQ(cols[2], "20261122101500");
        EXPECT_EQ(cols[3], "downloaded");
    }

    r = cli({"--data-dir", root.path(), "show", QString::number(a)});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QJsonObject shown = QJsonDocument::fromJson(r.out.toUtf8()).object();
    EXPECT_EQ(shown["info"].toObject()["id"].toInt(), a);
    EXPECT_EQ(shown["info"].toObject()["patientLastName"].toString(), QString("Pérez"));
    ASSERT_EQ(shown["events"].toArray().size(), 1);
    EXPECT_EQ(shown["events"].toArray()[0].toObject()["description"].toString(),
              QString("Patient event"));

    r = cli({"--data-dir", root.path(), "delete", QString::number(a)});
    EXPECT_EQ(r.code, 0) << r.err.toStdString();
    r = cli({"--data-dir", root.path(), "show", QString::number(a)});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QString("no study with id %1").arg(a))) << r.err.toStdString();
    r = cli({"--data-dir", root.path(), "delete", QString::number(a)});
    EXPECT_EQ(r.code, 1);
    r = cli({"--data-dir", root.path(), "list"});
    EXPECT_EQ(r.out.split('\n', Qt::SkipEmptyParts).size(), 1);
}

TEST(Cli, UnusableDataDirIsAClearError)
{
    testsupport::TempRoot root;
    // A file where the store folder should be.
    testsupport::writeAll(root.file("notadir"), "x");
    CliRun r = cli({"--data-dir", root.file("notadir"), "list"});
    EXPECT_EQ(r.code, 1);
    EXPECT_FALSE(r.err.isEmpty());
}
