#include "cli/command.h"

#include "cli/args.h"
#include "cli/commands.h"
#include "store/studyrepository.h"

#include <QDir>

#include <cstdio>
#include <unistd.h>

CliContext::CliContext(const QString& dataDir, bool dataDirGiven)
    : m_dataDir(dataDir), m_dataDirGiven(dataDirGiven), m_out(stdout), m_err(stderr),
      m_tty(isatty(fileno(stderr)))
{
}

CliContext::~CliContext() = default;

StudyRepository& CliContext::repository()
{
    if (!m_repository) {
        StudyRepository::Options options;
        if (m_dataDirGiven)
            options.rootOverride = QDir(m_dataDir).absolutePath();
        m_repository = std::make_unique<StudyRepository>("VeltronaHolter", options);
    }
    return *m_repository;
}

void CliContext::progress(const QString& what, int percent)
{
    if (percent == m_lastPercent && what == m_lastWhat)
        return;
    if (m_tty) {
        m_err << '\r' << what << ": " << percent << "%\x1b[K";
        m_err.flush();
    } else if (what != m_lastWhat || percent / 10 != m_lastPercent / 10) {
        // Without a terminal, one line per tenth keeps logs readable.
        m_err << what << ": " << percent << "%\n";
        m_err.flush();
    }
    m_lastPercent = percent;
    m_lastWhat = what;
}

void CliContext::endProgress()
{
    if (m_tty && m_lastPercent >= 0) {
        m_err << '\n';
        m_err.flush();
    }
    m_lastPercent = -1;
    m_lastWhat.clear();
}

int parseStudyId(const QString& text)
{
    bool ok = false;
    const int id = text.toInt(&ok);
    if (!ok || id < 1 || id > 999999999)
        throw UsageError(QString("'%1' is not a study id (1 to 999999999)").arg(text));
    return id;
}

const QList<CliCommand>& cliCommands()
{
    static const QList<CliCommand> commands = {
        {"list", "", "List the studies of the store: id, patient, date, status", "", runList},
        {"show", "ID", "Print a study's descriptive data and events as JSON", "", runShow},
        {"delete", "ID", "Delete a study's files and its index row", "", runDelete},
    };
    return commands;
}
