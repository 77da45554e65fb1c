#pragma once

#include <QString>
#include <QStringList>
#include <QTextStream>

#include <functional>
#include <memory>

class Study;
class StudyRepository;

// What every command gets: the store root, output streams and the repository, opened lazily
// so that commands which don't touch the store (simulate, evaluate) never create one.
class CliContext
{
public:
    CliContext(const QString& dataDir, bool dataDirGiven);
    ~CliContext();

    QTextStream& out() { return m_out; }
    QTextStream& err() { return m_err; }
    StudyRepository& repository();
    QString dataDir() const { return m_dataDir; }
    // Progress on stderr, rewritten in place on a terminal, one line per step otherwise.
    void progress(const QString& what, int percent);
    void endProgress();

private:
    QString m_dataDir;
    bool m_dataDirGiven;
    QTextStream m_out;
    QTextStream m_err;
    std::unique_ptr<StudyRepository> m_repository;
    bool m_tty;
    int m_lastPercent = -1;
    QString m_lastWhat;
};

struct CliCommand
{
    const char* name;
    const char* synopsis; // arguments after the name
    const char* summary;  // one line
    const char* help;     // option lines, may be empty
    std::function<int(CliContext&, const QStringList&)> run;
};

const QList<CliCommand>& cliCommands();

// Parses a study id argument; a usage error unless it is 1..999999999.
int parseStudyId(const QString& text);

// A study of the store opened for one command; closed (without saving) when it goes away.
// Throws "no study with id N", or "Study file not found" when its files can't be read.
class OpenedStudy
{
public:
    OpenedStudy(CliContext& ctx, int id);
    ~OpenedStudy();
    OpenedStudy(const OpenedStudy&) = delete;
    OpenedStudy& operator=(const OpenedStudy&) = delete;

    Study* get() const { return m_study; }
    Study* operator->() const { return m_study; }
    void save();

private:
    StudyRepository& m_repository;
    Study* m_study = nullptr;
};
