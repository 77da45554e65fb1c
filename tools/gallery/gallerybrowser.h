#pragma once

#include <QString>

// Pictures of the study browser over a store of its own under `workDir`: "browser_local.png"
// (a dozen studies, some reported) and "browser_shared_pane.png" (a shared folder with a few
// archives). Prints each path; returns how many were written, and throws with a message.
int writeBrowserPictures(const QString& outDir, const QString& workDir);
