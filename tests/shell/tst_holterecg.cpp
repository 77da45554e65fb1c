// The program as a whole: arguments, the single-copy rule and the store it builds.
#include "shell/instanceguard.h"
#include "tests/support/testsupport.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

namespace {

const char* const kAppKey = "Veltrona Holter ECG";

QProcess* startApp(QObject* owner, const QStringList& arguments)
{
    auto* process = new QProcess(owner);
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    process->setProcessEnvironment(env);
    process->start(HOLTER_APP_EXE, arguments);
    return process;
}

bool waitForFile(const QString& path, int timeoutMs)
{
    QElapsedTimer timer;
    timer.start();
    while (!QFileInfo::exists(path) && timer.elapsed() < timeoutMs)
        QTest::qWait(20);
    return QFileInfo::exists(path);
}

void stop(QProcess* process)
{
    process->kill();
    process->waitForFinished(5000);
}

class HolterEcgProgram : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (!QFileInfo(HOLTER_APP_EXE).isExecutable())
            GTEST_SKIP() << "holter-ecg not built";
    }
    QObject m_owner;
    testsupport::TempRoot m_temp;
};

TEST_F(HolterEcgProgram, OptionsAndTheirMistakes)
{
    QProcess* app = startApp(&m_owner, { "--version" });
    ASSERT_TRUE(app->waitForFinished(10000));
    EXPECT_EQ(app->exitCode(), 0);
    EXPECT_TRUE(app->readAllStandardOutput().contains("Holter ECG 1.19"));

    const QString store = m_temp.file("store");
    app = startApp(&m_owner, { "--data-dir", store, "--no-such-option" });
    ASSERT_TRUE(app->waitForFinished(10000));
    EXPECT_NE(app->exitCode(), 0);
    EXPECT_FALSE(app->readAllStandardError().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(store));
}

// A running copy (a guard on the program's key) keeps a second start, waiting on its message
// box, away from the store.
TEST_F(HolterEcgProgram, SecondCopyLeavesTheStoreAlone)
{
    InstanceGuard running(kAppKey);
    if (!running.isFirst())
        GTEST_SKIP() << "a copy of holter-ecg is running on this machine";
    const QString store = m_temp.file("store");
    QProcess* app = startApp(&m_owner, { "--data-dir", store });
    ASSERT_TRUE(app->waitForStarted(10000));
    EXPECT_FALSE(waitForFile(store, 1500));
    EXPECT_EQ(app->state(), QProcess::Running) << "expected the information box to wait";
    stop(app);
}

// The first copy builds its store; a copy that was killed does not block the next one.
TEST_F(HolterEcgProgram, StartsAgainAfterACrash)
{
    {
        InstanceGuard probe(kAppKey);
        if (!probe.isFirst())
            GTEST_SKIP() << "a copy of holter-ecg is running on this machine";
    }
    for (const char* folder : { "first", "second" }) {
        SCOPED_TRACE(folder);
        const QString store = m_temp.file(folder);
        QProcess* app = startApp(&m_owner, { "--data-dir", store });
        ASSERT_TRUE(app->waitForStarted(10000));
        EXPECT_TRUE(waitForFile(store + "/data/studies.sqlite", 10000));
        stop(app); // as a crash would: the shared segment stays behind
    }
    // Leaves no segment behind for whoever runs next.
    InstanceGuard cleanup(kAppKey);
    EXPECT_TRUE(cleanup.isFirst());
}

} // namespace
