#include "cli/args.h"
#include "cli/command.h"
#include "resources/applicationinfo.h"
#include "store/studyrepository.h"

#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QStandardPaths>
#include <QTextStream>

#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>

namespace {

// Qt's own warnings (a damaged zlib stream, say) would only repeat, less clearly, what the
// command reports itself; they are shown when HOLTER_VERBOSE is set.
void quietMessages(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtFatalMsg || type == QtCriticalMsg || qEnvironmentVariableIsSet("HOLTER_VERBOSE"))
        fprintf(stderr, "%s\n", qPrintable(message));
}

void printUsage(QTextStream& s)
{
    s << "Usage: holter-cli [--data-dir DIR] COMMAND [ARGS...]\n\n"
         "Batch tool of Holter ECG: the whole road from a recorder card to a report, headless.\n\n"
         "Global options:\n"
         "  --data-dir DIR   root of the study store (default: the workstation's, "
      << QDir::toNativeSeparators(
             QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
             + "/VeltronaHolter")
      << ")\n"
         "  --help, -h       show this help, or a command's with COMMAND --help\n"
         "  --version        show the version\n\n"
         "Commands:\n";
    for (const CliCommand& c : cliCommands()) {
        QString head = QString("%1 %2").arg(c.name, c.synopsis).trimmed();
        s << "  " << head.leftJustified(34) << ' ' << c.summary << '\n';
    }
    s << "\nErrors go to standard error; the exit status is 0 on success, 1 on failure and 2 "
         "for a mistake on the command line.\n";
}

void printCommandHelp(QTextStream& s, const CliCommand& c)
{
    s << "Usage: holter-cli [--data-dir DIR] " << QString("%1 %2").arg(c.name, c.synopsis).trimmed()
      << "\n\n"
      << c.summary << ".\n";
    if (c.help && *c.help)
        s << '\n' << c.help;
    s.flush();
}

// Reports paint (fonts, QPrinter), which needs a QGuiApplication; everything else runs on a
// plain QCoreApplication. Looks at the raw arguments, before Qt has seen them.
bool commandPaints(int argc, char** argv)
{
    int i = 1;
    while (i < argc && argv[i][0] == '-')
        i += std::strcmp(argv[i], "--data-dir") == 0 ? 2 : 1;
    if (i >= argc)
        return false;
    if (std::strcmp(argv[i], "report") == 0)
        return true;
    if (std::strcmp(argv[i], "analyze") == 0) {
        for (int j = i + 1; j < argc; ++j)
            if (std::strcmp(argv[j], "--pdf") == 0 || std::strncmp(argv[j], "--pdf=", 6) == 0)
                return true;
    }
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    qInstallMessageHandler(quietMessages);
    std::unique_ptr<QCoreApplication> application;
    if (commandPaints(argc, argv)) {
        // A batch tool never needs a window: unless the user chose a platform, paint offscreen,
        // so that reports work the same with or without a display.
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        application = std::make_unique<QGuiApplication>(argc, argv);
    } else {
        application = std::make_unique<QCoreApplication>(argc, argv);
    }
    QCoreApplication& app = *application;
    ApplicationInfo::apply();

    QTextStream out(stdout);
    QTextStream err(stderr);
    QStringList args = app.arguments().mid(1);

    QString dataDir;
    bool dataDirGiven = false;
    // Global options come before the command.
    while (!args.isEmpty() && args.first().startsWith('-')) {
        const QString a = args.takeFirst();
        if (a == "--help" || a == "-h") {
            printUsage(out);
            return 0;
        }
        if (a == "--version") {
            out << "holter-cli " << QCoreApplication::applicationVersion() << '\n';
            return 0;
        }
        if (a == "--data-dir" || a.startsWith("--data-dir=")) {
            if (a == "--data-dir") {
                if (args.isEmpty()) {
                    err << "holter-cli: option '--data-dir' needs a value\n";
                    return 2;
                }
                dataDir = args.takeFirst();
            } else {
                dataDir = a.mid(int(strlen("--data-dir=")));
            }
            if (dataDir.isEmpty()) {
                err << "holter-cli: option '--data-dir' needs a folder\n";
                return 2;
            }
            dataDirGiven = true;
            continue;
        }
        err << "holter-cli: unknown option '" << a << "'\nTry 'holter-cli --help'.\n";
        return 2;
    }
    if (args.isEmpty()) {
        printUsage(err);
        return 2;
    }

    const QString name = args.takeFirst();
    const CliCommand* command = nullptr;
    for (const CliCommand& c : cliCommands())
        if (name == c.name)
            command = &c;
    if (!command) {
        err << "holter-cli: unknown command '" << name << "'\nTry 'holter-cli --help'.\n";
        return 2;
    }
    if (args.contains("--help") || args.contains("-h")) {
        printCommandHelp(out, *command);
        return 0;
    }

    try {
        CliContext ctx(dataDir, dataDirGiven);
        const int rc = command->run(ctx, args);
        ctx.out().flush();
        ctx.err().flush();
        return rc;
    } catch (const UsageError& e) {
        err << "holter-cli " << name << ": " << QString::fromUtf8(e.what()) << "\nTry 'holter-cli "
            << name << " --help'.\n";
        return 2;
    } catch (const std::exception& e) {
        err << "holter-cli " << name << ": " << QString::fromUtf8(e.what()) << '\n';
        return 1;
    }
}
