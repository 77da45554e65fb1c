#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

namespace testsupport {

// The outcome of running a program to its end.
struct CliRun
{
    int code = -1; // -1 when it crashed or timed out
    QString out;
    QString err;
};

inline CliRun runProgram(const QString& program, const QStringList& args, int timeoutMs = 60000)
{
    QProcess p;
    p.start(program, args);
    p.closeWriteChannel();
    EXPECT_TRUE(p.waitForFinished(timeoutMs)) << program.toStdString() << " did not finish";
    CliRun r;
    r.code = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.out = QString::fromUtf8(p.readAllStandardOutput());
    r.err = QString::fromUtf8(p.readAllStandardError());
    return r;
}

} // namespace testsupport
