#include "resources/holterresources.h"

#include <QApplication>
#include <QFile>
#include <QPixmap>
#include <QPushButton>

#include <gtest/gtest.h>

namespace {

TEST(Resources, ImagesLoadAsPictures)
{
    initHolterResources();
    for (const char* name :
        { ":/res/SD-50.png", ":/res/Download-50.png", ":/res/opened_folder-50.png",
            ":/res/exit-50.png", ":/res/settings3-50.png", ":/res/delete-50.png",
            ":/res/view_file-50.png", ":/res/share-50.png", ":/res/folder-50.png",
            ":/res/logo-veltrona.png", ":/res/logo-veltrona-vet.png", ":/styles/cancel.png",
            ":/res/patient.png", ":/res/high_priority-50.png", ":/res/clinic-50.png" }) {
        const QPixmap pixmap(name);
        EXPECT_TRUE(pixmap.width() >= 16 && pixmap.height() >= 16) << name;
    }
}

// Qt reports a style sheet it cannot parse only as a warning, when a widget is first polished.
QStringList* g_warnings = nullptr;

QStringList warningsOfStyleSheet(const QString& css)
{
    QStringList warnings;
    g_warnings = &warnings;
    const QtMessageHandler previous
        = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& m) {
              if (g_warnings && type == QtWarningMsg)
                  *g_warnings << m;
          });
    qApp->setStyleSheet(css);
    QPushButton("probe").ensurePolished();
    qApp->setStyleSheet(QString());
    qInstallMessageHandler(previous);
    g_warnings = nullptr;
    return warnings;
}

TEST(Resources, StyleSheetsParseWithoutWarnings)
{
    // The check would notice a broken sheet at all.
    ASSERT_FALSE(warningsOfStyleSheet("QPushButton { color: red; ").isEmpty());
    initHolterResources();
    for (const char* name : { ":/styles/dark.css", ":/styles/dark-vet.css" }) {
        QFile file(name);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << name;
        const QString css = QString::fromUtf8(file.readAll());
        ASSERT_FALSE(css.trimmed().isEmpty()) << name;
        const QStringList warnings = warningsOfStyleSheet(css);
        EXPECT_TRUE(warnings.isEmpty()) << name << ": " << warnings.join('\n').toStdString();
    }
}

} // namespace
