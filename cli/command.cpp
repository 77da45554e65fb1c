#include "cli/command.h"

#include "cli/args.h"
#include "cli/commands.h"
#include "store/study.h"
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

OpenedStudy::OpenedStudy(CliContext& ctx, int id) : m_repository(ctx.repository())
{
    StudyInfo row;
    if (!m_repository.studyExists(id, row))
        throw std::runtime_error(QString("no study with id %1").arg(id).toStdString());
    if (m_repository.isStudyOpen(id))
        throw std::runtime_error("Study is already open");
    m_study = m_repository.openStudy(id);
    if (!m_study || !m_study->beats() || !m_study->signal()) {
        m_repository.closeStudy(m_study);
        throw std::runtime_error("Study file not found");
    }
}

OpenedStudy::~OpenedStudy()
{
    m_repository.closeStudy(m_study);
}

void OpenedStudy::save()
{
    m_repository.saveStudy(m_study);
}

int parseStudyId(const QString& text)
{
    bool ok = false;
    const int id = text.toInt(&ok);
    if (!ok || id < 1 || id > 999999999)
        throw UsageError(QString("'%1' is not a study id (1 to 999999999)").arg(text));
    return id;
}

namespace {

const char kImportHelp[] =
    "SOURCE is a memory-card folder, a HECG.VTF file, a WFDB record (a .hea path or the\n"
    "record path without extension), an EDF, EDF+ or BDF file, an ISHNE Holter file (these\n"
    "three are recognised by content, whatever their names), or a study archive (.vtz) from\n"
    "another station, which replaces the files of the same study if it is here already (and\n"
    "takes no options). Name, date and patient ID of an EDF+ or ISHNE file are used where the\n"
    "options don't give them. Prints the study's id.\n\n"
    "  --last-name TEXT          patient's last name (required)\n"
    "  --first-name TEXT         patient's first name (required)\n"
    "  --id-number TEXT          ID number\n"
    "  --history-number TEXT     patient ID / medical record number\n"
    "  --date yyyyMMddHHmm       start of the recording (required for a card; a WFDB\n"
    "                            record's own date is used when it has one)\n"
    "  --leads L1,L2,L3          lead of each card channel (default II,V2,V5)\n"
    "  --invert 1,3              negate these card channels\n"
    "  --limit-hours 24|48       copy at most this much of a longer card\n";

const char kAnalyzeHelp[] =
    "Runs import, process and results on SOURCE (as for import) and writes:\n"
    "  --annotations FILE        the beats as a WFDB annotation file\n"
    "  --json FILE               every result as JSON\n"
    "  --pdf FILE                the Holter report\n"
    "Takes the import options too.\n";

const char kExportHelp[] =
    "  --annotations FILE        one annotation per beat at its R instant (N 1, V 5, S 9,\n"
    "                            F 6, U 13); noise entries are left out. When the\n"
    "                            study has results, each AF episode adds rhythm changes\n"
    "                            (code 28) \"(AFIB\" at its start and \"(N\" at its end\n"
    "                            (export computes no results; run 'results' first)\n"
    "  --fs HZ                   sample rate of the annotation times (default: the study's)\n"
    "  --rr FILE                 beat times and RR intervals as text\n"
    "  --edf FILE                the signals as EDF+ (microvolts), with the beats' type\n"
    "                            letters, the marks and the arrhythmia episodes of the\n"
    "                            stored results as EDF+ annotations (run 'results' first)\n"
    "  --wfdb RECORD             a WFDB record RECORD.hea, RECORD.dat and RECORD.atr (beats,\n"
    "                            AF rhythm changes, marks as notes) for PhysioNet's tools\n"
    "  --wfdb-format 16|212      sample format of RECORD.dat (default 16; 212 clips at\n"
    "                            +-2047 steps)\n";

const char kEvaluateHelp[] =
    "Each REF/TEST pair is two annotation files of one record; the rate comes from the\n"
    "REF record's header beside it (REF without extension + .hea) or --fs. Stretches of\n"
    "ventricular flutter marked in REF ('[' to ']') are left out, as EC57 does.\n"
    "  --start SECONDS           learning period left out of the comparison (default 300)\n"
    "  --fs HZ                   sample rate when there is no header\n"
    "  --json                    print the table as JSON\n";

const char kReportHelp[] =
    "Prints the Holter report of a study, computing its missing results first. A PDF run keeps\n"
    "a copy in the store's reports folder and marks the study \"report\".\n"
    "  --pdf FILE                write the report to this PDF file\n"
    "  --printer                 print on the default printer instead\n"
    "  --no-trends               leave out the HR/PVC/SVPB trends and the hourly table\n"
    "  --no-extra-trends         leave out the RR, PR, QT, QTc and ST trends\n"
    "  --no-hrv                  leave out the HRV page\n"
    "  --amplitude 5|10|20       strip amplitude in mm/mV (default 10)\n"
    "  --rhythm-lead NAME        lead of the rhythm strip and full disclosure (default II)\n"
    "  --trend-lead NAME         lead of the interval measurements (default II)\n"
    "  --filters LIST            any of notch,lowpass,baseline for the strips\n"
    "  --title TEXT              title of the cover\n"
    "  --info TEXT               additional line under the title\n"
    "  --logo FILE               image at the cover's top left (png, jpg, bmp)\n"
    "The header (title, info, logo) defaults to the workstation's report header settings;\n"
    "the analysis limits and the export folder come from its settings too.\n";

} // namespace

const QList<CliCommand>& cliCommands()
{
    static const QList<CliCommand> commands = {
        {"list", "", "List the studies of the store: id, patient, date, status", "", runList},
        {"show", "ID", "Print a study's descriptive data and events as JSON", "", runShow},
        {"delete", "ID", "Delete a study's files and its index row", "", runDelete},
        {"import", "SOURCE [options]",
         "Copy a memory card, a WFDB record, an EDF or ISHNE file or a study archive into the store",
         kImportHelp, runImport},
        {"detect", "ID", "Find the beats of a study and delineate their waves (no labelling)",
         "", runDetect},
        {"process",
         "ID [--exclude V,F,S,U|none] [--svpb-auto | --svpb-prematurity PCT "
         "--svpb-compensatory] [--literal-rules]",
         "Find and label the beats of a study (detection, noise, classes, types)",
         "The workstation's classification settings are the defaults; the options replace\n"
         "them.\n"
         "  --exclude V,F,S,U|none    types never given automatically (their classes become N)\n"
         "  --svpb-auto               the automatic supraventricular rule\n"
         "  --svpb-prematurity PCT    label a beat S when it comes at least PCT % early\n"
         "                            (turns the user rule on; the settings' 20 by default)\n"
         "  --svpb-compensatory       with the user rule, also require a compensatory pause\n"
         "  --literal-rules           only the class type rules, without refining the labels\n"
         "                            (also the setting Analysis/LiteralRules)\n"
         "Ctrl-C stops the run and empties the study's beats; its status stays as it was.\n",
         runProcess},
        {"results", "ID [--json FILE] [--recompute]",
         "Compute a study's missing results (all with --recompute), save, print a summary",
         "  --json FILE               every result with its key, as the study file stores them\n"
         "  --recompute               compute every result again, replacing what is stored\n",
         runResults},
        {"analyze", "SOURCE [options]",
         "Import, process and compute results in one go, writing the outputs asked for",
         kAnalyzeHelp, runAnalyze},
        {"report", "ID --pdf FILE|--printer [options]",
         "Print a study's Holter report to a PDF file or the default printer", kReportHelp,
         runReport},
        {"export", "ID [--annotations FILE] [--fs HZ] [--rr FILE] [--edf FILE] [--wfdb RECORD]",
         "Write a study as EDF+ or a WFDB record, its beats as annotations, RR intervals as text",
         kExportHelp, runExport},
        {"archive", "ID FOLDER",
         "Write a study as a study archive FOLDER/<base name>.vtz and print its path",
         "The archive carries the study file, the compressed ECG and the beats; another\n"
         "station imports it with 'import FILE.vtz'. An archive of the same name is replaced\n"
         "only once the new one is complete; Ctrl-C leaves the folder as it was.\n",
         runArchive},
        {"evaluate", "[--start SECONDS] [--json] [--fs HZ] REF TEST [REF TEST ...]",
         "Compare annotation files beat by beat (ANSI/AAMI EC57) and AF episodes",
         kEvaluateHelp, runEvaluate},
        {"simulate", "OUTDIR [--hours H] [--seed N] [--script FILE] [--preamble BYTES]",
         "Write a simulated recorder card (HECG.VTF, HECG.INF) with its truth.atr and truth.json",
         "  --hours H          length of the recording (default: the script's, 24 for the\n"
         "                     built-in one); counted events scale with it\n"
         "  --seed N           random seed; the same seed gives the same bytes (default 1)\n"
         "  --script FILE      events to simulate (default: a built-in 24-hour day)\n"
         "  --preamble BYTES   bytes before the first block, 0 to 12000 (default 512)\n"
         "  --force            replace an existing HECG.VTF in OUTDIR\n",
         runSimulate},
    };
    return commands;
}
