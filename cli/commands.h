#pragma once

#include "cli/command.h"

// One function per command; each lives in the file of its subject.
int runList(CliContext& ctx, const QStringList& args);
int runShow(CliContext& ctx, const QStringList& args);
int runDelete(CliContext& ctx, const QStringList& args);
int runImport(CliContext& ctx, const QStringList& args);
int runExport(CliContext& ctx, const QStringList& args);
int runArchive(CliContext& ctx, const QStringList& args);
int runEvaluate(CliContext& ctx, const QStringList& args);
int runProcess(CliContext& ctx, const QStringList& args);
int runAnalyze(CliContext& ctx, const QStringList& args);
int runDetect(CliContext& ctx, const QStringList& args);
int runSimulate(CliContext& ctx, const QStringList& args);
int runResults(CliContext& ctx, const QStringList& args);
int runReport(CliContext& ctx, const QStringList& args);
