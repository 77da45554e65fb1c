// The program as a whole: arguments, the single-copy rule and the store it builds.
#include "resources/applicationinfo.h"
#include "shell/instanceguard.h"
#include "tests/support/clirun.h"
#include "tests/support/testsupport.h"

#include <QFileInfo>
#include <QTest>

#include <gtest/gtest.h>

namespace {

const char* const kAppKey = "Veltrona Holter ECG";

// Starts the program on the store `store` (it inherits the offscreen platform) and reports
// whether the store's index appears within `timeoutMs`; the program is then killed, as a crash
// would end it, leaving its shared segment behind.
bool storeAppears(const QString& store, int timeoutMs, bool* stillRunning = nullptr)
{
    QProcess app;
    app.start(HOLTER_APP_EXE, { "--data-dir", store });
    EXPECT_TRUE(app.waitForStarted(10000));
    const bool appeared = QTest::qWaitFor(
        [&] { return QFileInfo::exists(store + "/data/studies.sqlite"); }, timeoutMs);
    if (stillRunning)
        *stillRunning = app.state() == QProcess::Running;
    app.kill();
    app.waitForFinished(5000);
    return appeared;
}

TEST(HolterEcgProgram, OptionsAndTheirMistakes)
{
    const testsupport::CliRun version = testsupport::runProgram(HOLTER_APP_EXE, { "--version" });
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out.trimmed(),
        QString("%1 %2").arg(ApplicationInfo::kApplicationName, ApplicationInfo::kVersion));

    testsupport::TempRoot temp;
    const testsupport::CliRun bad
        = testsupport::runProgram(HOLTER_APP_EXE, { "--data-dir", temp.file("s"), "--bogus" });
    EXPECT_NE(bad.code, 0);
    EXPECT_FALSE(bad.err.isEmpty());
    EXPECT_FALSE(QFileInfo::exists(temp.file("s")));
}

// A running copy keeps a second start, waiting on its message box, away from the store; a copy
// that was killed does not block the next one.
TEST(HolterEcgProgram, OneCopyAtATimeAndStartsAgainAfterACrash)
{
    testsupport::TempRoot temp;
    {
        InstanceGuard running(kAppKey);
        if (!running.isFirst())
            GTEST_SKIP() << "a copy of holter-ecg is running on this machine";
        bool waiting = false;
        EXPECT_FALSE(storeAppears(temp.file("second"), 1500, &waiting));
        EXPECT_TRUE(waiting) << "expected the information box to wait";
        // The refused copy's clean-up of stale segments left the living one alone.
        EXPECT_FALSE(InstanceGuard(kAppKey).isFirst());
    }
    EXPECT_TRUE(storeAppears(temp.file("first"), 10000));
    EXPECT_TRUE(storeAppears(temp.file("again"), 10000));
    // Leaves no segment behind for whoever runs next.
    EXPECT_TRUE(InstanceGuard(kAppKey).isFirst());
}

} // namespace
