#if defined(HOLTER_TEST_GUI)
#include <QApplication>
using TestApplication = QApplication;
#elif defined(HOLTER_TEST_PAINT)
#include <QGuiApplication>
using TestApplication = QGuiApplication;
#else
#include <QCoreApplication>
using TestApplication = QCoreApplication;
#endif
#include <QTemporaryDir>

#include <gtest/gtest.h>

// One application object per test process, and a private XDG data home so that nothing a test
// does can reach the user's real data folder.
int main(int argc, char** argv)
{
    QTemporaryDir home;
    qputenv("XDG_DATA_HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/config").toUtf8());
#if defined(HOLTER_TEST_GUI) || defined(HOLTER_TEST_PAINT)
    // Test discovery runs the binary at build time, where there may be no display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
#endif
    ::testing::InitGoogleTest(&argc, argv);
    TestApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
