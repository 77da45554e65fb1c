#include "resources/applicationinfo.h"
#include "resources/holterresources.h"
#include "shell/instanceguard.h"
#include "shell/mainwindow.h"
#include "shell/translatorset.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QMessageBox>

#include <exception>
#include <stdexcept>

namespace {

// Reads "--data-dir", "--help" and "--version"; the latter two print and leave the process.
StudyRepository::Options parseArguments(const QApplication& app)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(QCoreApplication::translate("main", "Holter ECG workstation"));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption dataDir("data-dir",
        QCoreApplication::translate(
            "main", "Keep the study store in <folder> instead of the user's data folder."),
        QCoreApplication::translate("main", "folder"));
    parser.addOption(dataDir);
    parser.process(app);

    StudyRepository::Options options;
    if (parser.isSet(dataDir))
        options.rootOverride = QDir(parser.value(dataDir)).absolutePath();
    return options;
}

void applyStyleSheet(QApplication& app)
{
    QFile css(":/styles/dark.css");
    if (css.open(QIODevice::ReadOnly))
        app.setStyleSheet(QString::fromUtf8(css.readAll()));
}

} // namespace

int main(int argc, char** argv)
{
    // The message boxes of the handlers below need the application object.
    QApplication app(argc, argv);
    try {
        ApplicationInfo::apply();
        initHolterResources();

        // Spanish is always tried; without the catalogs the program runs in English.
        TranslatorSet translators;
        translators.install({ "qt_es", "VeltronaHolterECG_es", "report_es" },
            QCoreApplication::applicationDirPath());

        // Before the instance check, so that --help and --version work beside a running copy.
        const StudyRepository::Options storeOptions = parseArguments(app);

        const QString key = QString("%1 %2").arg(
            QCoreApplication::organizationName(), QCoreApplication::applicationName());
        InstanceGuard guard(key);
        if (!guard.isFirst()) {
            QMessageBox box(QMessageBox::Information,
                QCoreApplication::translate("main", "Information"),
                QCoreApplication::translate("main", "%1 is already running").arg(key),
                QMessageBox::Ok);
            box.exec();
            return 0;
        }

        applyStyleSheet(app);

        MainWindow window(storeOptions);
        QObject::connect(&window, &MainWindow::startupFailed, &app, &QCoreApplication::quit);
        window.show();
        const int exitCode = app.exec();
        if (!window.startupError().isEmpty())
            throw std::runtime_error(window.startupError().toStdString());
        return exitCode;
    } catch (const std::exception& e) {
        QMessageBox::critical(nullptr, "Error", QString::fromUtf8(e.what()), QMessageBox::Ok);
    } catch (...) {
        QMessageBox::critical(nullptr, "Error", "Unspecified application error", QMessageBox::Ok);
    }
    return 1;
}
