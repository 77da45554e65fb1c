#pragma once

#include "cli/command.h"

// One function per command; each lives in the file of its subject.
int runList(CliContext& ctx, const QStringList& args);
int runShow(CliContext& ctx, const QStringList& args);
int runDelete(CliContext& ctx, const QStringList& args);
