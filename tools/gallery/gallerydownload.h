#pragma once

#include <QString>

// The download dialog on a simulated card in a temporary folder that stands in for the card's
// volume: the card just found, the form half and fully filled, and a copy under way. Writes
// download_*.png into `outDir` and prints each path; returns how many were written. Throws with
// a message on failure.
int writeDownloadPictures(const QString& outDir);
