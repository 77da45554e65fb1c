#include "tests/support/testsupport.h"
#include "workflow/printpdf.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// Puts a fake `lp` (a shell script body) first on PATH for the life of the object; an empty
// body leaves no lp on PATH at all.
class FakeSpooler
{
public:
    explicit FakeSpooler(const QByteArray& body)
        : m_oldPath(qgetenv("PATH"))
    {
        if (!body.isEmpty()) {
            testsupport::writeAll(m_dir.filePath("lp"), "#!/bin/sh\n" + body + "\n");
            QFile::setPermissions(m_dir.filePath("lp"), QFile::ReadOwner | QFile::ExeOwner);
        }
        // /bin keeps the shell's own tools reachable, but it could hold a real lp too.
        qputenv("PATH", (m_dir.path() + (body.isEmpty() ? "" : ":/bin:/usr/bin")).toUtf8());
    }
    ~FakeSpooler() { qputenv("PATH", m_oldPath); }
    QString file(const QString& name) const { return m_dir.filePath(name); }

private:
    QTemporaryDir m_dir;
    QByteArray m_oldPath;
};

// What the spooler answered, or the error's message after "error: ".
QString printed(const QString& file)
{
    try {
        return printPdfOnDefaultPrinter(file, "Report 7");
    } catch (const PrintError& e) {
        return "error: " + QString::fromUtf8(e.what());
    }
}

} // namespace

TEST(PrintPdf, HandsTheFileToTheSpoolerOrSaysWhyNot)
{
    QTemporaryDir dir;
    const QString pdf = dir.filePath("report.pdf");
    testsupport::writeAll(pdf, "%PDF-1.4 test");
    {
        FakeSpooler lp("printf '%s\\n' \"$@\" > \"$(dirname \"$0\")/args\"\n"
                       "echo 'request id is desk-12 (1 file(s))'");
        EXPECT_EQ(printed(pdf), "request id is desk-12 (1 file(s))");
        // The title, then the file after the end of options, so a name like "-x" is no option.
        EXPECT_EQ(testsupport::readAll(lp.file("args")),
            QByteArray("-t\nReport 7\n--\n") + pdf.toUtf8() + "\n");
    }
    const struct
    {
        QByteArray lp;
        QStringList said;
    } refusals[] = {
        { "echo 'lp: Error - no default destination available.' >&2; exit 1",
            { "no default destination available", pdf } },
        { "exit 3", { "status 3" } }, // refused without a word
        { "", { "'lp'", "--pdf" } }, // no spooler at all
    };
    for (const auto& r : refusals) {
        FakeSpooler lp(r.lp);
        const QString e = printed(pdf);
        EXPECT_TRUE(e.startsWith("error: ")) << e.toStdString();
        for (const QString& part : r.said)
            EXPECT_TRUE(e.contains(part)) << e.toStdString();
    }
    EXPECT_TRUE(printed(dir.filePath("missing.pdf")).contains("missing.pdf"));
}
