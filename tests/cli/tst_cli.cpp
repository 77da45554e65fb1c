#include "resources/applicationinfo.h"
#include "tests/cli/clistudy.h"
#include "tests/support/testsupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace clitest;

TEST(Cli, HelpVersionAndMistakes)
{
    CliRun r = run({ "--help" });
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(r.out.contains("Usage: holter-cli"));
    for (const char* command : { "list", "show", "delete" })
        EXPECT_TRUE(r.out.contains(command)) << command;
    r = run({ "--version" });
    EXPECT_EQ(r.code, 0);
    EXPECT_TRUE(QString(ApplicationInfo::kVersion).contains(QRegularExpression("^\\d+\\.\\d+")))
        << ApplicationInfo::kVersion;
    EXPECT_EQ(r.out.trimmed(), QString("holter-cli %1").arg(ApplicationInfo::kVersion));
    EXPECT_EQ(run({ "list", "--help" }).code, 0);

    struct Case
    {
        QStringList args;
        const char* inErr;
    };
    testsupport::TempRoot root;
    const QString dir = root.path();
    const Case mistakes[] = {
        { {}, "Usage" },
        { { "frobnicate" }, "unknown command 'frobnicate'" },
        { { "--bogus", "list" }, "unknown option '--bogus'" },
        { { "--data-dir" }, "needs a value" },
        { { "--data-dir", dir, "show" }, "missing study ID" },
        { { "--data-dir", dir, "show", "abc" }, "is not a study id" },
        { { "--data-dir", dir, "show", "0" }, "is not a study id" },
        { { "--data-dir", dir, "list", "extra" }, "unexpected argument 'extra'" },
        { { "--data-dir", dir, "delete", "1", "--force" }, "unknown option '--force'" },
    };
    for (const Case& c : mistakes) {
        r = run(c.args);
        EXPECT_EQ(r.code, 2) << c.args.join(' ').toStdString();
        EXPECT_TRUE(r.err.contains(c.inErr)) << r.err.toStdString();
        EXPECT_TRUE(r.out.isEmpty()) << r.out.toStdString();
    }
}

TEST(Cli, ListShowDelete)
{
    testsupport::TempRoot root;
    const QString dir = root.path();
    const int a = makeStudy(
        dir,
        [](Study& s) {
            StudyEvent& e = s.events().add();
            e.description = "Patient event";
            e.position = 12.0;
        },
        "Pérez");
    const int b = makeStudy(dir, nullptr, "Gómez");

    CliRun r = cli(dir, { "list" });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QStringList lines = r.out.split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 2);
    for (const QString& line : lines) {
        const QStringList cols = line.split('\t');
        ASSERT_EQ(cols.size(), 4);
        EXPECT_TRUE(cols[0].toInt() == a || cols[0].toInt() == b);
        EXPECT_TRUE(cols[1] == "Pérez, Eva" || cols[1] == "Gómez, Eva") << cols[1].toStdString();
        EXPECT_EQ(cols[2], "20260101080000");
        EXPECT_EQ(cols[3], "downloaded");
    }

    r = cli(dir, { "show", QString::number(a) });
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    const QJsonObject shown = QJsonDocument::fromJson(r.out.toUtf8()).object();
    EXPECT_EQ(shown["info"].toObject()["id"].toInt(), a);
    EXPECT_EQ(shown["info"].toObject()["patientLastName"].toString(), QString("Pérez"));
    ASSERT_EQ(shown["events"].toArray().size(), 1);
    EXPECT_EQ(shown["events"].toArray()[0].toObject()["description"].toString(),
        QString("Patient event"));

    EXPECT_EQ(cli(dir, { "delete", QString::number(a) }).code, 0);
    r = cli(dir, { "show", QString::number(a) });
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains(QString("no study with id %1").arg(a))) << r.err.toStdString();
    EXPECT_EQ(cli(dir, { "delete", QString::number(a) }).code, 1);
    EXPECT_EQ(cli(dir, { "list" }).out.split('\n', Qt::SkipEmptyParts).size(), 1);

    // A file where the store folder should be.
    testsupport::writeAll(root.file("notadir"), "x");
    r = cli(root.file("notadir"), { "list" });
    EXPECT_EQ(r.code, 1);
    EXPECT_FALSE(r.err.isEmpty());
}
