#pragma once

#include <QString>

// Writes one PNG per page of the study data and configuration dialogs into `outDir`, filled
// with a made-up patient and workstation settings, and prints each path. Returns how many were
// written; throws when a file can't be written. It sets the settings of the current process.
int writeDialogPictures(const QString& outDir);
