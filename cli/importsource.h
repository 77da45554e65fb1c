#pragma once

#include <QString>
#include <QStringList>

class Args;
class CliContext;

// The options every command that imports takes.
QStringList importValueOptions();
// A file that is (or claims to be) a study archive rather than a recording.
bool looksLikeArchive(const QString& source);
// Imports a study archive into the store; returns the study's id.
int importArchive(CliContext& ctx, const QString& path);
// Imports SOURCE (a card folder, a HECG.VTF file, a WFDB record or a study archive) with the import options of
// `args`; returns the new study's id.
int importSource(CliContext& ctx, const Args& args, const QString& source);
