#include "workflow/printpdf.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace {

constexpr int kSpoolerTimeoutMs = 60000;

PrintError printError(const QString& message)
{
    return PrintError(message.toStdString());
}

} // namespace

QString printPdfOnDefaultPrinter(const QString& pdfFileName, const QString& title)
{
    if (!QFileInfo(pdfFileName).isFile())
        throw printError(QString("Cannot print %1: there is no such file").arg(pdfFileName));
    const QString lp = QStandardPaths::findExecutable(QStringLiteral("lp"));
    if (lp.isEmpty()) {
        throw printError(QStringLiteral(
            "Cannot print: no print spooler was found (the 'lp' command of CUPS). Install CUPS "
            "and set a default printer, or write the report to a file with '--pdf FILE'"));
    }
    QStringList args;
    if (!title.isEmpty())
        args << "-t" << title;
    args << "--" << pdfFileName;
    QProcess p;
    p.start(lp, args);
    if (!p.waitForStarted(kSpoolerTimeoutMs))
        throw printError(QString("Cannot print: %1 would not start").arg(lp));
    if (!p.waitForFinished(kSpoolerTimeoutMs)) {
        p.kill();
        p.waitForFinished();
        throw printError(QString("Cannot print: %1 did not answer within a minute").arg(lp));
    }
    const QString answer = QString::fromLocal8Bit(p.readAllStandardOutput()).trimmed();
    if (p.exitStatus() != QProcess::NormalExit || p.exitCode() != 0) {
        QString why = QString::fromLocal8Bit(p.readAllStandardError()).trimmed();
        if (why.isEmpty())
            why = QString("%1 ended with status %2").arg(lp).arg(p.exitCode());
        throw printError(QString("The print spooler refused %1 (is a default printer set?): %2")
                             .arg(pdfFileName, why));
    }
    return answer;
}
