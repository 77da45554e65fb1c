#include "cli/args.h"
#include "cli/commands.h"
#include "cli/importsource.h"

#include <stdexcept>

// Beat labelling, results and the report are separate stages that later versions add; until
// then these commands say so plainly instead of pretending.
int runProcess(CliContext&, const QStringList& argv)
{
    Args args(argv, {"exclude", "svpb-prematurity"}, {"svpb-compensatory"});
    args.expectPositionals(1, 1, "study ID");
    parseStudyId(args.positionals()[0]);
    throw std::runtime_error("beat labelling is not available in this version; "
                             "'holter-cli detect ID' finds the beats without labels");
}

int runAnalyze(CliContext& ctx, const QStringList& argv)
{
    QStringList valueOptions = importValueOptions();
    valueOptions << "annotations" << "json" << "pdf";
    Args args(argv, valueOptions, {});
    args.expectPositionals(1, 1, "SOURCE");
    for (const char* output : {"json", "pdf"})
        if (args.has(output))
            throw UsageError(QString("'--%1' needs the results and report stages, which are not "
                                     "available in this version")
                                 .arg(output));
    const int id = importSource(ctx, args, args.positionals()[0]);
    ctx.err() << "imported as study " << id << '\n';
    throw std::runtime_error("beat labelling is not available in this version; the study was "
                             "imported and can be detected with 'holter-cli detect "
                             + std::to_string(id) + "'");
}
