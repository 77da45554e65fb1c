#pragma once

#include <QStringList>

class Args;
class CliContext;

// The options every command that imports takes.
QStringList importValueOptions();
// Imports SOURCE (a card folder, a HECG.VTF file or a WFDB record) with the import options of
// `args`; returns the new study's id.
int importSource(CliContext& ctx, const Args& args, const QString& source);
