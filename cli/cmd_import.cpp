#include "cli/args.h"
#include "cli/commands.h"
#include "cli/importsource.h"
#include "cli/interrupt.h"
#include "recorder/cardimport.h"
#include "recorder/cardsignalfile.h"
#include "recorder/recordingimport.h"
#include "store/studyrepository.h"

#include <QDir>
#include <QFileInfo>

namespace {

ImportPatient patientFrom(const Args& args)
{
    ImportPatient p;
    p.lastName = args.value("last-name").toUtf8();
    p.firstName = args.value("first-name").toUtf8();
    p.idNumber = args.value("id-number").toUtf8();
    p.historyNumber = args.value("history-number").toUtf8();
    if (args.has("date")) {
        p.start = QDateTime::fromString(args.value("date"), "yyyyMMddHHmm");
        if (!p.start.isValid())
            throw UsageError(QString("'--date %1' is not a date of the form yyyyMMddHHmm")
                                 .arg(args.value("date")));
    }
    return p;
}

bool isCard(const QString& source)
{
    const QFileInfo fi(source);
    if (fi.isDir())
        return true;
    return fi.fileName().compare(CardSignalFile::kFileName, Qt::CaseInsensitive) == 0;
}

CardImportOptions cardOptions(const Args& args)
{
    CardImportOptions o;
    o.patient = patientFrom(args);
    if (args.has("leads")) {
        const QStringList leads = args.value("leads").split(',');
        if (leads.size() != 3)
            throw UsageError("'--leads' needs three lead names, one per channel, e.g. II,V2,V5");
        for (const QString& lead : leads)
            if (!cardLeadNames().contains(lead.trimmed()))
                throw UsageError(QString("'%1' is not a lead name (one of %2)")
                                     .arg(lead, cardLeadNames().join(' ')));
        o.leads.clear();
        for (const QString& lead : leads)
            o.leads << lead.trimmed();
    }
    if (args.has("invert")) {
        for (const QString& c : args.value("invert").split(',', Qt::SkipEmptyParts)) {
            bool ok = false;
            const int n = c.trimmed().toInt(&ok);
            if (!ok || n < 1 || n > 3)
                throw UsageError(QString("'--invert' takes channel numbers 1 to 3, not '%1'").arg(c));
            o.invert[n - 1] = true;
        }
    }
    if (args.has("limit-hours")) {
        o.limitHours = args.intValue("limit-hours", 0, 1, 48);
        if (o.limitHours != 24 && o.limitHours != 48)
            throw UsageError("'--limit-hours' is 24 or 48");
    }
    return o;
}

} // namespace

QStringList importValueOptions()
{
    return {"last-name", "first-name", "id-number", "history-number",
            "date",      "leads",      "invert",    "limit-hours"};
}

int importSource(CliContext& ctx, const Args& args, const QString& source)
{
    if (!QFileInfo::exists(source) && !QFileInfo::exists(source + ".hea"))
        throw std::runtime_error(
            QString("%1: no such file or folder").arg(QDir::toNativeSeparators(source)).toStdString());
    if (looksLikeArchive(source)) {
        // An archive brings its own patient and leads.
        for (const QString& option : importValueOptions())
            if (args.has(option))
                throw UsageError(QString("'--%1' does not apply to a study archive").arg(option));
        return importArchive(ctx, source);
    }
    if (isCard(source)) {
        const CardImportOptions options = cardOptions(args);
        const QString why = options.patient.incompleteReason();
        if (!why.isEmpty())
            throw UsageError(why + " Give --last-name, --first-name and --date yyyyMMddHHmm.");
        const QString file = CardSignalFile::dataFilePath(source);
        const qint64 offset = CardSignalFile::findDataOffset(file);
        CliProgress progress(ctx, "Importing card");
        const int id =
            importCard(ctx.repository(), file, offset, options, &progress, interruptFlag());
        ctx.endProgress();
        return id;
    }
    for (const char* cardOnly : {"leads", "invert", "limit-hours"})
        if (args.has(cardOnly))
            throw UsageError(QString("'--%1' applies to memory cards only").arg(cardOnly));
    // Recognised by content: a WFDB header, EDF/EDF+/BDF or ISHNE, whatever the extension.
    if (detectRecordingFormat(source) == RecordingFormat::Unknown)
        throw std::runtime_error(
            QString("%1 is not a recording that can be imported: neither a memory card, a WFDB "
                    "record, an EDF/BDF file, an ISHNE Holter file nor a study archive")
                .arg(QDir::toNativeSeparators(source))
                .toStdString());
    CliProgress progress(ctx, "Importing record");
    const int id = importRecordingFile(ctx.repository(), source, patientFrom(args), &progress,
                                       interruptFlag());
    ctx.endProgress();
    return id;
}

int runImport(CliContext& ctx, const QStringList& argv)
{
    Args args(argv, importValueOptions(), {});
    args.expectPositionals(1, 1, "SOURCE (a card folder, HECG.VTF, a WFDB record or a .vtz)");
    const int id = importSource(ctx, args, args.positionals()[0]);
    ctx.out() << id << '\n';
    return 0;
}
