#include "workflow/printpdf.h"
#include "tests/support/testsupport.h"

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
            QFile lp(m_dir.filePath("lp"));
            EXPECT_TRUE(lp.open(QIODevice::WriteOnly));
            lp.write("#!/bin/sh\n" + body + "\n");
            lp.close();
            lp.setPermissions(lp.permissions() | QFileDevice::ExeOwner);
        }
        // /bin keeps the shell's own tools (cp) reachable, but it could hold a real lp too.
        qputenv("PATH", (m_dir.path() + (body.isEmpty() ? "" : ":/bin:/usr/bin")).toUtf8());
    }
    ~FakeSpooler() { qputenv("PATH", m_oldPath); }
    QString file(const QString& name) const { return m_dir.filePath(name); }

private:
    QTemporaryDir m_dir;
    QByteArray m_oldPath;
};

QString errorOf(const QString& file)
{
    try {
        printPdfOnDefaultPrinter(file, "Report 7");
    } catch (const PrintError& e) {
        return QString::fromUtf8(e.what());
    }
    return QString();
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
        EXPECT_EQ(printPdfOnDefaultPrinter(pdf, "Report 7"), "request id is desk-12 (1 file(s))");
        // The title, then the file after the end of options, so a name like "-x" is no option.
        EXPECT_EQ(testsupport::readAll(lp.file("args")),
            QByteArray("-t\nReport 7\n--\n") + pdf.toUtf8() + "\n");
    }
    {
        FakeSpooler lp("echo 'lp: Error - no default destination available.' >&2; exit 1");
        const QString e = errorOf(pdf);
        EXPECT_TRUE(e.contains("no default destination available")) << e.toStdString();
        EXPECT_TRUE(e.contains(pdf));
    }
    {
        FakeSpooler lp("exit 3"); // refused without a word
        EXPECT_TRUE(errorOf(pdf).contains("status 3")) << errorOf(pdf).toStdString();
    }
    {
        FakeSpooler none("");
        const QString e = errorOf(pdf);
        EXPECT_TRUE(e.contains("'lp'") && e.contains("--pdf")) << e.toStdString();
    }
    EXPECT_TRUE(errorOf(dir.filePath("missing.pdf")).contains("missing.pdf"));
}
