#pragma once

#include <QString>

class GalleryStudy;

// Writes plot_*.png for every plot of the review tabs and summary_table*.png for the summary
// tables, all from the gallery study's results, into `outDir`, and prints each path. Returns how
// many were written; throws when a file can't be written.
int writePlotPictures(const QString& outDir, GalleryStudy& study);
