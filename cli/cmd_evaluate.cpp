#include "cli/args.h"
#include "cli/commands.h"
#include "tools/evaluation/evaluationreport.h"

#include <QJsonDocument>

int runEvaluate(CliContext& ctx, const QStringList& args)
{
    const Args a(args, { "start", "fs" }, { "json" });
    const QStringList& files = a.positionals();
    if (files.isEmpty())
        throw UsageError("missing REF TEST annotation files");
    if (files.size() % 2 != 0)
        throw UsageError(
            QString("'%1' has no TEST file: files come in REF TEST pairs").arg(files.last()));

    EvaluationOptions options;
    options.startSeconds = a.doubleValue("start", 300.0, 0.0, 1e9);
    if (a.has("fs"))
        options.samplingRate = a.doubleValue("fs", 0.0, 1.0, 1e6);

    QVector<RecordEvaluation> records;
    for (int i = 0; i + 1 < files.size(); i += 2)
        records.push_back(evaluateRecord(files[i], files[i + 1], options));

    if (a.flag("json"))
        ctx.out() << QString::fromUtf8(
            QJsonDocument(evaluationJson(records, options)).toJson(QJsonDocument::Indented));
    else
        ctx.out() << formatEvaluationTables(records, options);
    return 0;
}
