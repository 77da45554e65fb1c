#include "resources/holterresources.h"

#include <QApplication>
#include <QFile>
#include <QPixmap>
#include <QPushButton>
#include <QStringList>

#include <gtest/gtest.h>

namespace {

class ResourceImage : public ::testing::TestWithParam<const char*>
{
};

TEST_P(ResourceImage, LoadsAsAPicture)
{
    initHolterResources();
    const QPixmap pixmap(GetParam());
    ASSERT_FALSE(pixmap.isNull()) << GetParam();
    EXPECT_GE(pixmap.width(), 16);
    EXPECT_GE(pixmap.height(), 16);
}

INSTANTIATE_TEST_SUITE_P(Shell, ResourceImage,
    ::testing::Values(":/res/SD-50.png", ":/res/opened_folder-50.png", ":/res/exit-50.png",
        ":/res/settings3-50.png", ":/res/logo-veltrona.png", ":/res/logo-veltrona-vet.png",
        ":/styles/cancel.png"));

// Qt reports a style sheet it cannot parse only as a warning, when a widget is first polished.
QStringList* g_warnings = nullptr;

void collectWarnings(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (g_warnings && type == QtWarningMsg)
        *g_warnings << message;
}

QStringList warningsOfStyleSheet(const QString& css)
{
    QStringList warnings;
    g_warnings = &warnings;
    const QtMessageHandler previous = qInstallMessageHandler(collectWarnings);
    qApp->setStyleSheet(css);
    {
        QPushButton probe("probe");
        probe.ensurePolished();
    }
    qApp->setStyleSheet(QString());
    qInstallMessageHandler(previous);
    g_warnings = nullptr;
    return warnings;
}

TEST(StyleSheetCheck, BrokenSheetIsDetected)
{
    // Makes sure the check below would notice a broken sheet at all.
    const QStringList warnings = warningsOfStyleSheet("QPushButton { color: red; ");
    EXPECT_FALSE(warnings.isEmpty());
}

class ResourceStyleSheet : public ::testing::TestWithParam<const char*>
{
};

TEST_P(ResourceStyleSheet, ParsesWithoutWarnings)
{
    initHolterResources();
    QFile file(GetParam());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << GetParam();
    const QString css = QString::fromUtf8(file.readAll());
    ASSERT_FALSE(css.trimmed().isEmpty());
    const QStringList warnings = warningsOfStyleSheet(css);
    EXPECT_TRUE(warnings.isEmpty()) << warnings.join('\n').toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Shell, ResourceStyleSheet, ::testing::Values(":/styles/dark.css", ":/styles/dark-vet.css"));

} // namespace
